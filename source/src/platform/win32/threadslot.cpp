#include "platform/threadslot.h"

#include <windows.h>

namespace xo::platform {

namespace {

// The value lives in a TLS slot, which lasts as long as the thread; the fiber-local
// slot only carries the exit callback. Fiber-local values are cleared once their
// callbacks have run, yet the thread's C++ thread_local destructors, which may still
// allocate, run after that and must find the value left by the exit function.
DWORD g_tls = TLS_OUT_OF_INDEXES;
DWORD g_fls = FLS_OUT_OF_INDEXES;
ThreadSlotExit g_atExit = nullptr;

void WINAPI exited(void* value) {
    if (value != nullptr)
        g_atExit(value);
}

} // namespace

bool openThreadSlot(ThreadSlotExit atExit) {
    g_atExit = atExit;
    g_tls = ::TlsAlloc();
    if (g_tls == TLS_OUT_OF_INDEXES)
        return false;
    g_fls = ::FlsAlloc(exited);
    if (g_fls != FLS_OUT_OF_INDEXES)
        return true;
    ::TlsFree(g_tls);
    g_tls = TLS_OUT_OF_INDEXES;
    return false;
}

void closeThreadSlot() {
    const DWORD fls = g_fls;
    const DWORD tls = g_tls;
    g_fls = FLS_OUT_OF_INDEXES;
    g_tls = TLS_OUT_OF_INDEXES;
    if (fls != FLS_OUT_OF_INDEXES)
        ::FlsFree(fls);
    if (tls != TLS_OUT_OF_INDEXES)
        ::TlsFree(tls);
}

ThreadSlotExit replaceThreadSlotExitForTests(ThreadSlotExit atExit) {
    const ThreadSlotExit previous = g_atExit;
    g_atExit = atExit;
    return previous;
}

void setThreadSlot(void* value) {
    if (g_tls == TLS_OUT_OF_INDEXES)
        return;
    ::TlsSetValue(g_tls, value);
    ::FlsSetValue(g_fls, value);
}

// Allocation must not disturb the caller's last-error value, which TlsGetValue clears.
void* threadSlot() {
    if (g_tls == TLS_OUT_OF_INDEXES)
        return nullptr;
    const DWORD saved = ::GetLastError();
    void* value = ::TlsGetValue(g_tls);
    ::SetLastError(saved);
    return value;
}

} // namespace xo::platform
