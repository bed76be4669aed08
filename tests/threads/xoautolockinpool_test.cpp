#include "XoLock.h"
#include "threads/xolockpool.h"
#include "xotestsync.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace {

// The guard's layout is part of the contract: the address, then the pooled lock.
static_assert(sizeof(XoAutoLockInPool) == 2 * sizeof(void*), "two pointer fields");

const void* addressOf(const XoAutoLockInPool& guard) {
    const void* address;
    std::memcpy(&address, &guard, sizeof address);
    return address;
}

XoLock* pooledLockOf(const XoAutoLockInPool& guard) {
    XoLock* lock;
    std::memcpy(&lock, reinterpret_cast<const char*>(&guard) + sizeof(void*), sizeof lock);
    return lock;
}

TEST(XoAutoLockInPool, GuardsOnOneAddressExcludeEachOther) {
    int object = 0;
    std::atomic<bool> acquired{false};
    std::thread other;
    {
        XoAutoLockInPool guard(&object);
        other = std::thread([&] {
            XoAutoLockInPool inner(&object);
            acquired = true;
        });
        EXPECT_TRUE(xotest::staysFalse(acquired));
    }
    EXPECT_TRUE(xotest::becomesTrue(acquired));
    other.join();
}

TEST(XoAutoLockInPool, GuardsOnDifferentAddressesDoNotBlock) {
    int first = 0, second = 0;
    XoAutoLockInPool guard(&first);
    std::atomic<bool> acquired{false};
    std::thread other([&] {
        XoAutoLockInPool inner(&second);
        acquired = true;
    });
    EXPECT_TRUE(xotest::becomesTrue(acquired));
    other.join();
}

TEST(XoAutoLockInPool, ExcludesUnderContention) {
    long counters[2] = {0, 0};
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&counters, t] {
            long& counter = counters[t % 2];
            for (int i = 0; i < kRounds; ++i) {
                XoAutoLockInPool guard(&counter);
                ++counter;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counters[0], long{kThreads / 2} * kRounds);
    EXPECT_EQ(counters[1], long{kThreads / 2} * kRounds);
}

TEST(XoAutoLockInPool, NestsOnOneAddressInOneThreadWithOneLock) {
    int object = 0;
    XoAutoLockInPool outer(&object);
    XoAutoLockInPool inner(&object);
    EXPECT_EQ(addressOf(inner), &object);
    EXPECT_EQ(pooledLockOf(outer), pooledLockOf(inner));
}

TEST(XoAutoLockInPool, NullAddressTakesNoLock) {
    XoAutoLockInPool guard(nullptr);
    EXPECT_EQ(addressOf(guard), nullptr);
    EXPECT_EQ(pooledLockOf(guard), nullptr);
}

TEST(XoAutoLockInPool, ReturnedLocksServeTheNextAddresses) {
    std::vector<int> objects(500);
    const unsigned long before = xo::XoLockPool::locksMade();
    for (int& object : objects) {
        XoAutoLockInPool guard(&object);
    }
    EXPECT_LE(xo::XoLockPool::locksMade() - before, 1u) << "one address at a time";
    for (std::size_t i = 0; i + 2 < objects.size(); i += 3) {
        XoAutoLockInPool first(&objects[i]);
        XoAutoLockInPool second(&objects[i + 1]);
        XoAutoLockInPool third(&objects[i + 2]);
    }
    EXPECT_LE(xo::XoLockPool::locksMade() - before, 3u) << "three addresses at a time";
}

TEST(XoAutoLockInPool, AddressesLockedTogetherHaveTheirOwnLocks) {
    int a = 0, b = 0, c = 0;
    XoLock* lockA;
    XoLock* lockB;
    {
        XoAutoLockInPool guardA(&a);
        XoAutoLockInPool guardB(&b);
        lockA = pooledLockOf(guardA);
        lockB = pooledLockOf(guardB);
        EXPECT_NE(lockA, lockB);
    }
    // B's lock went idle before A's, so A's is the one on top.
    XoAutoLockInPool guardA(&a);
    XoAutoLockInPool guardC(&c);
    EXPECT_EQ(pooledLockOf(guardA), lockA) << "most recently returned first";
    EXPECT_NE(pooledLockOf(guardC), lockA);
}

} // namespace
