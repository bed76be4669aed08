/// \file
/// The calling thread's message queue: where posted messages arrive, and what wakes
/// xoMsgWaitForMultipleObject. On Windows it is the thread's own Windows queue. On Linux
/// the library makes one for a thread when it first peeks, waits on it or asks for its
/// descriptor; a host's own event loop waits on that descriptor:
///
/// \code
/// int fd = xoMessageQueueDescriptor();
/// for (;;) {
///     pollfd p = {fd, POLLIN, 0};
///     poll(&p, 1, -1);             // or add fd to epoll, a GLib source, a QSocketNotifier
///     XoQueuedMessage m;
///     while (xoPeekMessage(&m, true))
///         if (!xoDispatchMessage(&m))  // timer ticks run their procedure here
///             handle(m);
/// }
/// \endcode
#pragma once

#include "XoOsBaseExport.h"

#include <cstdint>

/// A message taken from the queue (MSG's fields that a thread queue uses).
struct XoQueuedMessage {
    void* window;          ///< null: messages are posted to threads
    unsigned int message;  ///< the message number
    std::uintptr_t wParam; ///< its first parameter
    std::intptr_t lParam;  ///< its second parameter
    unsigned int time;     ///< when it was posted, in milliseconds
};

/// Posts a message to a thread's queue (PostThreadMessageW); false when the thread has no
/// queue (error 1444) or the message could not be queued.
XOOSBASE_API bool xoPostThreadMessage(unsigned int threadId, unsigned int message,
                                      std::uintptr_t wParam, std::intptr_t lParam);

/// The first message of the calling thread's queue, taken out when remove is true
/// (PeekMessageW); false when none waits. What waits is then no longer new to a wait.
XOOSBASE_API bool xoPeekMessage(XoQueuedMessage* message, bool remove);

/// Dispatches a message taken with xoPeekMessage (DispatchMessageW): a timer tick
/// (WM_TIMER with a procedure) runs its timer's procedure on the calling thread. True for
/// a tick that was dispatched; false for other messages, which are the caller's to handle
/// (and, on Linux, for a tick of a timer killed since, or of one whose procedure is
/// already running further up the stack).
XOOSBASE_API bool xoDispatchMessage(const XoQueuedMessage* message);

#if !defined(_WIN32)
/// A descriptor that is readable while a message waits in the calling thread's queue or
/// one of its timers is due; -1 when the queue cannot be made. Owned by the queue: do not
/// close it.
XOOSBASE_API int xoMessageQueueDescriptor();
#endif
