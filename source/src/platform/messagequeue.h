// The calling thread's message queue, where posted messages (and, later, timer ticks)
// arrive and wake a message wait: the thread's own Windows queue on Windows; on POSIX the
// library's, made when the thread first asks for it (posix/messagequeue.cpp).
#pragma once

#include <cstdint>

#include "platform/waitable.h"

struct HWND__;

namespace xo::platform {

struct QueuedMessage {
    void* window; // always null: the library posts to threads
    std::uint32_t message;
    std::uintptr_t wParam;
    std::intptr_t lParam;
    std::uint32_t time; // milliseconds of the monotonic clock when it was posted
};

// MsgWaitForMultipleObjects' wake-mask bits for what the queue holds.
constexpr std::uint32_t kWakePostMessage = 0x0008;    // QS_POSTMESSAGE
constexpr std::uint32_t kWakeAllPostMessage = 0x0100; // QS_ALLPOSTMESSAGE

// PostThreadMessageW: false with 1444 when the thread has no queue.
bool postThreadMessage(std::uint32_t threadId, std::uint32_t message, std::uintptr_t wParam,
                       std::intptr_t lParam);
// PeekMessageW on the calling thread's queue, for any window and message; after it the
// messages waiting are no longer new to a message wait. A timer that is due comes as a
// WM_TIMER message (wParam its id, lParam its procedure) once no posted message waits.
bool peekMessage(QueuedMessage* out, bool remove);

// DispatchMessageW for a message without a window: a WM_TIMER with a procedure calls it
// (on POSIX never inside a call of the same timer's procedure); false for others.
constexpr std::uint32_t kWmTimer = 0x0113;
constexpr std::uint32_t kWakeTimer = 0x0010; // QS_TIMER
bool dispatchMessage(const QueuedMessage& message);

// SetTimer and KillTimer without a window: a timer of the calling thread, whose ticks
// come through its queue. 0 when refused.
using TimerProcedure = void (*)(HWND__* window, std::uint32_t message, std::uintptr_t id,
                                std::uint32_t time);
std::uintptr_t setThreadTimer(std::uint32_t intervalMs, TimerProcedure procedure);
bool killThreadTimer(std::uintptr_t id);

#if !defined(_WIN32)
constexpr std::uint32_t kErrorInvalidThreadId = 1444;
// Readable while a message waits in the calling thread's queue; -1 on failure.
int messageQueueDescriptor();
// The object a message wait adds for the calling thread's queue: signalled while new
// input waits. Null when the queue cannot be made.
WaitHandle messageQueueObject();
#endif

} // namespace xo::platform
