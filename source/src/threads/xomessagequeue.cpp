#include "XoMessageQueue.h"

#include "platform/messagequeue.h"

namespace os = xo::platform;

bool xoPostThreadMessage(unsigned int threadId, unsigned int message, std::uintptr_t wParam,
                         std::intptr_t lParam) {
    return os::postThreadMessage(threadId, message, wParam, lParam);
}

bool xoPeekMessage(XoQueuedMessage* message, bool remove) {
    os::QueuedMessage taken;
    if (message == nullptr || !os::peekMessage(&taken, remove))
        return false;
    *message = {taken.window, taken.message, taken.wParam, taken.lParam, taken.time};
    return true;
}

bool xoDispatchMessage(const XoQueuedMessage* message) {
    if (message == nullptr)
        return false;
    return os::dispatchMessage(
        {message->window, message->message, message->wParam, message->lParam, message->time});
}

#if !defined(_WIN32)
int xoMessageQueueDescriptor() {
    return os::messageQueueDescriptor();
}
#endif
