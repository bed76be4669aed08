// The monitor and display-scale queries. The platform names the monitor and the dots per
// inch; the classes and the scale are reckoned here, the same on both targets.
#include "sysinfo/veskdisplay.h"

#include "platform/display.h"

#include "VeskSystemInfo.h"

#include <algorithm>
#include <atomic>

namespace xo::sysinfo {

namespace {

// The scale once read; negative until then. Threads that race on the first read each
// store the same value, and a reader that sees the 1.0 stored before the display is
// asked takes the answer given where there is no display, so no lock is taken; relaxed
// atomic accesses cost what plain ones do.
std::atomic<double> g_dpiScale{-1.0};
constexpr auto kRelaxed = std::memory_order_relaxed;

// Asked about when the caller names no rectangle: a spot near the primary monitor's
// top left corner.
constexpr platform::Rect kDefaultSpot{10, 10, 20, 20};

// The class returned when no monitor can be asked about.
constexpr int kUnknownSizeClass = 1;

} // namespace

int monitorSizeClass(int width, int height) {
    const int longSide = std::max(width, height);
    const int shortSide = std::min(width, height);
    if (longSide >= 4097 || shortSide >= 2161)
        return 4;
    if (longSide >= 3840 || shortSide >= 1632)
        return 3;
    if (longSide >= 2048)
        return 2;
    if (longSide >= 1920)
        return 1;
    return 0;
}

double dpiScaleForDpi(int dpi) {
    const long long percent = static_cast<long long>(dpi) * 100 / 96;
    return static_cast<double>(percent) / 100.0;
}

void forgetDpiScale() {
    g_dpiScale.store(-1.0, kRelaxed);
}

// Kept out of line, so that the cached answer costs no stack frame.
[[gnu::noinline]] double readDpiScale() {
    g_dpiScale.store(1.0, kRelaxed);
    int dpi = 0;
    if (platform::screenDpi(&dpi))
        g_dpiScale.store(dpiScaleForDpi(dpi), kRelaxed);
    return g_dpiScale.load(kRelaxed);
}

} // namespace xo::sysinfo

bool veskGetMonitorRectByRect(const tagRECT* in, tagRECT* out) {
    if (in == nullptr || out == nullptr)
        return false;
    xo::platform::Rect workArea;
    if (!xo::platform::nearestMonitor(xo::platform::rectFromTagRect(*in), nullptr, &workArea))
        return false;
    xo::platform::storeTagRect(workArea, out);
    return true;
}

int veskGetMonitorResolution(const tagRECT* in) {
    const xo::platform::Rect spot =
        in != nullptr ? xo::platform::rectFromTagRect(*in) : xo::sysinfo::kDefaultSpot;
    xo::platform::Rect monitor;
    if (!xo::platform::nearestMonitor(spot, &monitor, nullptr))
        return xo::sysinfo::kUnknownSizeClass;
    return xo::sysinfo::monitorSizeClass(monitor.right - monitor.left,
                                         monitor.bottom - monitor.top);
}

double veskGetDPIScale() {
    const double cached = xo::sysinfo::g_dpiScale.load(xo::sysinfo::kRelaxed);
    return cached >= 0 ? cached : xo::sysinfo::readDpiScale();
}
