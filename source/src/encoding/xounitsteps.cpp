// Rounding to whole steps of the precision, and the number texts built from the steps.
// The writers split a count of steps, never a double, so a value just below a foot or a
// degree carries into it instead of printing 12" or 60'.
#include <cmath>
#include <cstdint>

#include "XoNumberText.h"
#include "encoding/xounits.h"

namespace xo::units {
namespace {

// Up to here the parts of a split value (feet, whole inches, degrees) are exact in a
// double, and an ulp of the value is at most a quarter step: what is written reads back
// and writes the same text again.
constexpr std::int64_t kMaxSteps = std::int64_t(1) << 50;

} // namespace

void Text::put(const char* s) {
    while (*s != 0)
        put(*s++);
}

void Text::putInteger(std::uint64_t n) {
    char digits[20];
    int count = 0;
    do {
        digits[count++] = char('0' + n % 10);
        n /= 10;
    } while (n != 0);
    while (count > 0)
        put(digits[--count]);
}

std::int64_t power10(int n) {
    std::int64_t p = 1;
    while (n-- > 0)
        p *= 10;
    return p;
}

bool decimalSteps(double magnitude, int decimals, std::int64_t* steps) {
    char text[kTextCapacity];
    const int needed = xoDToStr(std::fabs(magnitude), 'f', decimals, text, sizeof text);
    if (needed > int(sizeof text))
        return false;
    std::int64_t count = 0;
    int digits = 0;
    for (const char* p = text; *p != 0; ++p) {
        if (*p == '.')
            continue;
        if (count != 0 || *p != '0')
            ++digits;
        if (digits > 18)
            return false;
        count = count * 10 + (*p - '0');
    }
    if (count > kMaxSteps)
        return false;
    *steps = count;
    return true;
}

bool binarySteps(double magnitude, int bits, std::int64_t* steps) {
    const double scaled = std::ldexp(std::fabs(magnitude), bits);
    if (!(scaled <= double(kMaxSteps)))
        return false;
    const double whole = std::floor(scaled);
    const double rest = scaled - whole; // exact: both lie on the same binade's grid
    std::int64_t count = std::int64_t(whole);
    if (rest > 0.5 || (rest == 0.5 && (count & 1) != 0))
        ++count;
    *steps = count;
    return true;
}

void suppressZeros(Text& text, int from, int suppression) {
    int point = -1;
    for (int i = from; i < text.length; ++i) {
        if (text.units[i] == '.')
            point = i;
    }
    if (point >= 0 && (suppression & XoSuppressTrailing) != 0) {
        while (text.units[text.length - 1] == '0')
            --text.length;
        if (text.length - 1 == point)
            --text.length;
    }
    const bool zeroWhole =
        text.length - from >= 2 && text.units[from] == '0' && text.units[from + 1] == '.';
    if (zeroWhole && (suppression & XoSuppressLeading) != 0) {
        for (int i = from; i + 1 < text.length; ++i)
            text.units[i] = text.units[i + 1];
        --text.length;
    }
}

void putDecimal(Text& text, std::int64_t steps, int decimals, int suppression) {
    const int from = text.length;
    const std::int64_t unit = power10(decimals);
    text.putInteger(std::uint64_t(steps / unit));
    if (decimals > 0) {
        text.put('.');
        const std::int64_t fraction = steps % unit;
        for (std::int64_t place = unit / 10; place > 0; place /= 10)
            text.put(char('0' + fraction / place % 10));
    }
    suppressZeros(text, from, suppression);
}

int deliver(const Text& text, wchar_t* out, int size) {
    if (out != nullptr && size > text.length) {
        for (int i = 0; i < text.length; ++i)
            out[i] = wchar_t(static_cast<unsigned char>(text.units[i]));
        out[text.length] = 0;
    }
    return text.length + 1;
}

} // namespace xo::units
