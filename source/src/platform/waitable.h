// Waitable objects as Windows has them: events, threads signalled when they end, the
// process, and waits on one, any or all of them with a time-out in milliseconds. The
// Windows calls on Windows. On POSIX the library's own objects (posix/waitable.cpp):
// every change a wait may see happens under one lock, so that a wait-all sees all its
// objects at one moment and takes them in one step.
#pragma once

#include <cstdint>

namespace xo::platform {

using WaitHandle = void*; // a HANDLE on Windows; null never names an object

// WaitForMultipleObjects' answers.
constexpr std::uint32_t kWaitObject0 = 0;
constexpr std::uint32_t kWaitAbandoned0 = 0x80;
constexpr std::uint32_t kWaitTimeout = 0x102;
constexpr std::uint32_t kWaitFailed = 0xFFFFFFFFu;
constexpr std::uint32_t kInfinite = 0xFFFFFFFFu;
// Objects one wait may name: Windows' own limit there; the library's array size here.
#if defined(_WIN32)
constexpr std::uint32_t kMaxWaitObjects = 64;
#else
constexpr std::uint32_t kMaxWaitObjects = 4096;
#endif

// CreateEventW without a name; null on failure.
WaitHandle createEvent(bool manualReset, bool initiallySignalled);
bool setEvent(WaitHandle event);
bool resetEvent(WaitHandle event);
// CloseHandle. Closing an object another thread waits on is the caller's error, as on
// Windows.
void closeWaitHandle(WaitHandle handle);

// WaitForMultipleObjects. Fails (kWaitFailed, last error 87) for no objects, too many,
// or the same object twice in a wait-all; a null handle fails with 6.
std::uint32_t waitForObjects(std::uint32_t count, const WaitHandle* handles, bool waitAll,
                             std::uint32_t timeoutMs);

// MsgWaitForMultipleObjects: as waitForObjects, and count when input of a kind in
// wakeMask is waiting in the calling thread's message queue.
std::uint32_t msgWaitForObjects(std::uint32_t count, const WaitHandle* handles, bool waitAll,
                                std::uint32_t timeoutMs, std::uint32_t wakeMask);

// Threads. start gets the new thread's handle and identifier, an identifier of 0 when it
// is not known yet (POSIX: the thread has not run); false on failure.
using ThreadBody = unsigned (*)(void*);
struct StartedThread {
    WaitHandle handle;
    std::uint32_t id;
};
bool startThread(ThreadBody body, void* argument, bool suspended, unsigned stackSize,
                 StartedThread* started);
// GetThreadId; on POSIX it waits until the thread has started to run. 0 on failure.
std::uint32_t threadIdOf(WaitHandle thread);
WaitHandle currentThreadHandle();  // GetCurrentThread: needs no closing
WaitHandle currentProcessHandle(); // GetCurrentProcess: needs no closing
// GetThreadPriority's levels; kThreadPriorityError (0x7FFFFFFF) on failure.
constexpr int kThreadPriorityError = 0x7FFFFFFF;
int threadPriority(WaitHandle thread);
bool setThreadPriority(WaitHandle thread, int priority);
// SuspendThread/ResumeThread: the previous suspend count, 0xFFFFFFFF on failure.
std::uint32_t suspendThread(WaitHandle thread);
std::uint32_t resumeThread(WaitHandle thread);
bool terminateThread(WaitHandle thread, std::uint32_t exitCode);
// GetExitCodeThread: 259 (STILL_ACTIVE) while it runs.
bool threadExitCode(WaitHandle thread, std::uint32_t* code);
// GetTickCount: milliseconds of a monotonic clock, wrapping at 32 bits.
std::uint32_t tickCount();

// GetProcessAffinityMask's process mask.
bool processAffinityMask(WaitHandle process, std::uint64_t* mask);

} // namespace xo::platform
