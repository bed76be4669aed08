// Reading a length or an angle as a user types it. The text is copied first (it is
// short), so nothing past the caller's length is ever touched, and the numbers are
// scanned here and only then converted by xoStrToD, which knows nothing of units.
#include <cmath>
#include <cstdint>

#include "XoNumberText.h"
#include "encoding/xounits.h"

namespace xo::units {
namespace {

// Whatever the writers write fits: a double of 309 digits with a sign, a point and 8
// decimals.
constexpr int kMaxText = kTextCapacity;
constexpr double kPi = 3.14159265358979323846;

struct Cursor {
    const wchar_t* p;
    const wchar_t* end;
    wchar_t peek() const { return p == end ? wchar_t(0) : *p; }
    bool take(wchar_t c) {
        if (p == end || *p != c)
            return false;
        ++p;
        return true;
    }
    bool atEnd() const { return p == end; }
};

bool digit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

wchar_t lower(wchar_t c) {
    return c >= L'A' && c <= L'Z' ? wchar_t(c + 32) : c;
}

void skipBlanks(Cursor& c) {
    while (c.peek() == L' ' || c.peek() == L'\t')
        ++c.p;
}

// Digits with an optional point, then an optional exponent; plain when digits alone.
bool number(Cursor& c, double* value, bool* plain) {
    const wchar_t* q = c.p;
    int digits = 0;
    for (; q != c.end && digit(*q); ++q)
        ++digits;
    const bool point = q != c.end && *q == L'.';
    if (point) {
        for (++q; q != c.end && digit(*q); ++q)
            ++digits;
    }
    if (digits == 0)
        return false;
    bool exponent = false;
    if (q != c.end && (*q == L'e' || *q == L'E')) {
        const wchar_t* r = q + 1;
        if (r != c.end && (*r == L'+' || *r == L'-'))
            ++r;
        exponent = r != c.end && digit(*r);
        if (exponent) {
            while (r != c.end && digit(*r))
                ++r;
            q = r;
        }
    }
    char narrow[kMaxText + 1];
    int n = 0;
    for (const wchar_t* s = c.p; s != q; ++s)
        narrow[n++] = char(*s);
    narrow[n] = 0;
    const double read = xoStrToD(narrow, nullptr, nullptr);
    if (!std::isfinite(read))
        return false;
    *value = read;
    *plain = !point && !exponent;
    c.p = q;
    return true;
}

bool integer(Cursor& c, std::int64_t* value) {
    std::int64_t n = 0;
    int digits = 0;
    for (; digit(c.peek()); ++c.p) {
        if (++digits > 18)
            return false;
        n = n * 10 + (c.peek() - L'0');
    }
    *value = n;
    return digits > 0;
}

// numerator/denominator, the denominator above 0.
bool fraction(Cursor& c, std::int64_t* numerator, std::int64_t* denominator) {
    return integer(c, numerator) && c.take(L'/') && integer(c, denominator) && *denominator > 0;
}

// 15, 15.5, 1.55E+01, 1/2, 15 1/2 or 15-1/2.
bool mixed(Cursor& c, double* value) {
    std::int64_t numerator, denominator;
    Cursor attempt = c;
    if (fraction(attempt, &numerator, &denominator)) {
        c = attempt;
        *value = double(numerator) / double(denominator);
        return true;
    }
    double whole;
    bool plain;
    if (!number(c, &whole, &plain))
        return false;
    *value = whole;
    if (!plain)
        return true;
    Cursor after = c;
    skipBlanks(after);
    if (after.p == c.p && !after.take(L'-'))
        return true;
    if (fraction(after, &numerator, &denominator) && numerator < denominator) {
        c = after;
        *value = whole + double(numerator) / double(denominator);
    }
    return true;
}

// 1', 1'-3 1/2", 1'3.5", 3 1/2", 3.5: the drawing unit is the inch.
bool feetAndInches(Cursor& c, double* inches) {
    Cursor attempt = c;
    double feet;
    bool plain;
    if (number(attempt, &feet, &plain) && attempt.take(L'\'')) {
        Cursor rest = attempt;
        skipBlanks(rest);
        double more = 0;
        if (!rest.atEnd()) {
            rest.take(L'-');
            skipBlanks(rest);
            if (!mixed(rest, &more))
                return false;
            rest.take(L'"');
        }
        c = rest;
        *inches = feet * 12 + more;
        return true;
    }
    if (!mixed(c, inches))
        return false;
    c.take(L'"');
    return true;
}

int readLength(Cursor& c, int format, double* value) {
    skipBlanks(c);
    const bool negative = c.take(L'-');
    if (!negative)
        c.take(L'+');
    double read;
    const bool feet = format == XoLengthEngineering || format == XoLengthArchitectural;
    if (!(feet ? feetAndInches(c, &read) : mixed(c, &read)))
        return XoUnitsBadText;
    skipBlanks(c);
    if (!c.atEnd() || !std::isfinite(read))
        return XoUnitsBadText;
    *value = negative ? -read : read;
    return XoUnitsOk;
}

enum class Unit { degrees, grads, radians };

Unit defaultUnit(int format) {
    if (format == XoAngleGrads)
        return Unit::grads;
    return format == XoAngleRadians ? Unit::radians : Unit::degrees;
}

double toRadians(double value, Unit unit) {
    if (unit == Unit::degrees)
        return value * kPi / 180.0;
    return unit == Unit::grads ? value * kPi / 200.0 : value;
}

double rightAngle(Unit unit) {
    if (unit == Unit::degrees)
        return 90;
    return unit == Unit::grads ? 100 : kPi / 2;
}

bool startsNumber(wchar_t c) {
    return digit(c) || c == L'.';
}

// A minute or second part: below 60, the part before it a whole number.
bool part(Cursor& c, bool wholeBefore, wchar_t mark, double* value, bool* plain) {
    return wholeBefore && number(c, value, plain) && c.take(mark) && *value < 60;
}

// What may follow "45d": 30' and then 15.5".
bool minutesAndSeconds(Cursor& c, double degrees, bool plain, double* value) {
    double minutes = 0, seconds = 0;
    bool minutesPlain = false, secondsPlain = false;
    if (startsNumber(c.peek())) {
        if (!part(c, plain, L'\'', &minutes, &minutesPlain))
            return false;
        if (startsNumber(c.peek()) && !part(c, minutesPlain, L'"', &seconds, &secondsPlain))
            return false;
    }
    *value = degrees + minutes / 60 + seconds / 3600;
    return true;
}

// 45d30'15.5", 45d, 50g, 0.79r, or a bare number in the format's unit.
bool angle(Cursor& c, int format, double* value, Unit* unit) {
    double first;
    bool plain;
    if (!number(c, &first, &plain))
        return false;
    const wchar_t mark = lower(c.peek());
    *value = first;
    *unit = defaultUnit(format);
    if (mark == L'g' || mark == L'r') {
        ++c.p;
        *unit = mark == L'g' ? Unit::grads : Unit::radians;
    } else if (mark == L'd' || mark == 0xB0) {
        ++c.p;
        *unit = Unit::degrees;
        return minutesAndSeconds(c, first, plain, value);
    }
    return true;
}

// N 45d30' E, or N, S alone; as the direction counter-clockwise from east.
bool bearing(Cursor& c, int format, double* radians) {
    const bool north = lower(c.peek()) == L'n';
    ++c.p;
    skipBlanks(c);
    if (c.atEnd()) {
        *radians = north ? kPi / 2 : 3 * kPi / 2;
        return true;
    }
    double value;
    Unit unit;
    if (!angle(c, format, &value, &unit) || value > rightAngle(unit))
        return false;
    skipBlanks(c);
    const wchar_t side = lower(c.peek());
    if (side != L'e' && side != L'w')
        return false;
    ++c.p;
    const double offset = toRadians(value, unit);
    const bool clockwise = north == (side == L'e');
    double direction = (north ? kPi / 2 : 3 * kPi / 2) + (clockwise ? -offset : offset);
    if (direction >= 2 * kPi)
        direction -= 2 * kPi;
    *radians = direction;
    return true;
}

int readAngle(Cursor& c, int format, double* value) {
    skipBlanks(c);
    const wchar_t first = lower(c.peek());
    double read = 0;
    if (first == L'n' || first == L's') {
        if (!bearing(c, format, &read))
            return XoUnitsBadText;
    } else if (first == L'e' || first == L'w') {
        ++c.p;
        read = first == L'e' ? 0 : kPi;
    } else {
        const bool negative = c.take(L'-');
        if (!negative)
            c.take(L'+');
        Unit unit;
        if (!angle(c, format, &read, &unit))
            return XoUnitsBadText;
        read = toRadians(negative ? -read : read, unit);
    }
    skipBlanks(c);
    if (!c.atEnd() || !std::isfinite(read))
        return XoUnitsBadText;
    *value = read;
    return XoUnitsOk;
}

} // namespace
} // namespace xo::units

int InputWithFormat(const wchar_t* text, int length, XoUnitKind kind, const XoUnitFormat* format,
                    double* value) {
    using namespace xo::units;
    const XoUnitFormat used = format != nullptr ? *format : currentFormat();
    if (!validFormat(used) || (kind != XoUnitLength && kind != XoUnitAngle) || value == nullptr ||
        length < -1)
        return XoUnitsBadArgument;
    if (text == nullptr)
        return XoUnitsBadText;
    int n = 0;
    if (length == -1) {
        while (n <= kMaxText && text[n] != 0)
            ++n;
    } else {
        n = length;
    }
    if (n > kMaxText)
        return XoUnitsBadText;
    wchar_t copy[kMaxText + 1];
    for (int i = 0; i < n; ++i)
        copy[i] = text[i];
    copy[n] = 0;
    Cursor c{copy, copy + n};
    return kind == XoUnitLength ? readLength(c, used.lengthFormat, value)
                                : readAngle(c, used.angleFormat, value);
}
