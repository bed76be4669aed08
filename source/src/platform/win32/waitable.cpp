#include "platform/waitable.h"

#include <windows.h>

#include <process.h>

namespace xo::platform {

static_assert(kWaitObject0 == WAIT_OBJECT_0);
static_assert(kWaitAbandoned0 == WAIT_ABANDONED_0);
static_assert(kWaitTimeout == WAIT_TIMEOUT);
static_assert(kWaitFailed == WAIT_FAILED);
static_assert(kInfinite == INFINITE);
static_assert(kMaxWaitObjects == MAXIMUM_WAIT_OBJECTS);
static_assert(kThreadPriorityError == THREAD_PRIORITY_ERROR_RETURN);

WaitHandle createEvent(bool manualReset, bool initiallySignalled) {
    return ::CreateEventW(nullptr, manualReset, initiallySignalled, nullptr);
}

bool setEvent(WaitHandle event) {
    return ::SetEvent(event) != 0;
}

bool resetEvent(WaitHandle event) {
    return ::ResetEvent(event) != 0;
}

void closeWaitHandle(WaitHandle handle) {
    if (handle != nullptr)
        ::CloseHandle(handle);
}

std::uint32_t waitForObjects(std::uint32_t count, const WaitHandle* handles, bool waitAll,
                             std::uint32_t timeoutMs) {
    return ::WaitForMultipleObjects(count, handles, waitAll, timeoutMs);
}

std::uint32_t msgWaitForObjects(std::uint32_t count, const WaitHandle* handles, bool waitAll,
                                std::uint32_t timeoutMs, std::uint32_t wakeMask) {
    return ::MsgWaitForMultipleObjects(count, handles, waitAll, timeoutMs, wakeMask);
}

bool startThread(ThreadBody body, void* argument, bool suspended, unsigned stackSize,
                 StartedThread* started) {
    unsigned id = 0;
    const std::uintptr_t handle =
        ::_beginthreadex(nullptr, stackSize, reinterpret_cast<unsigned(__stdcall*)(void*)>(body),
                         argument, suspended ? CREATE_SUSPENDED : 0, &id);
    if (handle == 0)
        return false;
    *started = {reinterpret_cast<WaitHandle>(handle), id};
    return true;
}

std::uint32_t threadIdOf(WaitHandle thread) {
    return ::GetThreadId(thread);
}

WaitHandle currentThreadHandle() {
    return ::GetCurrentThread();
}

WaitHandle currentProcessHandle() {
    return ::GetCurrentProcess();
}

int threadPriority(WaitHandle thread) {
    return ::GetThreadPriority(thread);
}

bool setThreadPriority(WaitHandle thread, int priority) {
    return ::SetThreadPriority(thread, priority) != 0;
}

std::uint32_t suspendThread(WaitHandle thread) {
    return ::SuspendThread(thread);
}

std::uint32_t resumeThread(WaitHandle thread) {
    return ::ResumeThread(thread);
}

bool terminateThread(WaitHandle thread, std::uint32_t exitCode) {
    return ::TerminateThread(thread, exitCode) != 0;
}

bool threadExitCode(WaitHandle thread, std::uint32_t* code) {
    DWORD value = 0;
    if (!::GetExitCodeThread(thread, &value))
        return false;
    *code = value;
    return true;
}

std::uint32_t tickCount() {
    return ::GetTickCount();
}

bool processAffinityMask(WaitHandle process, std::uint64_t* mask) {
    DWORD_PTR processMask = 0, systemMask = 0;
    if (!::GetProcessAffinityMask(process, &processMask, &systemMask))
        return false;
    *mask = processMask;
    return true;
}

} // namespace xo::platform
