#include "platform/charconverter.h"

#include "platform/codepage.h"
#include "platform/codepages/codepageengine.h"
#include "platform/posix/localefacts.h"
#include "platform/textunits.h"

namespace xo::platform {

CharConverter::CharConverter(unsigned codePage)
    : codePage_(concreteCodePage(codePage)), state_(codepages::pageState(codePage_)) {}

// UTF-8, or a page that is not valid.
int CharConverter::decodeOther(const char* src, int srcLen, char16_t* unit, bool* invalid) const {
    if (codePage_ != kCpUtf8) {
        *unit = 0;
        *invalid = true;
        return 1;
    }
    const int length = utf8AnnouncedLength(std::uint8_t(src[0]));
    const int taken = length < srcLen ? length : srcLen;
    wchar_t units[8];
    const int n = codepages::multiByteToWideChar(kCpUtf8, 0, src, taken, units, 8).count;
    *unit = n > 0 ? char16_t(units[0]) : 0;
    *invalid =
        codepages::multiByteToWideChar(kCpUtf8, kMbErrInvalidChars, src, taken, units, 8).count ==
        0;
    return taken;
}

int CharConverter::encodeOther(char16_t unit, char* out, bool* usedDefault) const {
    if (usedDefault)
        *usedDefault = codePage_ != kCpUtf8;
    if (codePage_ != kCpUtf8)
        return 0;
    const wchar_t wide = wchar_t(unit);
    return codepages::wideCharToMultiByte(kCpUtf8, 0, &wide, 1, out, 4, nullptr, nullptr).count;
}

} // namespace xo::platform
