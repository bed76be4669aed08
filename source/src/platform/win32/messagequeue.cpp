#include "platform/messagequeue.h"

#include <windows.h>

namespace xo::platform {

static_assert(kWakePostMessage == QS_POSTMESSAGE);
static_assert(kWakeAllPostMessage == QS_ALLPOSTMESSAGE);

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

} // namespace xo::platform
