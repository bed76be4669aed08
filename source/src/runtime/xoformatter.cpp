// printf-style formatting with the Windows runtime's meaning, identical on every target.
#include "runtime/xoformatter.h"

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace xo {
namespace {

// Any count this large already makes the result overflow an int, so parsing may stop there.
constexpr std::size_t kSaturated = static_cast<std::size_t>(INT_MAX) + 1;

std::size_t addSaturated(std::size_t a, std::size_t b) {
    return b > SIZE_MAX - a ? SIZE_MAX : a + b;
}

enum class Length { None, Char, Short, Long, LongLong, Int32, Size, IntMax, LongDouble, Wide };

struct Directive {
    bool left = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    bool zero = false;
    std::size_t width = 0;
    bool hasPrecision = false;
    std::size_t precision = 0;
    Length length = Length::None;
    std::uint32_t conversion = 0;
};

// va_list may be an array type, which a function cannot take by reference.
struct ArgList {
    va_list list;
};

// ---------------------------------------------------------------------------------------
// Characters: both widths meet as UTF-16 code units; narrow bytes are units 0..0xFF.

std::uint32_t unitOf(char c) {
    return static_cast<unsigned char>(c);
}

std::uint32_t unitOf(wchar_t c) {
    return static_cast<std::uint32_t>(c);
}

template <typename Ch> Ch fromUnit(std::uint32_t unit) {
    if constexpr (sizeof(Ch) == 1) {
        return unit <= 0xFF ? static_cast<Ch>(unit) : Ch('?');
    } else {
        return static_cast<Ch>(unit);
    }
}

template <typename Ch> class Sink {
public:
    Sink(Ch* buffer, std::size_t capacity)
        : buffer_(capacity == 0 ? nullptr : buffer), room_(buffer_ == nullptr ? 0 : capacity - 1) {}

    void put(Ch c) {
        if (written_ < room_) {
            buffer_[written_++] = c;
        }
        length_ = addSaturated(length_, 1);
    }

    // Counts every character but stores only what fits, so huge widths cost no time.
    void repeat(Ch c, std::size_t count) {
        const std::size_t stored = std::min(count, room_ - written_);
        std::fill_n(buffer_ + written_, stored, c);
        written_ += stored;
        length_ = addSaturated(length_, count);
    }

    void putAscii(const char* text, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            put(fromUnit<Ch>(unitOf(text[i])));
        }
    }

    void fail() { failed_ = true; }

    int finish() {
        if (buffer_ != nullptr) {
            buffer_[written_] = Ch();
        }
        return failed_ || length_ > static_cast<std::size_t>(INT_MAX) ? -1
                                                                      : static_cast<int>(length_);
    }

private:
    Ch* buffer_;
    std::size_t room_;
    std::size_t written_ = 0;
    std::size_t length_ = 0;
    bool failed_ = false;
};

// ---------------------------------------------------------------------------------------
// Integers.

std::intmax_t readSigned(ArgList& args, Length length) {
    switch (length) {
    case Length::Char:
        return static_cast<signed char>(va_arg(args.list, int));
    case Length::Short:
        return static_cast<short>(va_arg(args.list, int));
    case Length::Long:
        return va_arg(args.list, long);
    case Length::LongLong:
    case Length::LongDouble:
        return va_arg(args.list, long long);
    case Length::Int32:
        return va_arg(args.list, std::int32_t);
    case Length::Size:
        return va_arg(args.list, std::ptrdiff_t);
    case Length::IntMax:
        return va_arg(args.list, std::intmax_t);
    default:
        return va_arg(args.list, int);
    }
}

std::uintmax_t readUnsigned(ArgList& args, Length length) {
    switch (length) {
    case Length::Char:
        return static_cast<unsigned char>(va_arg(args.list, unsigned));
    case Length::Short:
        return static_cast<unsigned short>(va_arg(args.list, unsigned));
    case Length::Long:
        return va_arg(args.list, unsigned long);
    case Length::LongLong:
    case Length::LongDouble:
        return va_arg(args.list, unsigned long long);
    case Length::Int32:
        return va_arg(args.list, std::uint32_t);
    case Length::Size:
        return va_arg(args.list, std::size_t);
    case Length::IntMax:
        return va_arg(args.list, std::uintmax_t);
    default:
        return va_arg(args.list, unsigned);
    }
}

// Writes the digits backwards ending at END; zero has none, so that precision alone
// decides whether "0" appears.
std::size_t writeDigits(std::uintmax_t value, unsigned base, bool upper, char* end) {
    const char* digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    std::size_t count = 0;
    for (; value != 0; value /= base) {
        *--end = digits[value % base];
        ++count;
    }
    return count;
}

// Text of a number: HEAD (sign, radix prefix) sits ahead of any zero padding, and
// INNERZEROS are inserted into BODY at INNERAT.
struct NumberText {
    const char* head = "";
    std::size_t headLength = 0;
    std::size_t leadingZeros = 0;
    const char* body = "";
    std::size_t bodyLength = 0;
    std::size_t innerAt = 0;
    std::size_t innerZeros = 0;

    std::size_t length() const {
        return addSaturated(addSaturated(headLength, leadingZeros),
                            addSaturated(bodyLength, innerZeros));
    }
};

// ---------------------------------------------------------------------------------------
// Floating point: the C library prints the digits; ties, huge precisions and non-finite
// values are handled here so that glibc and mingw-w64 both give the Windows runtime's text.

// A double's lowest bit is worth 2^-1074, so it has no decimal digit past the 1074th.
constexpr long long kLastDigit = DBL_MANT_DIG - DBL_MIN_EXP;
// Past every digit a double can have; the C library is never asked for more.
constexpr std::size_t kMaxLibraryPrecision = 1100;
// The longest such text: sign, 309 integer digits, point, one digit past the limit.
constexpr std::size_t kFloatTextSize = 1536;
// Hex digits after the point that show a double's whole mantissa.
constexpr std::size_t kHexDigits = (DBL_MANT_DIG - 1 + 3) / 4;
// 5^22 is the largest power of five a double holds exactly.
constexpr long long kExactFivePowers = 22;

struct FloatText {
    char text[kFloatTextSize];
    std::size_t length = 0;
    std::size_t extraZeros = 0; // past kMaxLibraryPrecision, due at the mantissa's end
    bool failed = false;
};

int librarySnprintf(char* out, std::size_t size, const char* conversion, int precision,
                    double value) {
#if defined(__MINGW32__)
    // msvcrt's printf would give three-digit exponents; mingw's own is C99.
    return __mingw_snprintf(out, size, conversion, precision, value);
#else
    return std::snprintf(out, size, conversion, precision, value);
#endif
}

// Width, '-' and '0' are applied by the caller, so the text never needs a large buffer.
void printFloat(FloatText& out, const Directive& directive, char letter, std::size_t precision,
                double value) {
    char conversion[8];
    std::size_t n = 0;
    conversion[n++] = '%';
    if (directive.plus)
        conversion[n++] = '+';
    if (directive.space)
        conversion[n++] = ' ';
    if (directive.alternate)
        conversion[n++] = '#';
    conversion[n++] = '.';
    conversion[n++] = '*';
    conversion[n++] = letter;
    conversion[n] = '\0';
    const std::size_t asked = std::min(precision, kMaxLibraryPrecision);
    const int written =
        librarySnprintf(out.text, sizeof out.text, conversion, static_cast<int>(asked), value);
    out.failed = written < 0 || static_cast<std::size_t>(written) >= sizeof out.text;
    out.length = out.failed ? 0 : static_cast<std::size_t>(written);
    out.extraZeros = precision - asked;
}

std::size_t mantissaEnd(const FloatText& t) {
    const char* end = std::find_if(t.text, t.text + t.length, [](char c) {
        return c == 'e' || c == 'E' || c == 'p' || c == 'P';
    });
    return static_cast<std::size_t>(end - t.text);
}

long long decimalExponent(const FloatText& t) {
    std::size_t at = mantissaEnd(t) + 1;
    const bool negative = at < t.length && t.text[at] == '-';
    long long exponent = 0;
    for (++at; at < t.length; ++at) {
        exponent = exponent * 10 + (t.text[at] - '0');
    }
    return negative ? -exponent : exponent;
}

bool isOddInteger(double value) {
    return std::fmod(value, 2.0) == 1.0;
}

// Whether MAGNITUDE lies exactly halfway between its neighbours at decimal POSITION
// (digits after the point; negative positions count into the integer part). That is
// when magnitude * 2^(position+1) is an odd integer, divisible by 5^-position if negative.
bool decimalTie(double magnitude, long long position) {
    if (magnitude == 0 || position >= kLastDigit || position < -kExactFivePowers) {
        return false;
    }
    const double scaled = std::ldexp(magnitude, static_cast<int>(position + 1));
    if (!isOddInteger(scaled)) {
        return false;
    }
    double five = 1;
    for (long long k = 0; k < -position; ++k) {
        five *= 5;
    }
    return std::fmod(scaled, five) == 0;
}

// The same for PRECISION hex digits after the leading one (which is 0 for subnormals).
bool hexTie(double magnitude, std::size_t precision) {
    if (magnitude == 0 || precision >= kHexDigits) {
        return false;
    }
    int exponent = 0;
    std::frexp(magnitude, &exponent);
    const int leading = std::max(exponent - 1, DBL_MIN_EXP - 1);
    return isOddInteger(std::ldexp(magnitude, 4 * static_cast<int>(precision) + 1 - leading));
}

// The C library breaks ties to even, the Windows runtime away from zero. A tie is exact
// one digit further on, so that text is cut and its last kept digit raised.
void roundTieAway(FloatText& out, const Directive& directive, char letter, std::size_t precision,
                  double value) {
    FloatText exact;
    printFloat(exact, directive, letter, precision + 1, value);
    if (exact.failed || exact.extraZeros != 0) {
        return;
    }
    const bool hex = letter == 'a' || letter == 'A';
    const std::size_t tieAt = mantissaEnd(exact) - 1;
    std::size_t keptAt = tieAt - 1;
    if (exact.text[keptAt] == '.') {
        --keptAt;
    }
    char& kept = exact.text[keptAt];
    if (kept == (hex ? letter + ('f' - 'a') : '9')) {
        return; // a carry: the digit is odd, so even-rounding went up too
    }
    kept = hex && kept == '9' ? static_cast<char>(letter) : static_cast<char>(kept + 1);
    const std::size_t cutFrom = precision == 0 && !directive.alternate ? keptAt + 1 : tieAt;
    std::memmove(exact.text + cutFrom, exact.text + tieAt + 1, exact.length - tieAt - 1);
    exact.length -= tieAt + 1 - cutFrom;
    out = exact;
}

void fixedText(FloatText& out, const Directive& directive, std::size_t precision, double value) {
    printFloat(out, directive, 'f', precision, value);
    const auto position = static_cast<long long>(precision);
    if (!out.failed && decimalTie(std::fabs(value), position)) {
        roundTieAway(out, directive, 'f', precision, value);
    }
}

void exponentText(FloatText& out, const Directive& directive, char letter, std::size_t precision,
                  double value) {
    printFloat(out, directive, letter, precision, value);
    if (out.failed) {
        return;
    }
    const long long position = static_cast<long long>(precision) - decimalExponent(out);
    if (decimalTie(std::fabs(value), position)) {
        roundTieAway(out, directive, letter, precision, value);
    }
}

void stripTrailingZeros(FloatText& t) {
    const std::size_t end = mantissaEnd(t);
    const char* point = static_cast<const char*>(std::memchr(t.text, '.', end));
    if (point == nullptr) {
        return;
    }
    const auto pointAt = static_cast<std::size_t>(point - t.text);
    std::size_t keep = end;
    while (keep > pointAt + 1 && t.text[keep - 1] == '0') {
        --keep;
    }
    if (keep == pointAt + 1) {
        keep = pointAt;
    }
    std::memmove(t.text + keep, t.text + end, t.length - end);
    t.length -= end - keep;
    t.extraZeros = 0;
}

// %g built from %e and %f as C defines it, so that their tie handling applies.
void generalText(FloatText& out, const Directive& directive, bool upper, double value) {
    const std::size_t significant =
        directive.hasPrecision ? std::max<std::size_t>(directive.precision, 1) : 6;
    exponentText(out, directive, upper ? 'E' : 'e', significant - 1, value);
    if (out.failed) {
        return;
    }
    const long long exponent = decimalExponent(out);
    if (exponent >= -4 && exponent < static_cast<long long>(significant)) {
        fixedText(out, directive,
                  static_cast<std::size_t>(static_cast<long long>(significant) - 1 - exponent),
                  value);
    }
    if (!directive.alternate && !out.failed) {
        stripTrailingZeros(out);
    }
}

// Without a precision the runtime shows the whole mantissa rather than trimming zeros.
void hexText(FloatText& out, const Directive& directive, bool upper, double value) {
    const std::size_t precision = directive.hasPrecision ? directive.precision : kHexDigits;
    const char letter = upper ? 'A' : 'a';
    printFloat(out, directive, letter, precision, value);
    if (!out.failed && hexTie(std::fabs(value), precision)) {
        roundTieAway(out, directive, letter, precision, value);
    }
}

std::size_t precisionOrDefault(const Directive& directive) {
    return directive.hasPrecision ? directive.precision : 6;
}

void finiteText(FloatText& out, const Directive& directive, double value) {
    switch (directive.conversion) {
    case 'e':
    case 'E':
        exponentText(out, directive, static_cast<char>(directive.conversion),
                     precisionOrDefault(directive), value);
        break;
    case 'g':
    case 'G':
        generalText(out, directive, directive.conversion == 'G', value);
        break;
    case 'a':
    case 'A':
        hexText(out, directive, directive.conversion == 'A', value);
        break;
    default:
        fixedText(out, directive, precisionOrDefault(directive), value);
        break;
    }
}

NumberText splitFloat(const FloatText& t, bool hex) {
    NumberText n;
    const char first = t.text[0];
    n.headLength = (first == '-' || first == '+' || first == ' ') ? 1 : 0;
    n.headLength += hex ? 2 : 0;
    n.head = t.text;
    n.body = t.text + n.headLength;
    n.bodyLength = t.length - n.headLength;
    n.innerAt = mantissaEnd(t) - n.headLength;
    n.innerZeros = t.extraZeros;
    return n;
}

// The runtime's words; any NaN with the sign bit set reads as the x86 "indeterminate".
const char* nonFiniteWord(double value, bool upper) {
    if (std::isinf(value)) {
        return upper ? "INF" : "inf";
    }
    if (std::signbit(value)) {
        return upper ? "NAN(IND)" : "nan(ind)";
    }
    return upper ? "NAN" : "nan";
}

// ---------------------------------------------------------------------------------------
// The engine, shared by both character types.

template <typename Ch> class Engine {
public:
    // A checking engine stops at the first directive the runtime rejects, since the
    // arguments after it can no longer be matched to their directives.
    Engine(Sink<Ch>& sink, ArgList& args, bool checking)
        : sink_(sink), args_(args), checking_(checking) {}

    void run(const Ch* format) {
        while (*format != Ch() && !rejected_) {
            if (*format == Ch('%')) {
                format = handleDirective(format + 1);
            } else {
                sink_.put(*format++);
            }
        }
    }

private:
    static bool isDigit(Ch c) { return c >= Ch('0') && c <= Ch('9'); }

    // A directive cut short by the end of the format prints nothing.
    const Ch* handleDirective(const Ch* start) {
        Directive directive;
        const Ch* p = parseFlags(start, directive);
        p = parseWidth(p, directive);
        p = parsePrecision(p, directive);
        p = parseLength(p, directive);
        if (*p == Ch()) {
            if (checking_) {
                reject();
            }
            return p;
        }
        directive.conversion = unitOf(*p);
        if (checking_ && !runtimeAccepts(directive, p == start)) {
            reject();
        } else {
            convert(directive);
        }
        return p + 1;
    }

    void reject() {
        rejected_ = true;
        sink_.fail();
    }

    // What ucrtbase's secure printf reports to the invalid-parameter handler: '%' with
    // anything between it and its opening '%', %n in any form, a letter that is no
    // conversion (a positional "%1$d" included), and the pointer-sized I, z and t on
    // anything but an integer.
    static bool runtimeAccepts(const Directive& directive, bool bare) {
        switch (directive.conversion) {
        case '%':
            return bare;
        case 'd':
        case 'i':
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            return true;
        case 'c':
        case 'C':
        case 's':
        case 'S':
        case 'p':
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            return directive.length != Length::Size;
        default:
            return false;
        }
    }

    static const Ch* parseFlags(const Ch* p, Directive& directive) {
        for (;; ++p) {
            switch (unitOf(*p)) {
            case '-':
                directive.left = true;
                break;
            case '+':
                directive.plus = true;
                break;
            case ' ':
                directive.space = true;
                break;
            case '#':
                directive.alternate = true;
                break;
            case '0':
                directive.zero = true;
                break;
            default:
                return p;
            }
        }
    }

    static std::size_t parseNumber(const Ch*& p) {
        std::size_t value = 0;
        for (; isDigit(*p); ++p) {
            value = std::min(value * 10 + static_cast<std::size_t>(*p - Ch('0')), kSaturated);
        }
        return value;
    }

    const Ch* parseWidth(const Ch* p, Directive& directive) {
        if (*p != Ch('*')) {
            directive.width = parseNumber(p);
            return p;
        }
        const int width = va_arg(args_.list, int);
        directive.left = directive.left || width < 0;
        directive.width = width < 0 ? static_cast<std::size_t>(-static_cast<long long>(width))
                                    : static_cast<std::size_t>(width);
        return p + 1;
    }

    const Ch* parsePrecision(const Ch* p, Directive& directive) {
        if (*p != Ch('.')) {
            return p;
        }
        ++p;
        directive.hasPrecision = true;
        if (*p != Ch('*')) {
            directive.precision = parseNumber(p);
            return p;
        }
        const int precision = va_arg(args_.list, int);
        directive.hasPrecision = precision >= 0;
        directive.precision = precision >= 0 ? static_cast<std::size_t>(precision) : 0;
        return p + 1;
    }

    static bool follows(const Ch* p, char first, char second) {
        return p[0] == Ch(first) && p[1] == Ch(second);
    }

    static const Ch* parseLength(const Ch* p, Directive& directive) {
        switch (unitOf(*p)) {
        case 'h':
            directive.length = p[1] == Ch('h') ? Length::Char : Length::Short;
            return p + (directive.length == Length::Char ? 2 : 1);
        case 'l':
            directive.length = p[1] == Ch('l') ? Length::LongLong : Length::Long;
            return p + (directive.length == Length::LongLong ? 2 : 1);
        case 'I':
            if (follows(p + 1, '3', '2')) {
                directive.length = Length::Int32;
                return p + 3;
            }
            directive.length = follows(p + 1, '6', '4') ? Length::LongLong : Length::Size;
            return p + (directive.length == Length::LongLong ? 3 : 1);
        case 'L':
            directive.length = Length::LongDouble;
            return p + 1;
        case 'j':
            directive.length = Length::IntMax;
            return p + 1;
        case 'z':
        case 't':
            directive.length = Length::Size;
            return p + 1;
        case 'w':
            directive.length = Length::Wide;
            return p + 1;
        default:
            return p;
        }
    }

    // %n is accepted for compatibility but stores nothing; an unknown conversion
    // character (including '%') is copied as it stands, without padding.
    void convert(const Directive& directive) {
        switch (directive.conversion) {
        case 'd':
        case 'i':
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            convertInteger(directive);
            break;
        case 'c':
        case 'C':
            convertChar(directive);
            break;
        case 's':
        case 'S':
            convertString(directive);
            break;
        case 'p':
            convertPointer(directive);
            break;
        case 'n':
            static_cast<void>(va_arg(args_.list, void*));
            break;
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            convertFloat(directive);
            break;
        default:
            sink_.put(static_cast<Ch>(directive.conversion));
            break;
        }
    }

    template <typename Write>
    void emitPadded(const Directive& directive, std::size_t length, Write write) {
        const std::size_t pad = directive.width > length ? directive.width - length : 0;
        if (!directive.left) {
            sink_.repeat(Ch(directive.zero ? '0' : ' '), pad);
        }
        write();
        if (directive.left) {
            sink_.repeat(Ch(' '), pad);
        }
    }

    void emitNumber(const Directive& directive, NumberText text, bool zeroPad) {
        std::size_t length = text.length();
        if (zeroPad && !directive.left && directive.width > length) {
            text.leadingZeros += directive.width - length;
            length = directive.width;
        }
        Directive spaced = directive;
        spaced.zero = false;
        emitPadded(spaced, length, [&] {
            sink_.putAscii(text.head, text.headLength);
            sink_.repeat(Ch('0'), text.leadingZeros);
            sink_.putAscii(text.body, text.innerAt);
            sink_.repeat(Ch('0'), text.innerZeros);
            sink_.putAscii(text.body + text.innerAt, text.bodyLength - text.innerAt);
        });
    }

    void convertInteger(const Directive& directive) {
        const bool isSigned = directive.conversion == 'd' || directive.conversion == 'i';
        std::uintmax_t magnitude = 0;
        bool negative = false;
        if (isSigned) {
            const std::intmax_t value = readSigned(args_, directive.length);
            negative = value < 0;
            magnitude = negative ? 0 - static_cast<std::uintmax_t>(value)
                                 : static_cast<std::uintmax_t>(value);
        } else {
            magnitude = readUnsigned(args_, directive.length);
        }
        const unsigned base = directive.conversion == 'o'                                    ? 8
                              : (directive.conversion == 'x' || directive.conversion == 'X') ? 16
                                                                                             : 10;
        char digits[sizeof(std::uintmax_t) * CHAR_BIT / 3 + 1];
        const std::size_t count =
            writeDigits(magnitude, base, directive.conversion == 'X', std::end(digits));

        NumberText text;
        const std::size_t precision = directive.hasPrecision ? directive.precision : 1;
        text.leadingZeros = precision > count ? precision - count : 0;
        if (directive.alternate && base == 8 && text.leadingZeros == 0) {
            text.leadingZeros = 1;
        }
        char head[3];
        text.head = head;
        if (isSigned && (negative || directive.plus || directive.space)) {
            head[text.headLength++] = negative ? '-' : directive.plus ? '+' : ' ';
        }
        if (directive.alternate && base == 16 && magnitude != 0) {
            head[text.headLength++] = '0';
            head[text.headLength++] = static_cast<char>(directive.conversion);
        }
        text.body = std::end(digits) - count;
        text.bodyLength = text.innerAt = count;
        emitNumber(directive, text, directive.zero && !directive.hasPrecision);
    }

    // Always every hex digit of the address, as the Windows x64 runtime prints it;
    // precision and '0' play no part.
    void convertPointer(const Directive& directive) {
        const auto address = reinterpret_cast<std::uintptr_t>(va_arg(args_.list, void*));
        char digits[sizeof(void*) * 2];
        const std::size_t count = writeDigits(address, 16, true, std::end(digits));
        NumberText text;
        text.head = "0X";
        text.headLength = directive.alternate ? 2 : 0;
        text.leadingZeros = sizeof digits - count;
        text.body = std::end(digits) - count;
        text.bodyLength = text.innerAt = count;
        emitNumber(directive, text, false);
    }

    // %s and %c name the format's own width; h forces narrow, l and w force wide.
    bool argumentIsWide(const Directive& directive) const {
        switch (directive.length) {
        case Length::Short:
            return false;
        case Length::Long:
        case Length::Wide:
            return true;
        default: {
            const bool ownWidth = directive.conversion == 's' || directive.conversion == 'c';
            return ownWidth == (sizeof(Ch) != 1);
        }
        }
    }

    // wint_t is 16 bits on Windows, so only the low unit of a wide character counts.
    void convertChar(const Directive& directive) {
        const auto value = static_cast<unsigned>(va_arg(args_.list, int));
        const std::uint32_t unit = argumentIsWide(directive) ? (value & 0xFFFF) : (value & 0xFF);
        emitPadded(directive, 1, [&] { sink_.put(fromUnit<Ch>(unit)); });
    }

    void convertString(const Directive& directive) {
        if (argumentIsWide(directive)) {
            emitString(directive, va_arg(args_.list, const wchar_t*));
        } else {
            emitString(directive, va_arg(args_.list, const char*));
        }
    }

    template <typename Src> void emitString(const Directive& directive, const Src* text) {
        if (text == nullptr) {
            emitString(directive, "(null)");
            return;
        }
        const std::size_t limit = directive.hasPrecision ? directive.precision : SIZE_MAX;
        std::size_t count = 0;
        while (count < limit && text[count] != Src()) {
            ++count;
        }
        if constexpr (sizeof(Src) > sizeof(Ch)) {
            // The runtime fails the whole call on a unit its "C" locale cannot convert.
            if (checking_ &&
                std::any_of(text, text + count, [](Src unit) { return unitOf(unit) > 0xFF; })) {
                reject();
                return;
            }
        }
        emitPadded(directive, count, [&] {
            for (std::size_t i = 0; i < count; ++i) {
                sink_.put(fromUnit<Ch>(unitOf(text[i])));
            }
        });
    }

    // A long double is printed at double precision, which is all it has on Windows.
    void convertFloat(const Directive& directive) {
        const double value = directive.length == Length::LongDouble
                                 ? static_cast<double>(va_arg(args_.list, long double))
                                 : va_arg(args_.list, double);
        if (!std::isfinite(value)) {
            emitNonFinite(directive, value);
            return;
        }
        FloatText text;
        finiteText(text, directive, value);
        if (text.failed) {
            sink_.fail();
            return;
        }
        emitNumber(directive,
                   splitFloat(text, directive.conversion == 'a' || directive.conversion == 'A'),
                   directive.zero);
    }

    // Padded with spaces even under '0', as the runtime does.
    void emitNonFinite(const Directive& directive, double value) {
        const bool upper = directive.conversion >= 'A' && directive.conversion <= 'Z';
        NumberText text;
        text.head = std::signbit(value) ? "-" : directive.plus ? "+" : " ";
        text.headLength = std::signbit(value) || directive.plus || directive.space ? 1 : 0;
        text.body = nonFiniteWord(value, upper);
        text.bodyLength = text.innerAt = std::strlen(text.body);
        emitNumber(directive, text, false);
    }

    Sink<Ch>& sink_;
    ArgList& args_;
    bool checking_;
    bool rejected_ = false;
};

template <typename Ch>
int formatAll(Ch* buffer, std::size_t capacity, const Ch* format, va_list args,
              bool checking = false) {
    Sink<Ch> sink(buffer, capacity);
    if (format != nullptr) {
        ArgList list;
        va_copy(list.list, args);
        Engine<Ch>(sink, list, checking).run(format);
        va_end(list.list);
    }
    return sink.finish();
}

} // namespace

int XoFormatter::formatV(wchar_t* buffer, std::size_t capacity, const wchar_t* format,
                         va_list args) {
    return formatAll(buffer, capacity, format, args);
}

int XoFormatter::formatV(char* buffer, std::size_t capacity, const char* format, va_list args) {
    return formatAll(buffer, capacity, format, args);
}

int XoFormatter::checkedLengthV(const wchar_t* format, va_list args) {
    return formatAll(static_cast<wchar_t*>(nullptr), 0, format, args, true);
}

int XoFormatter::checkedLengthV(const char* format, va_list args) {
    return formatAll(static_cast<char*>(nullptr), 0, format, args, true);
}

int XoFormatter::format(wchar_t* buffer, std::size_t capacity, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = formatV(buffer, capacity, format, args);
    va_end(args);
    return length;
}

int XoFormatter::format(char* buffer, std::size_t capacity, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = formatV(buffer, capacity, format, args);
    va_end(args);
    return length;
}

} // namespace xo
