// A client of the installed library: a string, a code-page conversion and a lock.
#include <XoOsBase.h>

#include <cstdio>

int main() {
    const XoStringA text("drawing");
    XoVector<wchar_t> wide;
    // "\x82\xA0" is HIRAGANA LETTER A (U+3042) in Shift-JIS.
    const bool converted =
        XoCharMapper::multiByteToWideChar(CODE_PAGE_JAPANESE, "A\x82\xA0", 3, wide, true, false);
    XoLocker lock;
    lock.lock();
    const bool ok = text.length() == 7 && converted && wide.size() == 3 && wide[1] == 0x3042;
    lock.unlock();
    std::printf("consumer: %s\n", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
