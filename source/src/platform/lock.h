// The platform's recursive lock: a critical section on Windows (XoImpLock_windows), a
// futex lock with an owner and a depth on Linux (XoImpLock_posix).
#pragma once

class XoLock;

namespace xo::platform {

XoLock* newRecursiveLock();

// The same as lock->lock() and lock->unlock() for a lock made by newRecursiveLock,
// without the virtual call: XoLocker and the lock pool sit on every allocation.
void lockRecursive(XoLock* lock);
void unlockRecursive(XoLock* lock);

#if !defined(_WIN32)
// For tests only: a lock that unlocks with a fence, as every lock does where the
// process-wide barrier is missing, so that both ways are exercised on any kernel.
XoLock* newFencedRecursiveLockForTests();
#endif

} // namespace xo::platform
