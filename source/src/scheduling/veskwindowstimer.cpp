#include "VeskTimer.h"

#include "platform/messagequeue.h"
#include "scheduling/xotimertable.h"

namespace os = xo::platform;

namespace {

constexpr unsigned int kShortestInterval = 10;
constexpr unsigned int kLongestInterval = 0x7FFFFFFF;

unsigned int clamped(unsigned int interval) {
    return interval < kShortestInterval  ? kShortestInterval
           : interval > kLongestInterval ? kLongestInterval
                                         : interval;
}

} // namespace

VeskWindowsTimer::VeskWindowsTimer(Callback callback, void* data, unsigned int interval)
    : VeskBaseTimer(callback, data, clamped(interval)), m_nTimerId(0) {}

VeskWindowsTimer::~VeskWindowsTimer() {
    stop();
}

bool VeskWindowsTimer::setInterval(int milliseconds) {
    if (m_nTimerId != 0)
        return false;
    if (unsigned(milliseconds) == m_nInterval)
        return true;
    if (milliseconds > int(kShortestInterval) - 1)
        m_nInterval = unsigned(milliseconds);
    return true; // deliberately, also when a value below 10 was ignored
}

int VeskWindowsTimer::stop() {
    if (m_nTimerId == 0)
        return m_nTickCount;
    os::killThreadTimer(m_nTimerId);
    xo::scheduling::removeTimer(m_nTimerId);
    m_nTimerId = 0;
    return m_nTickCount;
}

void VeskWindowsTimer::start(bool singleShot) {
    m_bSingleShot = singleShot;
    m_nTickCount = 0;
    m_nTimerId = os::setThreadTimer(m_nInterval, timerProc);
    if (m_nTimerId != 0 && !xo::scheduling::addTimer(m_nTimerId, this)) {
        os::killThreadTimer(m_nTimerId); // a timer nobody could find would tick in vain
        m_nTimerId = 0;
    }
}

void VeskWindowsTimer::timerProc(HWND__*, std::uint32_t, std::uintptr_t id, std::uint32_t) {
    VeskWindowsTimer* timer = xo::scheduling::findTimer(id);
    if (timer == nullptr)
        return;
    if (timer->m_pfnCallback != nullptr) {
        ++timer->m_nTickCount;
        timer->m_bInCallback = true;
        timer->m_pfnCallback(timer->m_nTickCount, timer->m_pData);
        // The callback may have stopped or deleted its own timer: touch it only if it
        // still runs under this identifier.
        if (xo::scheduling::findTimer(id) != timer)
            return;
        timer->m_bInCallback = false;
    }
    if (timer->m_bSingleShot)
        timer->stop();
}

VeskTimer* veskCreateTimer(void (*callback)(int, void*), unsigned int intervalMs, void* data,
                           bool startNow) {
    auto* timer = new VeskWindowsTimer(callback, data, intervalMs);
    if (startNow)
        timer->start(false);
    return timer;
}
