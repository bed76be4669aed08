// Lengths in their five formats. Feet-and-inch formats take the drawing unit as the inch.
#include <cmath>
#include <cstdint>

#include "XoNumberText.h"
#include "encoding/xounits.h"

namespace xo::units {
namespace {

constexpr int kInchesPerFoot = 12;

// A whole number and a fraction num/2^bits in lowest terms: "3 1/2", "3", "1/2" (or
// "0 1/2" without leading suppression).
void putMixed(Text& text, std::int64_t whole, std::int64_t numerator, int bits, int suppression) {
    std::int64_t denominator = std::int64_t(1) << bits;
    while (numerator != 0 && (numerator & 1) == 0) {
        numerator >>= 1;
        denominator >>= 1;
    }
    const bool wholeShown = whole != 0 || numerator == 0 || (suppression & XoSuppressLeading) == 0;
    if (wholeShown)
        text.putInteger(std::uint64_t(whole));
    if (numerator == 0)
        return;
    if (wholeShown)
        text.put(' ');
    text.putInteger(std::uint64_t(numerator));
    text.put('/');
    text.putInteger(std::uint64_t(denominator));
}

// Feet, then inches already written into inches; the zero suppression of feet and inches.
void putFeetAndInches(Text& text, std::int64_t feet, const Text& inches, bool inchesZero,
                      int suppression) {
    const bool feetShown = feet != 0 || (suppression & XoSuppressZeroFeet) == 0;
    const bool inchesShown = !inchesZero || (suppression & XoSuppressZeroInches) == 0;
    if (feetShown) {
        text.putInteger(std::uint64_t(feet));
        text.put('\'');
    }
    if (feetShown && inchesShown)
        text.put('-');
    if (inchesShown || !feetShown) {
        for (int i = 0; i < inches.length; ++i)
            text.put(inches.units[i]);
        text.put('"');
    }
}

int engineering(double value, int precision, int suppression, Text& text) {
    std::int64_t steps;
    if (!decimalSteps(value, precision, &steps))
        return XoUnitsTooLarge;
    const std::int64_t perFoot = kInchesPerFoot * power10(precision);
    if (value < 0 && steps != 0)
        text.put('-');
    Text inches;
    putDecimal(inches, steps % perFoot, precision, suppression);
    putFeetAndInches(text, steps / perFoot, inches, steps % perFoot == 0, suppression);
    return XoUnitsOk;
}

int architectural(double value, int bits, int suppression, Text& text) {
    std::int64_t steps;
    if (!binarySteps(value, bits, &steps))
        return XoUnitsTooLarge;
    const std::int64_t perFoot = std::int64_t(kInchesPerFoot) << bits;
    const std::int64_t rest = steps % perFoot;
    if (value < 0 && steps != 0)
        text.put('-');
    Text inches;
    putMixed(inches, rest >> bits, rest & ((std::int64_t(1) << bits) - 1), bits, suppression);
    putFeetAndInches(text, steps / perFoot, inches, rest == 0, suppression);
    return XoUnitsOk;
}

int fractional(double value, int bits, int suppression, Text& text) {
    std::int64_t steps;
    if (!binarySteps(value, bits, &steps))
        return XoUnitsTooLarge;
    if (value < 0 && steps != 0)
        text.put('-');
    putMixed(text, steps >> bits, steps & ((std::int64_t(1) << bits) - 1), bits, suppression);
    return XoUnitsOk;
}

// True when the text from 'from' has no digit other than 0 before any exponent.
bool allZero(const Text& text, int from) {
    for (int i = from; i < text.length && text.units[i] != 'E'; ++i) {
        if (text.units[i] >= '1' && text.units[i] <= '9')
            return false;
    }
    return true;
}

// xoDToStr's text of value, without the sign of a value that rounded to zero.
void putPrintf(Text& text, double value, char letter, int precision) {
    const int from = text.length;
    text.length += xoDToStr(value, letter, precision, text.units + from, kTextCapacity - from) - 1;
    if (text.units[from] == '-' && allZero(text, from)) {
        for (int i = from; i + 1 < text.length; ++i)
            text.units[i] = text.units[i + 1];
        --text.length;
    }
}

} // namespace

int writeScientific(double value, int precision, Text& text) {
    if (precision < 0 || precision > kMaxPrecision)
        return XoUnitsBadArgument;
    if (!std::isfinite(value))
        return XoUnitsNotFinite;
    const int from = text.length;
    putPrintf(text, value, 'E', precision);
    // Near the largest double a short mantissa rounds beyond it ("2E+308"), which no
    // reader can take back.
    text.units[text.length] = 0;
    if (std::fabs(value) > 1e308 && !std::isfinite(xoStrToD(text.units + from, nullptr, nullptr))) {
        text.length = from;
        return XoUnitsTooLarge;
    }
    return XoUnitsOk;
}

// A decimal number with zero suppression, for lengths and for the decimal angle forms.
void putFixed(Text& text, double value, int precision, int suppression) {
    const int from = text.length;
    putPrintf(text, value, 'f', precision);
    suppressZeros(text, text.units[from] == '-' ? from + 1 : from, suppression);
}

int writeLength(double value, const XoUnitFormat& format, Text& text) {
    if (!std::isfinite(value))
        return XoUnitsNotFinite;
    const int precision = format.lengthPrecision;
    const int suppression = format.zeroSuppression;
    switch (format.lengthFormat) {
    case XoLengthScientific:
        return writeScientific(value, precision, text);
    case XoLengthDecimal:
        putFixed(text, value, precision, suppression);
        return XoUnitsOk;
    case XoLengthEngineering:
        return engineering(value, precision, suppression, text);
    case XoLengthArchitectural:
        return architectural(value, precision, suppression, text);
    default:
        return fractional(value, precision, suppression, text);
    }
}

} // namespace xo::units
