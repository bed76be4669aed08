// One pointer per thread for the allocator's thread caches, with a function called when
// a thread that holds a value exits. On Linux a plain TLS word read inline, with a
// pthread key for the exit call; on Windows a fiber-local slot, whose callback runs when
// the thread (or fiber) ends, also inside a DLL.
#pragma once

namespace xo::platform {

using ThreadSlotExit = void (*)(void* value);

// Makes the slot, once per process; false when the system has none left, after which
// the slot reads null and cannot be set.
bool openThreadSlot(ThreadSlotExit atExit);
// Called once the values are no longer used (at exit). On Windows, where the library
// may be unloaded, the exit function runs now for the values of all threads and never
// again; elsewhere the library stays loaded and threads that exit later still call it.
// The slot must not be set afterwards.
void closeThreadSlot();
// Sets the calling thread's value; when the thread exits, the exit function receives the
// last value it set, unless that is null.
void setThreadSlot(void* value);

// Replaces the exit function and returns the one before; only tests use it, to watch
// the exit calls of threads that never allocate through the library.
ThreadSlotExit replaceThreadSlotExitForTests(ThreadSlotExit atExit);

#if defined(_WIN32)
void* threadSlot();
#else
// initial-exec: one fs-relative load on every allocation, no __tls_get_addr call.
extern __thread void* t_threadSlot __attribute__((tls_model("initial-exec")));
inline void* threadSlot() {
    return t_threadSlot;
}
#endif

} // namespace xo::platform
