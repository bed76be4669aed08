#include "platform/threadslot.h"

#include <pthread.h>

namespace xo::platform {

__thread void* t_threadSlot __attribute__((tls_model("initial-exec"))) = nullptr;

namespace {

pthread_key_t g_key;
bool g_open = false;
ThreadSlotExit g_atExit = nullptr;

// glibc runs key destructors after the thread's C++ thread_local destructors, so frees
// made by those still reach the cache before it is handed back.
void exited(void* value) {
    g_atExit(value);
}

} // namespace

bool openThreadSlot(ThreadSlotExit atExit) {
    g_atExit = atExit;
    g_open = ::pthread_key_create(&g_key, exited) == 0;
    return g_open;
}

// The key stays: the shared object is linked never to be unloaded, and threads still
// running hand their values back when they exit.
void closeThreadSlot() {}

ThreadSlotExit replaceThreadSlotExitForTests(ThreadSlotExit atExit) {
    const ThreadSlotExit previous = g_atExit;
    g_atExit = atExit;
    return previous;
}

void setThreadSlot(void* value) {
    if (!g_open)
        return;
    t_threadSlot = value;
    ::pthread_setspecific(g_key, value);
}

} // namespace xo::platform
