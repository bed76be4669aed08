#include "platform/posix/monitorgeometry.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace xo::platform {

namespace {

// The gap between the spans [low1, high1) and [low2, high2) on one axis; 0 when they
// overlap or touch. Capped below 2^31 so that the sum of two squares fits in 64 bits;
// only rectangles at opposite ends of the coordinate range are that far apart.
std::uint64_t gap(std::int64_t low1, std::int64_t high1, std::int64_t low2, std::int64_t high2) {
    constexpr std::int64_t kLongest = std::numeric_limits<std::int32_t>::max();
    std::int64_t apart = 0;
    if (high1 <= low2)
        apart = low2 - high1;
    else if (high2 <= low1)
        apart = low1 - high2;
    return static_cast<std::uint64_t>(std::min(apart, kLongest));
}

} // namespace

bool intersectRects(const Rect& a, const Rect& b, Rect* out) {
    const Rect common{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                      std::min(a.bottom, b.bottom)};
    if (common.left >= common.right || common.top >= common.bottom)
        return false;
    *out = common;
    return true;
}

std::size_t nearestMonitorIndex(const Rect& target, const Rect* monitors, std::size_t count) {
    std::size_t byArea = count;
    std::int64_t largestArea = 0;
    std::size_t byDistance = 0;
    std::uint64_t shortest = std::numeric_limits<std::uint64_t>::max();
    for (std::size_t i = 0; i < count; ++i) {
        const Rect& monitor = monitors[i];
        Rect common;
        if (intersectRects(target, monitor, &common)) {
            const std::int64_t area = (std::int64_t{common.right} - common.left) *
                                      (std::int64_t{common.bottom} - common.top);
            if (area > largestArea) {
                largestArea = area;
                byArea = i;
            }
            continue;
        }
        const std::uint64_t dx = gap(target.left, target.right, monitor.left, monitor.right);
        const std::uint64_t dy = gap(target.top, target.bottom, monitor.top, monitor.bottom);
        const std::uint64_t squared = dx * dx + dy * dy;
        if (squared < shortest) {
            shortest = squared;
            byDistance = i;
        }
    }
    return byArea < count ? byArea : byDistance;
}

} // namespace xo::platform
