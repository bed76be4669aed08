// Angles in their five formats, from radians counter-clockwise from east.
#include <cmath>
#include <cstdint>

#include "encoding/xounits.h"

namespace xo::units {
namespace {

constexpr double kPi = 3.14159265358979323846;
// Beyond this many radians (about 2600 turns) the trip through degrees or grads
// and back can move a value by more than half a step of the finest precision.
constexpr double kLargestAngle = 16384;

// How a degree splits at a precision: into 1, 60 or 3600 parts, of which the last has
// some decimals.
struct DegreeSplit {
    int partsPerDegree;
    int decimals;
    std::int64_t stepsPerDegree() const { return partsPerDegree * power10(decimals); }
};

DegreeSplit splitFor(int precision) {
    if (precision == 0)
        return {1, 0};
    if (precision <= 2)
        return {60, 0};
    return {3600, precision > 4 ? precision - 4 : 0};
}

// A count of steps written as 45d, 45d30' or 45d30'15.5".
void putDegMinSec(Text& text, std::int64_t steps, DegreeSplit split, int suppression) {
    const std::int64_t perDegree = split.stepsPerDegree();
    text.putInteger(std::uint64_t(steps / perDegree));
    text.put('d');
    if (split.partsPerDegree == 1)
        return;
    const std::int64_t perMinute = perDegree / 60;
    const std::int64_t rest = steps % perDegree;
    text.putInteger(std::uint64_t(rest / perMinute));
    text.put('\'');
    if (split.partsPerDegree == 60)
        return;
    putDecimal(text, rest % perMinute, split.decimals, suppression);
    text.put('"');
}

int degMinSec(double degrees, int precision, int suppression, Text& text) {
    const DegreeSplit split = splitFor(precision);
    std::int64_t steps;
    if (!decimalSteps(degrees * split.partsPerDegree, split.decimals, &steps))
        return XoUnitsTooLarge;
    if (degrees < 0 && steps != 0)
        text.put('-');
    putDegMinSec(text, steps, split, suppression);
    return XoUnitsOk;
}

// The direction, rounded first, then named by its quadrant: N 45d E for 45 degrees.
int surveyor(double degrees, int precision, int suppression, Text& text) {
    const DegreeSplit split = splitFor(precision);
    std::int64_t steps;
    if (!decimalSteps(degrees * split.partsPerDegree, split.decimals, &steps))
        return XoUnitsTooLarge;
    const std::int64_t quarter = 90 * split.stepsPerDegree();
    std::int64_t direction = steps % (4 * quarter);
    if (degrees < 0 && direction != 0)
        direction = 4 * quarter - direction;
    if (direction % quarter == 0) {
        text.put("ENWS"[direction / quarter]);
        return XoUnitsOk;
    }
    const int quadrant = int(direction / quarter);
    const std::int64_t into = direction % quarter;
    text.put(quadrant < 2 ? "N " : "S ");
    // From east: north of it the bearing counts from north, south of it from south.
    const std::int64_t bearing = quadrant == 0 || quadrant == 2 ? quarter - into : into;
    putDegMinSec(text, bearing, split, suppression);
    text.put(quadrant == 0 || quadrant == 3 ? " E" : " W");
    return XoUnitsOk;
}

} // namespace

int writeAngle(double value, const XoUnitFormat& format, Text& text) {
    if (!std::isfinite(value))
        return XoUnitsNotFinite;
    if (std::fabs(value) > kLargestAngle)
        return XoUnitsTooLarge;
    const int precision = format.anglePrecision;
    const int suppression = format.zeroSuppression;
    const double degrees = value * 180.0 / kPi;
    switch (format.angleFormat) {
    case XoAngleDegrees:
        putFixed(text, degrees, precision, suppression);
        return XoUnitsOk;
    case XoAngleDegMinSec:
        return degMinSec(degrees, precision, suppression, text);
    case XoAngleGrads:
        putFixed(text, value * 200.0 / kPi, precision, suppression);
        text.put('g');
        return XoUnitsOk;
    case XoAngleRadians:
        putFixed(text, value, precision, suppression);
        text.put('r');
        return XoUnitsOk;
    default:
        return surveyor(degrees, precision, suppression, text);
    }
}

} // namespace xo::units
