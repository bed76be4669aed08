// A recursive lock whose uncontended lock and unlock cost one atomic read-modify-write
// between them: lock is a compare-exchange on the owner word, unlock a plain release
// store. A sleeping waiter must then still be seen by the unlocker, whose load of the
// waiter count may pass its own store; the waiter closes that gap with a process-wide
// barrier (membarrier), so the unlocker needs no fence. Where membarrier is missing,
// unlock fences instead.
//
// Which of the two a lock does is fixed when it is made, and its waiters and unlockers
// read it from the lock: a waiter that skipped the barrier and an unlocker that skipped
// the fence would lose a wake-up, so they must never see different answers.
#include "XoLock.h"
#include "platform/check.h"
#include "platform/lock.h"
#include "platform/posix/threadid.h"

#include <atomic>
#include <cerrno>
#include <cstdint>

#include <linux/futex.h>
#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// The lock sits under every allocation, whose callers must not find errno changed by a
// system call they never made (a futex wait that finds the word changed fails EAGAIN).
class ErrnoKept {
public:
    ErrnoKept() : m_saved(errno) {}
    ~ErrnoKept() { errno = m_saved; }
    ErrnoKept(const ErrnoKept&) = delete;
    ErrnoKept& operator=(const ErrnoKept&) = delete;

private:
    int m_saved;
};

bool registerAsymmetricBarrier() {
    const ErrnoKept kept;
    return ::syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0;
}

// Asked by every lock as it is made, so the answer is final before the first lock exists.
bool asymmetricBarrierRegistered() {
    static const bool registered = registerAsymmetricBarrier();
    return registered;
}

// Called after the waiter's increment (itself a full barrier): makes the unlocker's
// store visible here, or the increment visible to the unlocker's load, on every running
// thread of the process.
void waiterBarrier() {
    const ErrnoKept kept;
    ::syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0);
}

// The kernel reads and compares the atomic's own 32 bits as the futex word.
static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t) &&
                  alignof(std::atomic<std::uint32_t>) == alignof(std::uint32_t) &&
                  std::atomic<std::uint32_t>::is_always_lock_free,
              "a futex word must be a plain 32-bit integer");

void futexWait(std::atomic<std::uint32_t>* word, std::uint32_t expected) {
    const ErrnoKept kept;
    ::syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(word), FUTEX_WAIT_PRIVATE, expected,
              nullptr, nullptr, 0);
}

void futexWakeOne(std::atomic<std::uint32_t>* word) {
    const ErrnoKept kept;
    ::syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(word), FUTEX_WAKE_PRIVATE, 1, nullptr,
              nullptr, 0);
}

inline void cpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

constexpr int kSpins = 100;

// A cache line of its own: locks made one after another must not slow each other.
class alignas(64) XoImpLock_posix final : public XoLock {
public:
    // fences: unlock fences, and waiters need no barrier; else the reverse.
    explicit XoImpLock_posix(bool fences) : m_fences(fences) {}

    void lock() override { lockDirect(); }
    void unlock() override { unlockDirect(); }

    // The compare-exchange comes first: a free lock is the common case, and a failed
    // exchange reports the owner, which tells a recursive take from contention.
    void lockDirect() {
        const std::uint32_t self = xo::platform::cachedThreadId();
        std::uint32_t owner = 0;
        if (!m_owner.compare_exchange_strong(owner, self, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
            if (owner == self) {
                ++m_depth;
                return;
            }
            lockContended(self);
        }
        m_depth = 1;
    }

    // Only the owner unlocks, as with a critical section; anyone else would take the
    // owner's depth down, or wrap a free lock's depth round, and free it under its owner.
    void unlockDirect() {
        XO_DEBUG_CHECK(m_owner.load(std::memory_order_relaxed) == xo::platform::cachedThreadId(),
                       "a lock is unlocked by a thread that does not own it");
        if (--m_depth != 0)
            return;
        releaseOwner();
        if (m_waiters.load(std::memory_order_relaxed) != 0)
            futexWakeOne(&m_owner);
    }

private:
    // Frees the owner word; without the waiters' barrier the store itself must be a full
    // barrier.
    void releaseOwner() {
        if (m_fences) {
            m_owner.exchange(0);
        } else {
            m_owner.store(0, std::memory_order_release);
            std::atomic_signal_fence(std::memory_order_seq_cst);
        }
    }

    bool tryTake(std::uint32_t self) {
        std::uint32_t expected = 0;
        return m_owner.load(std::memory_order_relaxed) == 0 &&
               m_owner.compare_exchange_weak(expected, self, std::memory_order_acquire,
                                             std::memory_order_relaxed);
    }

    void lockContended(std::uint32_t self) {
        for (int i = 0; i < kSpins; ++i) {
            cpuRelax();
            if (tryTake(self))
                return;
        }
        m_waiters.fetch_add(1);
        if (!m_fences)
            waiterBarrier();
        for (;;) {
            std::uint32_t owner = m_owner.load(std::memory_order_relaxed);
            if (owner == 0) {
                if (m_owner.compare_exchange_weak(owner, self, std::memory_order_acquire,
                                                  std::memory_order_relaxed))
                    break;
                continue;
            }
            futexWait(&m_owner, owner);
        }
        m_waiters.fetch_sub(1, std::memory_order_relaxed);
    }

    std::atomic<std::uint32_t> m_owner{0}; // thread id, 0 when free
    std::atomic<std::uint32_t> m_waiters{0};
    std::uint32_t m_depth = 0; // touched by the owner only
    const bool m_fences;
};

} // namespace

namespace xo::platform {

XoLock* newRecursiveLock() {
    return new XoImpLock_posix(!asymmetricBarrierRegistered());
}

XoLock* newFencedRecursiveLockForTests() {
    return new XoImpLock_posix(true);
}

void lockRecursive(XoLock* lock) {
    static_cast<XoImpLock_posix*>(lock)->lockDirect();
}

void unlockRecursive(XoLock* lock) {
    static_cast<XoImpLock_posix*>(lock)->unlockDirect();
}

} // namespace xo::platform
