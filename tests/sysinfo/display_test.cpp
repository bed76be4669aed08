// The monitor and display-scale queries: the size classes and the scale as numbers,
// then what a real display answers: Wine's desktop on Windows, on Linux X servers
// (Xvfb) that the tests start themselves.
#include "platform/display.h"
#include "sysinfo/veskdisplay.h"

#include "VeskSystemInfo.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include "platform/posix/monitorgeometry.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <thread>
#include <vector>
#endif

namespace {

using xo::platform::Rect;

std::string text(const Rect& rect) {
    return "{" + std::to_string(rect.left) + ", " + std::to_string(rect.top) + ", " +
           std::to_string(rect.right) + ", " + std::to_string(rect.bottom) + "}";
}

::testing::AssertionResult sameRect(const Rect& got, const Rect& expected) {
    if (got.left == expected.left && got.top == expected.top && got.right == expected.right &&
        got.bottom == expected.bottom)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << text(got) << ", expected " << text(expected);
}

tagRECT tagRect(const Rect& rect) {
    tagRECT out{};
    xo::platform::storeTagRect(rect, &out);
    return out;
}

// The scale is kept for the process; each test that reads it starts and ends unread.
struct ForgottenScale {
    ForgottenScale() { xo::sysinfo::forgetDpiScale(); }
    ~ForgottenScale() { xo::sysinfo::forgetDpiScale(); }
};

struct SizeClassCase {
    int width;
    int height;
    int sizeClass;
};

TEST(MonitorSizeClass, EachThresholdAndOneBelowItInBothOrientations) {
    const SizeClassCase cases[] = {
        {4097, 100, 4},  {4096, 100, 3},   // long side 4097
        {2161, 2161, 4}, {2160, 2160, 3},  // short side 2161
        {3840, 100, 3},  {3839, 100, 2},   // long side 3840
        {1920, 1632, 3}, {1920, 1631, 1},  // short side 1632
        {1632, 1632, 3}, {1631, 1631, 0},  //
        {2048, 100, 2},  {2047, 100, 1},   // long side 2048
        {1920, 100, 1},  {1919, 100, 0},   // long side 1920
        {0, 0, 0},       {-5000, -5000, 0} // nonsense sizes count as small
    };
    for (const SizeClassCase& c : cases) {
        EXPECT_EQ(xo::sysinfo::monitorSizeClass(c.width, c.height), c.sizeClass)
            << c.width << " x " << c.height;
        EXPECT_EQ(xo::sysinfo::monitorSizeClass(c.height, c.width), c.sizeClass)
            << c.height << " x " << c.width;
    }
}

TEST(DpiScale, WholePercentOfNinetySixTruncated) {
    const struct {
        int dpi;
        double scale;
    } cases[] = {
        {96, 1.0},  {100, 1.04}, {120, 1.25}, {144, 1.5}, {168, 1.75},
        {192, 2.0}, {95, 0.98},  {97, 1.01},  {72, 0.75}, // 95 is 98.96 %, 97 is 101.04 %
    };
    for (const auto& c : cases)
        EXPECT_EQ(xo::sysinfo::dpiScaleForDpi(c.dpi), c.scale) << c.dpi << " dpi";
}

TEST(MonitorRectByRect, FailsOnANullPointerAndLeavesTheOutputAlone) {
    const tagRECT in = tagRect({10, 10, 20, 20});
    tagRECT out = tagRect({1, 2, 3, 4});
    EXPECT_FALSE(veskGetMonitorRectByRect(nullptr, &out));
    EXPECT_TRUE(sameRect(xo::platform::rectFromTagRect(out), (Rect{1, 2, 3, 4})));
    EXPECT_FALSE(veskGetMonitorRectByRect(&in, nullptr));
    EXPECT_FALSE(veskGetMonitorRectByRect(nullptr, nullptr));
}

#if defined(_WIN32)

bool underWine() {
    HMODULE const ntdll = ::GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

// Wine's own desktop, where no X server is named: one 1024 x 768 monitor with no task
// bar, 96 dpi. When Wine draws on an X server instead (its X11 driver is loaded into
// the process once the display has been asked), the answers are that server's.
class WineDesktop : public ::testing::Test {
protected:
    void SetUp() override {
        if (!underWine())
            GTEST_SKIP() << "the answers are Wine's desktop's";
        Rect monitor{};
        xo::platform::nearestMonitor({10, 10, 20, 20}, &monitor, nullptr);
        if (::GetModuleHandleW(L"winex11.drv") != nullptr)
            GTEST_SKIP() << "Wine shows the X server DISPLAY names; run without DISPLAY";
    }
};

TEST_F(WineDesktop, OneMonitorNearestToEveryRectangleAtNinetySixDpi) {
    const Rect wineMonitor{0, 0, 1024, 768};
    const Rect spots[] = {{10, 10, 20, 20}, {50000, 50000, 50010, 50010}, {-300, 700, -200, 900}};
    for (const Rect& spot : spots) {
        Rect monitor{};
        Rect workArea{};
        ASSERT_TRUE(xo::platform::nearestMonitor(spot, &monitor, &workArea)) << text(spot);
        EXPECT_TRUE(sameRect(monitor, wineMonitor)) << text(spot);
        EXPECT_TRUE(sameRect(workArea, wineMonitor)) << text(spot);

        const tagRECT in = tagRect(spot);
        tagRECT out{};
        ASSERT_TRUE(veskGetMonitorRectByRect(&in, &out)) << text(spot);
        EXPECT_TRUE(sameRect(xo::platform::rectFromTagRect(out), wineMonitor)) << text(spot);
        EXPECT_EQ(veskGetMonitorResolution(&in), 0) << text(spot);
    }
    EXPECT_EQ(veskGetMonitorResolution(nullptr), 0);
    const ForgottenScale forgotten;
    int dpi = 0;
    ASSERT_TRUE(xo::platform::screenDpi(&dpi));
    EXPECT_EQ(dpi, 96);
    EXPECT_EQ(veskGetDPIScale(), 1.0);
}

#else // POSIX

struct NearestCase {
    Rect target;
    std::size_t monitor;
};

TEST(NearestMonitorIndex, LargestOverlapElseShortestDistanceElseFirst) {
    // A 1920 x 1080 primary, a taller one to its right, a smaller one to its left.
    const Rect monitors[] = {{0, 0, 1920, 1080}, {1920, 0, 3840, 1200}, {-1280, 0, 0, 1024}};
    const NearestCase cases[] = {
        {{10, 10, 20, 20}, 0},                 // inside the primary
        {{1800, 100, 2100, 200}, 1},           // 180 px wide on the right one, 120 on the primary
        {{1700, 100, 2000, 200}, 0},           // 220 on the primary, 80 on the right one
        {{1820, 100, 2020, 200}, 0},           // 100 each: the first listed
        {{-100, 100, 100, 200}, 0},            // 100 each on the primary and the left one
        {{-20, 100, 100, 200}, 0},             // 100 on the primary, 20 on the left one
        {{100, 1100, 200, 1150}, 0},           // under the primary (20 px), 1720 from the right
        {{3000, 1150, 3100, 1300}, 1},         // reaches into the right one's lower part
        {{3000, 1250, 3100, 1300}, 1},         // under the right one (50 px)
        {{-700, 1100, -600, 1200}, 2},         // under the left one (76 px), 600 from the primary
        {{5000, -900, 5010, -890}, 1},         // far up and to the right
        {{-9000, 5000, -8990, 5010}, 2},       // far down and to the left
        {{500, 500, 500, 500}, 0},             // empty, inside the primary
        {{1920, 1100, 1920, 1100}, 1},         // empty, nearer the right one's lower edge
        {{-2147483647, 0, -2147483646, 1}, 2}, // at the ends of the coordinate range
        {{2147483646, 1500, 2147483647, 1501}, 1}, //
    };
    for (const NearestCase& c : cases)
        EXPECT_EQ(xo::platform::nearestMonitorIndex(c.target, monitors, 3), c.monitor)
            << text(c.target);
}

TEST(IntersectRects, SharedAreaOnlyTouchingEdgesShareNone) {
    const Rect monitor{0, 0, 100, 50};
    const struct {
        Rect other;
        bool shared;
        Rect common;
    } cases[] = {
        {{-10, -10, 10, 10}, true, {0, 0, 10, 10}},
        {{20, 10, 30, 20}, true, {20, 10, 30, 20}},
        {{-10, -10, 200, 200}, true, {0, 0, 100, 50}},
        {{100, 0, 120, 50}, false, {}},
        {{0, 50, 100, 60}, false, {}},
        {{10, 10, 10, 20}, false, {}},
    };
    for (const auto& c : cases) {
        Rect common{7, 7, 7, 7};
        EXPECT_EQ(xo::platform::intersectRects(monitor, c.other, &common), c.shared)
            << text(c.other);
        EXPECT_TRUE(sameRect(common, (c.shared ? c.common : Rect{7, 7, 7, 7}))) << text(c.other);
    }
}

// DISPLAY set to value (unset when null) for one scope.
class ScopedDisplay {
public:
    explicit ScopedDisplay(const char* value) {
        if (const char* old = std::getenv("DISPLAY"))
            old_ = old;
        set(value);
    }
    ~ScopedDisplay() { set(old_ ? old_->c_str() : nullptr); }

private:
    static void set(const char* value) {
        value != nullptr ? setenv("DISPLAY", value, 1) : unsetenv("DISPLAY");
    }
    std::optional<std::string> old_;
};

TEST(NoDisplay, EveryQueryFailsTheClassIsOneTheScaleOne) {
    for (const char* display : {static_cast<const char*>(nullptr), ""}) {
        const ScopedDisplay scoped(display);
        const ForgottenScale forgotten;
        const tagRECT in = tagRect({10, 10, 20, 20});
        tagRECT out = tagRect({1, 2, 3, 4});
        EXPECT_FALSE(veskGetMonitorRectByRect(&in, &out));
        EXPECT_TRUE(sameRect(xo::platform::rectFromTagRect(out), (Rect{1, 2, 3, 4})));
        EXPECT_EQ(veskGetMonitorResolution(&in), 1);
        EXPECT_EQ(veskGetMonitorResolution(nullptr), 1);
        int dpi = -7;
        EXPECT_FALSE(xo::platform::screenDpi(&dpi));
        EXPECT_EQ(dpi, -7);
        EXPECT_EQ(veskGetDPIScale(), 1.0);
    }
}

// An Xvfb server for a test suite. Xvfb picks a free display number itself and writes
// it to -displayfd once it accepts connections, so no number is guessed and no socket
// polled. -noreset keeps what a tool sets on the root window after the tool disconnects.
class Xvfb {
public:
    Xvfb() = default;
    Xvfb(const Xvfb&) = delete;
    Xvfb& operator=(const Xvfb&) = delete;
    ~Xvfb() { stop(); }

    // Empty when it started, else why not.
    std::string start(const std::vector<std::string>& options) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            return "no pipe";
        std::vector<std::string> words = {"Xvfb",      "-displayfd", std::to_string(ends[1]),
                                          "-nolisten", "tcp",        "-noreset"};
        words.insert(words.end(), options.begin(), options.end());
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGTERM); // no server outlives a crashed test
            fcntl(ends[1], F_SETFD, 0);       // the write end goes to Xvfb
            const int null = open("/dev/null", O_RDWR);
            dup2(null, 1);
            dup2(null, 2);
            execvp(argv[0], argv.data());
            _exit(127);
        }
        close(ends[1]);
        if (pid_ < 0) {
            close(ends[0]);
            return "no process";
        }
        std::string number;
        pollfd wait{ends[0], POLLIN, 0};
        char c = 0;
        while (poll(&wait, 1, 30000) == 1 && read(ends[0], &c, 1) == 1 && c != '\n')
            number += c;
        close(ends[0]);
        if (c != '\n' || number.empty()) {
            stop();
            return "Xvfb is not installed or did not start within 30 s";
        }
        display_ = ":" + number;
        return {};
    }

    void stop() {
        if (pid_ <= 0)
            return;
        kill(pid_, SIGTERM);
        for (int i = 0; i < 1000 && waitpid(pid_, nullptr, WNOHANG) == 0; ++i) {
            if (i == 500)
                kill(pid_, SIGKILL);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        pid_ = -1;
        display_.clear();
    }

    const std::string& display() const { return display_; }

    // Runs a shell command (xrandr, xprop, xrdb) against this server; its exit status,
    // 127 when the tool is not installed.
    int run(const std::string& command) const {
        const std::string line = "DISPLAY=" + display_ + " " + command + " >/dev/null 2>&1";
        const int status = std::system(line.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_ = -1;
    std::string display_;
};

// Runs a tool against the test's server; skips the test when the tool's package is not
// installed.
#define XO_RUN_X_TOOL(command, package)                                                            \
    do {                                                                                           \
        const int status = server().run(command);                                                  \
        if (status == 127)                                                                         \
            GTEST_SKIP() << "needs the tools of Debian's " << (package);                           \
        ASSERT_EQ(status, 0) << (command);                                                         \
    } while (false)

// A suite's server, started once for its tests; each test points DISPLAY at it.
class XvfbSuite : public ::testing::Test {
protected:
    static void startServer(const std::vector<std::string>& options) {
        server_ = new Xvfb;
        why_ = server_->start(options);
        if (!why_.empty())
            why_ = "no X server: " + why_;
    }
    static void TearDownTestSuite() {
        delete server_;
        server_ = nullptr;
    }
    void SetUp() override {
        if (!why_.empty())
            GTEST_SKIP() << why_;
        display_.emplace(server_->display().c_str());
    }
    void TearDown() override { display_.reset(); }

    static const Xvfb& server() { return *server_; }

    static Rect monitorNear(const Rect& spot) {
        Rect monitor{};
        EXPECT_TRUE(xo::platform::nearestMonitor(spot, &monitor, nullptr)) << text(spot);
        return monitor;
    }

    static Rect workAreaNear(const Rect& spot) {
        const tagRECT in = tagRect(spot);
        tagRECT out = tagRect({-1, -1, -1, -1});
        EXPECT_TRUE(veskGetMonitorRectByRect(&in, &out)) << text(spot);
        return xo::platform::rectFromTagRect(out);
    }

    static int sizeClassNear(const Rect& spot) {
        const tagRECT in = tagRect(spot);
        return veskGetMonitorResolution(&in);
    }

    static inline Xvfb* server_ = nullptr;
    static inline std::string why_;

private:
    std::optional<ScopedDisplay> display_;
};

// One 2560 x 1440 monitor at 120 dpi, as Xvfb makes it: RandR lists its one output.
class XvfbOneMonitor : public XvfbSuite {
protected:
    static void SetUpTestSuite() { startServer({"-screen", "0", "2560x1440x24", "-dpi", "120"}); }

    void TearDown() override {
        // What a test set on the root window goes with it.
        if (why_.empty()) {
            server().run("xprop -root -remove _NET_WORKAREA");
            server().run("xprop -root -remove _NET_CURRENT_DESKTOP");
            server().run("xrdb -remove");
        }
        XvfbSuite::TearDown();
    }
};

TEST_F(XvfbOneMonitor, TheOneMonitorWholeWithoutAWindowManager) {
    const Rect screen{0, 0, 2560, 1440};
    for (const Rect& spot :
         {Rect{10, 10, 20, 20}, Rect{2000, 1000, 3000, 2000}, Rect{-5000, -5000, -4990, -4990}}) {
        EXPECT_TRUE(sameRect(monitorNear(spot), screen));
        EXPECT_TRUE(sameRect(workAreaNear(spot), screen));
        EXPECT_EQ(sizeClassNear(spot), 2) << text(spot);
    }
    EXPECT_EQ(veskGetMonitorResolution(nullptr), 2);
}

TEST_F(XvfbOneMonitor, WorkAreaOfTheCurrentDesktopCutToTheMonitor) {
    const struct {
        const char* workAreas;
        const char* currentDesktop; // null: not set
        Rect expected;
    } cases[] = {
        {"0, 0, 2560, 1400", nullptr, {0, 0, 2560, 1400}},
        {"0, 0, 2560, 1400, 0, 40, 2560, 1400", "1", {0, 40, 2560, 1440}},
        {"0, 0, 2560, 1400, 0, 40, 2560, 1400", "0", {0, 0, 2560, 1400}},
        {"0, 0, 2560, 1400, 0, 40, 2560, 1400", "2", {0, 0, 2560, 1400}}, // no such desktop
        {"0, 30, 5000, 3000", nullptr, {0, 30, 2560, 1440}},              // larger than the screen
        {"3000, 0, 100, 100", nullptr, {0, 0, 2560, 1440}},               // off the monitor
    };
    for (const auto& c : cases) {
        XO_RUN_X_TOOL(std::string("xprop -root -f _NET_WORKAREA 32c -set _NET_WORKAREA '") +
                          c.workAreas + "'",
                      "x11-utils");
        XO_RUN_X_TOOL(c.currentDesktop != nullptr
                          ? "xprop -root -f _NET_CURRENT_DESKTOP 32c -set _NET_CURRENT_DESKTOP " +
                                std::string(c.currentDesktop)
                          : std::string("xprop -root -remove _NET_CURRENT_DESKTOP"),
                      "x11-utils");
        EXPECT_TRUE(sameRect(workAreaNear({10, 10, 20, 20}), c.expected))
            << c.workAreas << " on desktop " << (c.currentDesktop ? c.currentDesktop : "-");
        Rect monitor{};
        Rect workArea{};
        ASSERT_TRUE(xo::platform::nearestMonitor({10, 10, 20, 20}, &monitor, &workArea));
        EXPECT_TRUE(sameRect(monitor, (Rect{0, 0, 2560, 1440})))
            << "the size class goes by this one";
        EXPECT_TRUE(sameRect(workArea, c.expected));
    }
}

TEST_F(XvfbOneMonitor, ScaleFromTheScreenThenFromXftDpiReadOncePerProcess) {
    const ForgottenScale forgotten;
    int dpi = 0;
    ASSERT_TRUE(xo::platform::screenDpi(&dpi));
    EXPECT_EQ(dpi, 120); // 2560 px over 542 mm
    EXPECT_EQ(veskGetDPIScale(), 1.25);

    XO_RUN_X_TOOL(std::string("printf 'Xft.dpi:\\t144\\n' | xrdb -nocpp -merge"),
                  "x11-xserver-utils");
    ASSERT_TRUE(xo::platform::screenDpi(&dpi));
    EXPECT_EQ(dpi, 144) << "the desktop's setting comes before the screen's size";
    EXPECT_EQ(veskGetDPIScale(), 1.25) << "read once per process";
    xo::sysinfo::forgetDpiScale();
    EXPECT_EQ(veskGetDPIScale(), 1.5);
}

// Xvfb's screen plus a second, 1920 x 1080, monitor to its right, declared through RandR
// as a desktop that spans two monitors would declare it.
class XvfbTwoMonitors : public XvfbSuite {
protected:
    static void SetUpTestSuite() {
        startServer({"-screen", "0", "2560x1440x24", "-dpi", "120"});
        if (!why_.empty())
            return;
        const int status = server_->run("xrandr --setmonitor right 1920/508x1080/286+2560+0 none");
        if (status == 127)
            why_ = "needs xrandr (Debian's x11-xserver-utils) to add a monitor";
        else if (status != 0)
            why_ = "xrandr could not add a monitor";
    }

    void TearDown() override {
        if (why_.empty())
            server().run("xprop -root -remove _NET_WORKAREA");
        XvfbSuite::TearDown();
    }
};

TEST_F(XvfbTwoMonitors, TheMonitorSharingTheMostElseTheClosest) {
    const Rect left{0, 0, 2560, 1440};
    const Rect right{2560, 0, 4480, 1080};
    const struct {
        Rect spot;
        Rect monitor;
        int sizeClass;
    } cases[] = {
        {{100, 100, 200, 200}, left, 2},      {{3000, 100, 3100, 200}, right, 1},
        {{2500, 100, 2700, 200}, right, 1},   // 140 px on the right one, 60 on the left
        {{2400, 100, 2600, 200}, left, 2},    // 160 on the left one, 40 on the right
        {{5000, 50, 5010, 60}, right, 1},     // beyond the right one
        {{100, 2000, 110, 2010}, left, 2},    // under the left one
        {{3000, 1200, 3010, 1210}, right, 1}, // 120 under the right one, 440 beside the left
        {{4000, 1500, 4010, 1510}, right, 1}, //
        {{2600, 1400, 2610, 1410}, left, 2},  // beside the left one (40), 320 under the right
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(sameRect(monitorNear(c.spot), c.monitor)) << text(c.spot);
        EXPECT_TRUE(sameRect(workAreaNear(c.spot), c.monitor)) << text(c.spot);
        EXPECT_EQ(sizeClassNear(c.spot), c.sizeClass) << text(c.spot);
    }
}

TEST_F(XvfbTwoMonitors, OneWorkAreaOverBothCutToEach) {
    XO_RUN_X_TOOL(
        std::string("xprop -root -f _NET_WORKAREA 32c -set _NET_WORKAREA '0, 30, 4480, 1410'"),
        "x11-utils");
    EXPECT_TRUE(sameRect(workAreaNear({100, 100, 200, 200}), (Rect{0, 30, 2560, 1440})));
    EXPECT_TRUE(sameRect(workAreaNear({3000, 100, 3100, 200}), (Rect{2560, 30, 4480, 1080})));
}

// A server without RandR: the screen is the one monitor.
class XvfbWithoutRandr : public XvfbSuite {
protected:
    static void SetUpTestSuite() {
        startServer({"-extension", "RANDR", "-screen", "0", "1920x1080x24", "-dpi", "96"});
    }
};

TEST_F(XvfbWithoutRandr, TheScreenIsTheMonitor) {
    for (const Rect& spot : {Rect{10, 10, 20, 20}, Rect{3000, 100, 3100, 200}}) {
        EXPECT_TRUE(sameRect(monitorNear(spot), (Rect{0, 0, 1920, 1080})));
        EXPECT_EQ(sizeClassNear(spot), 1) << text(spot);
    }
    const ForgottenScale forgotten;
    EXPECT_EQ(veskGetDPIScale(), 1.0);
}

#endif

} // namespace
