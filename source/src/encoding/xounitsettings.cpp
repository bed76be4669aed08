// The process-wide unit setting: five small numbers packed into one word, so a reader on
// another thread sees one whole setting or the other, never a mix.
#include "encoding/xounits.h"

#include <cstdint>

namespace xo::units {
namespace {

std::uint32_t pack(const XoUnitFormat& f) {
    return std::uint32_t(f.lengthFormat) | std::uint32_t(f.lengthPrecision) << 8 |
           std::uint32_t(f.angleFormat) << 16 | std::uint32_t(f.anglePrecision) << 20 |
           std::uint32_t(f.zeroSuppression) << 24;
}

XoUnitFormat unpack(std::uint32_t word) {
    return XoUnitFormat{int(word & 0xFF), int(word >> 8 & 0xFF), int(word >> 16 & 0xF),
                        int(word >> 20 & 0xF), int(word >> 24 & 0xFF)};
}

constexpr XoUnitFormat kDefault{XoLengthDecimal, 4, XoAngleDegrees, 4, 0};

// Builtins rather than std::atomic: no template instantiation leaves the library.
std::uint32_t g_setting = pack(kDefault);

} // namespace

bool validFormat(const XoUnitFormat& f) {
    return f.lengthFormat >= XoLengthScientific && f.lengthFormat <= XoLengthFractional &&
           f.lengthPrecision >= 0 && f.lengthPrecision <= kMaxPrecision &&
           f.angleFormat >= XoAngleDegrees && f.angleFormat <= XoAngleSurveyor &&
           f.anglePrecision >= 0 && f.anglePrecision <= kMaxPrecision && f.zeroSuppression >= 0 &&
           f.zeroSuppression <= 15;
}

XoUnitFormat currentFormat() {
    return unpack(__atomic_load_n(&g_setting, __ATOMIC_ACQUIRE));
}

} // namespace xo::units

int initOsBaseUnits(const XoUnitFormat* settings, XoUnitFormat* previous) {
    using namespace xo::units;
    const XoUnitFormat wanted = settings != nullptr ? *settings : kDefault;
    if (!validFormat(wanted))
        return XoUnitsBadArgument;
    const std::uint32_t old = __atomic_exchange_n(&g_setting, pack(wanted), __ATOMIC_ACQ_REL);
    if (previous != nullptr)
        *previous = unpack(old);
    return XoUnitsOk;
}
