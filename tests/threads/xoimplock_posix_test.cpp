// The POSIX recursive lock: what only its owner may do, and both ways of unlocking (with
// a fence, or plain with the waiters' process-wide barrier), each under contention.
#include "XoLock.h"
#include "xotestchecks.h"
#include "xotestsync.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include "platform/lock.h"

#include <pthread.h>
#include <signal.h>
#endif

namespace {

TEST(XoImpLockPosixDeathTest, AnUnlockByAThreadThatDoesNotOwnTheLockStopsTheProcess) {
#if defined(_WIN32)
    GTEST_SKIP() << "the Windows lock is a critical section; misusing it is the system's to report";
#elif !defined(XO_DEBUG_CHECKS)
    GTEST_SKIP() << "the owner check is built into debug, sanitizer and fuzz builds only";
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::unique_ptr<XoLock> lock(createXoLock());
    EXPECT_EXIT(lock->unlock(), xotest::abortedByCheck(), "") << "a free lock";
    EXPECT_EXIT(
        {
            std::thread([&] { lock->lock(); }).join();
            lock->unlock();
        },
        xotest::abortedByCheck(), "")
        << "a lock another thread holds";
    lock->lock();
    lock->lock();
    lock->unlock();
    lock->unlock();
#endif
}

#if !defined(_WIN32)

// Both ways, whichever one the kernel lets the library's own locks take.
struct LockKind {
    const char* name;
    XoLock* (*make)();
};

const LockKind kLockKinds[] = {
    {"AsMadeForTheLibrary", xo::platform::newRecursiveLock},
    {"UnlockingWithAFence", xo::platform::newFencedRecursiveLockForTests},
};

void PrintTo(const LockKind& kind, std::ostream* out) {
    *out << kind.name;
}

class XoImpLockPosix : public ::testing::TestWithParam<LockKind> {
protected:
    std::unique_ptr<XoLock> lock_{GetParam().make()};
};

std::string lockKindName(const ::testing::TestParamInfo<LockKind>& kind) {
    return kind.param.name;
}

INSTANTIATE_TEST_SUITE_P(BothUnlocks, XoImpLockPosix, ::testing::ValuesIn(kLockKinds),
                         lockKindName);

// A waiter that has gone to sleep in the kernel is woken by the last unlock.
TEST_P(XoImpLockPosix, ASleepingWaiterIsWokenByTheLastUnlock) {
    lock_->lock();
    lock_->lock();
    std::atomic<bool> acquired{false};
    std::thread waiter([&] {
        lock_->lock();
        acquired = true;
        lock_->unlock();
    });
    EXPECT_TRUE(xotest::staysFalse(acquired));
    lock_->unlock();
    EXPECT_TRUE(xotest::staysFalse(acquired)) << "released after one of two locks";
    lock_->unlock();
    EXPECT_TRUE(xotest::becomesTrue(acquired));
    waiter.join();
}

void ignoreSignal(int) {}

// A waiter asleep in the kernel that signals interrupt (EINTR: the handler is installed
// without SA_RESTART) sleeps again; neither it nor the unlocker finds errno changed.
TEST_P(XoImpLockPosix, AWaiterWokenBySignalsWaitsOnAndKeepsErrno) {
    struct sigaction interrupting = {};
    interrupting.sa_handler = ignoreSignal;
    sigemptyset(&interrupting.sa_mask);
    struct sigaction previous = {};
    ASSERT_EQ(sigaction(SIGUSR1, &interrupting, &previous), 0);

    lock_->lock();
    std::atomic<bool> acquired{false};
    std::atomic<int> waiterErrno{0};
    std::thread waiter([&] {
        errno = 4242;
        lock_->lock();
        waiterErrno = errno;
        acquired = true;
        lock_->unlock();
    });
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(xotest::staysFalse(acquired, std::chrono::milliseconds(20)));
        pthread_kill(waiter.native_handle(), SIGUSR1);
    }
    EXPECT_TRUE(xotest::staysFalse(acquired));
    errno = 4343;
    lock_->unlock();
    EXPECT_EQ(errno, 4343);
    EXPECT_TRUE(xotest::becomesTrue(acquired));
    waiter.join();
    EXPECT_EQ(waiterErrno.load(), 4242);
    sigaction(SIGUSR1, &previous, nullptr);
}

// Contention makes futex waits that find the word changed (EAGAIN) and wakes; no caller
// may see errno move, and none may get in while another holds the lock.
TEST_P(XoImpLockPosix, ExcludesUnderContentionAndKeepsErrno) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    long counter = 0;
    std::atomic<int> errnoChanges{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            const int mark = 1000 + t;
            errno = mark;
            for (int i = 0; i < kRounds; ++i) {
                lock_->lock();
                ++counter;
                errnoChanges += errno != mark;
                lock_->unlock();
                errnoChanges += errno != mark;
                errno = mark;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter, long{kThreads} * kRounds);
    EXPECT_EQ(errnoChanges.load(), 0);
}

#endif

} // namespace
