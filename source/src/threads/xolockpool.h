// The process-wide pool behind XoAutoLockInPool: one lock per address in use, idle
// locks kept on a stack and reused most recently returned first.
#pragma once

class XoLock;

namespace xo {

class XoLockPool {
public:
    // The address's lock, counting one more user; null once the pool is torn down at
    // exit (the guard then locks nothing).
    static XoLock* acquire(const void* address);
    // One user fewer; the last one parks the lock on the idle stack.
    static void release(const void* address);
    // Locks made so far; idle ones are reused first, so this stays at the most
    // addresses locked at one time.
    static unsigned long locksMade();
};

} // namespace xo
