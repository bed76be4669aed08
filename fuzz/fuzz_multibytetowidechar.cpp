// Random bytes through both multiByteToWideChar forms and multiByteToWideCharNoChangeM,
// under single-byte, double-byte and UTF-8 code pages, with every combination of the
// two flags and a choice of caller flags. The text is an exactly sized copy without a
// terminator, so ASan catches any read past text + length. Every unit takes at least
// one byte; the output is appended and terminated; a conversion that stops on failure
// gives a prefix of the one that goes on.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "XoCharMapper.h"
#include "fuzzsupport.h"

namespace {

using fuzzsupport::check;

const code_page_id kIds[] = {CODE_PAGE_JAPANESE,
                             CODE_PAGE_SIMPLIFIED_CHINESE,
                             CODE_PAGE_WIN_WESTERN,
                             CODE_PAGE_UTF8,
                             CODE_PAGE_KOREAN,
                             CODE_PAGE_TRADITIONAL_CHINESE,
                             CODE_PAGE_JOHAB,
                             CODE_PAGE_JAPANESE_DOS,
                             CODE_PAGE_SIMPLIFIED_CHINESE_SECOND,
                             CODE_PAGE_SYSTEM_ANSI,
                             CODE_PAGE_WIN_GREEK,
                             CODE_PAGE_US_ASCII,
                             CODE_PAGE_ISO8859_6,
                             CODE_PAGE_UNDEFINED,
                             CODE_PAGE_TRADITIONAL_CHINESE_SECOND};
const unsigned long kFlags[] = {0, 1, 8, 9};

// The units written after `before`, terminator excluded.
int written(const XoVector<wchar_t>& out, int before) {
    check(out.size() > before && out[out.size() - 1] == 0);
    return out.size() - before - 1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const code_page_id id = kIds[data[0] % (sizeof kIds / sizeof kIds[0])];
    const unsigned long flags = kFlags[data[1] & 3];
    const int length = int(size - 2);
    const std::unique_ptr<char[]> text(new char[std::size_t(length ? length : 1)]);
    std::memcpy(text.get(), data + 2, std::size_t(length));
    const std::size_t bytes = strnlen(text.get(), std::size_t(length));

    XoVector<wchar_t> shared;
    shared.push_back(L'p');
    XoVector<wchar_t> goOn = shared;
    check(XoCharMapper::multiByteToWideChar(id, text.get(), length, goOn, false, false));
    const int units = written(goOn, 1);
    check(std::size_t(units) <= bytes && shared.size() == 1 && goOn[0] == L'p');

    XoVector<wchar_t> stop;
    const bool complete =
        XoCharMapper::multiByteToWideChar(id, text.get(), length, stop, true, false);
    const int stopped = written(stop, 0);
    check(stopped <= units && (!complete || stopped == units));
    for (int i = 0; i < stopped; ++i)
        check(stop[i] == goOn[i + 1]);

    XoVector<wchar_t> dropping;
    XoCharMapper::multiByteToWideChar(id, text.get(), length, dropping, data[1] & 4, true);
    check(std::size_t(written(dropping, 0)) <= bytes);

    XoVector<wchar_t> noChange;
    XoCharMapper::multiByteToWideCharNoChangeM(id, text.get(), length, noChange);
    check(written(noChange, 0) == units);
    for (int i = 0; i < units; ++i)
        check(noChange[i] == goOn[i + 1]);

    XoVector<wchar_t> withFlags;
    XoCharMapper::multiByteToWideChar(id, flags, text.get(), length, withFlags);
    check(std::size_t(written(withFlags, 0)) <= bytes);
    return 0;
}
