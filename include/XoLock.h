/// \file
/// Locks: the abstract recursive lock, its owning wrapper and scope guard, and the
/// guard that locks any address through a process-wide pool of recycled locks.
#pragma once

#include "XoOsBaseExport.h"

/// A lock that the owning thread may take again while it holds it (recursive). Each
/// lock() is matched by one unlock() on the same thread.
class XOOSBASE_API XoLock {
public:
    /// Destroys the lock, which no thread may hold then.
    virtual ~XoLock();
    /// Takes the lock, waiting while another thread holds it; the library's locks
    /// cannot fail here.
    virtual void lock() = 0;
    /// Gives back one take by the owning thread; the library's locks cannot fail here,
    /// and an unlock by a thread that does not own the lock is undefined.
    virtual void unlock() = 0;
};

/// A new platform lock; the caller owns it and deletes it through XoLock. Throws
/// std::bad_alloc when it cannot be allocated.
XOOSBASE_API XoLock* createXoLock();

/// Owns one lock made by createXoLock. Not copyable: two owners would delete one lock
/// twice.
class XOOSBASE_API XoLocker {
public:
    /// Makes the lock; throws std::bad_alloc when it cannot be allocated.
    XoLocker();
    /// Deletes the lock, which no thread may hold then.
    ~XoLocker();
    XoLocker(const XoLocker&) = delete;
    XoLocker& operator=(const XoLocker&) = delete;

    /// Takes the lock (recursively), waiting while another thread holds it; cannot fail.
    void lock() const;
    /// Gives back one take by the owning thread; cannot fail, and an unlock by a thread
    /// that does not own the lock is undefined.
    void unlock() const;

private:
    XoLock* m_pLock;
};

/// Locks an XoLocker for its lifetime; a null locker is ignored.
class XOOSBASE_API XoAutoLocker {
public:
    /// Takes the locker's lock, or nothing for a null locker; cannot fail.
    explicit XoAutoLocker(const XoLocker* locker);
    /// Gives back what the constructor took; cannot fail.
    ~XoAutoLocker();
    XoAutoLocker(const XoAutoLocker&) = delete;
    XoAutoLocker& operator=(const XoAutoLocker&) = delete;

private:
    const XoLocker* m_pLocker;
};

/// Locks an address for its lifetime with the pool's lock for that address, so any
/// object can be locked without carrying a lock. Guards on one address exclude each
/// other (and nest within one thread); a null address locks nothing, and so does every
/// guard made after the pool is torn down at process exit. Each address in use has
/// exactly one lock. Locks are never destroyed while the process runs: idle ones are
/// reused, most recently returned first (the pool is striped by address, and the order
/// holds within a stripe), so the locks made stay at the most addresses locked at once.
/// Not copyable: the copy would release the address twice.
class XOOSBASE_API XoAutoLockInPool {
public:
    /// Takes the address's lock, waiting while a guard on another thread holds it.
    /// Throws std::bad_alloc when the pool cannot allocate a lock or its bookkeeping.
    explicit XoAutoLockInPool(const void* address);
    /// Gives the lock back to the pool; cannot fail.
    ~XoAutoLockInPool();
    XoAutoLockInPool(const XoAutoLockInPool&) = delete;
    XoAutoLockInPool& operator=(const XoAutoLockInPool&) = delete;

private:
    const void* m_pAddress;
    XoLock* m_pLock; // owned by the pool
};
