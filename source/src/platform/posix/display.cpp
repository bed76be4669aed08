#include "platform/display.h"
#include "platform/posix/monitorgeometry.h"

#include "VeskSystemInfo.h"

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace xo::platform {

namespace {

// The few Xlib and RandR declarations used, written out so that building needs no X
// headers and the library no X libraries: both are opened at run time. Types as the
// x86-64 and AArch64 Linux ABIs lay them out (XID and Atom are unsigned long).
struct XDisplay;
using XId = unsigned long;
using XAtom = unsigned long;
using XBool = int;
constexpr XAtom kXaCardinal = 6; // XA_CARDINAL
constexpr int kXSuccess = 0;

struct XrrMonitorInfo {
    XAtom name;
    XBool primary;
    XBool automatic;
    int outputCount;
    int x;
    int y;
    int width;
    int height;
    int widthMm;
    int heightMm;
    XId* outputs;
};

struct XFunctions {
    XDisplay* (*openDisplay)(const char*) = nullptr;
    int (*closeDisplay)(XDisplay*) = nullptr;
    int (*defaultScreen)(XDisplay*) = nullptr;
    XId (*rootWindow)(XDisplay*, int) = nullptr;
    int (*displayWidth)(XDisplay*, int) = nullptr;
    int (*displayHeight)(XDisplay*, int) = nullptr;
    int (*displayWidthMm)(XDisplay*, int) = nullptr;
    XAtom (*internAtom)(XDisplay*, const char*, XBool) = nullptr;
    XBool (*queryExtension)(XDisplay*, const char*, int*, int*, int*) = nullptr;
    int (*getWindowProperty)(XDisplay*, XId, XAtom, long, long, XBool, XAtom, XAtom*, int*,
                             unsigned long*, unsigned long*, unsigned char**) = nullptr;
    int (*free)(void*) = nullptr;
    char* (*resourceManagerString)(XDisplay*) = nullptr;
    // RandR; null when libXrandr is missing, and then the screen is the one monitor.
    XBool (*rrQueryExtension)(XDisplay*, int*, int*) = nullptr;
    int (*rrQueryVersion)(XDisplay*, int*, int*) = nullptr;
    XrrMonitorInfo* (*rrGetMonitors)(XDisplay*, XId, XBool, int*) = nullptr;
    void (*rrFreeMonitors)(XrrMonitorInfo*) = nullptr;
    bool usable = false;
    bool randr = false;
};

template <typename Function> bool bind(void* library, const char* name, Function* function) {
    *function = reinterpret_cast<Function>(dlsym(library, name));
    return *function != nullptr;
}

// The libraries stay loaded for the rest of the process: closing them could pull code
// from under a query running on another thread, and Xlib keeps process-wide state.
XFunctions loadX() {
    XFunctions x;
    void* const xlib = dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
    if (xlib == nullptr)
        return x;
    x.usable =
        bind(xlib, "XOpenDisplay", &x.openDisplay) &&
        bind(xlib, "XCloseDisplay", &x.closeDisplay) &&
        bind(xlib, "XDefaultScreen", &x.defaultScreen) &&
        bind(xlib, "XRootWindow", &x.rootWindow) && bind(xlib, "XDisplayWidth", &x.displayWidth) &&
        bind(xlib, "XDisplayHeight", &x.displayHeight) &&
        bind(xlib, "XDisplayWidthMM", &x.displayWidthMm) &&
        bind(xlib, "XInternAtom", &x.internAtom) &&
        bind(xlib, "XQueryExtension", &x.queryExtension) &&
        bind(xlib, "XGetWindowProperty", &x.getWindowProperty) && bind(xlib, "XFree", &x.free) &&
        bind(xlib, "XResourceManagerString", &x.resourceManagerString);
    if (!x.usable)
        return x;
    if (void* const xrandr = dlopen("libXrandr.so.2", RTLD_NOW | RTLD_LOCAL)) {
        x.randr = bind(xrandr, "XRRQueryExtension", &x.rrQueryExtension) &&
                  bind(xrandr, "XRRQueryVersion", &x.rrQueryVersion) &&
                  bind(xrandr, "XRRGetMonitors", &x.rrGetMonitors) &&
                  bind(xrandr, "XRRFreeMonitors", &x.rrFreeMonitors);
    }
    return x;
}

const XFunctions& xFunctions() {
    static const XFunctions functions = loadX();
    return functions;
}

// One connection to the server that DISPLAY names, for one query. libX11 from 1.8 on
// makes itself thread-safe as it loads; older ones are safe enough for threads that
// each use a connection of their own. Xlib's default handlers end the process on a
// protocol error or a lost connection, and they are the host's to replace, not ours:
// the queries send only requests the server has said it supports.
class Connection {
public:
    Connection() {
        const char* const name = std::getenv("DISPLAY");
        if (name == nullptr || *name == '\0')
            return; // no server named: X is not asked, nor even loaded
        const XFunctions& x = xFunctions();
        if (!x.usable)
            return;
        display_ = x.openDisplay(name);
        if (display_ != nullptr) {
            screen_ = x.defaultScreen(display_);
            root_ = x.rootWindow(display_, screen_);
        }
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() {
        if (display_ != nullptr)
            xFunctions().closeDisplay(display_);
    }

    bool open() const { return display_ != nullptr; }
    XDisplay* display() const { return display_; }
    int screen() const { return screen_; }
    XId root() const { return root_; }

private:
    XDisplay* display_ = nullptr;
    int screen_ = 0;
    XId root_ = 0;
};

struct Monitor {
    Rect rect;
    bool primary;
};

// RandR's monitors (from version 1.5), the primary first, as Windows lists it; the whole
// screen when the server or the machine has no RandR monitors to list.
std::vector<Rect> monitorRects(const Connection& connection) {
    const XFunctions& x = xFunctions();
    std::vector<Monitor> monitors;
    int opcode = 0;
    int eventBase = 0;
    int errorBase = 0;
    int major = 0;
    int minor = 0;
    // The core request first: libXrandr keeps a record for each connection it is asked
    // on, which it frees when the connection closes only if the server has RandR.
    if (x.randr &&
        x.queryExtension(connection.display(), "RANDR", &opcode, &eventBase, &errorBase) &&
        x.rrQueryExtension(connection.display(), &eventBase, &errorBase) &&
        x.rrQueryVersion(connection.display(), &major, &minor) &&
        (major > 1 || (major == 1 && minor >= 5))) {
        int count = 0;
        XrrMonitorInfo* const listed =
            x.rrGetMonitors(connection.display(), connection.root(), 1, &count);
        for (int i = 0; listed != nullptr && i < count; ++i) {
            const XrrMonitorInfo& info = listed[i];
            if (info.width > 0 && info.height > 0)
                monitors.push_back(
                    Monitor{Rect{info.x, info.y, info.x + info.width, info.y + info.height},
                            info.primary != 0});
        }
        if (listed != nullptr)
            x.rrFreeMonitors(listed);
    }
    std::stable_partition(monitors.begin(), monitors.end(),
                          [](const Monitor& monitor) { return monitor.primary; });
    std::vector<Rect> rects;
    for (const Monitor& monitor : monitors)
        rects.push_back(monitor.rect);
    if (rects.empty()) {
        const int width = x.displayWidth(connection.display(), connection.screen());
        const int height = x.displayHeight(connection.display(), connection.screen());
        if (width > 0 && height > 0)
            rects.push_back(Rect{0, 0, width, height});
    }
    return rects;
}

// The CARDINALs of a property of the root window; empty when it is not set. Format-32
// items arrive as longs, whatever their width on the wire.
std::vector<long> rootCardinals(const Connection& connection, const char* name) {
    const XFunctions& x = xFunctions();
    std::vector<long> values;
    const XAtom property = x.internAtom(connection.display(), name, 1); // only if it exists
    if (property == 0)
        return values;
    XAtom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    // Up to 1024 desktops' work areas; a window manager sets one per desktop.
    if (x.getWindowProperty(connection.display(), connection.root(), property, 0, 4096, 0,
                            kXaCardinal, &type, &format, &count, &left, &data) == kXSuccess &&
        type == kXaCardinal && format == 32 && data != nullptr) {
        const long* const items = reinterpret_cast<const long*>(data);
        values.assign(items, items + count);
    }
    if (data != nullptr)
        x.free(data);
    return values;
}

// The window manager's work area of the current desktop (EWMH _NET_WORKAREA: x, y,
// width, height for each desktop); false when there is none.
bool managerWorkArea(const Connection& connection, Rect* area) {
    const std::vector<long> areas = rootCardinals(connection, "_NET_WORKAREA");
    if (areas.size() < 4)
        return false;
    std::size_t desktop = 0;
    const std::vector<long> current = rootCardinals(connection, "_NET_CURRENT_DESKTOP");
    if (!current.empty() && current[0] >= 0 &&
        static_cast<unsigned long>(current[0]) < areas.size() / 4)
        desktop = static_cast<std::size_t>(current[0]);
    const long* const item = &areas[desktop * 4];
    // CARDINALs are 32-bit on the wire, the position signed in practice.
    const auto left = static_cast<std::int32_t>(item[0]);
    const auto top = static_cast<std::int32_t>(item[1]);
    *area = Rect{left, top, left + static_cast<std::int32_t>(item[2]),
                 top + static_cast<std::int32_t>(item[3])};
    return true;
}

// Xft.dpi from the resource database the server held when the connection opened (the
// RESOURCE_MANAGER property, "name:\tvalue" lines); 0 when it is not set.
int resourceDpi(const Connection& connection) {
    const char* text = xFunctions().resourceManagerString(connection.display());
    static constexpr char kName[] = "Xft.dpi";
    for (; text != nullptr && *text != '\0'; text = std::strchr(text, '\n')) {
        while (*text == '\n' || *text == ' ' || *text == '\t')
            ++text;
        if (std::strncmp(text, kName, sizeof kName - 1) != 0)
            continue;
        const char* rest = text + sizeof kName - 1;
        while (*rest == ' ' || *rest == '\t')
            ++rest;
        if (*rest != ':')
            continue;
        char* end = nullptr;
        const double value = std::strtod(rest + 1, &end);
        if (end != rest + 1 && value >= 1 && value < 100000)
            return static_cast<int>(std::lround(value));
    }
    return 0;
}

} // namespace

bool nearestMonitor(const Rect& in, Rect* monitor, Rect* workArea) {
    const Connection connection;
    if (!connection.open())
        return false;
    const std::vector<Rect> monitors = monitorRects(connection);
    if (monitors.empty())
        return false;
    const Rect& chosen = monitors[nearestMonitorIndex(in, monitors.data(), monitors.size())];
    if (monitor != nullptr)
        *monitor = chosen;
    if (workArea != nullptr) {
        Rect managed;
        if (!managerWorkArea(connection, &managed) || !intersectRects(managed, chosen, workArea))
            *workArea = chosen;
    }
    return true;
}

bool screenDpi(int* dpi) {
    const Connection connection;
    if (!connection.open())
        return false;
    int answer = resourceDpi(connection);
    if (answer <= 0) {
        const XFunctions& x = xFunctions();
        const int pixels = x.displayWidth(connection.display(), connection.screen());
        const int millimetres = x.displayWidthMm(connection.display(), connection.screen());
        if (pixels <= 0 || millimetres <= 0)
            return false;
        answer = static_cast<int>(std::lround(pixels * 25.4 / millimetres));
    }
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
