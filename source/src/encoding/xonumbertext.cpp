// Doubles to text and back on the standard library's exact conversions: to_chars writes
// the correctly rounded digits printf writes for the same precision (and the shortest
// round trip without one), from_chars reads correctly rounded. Around them: the Windows
// runtime's spelling of infinities and NaNs, strtod's grammar (blanks, '+', "0x",
// "infinity", "nan(...)"), and the library's buffer contract.
#include "XoNumberText.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include "diagnostics/xothrow.h"

namespace {

// Longest text: "-" + 309 digits + "." + a precision the caller may make large.
constexpr int kMaxPrecision = 1100;
constexpr int kTextCapacity = 1500;
constexpr std::uint64_t kQuietBit = std::uint64_t(1) << 51;
constexpr std::uint64_t kMantissa = (std::uint64_t(1) << 52) - 1;

bool upper(char format) {
    return format == 'E' || format == 'G';
}

// ucrtbase: "inf", "nan"; the indefinite NaN (sign set, quiet bit alone) "-nan(ind)"; a
// signalling one "nan(snan)".
int specialText(double value, char format, char* text) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const bool negative = (bits >> 63) != 0;
    const char* word;
    if (std::isinf(value))
        word = "inf";
    else if ((bits & kQuietBit) == 0)
        word = "nan(snan)";
    else if (negative && (bits & kMantissa) == kQuietBit)
        word = "nan(ind)";
    else
        word = "nan";
    int n = 0;
    if (negative)
        text[n++] = '-';
    for (const char* c = word; *c; ++c)
        text[n++] = upper(format) ? char(*c >= 'a' && *c <= 'z' ? *c - 32 : *c) : *c;
    return n;
}

std::chars_format charsFormat(char format) {
    switch (format) {
    case 'e':
    case 'E':
        return std::chars_format::scientific;
    case 'f':
        return std::chars_format::fixed;
    default:
        return std::chars_format::general;
    }
}

// The text of value, not terminated; its length.
int format(double value, char letter, int precision, char* text) {
    if (letter != 'e' && letter != 'E' && letter != 'f' && letter != 'g' && letter != 'G')
        xo::throwWithMessage(L"EMPTY THROW");
    if (!std::isfinite(value))
        return specialText(value, letter, text);
    if (precision > kMaxPrecision)
        precision = kMaxPrecision;
    const std::chars_format kind = charsFormat(letter);
    const std::to_chars_result written =
        precision < 0 ? std::to_chars(text, text + kTextCapacity, value, kind)
                      : std::to_chars(text, text + kTextCapacity, value, kind, precision);
    const int n = int(written.ptr - text);
    if (upper(letter)) {
        for (int i = 0; i < n; ++i) {
            if (text[i] == 'e')
                text[i] = 'E';
        }
    }
    return n;
}

template <class C> int deliver(const char* text, int n, C* out, int size) {
    if (out != nullptr && size > n) {
        for (int i = 0; i < n; ++i)
            out[i] = C(static_cast<unsigned char>(text[i]));
        out[n] = C(0);
    }
    return n + 1;
}

