// How Windows picks the monitor nearest to a rectangle, for the monitors an X server
// lists.
#pragma once

#include "platform/display.h"

#include <cstddef>

namespace xo::platform {

// The index of the monitor MonitorFromRect(MONITOR_DEFAULTTONEAREST) would pick for
// target among count monitors (count > 0): the one with the largest area in common with
// target; when target meets none of them (an empty target never does), the one at the
// shortest straight-line distance, 0 for a monitor that touches or holds it. The first
// wins a tie, so the caller lists the primary monitor first.
std::size_t nearestMonitorIndex(const Rect& target, const Rect* monitors, std::size_t count);

// The overlap of a and b into out; false, out untouched, when they share no area.
bool intersectRects(const Rect& a, const Rect& b, Rect* out);

} // namespace xo::platform
