// Random text through the multibyte walks under each double-byte page: every walk must
// stay inside the text and agree with the others on where characters start.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzzsupport.h"
#include "platform/codepage.h"
#include "runtime/xombcs.h"

namespace {

using fuzzsupport::check;

const int kPages[] = {1252, 932, 936, 949, 950, 1361, 10002};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    xo::platform::setMultiByteCodePage(kPages[data[0] % (sizeof kPages / sizeof kPages[0])]);
    const std::size_t split = 1 + data[1] % (size - 1);
    // Exactly sized copies, so that ASan sees any read past a terminator.
    const std::basic_string<unsigned char> textCopy(data + 2, data + (split > 2 ? split : 2));
    unsigned char* text = new unsigned char[textCopy.size() + 1];
    std::copy(textCopy.begin(), textCopy.end(), text);
    text[textCopy.size()] = 0;
    const std::size_t needleSize = size - (split > 2 ? split : 2);
    unsigned char* needle = new unsigned char[needleSize + 1];
    std::copy(data + size - needleSize, data + size, needle);
    needle[needleSize] = 0;

    std::size_t characters = 0;
    const unsigned char* p = text;
    while (*p != 0 && xo::mbcs::ninc(p, 1) != p) {
        p = xo::mbcs::inc(p);
        ++characters;
    }
    check(characters == xo::mbcs::len(text));
    check(xo::mbcs::ninc(text, characters + 3) == p);
    for (const unsigned char* q = p; q != nullptr && q > text;) {
        const unsigned char* before = xo::mbcs::dec(text, q);
        check(before >= text && before < q);
        q = before;
    }
    if (const unsigned char* found = xo::mbcs::str(text, needle))
        check(found >= text && found <= text + textCopy.size());
    xo::mbcs::cmp(text, needle);
    xo::mbcs::nicmp(text, needle, data[1]);
    xo::mbcs::rev(text);
    xo::mbcs::upr(text);
    xo::mbcs::lwr(needle);
    delete[] text;
    delete[] needle;
    return 0;
}