bool blank(unsigned c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

unsigned lower(unsigned c) {
    return c >= 'A' && c <= 'Z' ? c + 32 : c;
}

// The characters from p that spell word, whatever their case; 0 when they do not.
template <class C> int spells(const C* p, const char* word) {
    int n = 0;
    for (; word[n] != 0; ++n) {
        if (lower(unsigned(p[n])) != unsigned(static_cast<unsigned char>(word[n])))
            return 0;
    }
    return n;
}

template <class C> double readSpecial(const C* p, bool negative, const C** stop) {
    if (int n = spells(p, "infinity") ? 8 : spells(p, "inf")) {
        *stop = p + n;
        return negative ? -std::numeric_limits<double>::infinity()
                        : std::numeric_limits<double>::infinity();
    }
    if (spells(p, "nan") != 0) {
        const C* q = p + 3;
        if (*q == C('(')) { // nan(n-char-sequence): letters, digits and '_'
            const C* r = q + 1;
            while ((*r >= C('0') && *r <= C('9')) ||
                   (lower(unsigned(*r)) >= 'a' && lower(unsigned(*r)) <= 'z') || *r == C('_'))
                ++r;
            if (*r == C(')'))
                q = r + 1;
        }
        *stop = q;
        const double nan = std::numeric_limits<double>::quiet_NaN();
        return negative ? -nan : nan;
    }
    return 0;
}

// Roughly the power (of ten, or of two for hexadecimal) of a number out of range: below
// zero when it underflowed, above when it overflowed.
long magnitude(const char* begin, const char* end, bool hex) {
    long whole = 0, leadingZeros = 0, exponent = 0;
    bool point = false, nonZero = false;
    const char* p = begin;
    const auto exponentMark = [hex](char c) {
        return hex ? c == 'p' || c == 'P' : c == 'e' || c == 'E';
    };
    for (; p != end && !exponentMark(*p); ++p) {
        if (*p == '.') {
            point = true;
        } else if (*p != '0' || nonZero) {
            nonZero = true;
            if (!point)
                ++whole;
        } else if (point) {
            ++leadingZeros;
        }
    }
    if (p != end) {
        const bool negative = p + 1 != end && p[1] == '-';
        for (const char* d = p + 1; d != end; ++d) {
            if (*d >= '0' && *d <= '9' && exponent < 100000)
                exponent = exponent * 10 + (*d - '0');
        }
        if (negative)
            exponent = -exponent;
    }
    const long digitPower = hex ? 4 : 1;
    return (whole > 0 ? whole * digitPower : -(leadingZeros + 1) * digitPower) + exponent;
}

// The exponent mark in [begin, end) when what follows it is not an optional sign and
// digits, so that the number ends before the mark; null when the exponent is sound.
const char* badExponent(const char* begin, const char* end, bool hex) {
    for (const char* p = begin; p != end; ++p) {
        const bool mark = hex ? (*p == 'p' || *p == 'P') : (*p == 'e' || *p == 'E');
        if (!mark)
            continue;
        const char* q = p + 1;
        if (q != end && (*q == '+' || *q == '-'))
            ++q;
        if (q == end || *q < '0' || *q > '9')
            return p;
        for (; q != end; ++q) {
            if (*q < '0' || *q > '9')
                return p;
        }
        return nullptr;
    }
    return nullptr;
}

template <class C> double read(const C* text, const C** end, int* range) {
    if (range != nullptr)
        *range = 0;
    const C* stop = text;
    double value = 0;
    if (text != nullptr) {
        const C* p = text;
        while (blank(unsigned(*p)))
            ++p;
        const bool negative = *p == C('-');
        if (*p == C('-') || *p == C('+'))
            ++p;
        const bool hex = p[0] == C('0') && lower(unsigned(p[1])) == 'x';
        // The characters a number may use, narrowed for from_chars.
        const C* q = hex ? p + 2 : p;
        std::size_t n = 0;
        char onStack[kTextCapacity];
        std::string onHeap; // a mantissa of thousands of digits is still one number
        const char* digits;
        if constexpr (sizeof(C) == 1) {
            digits = reinterpret_cast<const char*>(q); // read where it lies
            n = std::strlen(digits);
        } else {
            while (unsigned(q[n]) < 0x80 && q[n] != 0)
                ++n;
            if (n >= sizeof onStack)
                onHeap.resize(n);
            char* narrow = n < sizeof onStack ? onStack : &onHeap[0];
            for (std::size_t i = 0; i < n; ++i)
                narrow[i] = char(q[i]);
            digits = narrow;
        }
        double parsed = 0;
        const std::chars_format kind = hex ? std::chars_format::hex : std::chars_format::general;
        std::from_chars_result r = std::from_chars(digits, digits + n, parsed, kind);
        // libstdc++ takes "P+-0" for a binary exponent; strtod ends the number before it.
        if (const char* mark = badExponent(digits, r.ptr, hex))
            r = std::from_chars(digits, mark, parsed, kind);
        const bool numeric =
            r.ptr != digits && (digits[0] == '.' || (digits[0] >= '0' && digits[0] <= '9') ||
                                (hex && ((digits[0] >= 'a' && digits[0] <= 'f') ||
                                         (digits[0] >= 'A' && digits[0] <= 'F'))));
        if (numeric) {
            stop = q + (r.ptr - digits);
            if (r.ec == std::errc::result_out_of_range) {
                const bool tiny = magnitude(digits, r.ptr, hex) < 0;
                parsed = tiny ? 0.0 : std::numeric_limits<double>::infinity();
                if (range != nullptr)
                    *range = tiny ? -1 : 1;
            } else if (range != nullptr && parsed != 0 &&
                       std::fabs(parsed) < std::numeric_limits<double>::min()) {
                *range = -1;
            }
            value = negative ? -parsed : parsed;
        } else if (hex && p[1] != 0) {
            stop = p + 1; // "0x" without hexadecimal digits reads the 0
            value = negative ? -0.0 : 0.0;
        } else {
            value = readSpecial(p, negative, &stop);
        }
    }
    if (end != nullptr)
        *end = stop;
    return value;
}

} // namespace

int xoDToStr(double value, char letter, int precision, char* out, int size) {
    char text[kTextCapacity];
    return deliver(text, format(value, letter, precision, text), out, size);
}

int xoDToStr(double value, char letter, int precision, wchar_t* out, int size) {
    char text[kTextCapacity];
    return deliver(text, format(value, letter, precision, text), out, size);
}

double xoStrToD(const char* text, const char** end, int* range) {
    return read(text, end, range);
}

double xoStrToD(const wchar_t* text, const wchar_t** end, int* range) {
    return read(text, end, range);
}
