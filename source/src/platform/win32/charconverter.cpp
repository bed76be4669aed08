#include "platform/charconverter.h"
#include "platform/textunits.h"

#include <windows.h>

namespace xo::platform {

CharConverter::CharConverter(unsigned codePage) : codePage_(codePage) {}

bool CharConverter::valid() const {
    return codePage_ <= 3 || ::IsValidCodePage(codePage_) != FALSE;
}

// Windows says how much of two bytes one character takes: a pair reads as one unit.
int CharConverter::decodeOne(const char* src, int srcLen, char16_t* unit, bool* invalid) const {
    int taken = 1;
    if (codePage_ == CP_UTF8) {
        const unsigned lead = std::uint8_t(src[0]);
        const int length = xo::platform::utf8AnnouncedLength(std::uint8_t(lead));
        taken = length < srcLen ? length : srcLen;
    } else if (srcLen > 1 && ::IsDBCSLeadByteEx(codePage_, BYTE(src[0]))) {
        wchar_t pair[2];
        taken = ::MultiByteToWideChar(codePage_, 0, src, 2, pair, 2) == 1 ? 2 : 1;
    }
    wchar_t units[8];
    const int n = ::MultiByteToWideChar(codePage_, 0, src, taken, units, 8);
    *unit = n > 0 ? char16_t(units[0]) : 0;
    *invalid = ::MultiByteToWideChar(codePage_, MB_ERR_INVALID_CHARS, src, taken, units, 8) == 0;
    return taken;
}

int CharConverter::encodeOne(char16_t unit, char* out, bool* usedDefault) const {
    const wchar_t wide = wchar_t(unit);
    BOOL used = FALSE;
    const bool utf8 = codePage_ == CP_UTF8;
    const int n =
        ::WideCharToMultiByte(codePage_, 0, &wide, 1, out, 4, nullptr, utf8 ? nullptr : &used);
    if (usedDefault)
        *usedDefault = used != FALSE;
    return n;
}

} // namespace xo::platform
