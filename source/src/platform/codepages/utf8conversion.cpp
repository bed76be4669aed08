#include "utf8conversion.h"

namespace xo::codepages {

namespace {

constexpr char16_t kReplacement = 0xFFFD;

// Decodes one UTF-8 character after its first byte. An ill-formed sequence yields
// U+FFFD and consumes the bytes that were checked up to the fault, as Windows does; a
// sequence cut off by the end of the input consumes the rest of the input.
std::uint32_t decodeUtf8(const unsigned char*& p, const unsigned char* end, bool& invalid) {
    const unsigned lead = *p++;
    if (lead < 0x80)
        return lead;
    const unsigned length = lead >= 0xC2 && lead <= 0xDF   ? 1
                            : lead >= 0xE0 && lead <= 0xEF ? 2
                            : lead >= 0xF0 && lead <= 0xF4 ? 3
                                                           : 0;
    invalid = true;
    if (length == 0)
        return kReplacement;
    if (std::size_t(end - p) < length) {
        p = end;
        return kReplacement;
    }
    std::uint32_t value = lead & (0x3Fu >> length);
    for (unsigned left = length; left > 0; --left) {
        const unsigned next = *p ^ 0x80u;
        if (next >= 0x40)
            return kReplacement;
        value = (value << 6) | next;
        if (left == 2 && value >= (0x110000u >> 6))
            return kReplacement; // beyond U+10FFFF: the byte is not taken
        ++p;
        if (left == 3 && value < 0x10)
            return kReplacement; // overlong four-byte form
        if (left == 2 && (value < 0x20 || (value >= (0xD800u >> 6) && value <= (0xDFFFu >> 6))))
            return kReplacement; // overlong three-byte form, or a surrogate
        if (left == 1 && value < 0x80)
            return kReplacement;
    }
    invalid = false;
    return value;
}

int encodeUtf8(std::uint32_t value, char* bytes) {
    if (value < 0x80) {
        bytes[0] = char(value);
        return 1;
    }
    if (value < 0x800) {
        bytes[0] = char(0xC0 | (value >> 6));
        bytes[1] = char(0x80 | (value & 0x3F));
        return 2;
    }
    if (value < 0x10000) {
        bytes[0] = char(0xE0 | (value >> 12));
        bytes[1] = char(0x80 | ((value >> 6) & 0x3F));
        bytes[2] = char(0x80 | (value & 0x3F));
        return 3;
    }
    bytes[0] = char(0xF0 | (value >> 18));
    bytes[1] = char(0x80 | ((value >> 12) & 0x3F));
    bytes[2] = char(0x80 | ((value >> 6) & 0x3F));
    bytes[3] = char(0x80 | (value & 0x3F));
    return 4;
}

} // namespace

Outcome utf8ToWide(unsigned flags, const unsigned char* p, const unsigned char* end, wchar_t* dst, int dstLen) {
    int count = 0;
    while (p < end) {
        bool invalid = false;
        const std::uint32_t value = decodeUtf8(p, end, invalid);
        if (invalid && (flags & kMbErrInvalidChars))
            return Outcome{0, kErrorNoUnicodeTranslation};
        const int units = value >= 0x10000 ? 2 : 1;
        if (dstLen != 0) {
            if (count + units > dstLen)
                return Outcome{0, kErrorInsufficientBuffer};
            if (units == 2) {
                dst[count] = wchar_t(0xD800 + ((value - 0x10000) >> 10));
                dst[count + 1] = wchar_t(0xDC00 + ((value - 0x10000) & 0x3FF));
            } else {
                dst[count] = wchar_t(value);
            }
        }
        count += units;
    }
    return Outcome{count, 0};
}

Outcome wideToUtf8(unsigned flags, const wchar_t* p, const wchar_t* end, char* dst, int dstLen) {
    int count = 0;
    while (p < end) {
        std::uint32_t value = std::uint16_t(*p++);
        if (value >= 0xD800 && value <= 0xDFFF) {
            if (value <= 0xDBFF && p < end && std::uint16_t(*p) >= 0xDC00 && std::uint16_t(*p) <= 0xDFFF) {
                value = 0x10000 + ((value - 0xD800) << 10) + (std::uint16_t(*p++) - 0xDC00);
            } else {
                if (flags & kWcErrInvalidChars)
                    return Outcome{0, kErrorNoUnicodeTranslation};
                value = kReplacement;
            }
        }
        char bytes[4];
        const int n = encodeUtf8(value, bytes);
        if (dstLen != 0) {
            if (count + n > dstLen)
                return Outcome{0, kErrorInsufficientBuffer};
            for (int i = 0; i < n; ++i)
                dst[count + i] = bytes[i];
        }
        count += n;
    }
    return Outcome{count, 0};
}

} // namespace xo::codepages
