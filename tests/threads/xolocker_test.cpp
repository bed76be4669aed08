#include "XoLock.h"
#include "xotestsync.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace {

TEST(XoLocker, OwningThreadTakesItAgainAndOthersWaitForTheLastRelease) {
    XoLocker locker;
    locker.lock();
    locker.lock();
    std::atomic<bool> acquired{false};
    std::thread other([&] {
        locker.lock();
        acquired = true;
        locker.unlock();
    });
    EXPECT_TRUE(xotest::staysFalse(acquired));
    locker.unlock();
    EXPECT_TRUE(xotest::staysFalse(acquired)) << "released after one of two locks";
    locker.unlock();
    EXPECT_TRUE(xotest::becomesTrue(acquired));
    other.join();
}

TEST(XoLocker, ExcludesUnderContention) {
    XoLocker locker;
    long counter = 0;
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                XoAutoLocker guard(&locker);
                ++counter;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter, long{kThreads} * kRounds);
}

TEST(XoAutoLocker, HoldsForItsScopeAndIgnoresNull) {
    XoLocker locker;
    std::atomic<bool> acquired{false};
    std::thread other;
    {
        XoAutoLocker guard(&locker);
        XoAutoLocker none(nullptr);
        other = std::thread([&] {
            XoAutoLocker inner(&locker);
            acquired = true;
        });
        EXPECT_TRUE(xotest::staysFalse(acquired));
    }
    EXPECT_TRUE(xotest::becomesTrue(acquired));
    other.join();
}

TEST(CreateXoLock, MakesIndependentRecursiveLocks) {
    std::unique_ptr<XoLock> first(createXoLock());
    std::unique_ptr<XoLock> second(createXoLock());
    ASSERT_NE(first, nullptr);
    ASSERT_NE(first.get(), second.get());
    first->lock();
    first->lock();
    std::atomic<bool> tookSecond{false};
    std::thread([&] {
        second->lock();
        tookSecond = true;
        second->unlock();
    }).join();
    EXPECT_TRUE(tookSecond);
    first->unlock();
    first->unlock();
}

} // namespace
