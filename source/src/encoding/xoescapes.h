// Recognising the two escapes of drawing text, in 8-bit or wide text alike:
//   CIF  \U+XXXX   one UTF-16 unit (7 characters)
//   MIF  \M+DXXXX  one double-byte code XXXX of the East Asian code page of digit D
//                  (8 characters)
// The letters and the hexadecimal digits may be of either case. An escape must lie
// wholly before `end`: text is never read past the end its caller names.
#pragma once

#include <cstddef>
#include <type_traits>

namespace xo::encoding {

constexpr int kCifLength = 7;
constexpr int kMifLength = 8;

template <class C> constexpr unsigned charValue(C c) {
    return unsigned(std::make_unsigned_t<C>(c));
}

// 0 to 15, or -1 for anything else.
constexpr int hexDigitValue(unsigned c) {
    if (c >= '0' && c <= '9')
        return int(c - '0');
    if (c >= 'A' && c <= 'F')
        return int(c - 'A' + 10);
    if (c >= 'a' && c <= 'f')
        return int(c - 'a' + 10);
    return -1;
}

// The value of four hexadecimal digits, or -1. Stops at the first that is not one, so
// a terminator ends the reading.
template <class C> int fourHexDigits(const C* p) {
    int value = 0;
    for (int i = 0; i < 4; ++i) {
        const int digit = hexDigitValue(charValue(p[i]));
        if (digit < 0)
            return -1;
        value = value << 4 | digit;
    }
    return value;
}

template <class C> bool escapeIntroducer(const C* p, unsigned upper) {
    return charValue(p[0]) == '\\' && (charValue(p[1]) | 0x20) == (upper | 0x20) &&
           charValue(p[2]) == '+';
}

// The unit of a CIF escape at p, or -1.
template <class C> int cifEscapeAt(const C* p, const C* end) {
    if (end - p < kCifLength || !escapeIntroducer(p, 'U'))
        return -1;
    return fourHexDigits(p + 3);
}

struct MifEscape {
    char digit;    // '0' to '9' as written
    unsigned code; // lead byte in the high 8 bits
};

// A MIF escape at p whose digit lies in [lowDigit, highDigit].
template <class C>
bool mifEscapeAt(const C* p, const C* end, char lowDigit, char highDigit, MifEscape* escape) {
    if (end - p < kMifLength || !escapeIntroducer(p, 'M'))
        return false;
    const unsigned digit = charValue(p[3]);
    if (digit < unsigned(lowDigit) || digit > unsigned(highDigit))
        return false;
    const int code = fourHexDigits(p + 4);
    if (code < 0)
        return false;
    escape->digit = char(digit);
    escape->code = unsigned(code);
    return true;
}

// Writes the CIF escape of a UTF-16 unit, upper-case digits, through put(char).
template <class Put> void writeCifEscape(unsigned unit, Put&& put) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    put('\\');
    put('U');
    put('+');
    for (int shift = 12; shift >= 0; shift -= 4)
        put(kDigits[(unit >> shift) & 0xF]);
}

} // namespace xo::encoding
