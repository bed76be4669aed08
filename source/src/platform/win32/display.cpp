#include "platform/display.h"

#include "VeskSystemInfo.h"

#include <windows.h>

namespace xo::platform {

static_assert(sizeof(MONITORINFO) == 40, "GetMonitorInfoW is given the plain MONITORINFO");
static_assert(sizeof(LONG) == sizeof(std::int32_t), "RECT and Rect hold the same numbers");

bool nearestMonitor(const Rect& in, Rect* monitor, Rect* workArea) {
    const RECT rect{in.left, in.top, in.right, in.bottom};
    HMONITOR const handle = ::MonitorFromRect(&rect, MONITOR_DEFAULTTONEAREST);
    if (handle == nullptr)
        return false;
    MONITORINFO info{};
    info.cbSize = sizeof info;
    if (!::GetMonitorInfoW(handle, &info))
        return false;
    if (monitor != nullptr)
        *monitor = rectFromTagRect(info.rcMonitor);
    if (workArea != nullptr)
        *workArea = rectFromTagRect(info.rcWork);
    return true;
}

bool screenDpi(int* dpi) {
    HDC const screen = ::GetDC(nullptr);
    if (screen == nullptr)
        return false;
    const int answer = ::GetDeviceCaps(screen, LOGPIXELSX);
    ::ReleaseDC(nullptr, screen);
    if (answer <= 0)
        return false;
    *dpi = answer;
    return true;
}

Rect rectFromTagRect(const tagRECT& rect) {
    return rectFromFields(rect);
}

void storeTagRect(const Rect& rect, tagRECT* out) {
    storeFields(rect, out);
}

} // namespace xo::platform
