// The monitors and the screen's dots per inch, as the application asks Windows for them.
#pragma once

#include <cstdint>

struct tagRECT;

namespace xo::platform {

// A rectangle in virtual-screen pixels, RECT's layout: left and top inclusive, right and
// bottom exclusive.
struct Rect {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
};

// The monitor MonitorFromRect(MONITOR_DEFAULTTONEAREST) picks for in: the one sharing
// the largest area with it, else the closest. Its whole rectangle into monitor and its
// work area (less task bars and panels) into workArea; either may be null. False when
// no display can be asked.
//
// Windows asks MonitorFromRect and GetMonitorInfoW. POSIX asks the X server that DISPLAY
// names, through libX11 and libXrandr loaded at run time, so that the library runs
// where X is not installed: each call opens its own connection and closes it, so calls
// from several threads share nothing and a changed monitor layout is seen at once. The
// monitors are RandR's (the whole screen when RandR lists none). The work area is the
// window manager's _NET_WORKAREA of the current desktop cut to the monitor; it covers
// all monitors at once, so a panel on one monitor only is not taken off the others.
// Without a work area, or when it misses the monitor, it is the monitor's rectangle.
bool nearestMonitor(const Rect& in, Rect* monitor, Rect* workArea);

// The screen's logical dots per inch across (GetDeviceCaps LOGPIXELSX of the screen's
// device context on Windows). POSIX takes Xft.dpi from the server's resource database
// when one is set: desktops write their scale setting there, and it is what toolkits
// draw by, as LOGPIXELSX is on Windows. Else the screen's width in pixels over its width
// in millimetres, rounded to a whole number. False when no display can be asked, or it
// answers no positive number.
bool screenDpi(int* dpi);

// The public RECT, which neutral code sees only declared on Windows, to and from Rect.
Rect rectFromTagRect(const tagRECT& rect);
void storeTagRect(const Rect& rect, tagRECT* out);

// The field-by-field copies behind them, for the twins, where tagRECT is complete.
template <class R> Rect rectFromFields(const R& rect) {
    return Rect{rect.left, rect.top, rect.right, rect.bottom};
}
template <class R> void storeFields(const Rect& rect, R* out) {
    out->left = rect.left;
    out->top = rect.top;
    out->right = rect.right;
    out->bottom = rect.bottom;
}

} // namespace xo::platform
