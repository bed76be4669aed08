// The worker's queue: first in, first out; stopping runs what is queued and refuses more.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "filesystem/xotaskthread.h"
#include "xotestsync.h"

namespace {

TEST(XoTaskThread, RunsTasksInArrivalOrder) {
    std::vector<int> order;
    {
        XoTaskThread worker;
        for (int i = 0; i < 100; ++i)
            EXPECT_TRUE(worker.post([&order, i] { order.push_back(i); }));
    } // the queue drains before the thread is joined
    ASSERT_EQ(order.size(), 100u);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(order[std::size_t(i)], i);
}

TEST(XoTaskThread, StoppingRunsQueuedTasksAndRefusesNewOnes) {
    auto* worker = new XoTaskThread;
    std::atomic<bool> entered{false}, release{false};
    std::vector<int> order;
    ASSERT_TRUE(worker->post([&] {
        entered = true;
        while (!release)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }));
    ASSERT_TRUE(xotest::becomesTrue(entered));
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(worker->post([&order, i] { order.push_back(i); }));
    std::atomic<bool> stopped{false};
    std::thread stopper([&] {
        delete worker; // waits for the blocked task, then for the queue
        stopped = true;
    });
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!worker->stopping() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ASSERT_TRUE(worker->stopping());
    auto token = std::make_shared<int>(0);
    EXPECT_FALSE(worker->post([token] {}));
    EXPECT_EQ(token.use_count(), 1); // the refused task is destroyed
    EXPECT_TRUE(xotest::staysFalse(stopped));
    release = true;
    stopper.join();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
}

} // namespace
