#include "platform/messagequeue.h"

#include <windows.h>

namespace xo::platform {

static_assert(kWakePostMessage == QS_POSTMESSAGE);
static_assert(kWakeAllPostMessage == QS_ALLPOSTMESSAGE);
static_assert(kWakeTimer == QS_TIMER);
static_assert(kWmTimer == WM_TIMER);

bool postThreadMessage(std::uint32_t threadId, std::uint32_t message, std::uintptr_t wParam,
                       std::intptr_t lParam) {
    return ::PostThreadMessageW(threadId, message, wParam, lParam) != 0;
}

bool peekMessage(QueuedMessage* out, bool remove) {
    MSG msg;
    if (!::PeekMessageW(&msg, nullptr, 0, 0, remove ? PM_REMOVE : PM_NOREMOVE))
        return false;
    *out = {msg.hwnd, msg.message, msg.wParam, msg.lParam, msg.time};
    return true;
}

bool dispatchMessage(const QueuedMessage& message) {
    MSG msg = {};
    msg.hwnd = static_cast<HWND>(message.window);
    msg.message = message.message;
    msg.wParam = message.wParam;
    msg.lParam = message.lParam;
    msg.time = message.time;
    ::DispatchMessageW(&msg);
    return message.message == WM_TIMER && message.lParam != 0;
}

std::uintptr_t setThreadTimer(std::uint32_t intervalMs, TimerProcedure procedure) {
    return ::SetTimer(nullptr, 0, intervalMs, reinterpret_cast<TIMERPROC>(procedure));
}

bool killThreadTimer(std::uintptr_t id) {
    return ::KillTimer(nullptr, id) != 0;
}

} // namespace xo::platform
