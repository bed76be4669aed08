// The POSIX recursive lock: what only its owner may do.
#include "XoLock.h"
#include "xotestchecks.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

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

} // namespace
