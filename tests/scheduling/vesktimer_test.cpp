// Timers ticking through the starting thread's message queue, pumped the way a host's
// message loop pumps it.
#include "VeskTimer.h"
#include "XoMessageQueue.h"
#include "XoSignalObject.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include <poll.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;
constexpr unsigned kWakeTimer = 0x0010;
constexpr unsigned kWmTimer = 0x0113;
constexpr int kPatience = 5000; // ms: generous, CI machines are loaded

struct Ticks {
    std::vector<int> numbers;
    void* data = nullptr;
    static void record(int tick, void* self) {
        auto* t = static_cast<Ticks*>(self);
        t->numbers.push_back(tick);
        t->data = self;
    }
};

// Waits for and dispatches what the queue brings until done() or the time is up;
// returns how many WM_TIMER messages went by.
int pump(const std::function<bool()>& done, int milliseconds) {
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    int timerMessages = 0;
    while (!done() && Clock::now() < end) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        xoMsgWaitForMultipleObject(nullptr, 0, kWakeTimer, false, unsigned(left.count() + 1));
        XoQueuedMessage m;
        while (!done() && xoPeekMessage(&m, true)) {
            timerMessages += m.message == kWmTimer;
            xoDispatchMessage(&m);
        }
    }
    return timerMessages;
}

void pumpFor(int milliseconds) {
    pump([] { return false; }, milliseconds);
}

TEST(Timers, TicksCountFromOneAndStopReturnsTheCount) {
    Ticks ticks;
    std::unique_ptr<VeskTimer> timer(veskCreateTimer(Ticks::record, 5, &ticks, true));
    EXPECT_EQ(timer->getInterval(), 10u) << "kept at 10 ms at least";
    pump([&] { return ticks.numbers.size() >= 3; }, kPatience);
    EXPECT_EQ(timer->stop(), 3);
    EXPECT_EQ(ticks.numbers, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(ticks.data, &ticks);
    pumpFor(40);
    EXPECT_EQ(ticks.numbers.size(), 3u) << "nothing after stop";
    timer->start(false);
    pump([&] { return ticks.numbers.size() >= 4; }, kPatience);
    EXPECT_EQ(ticks.numbers.back(), 1) << "start counts again";
}

TEST(Timers, SingleShotTicksOnceAlsoWithoutACallback) {
    Ticks ticks;
    std::unique_ptr<VeskTimer> once(veskCreateTimer(Ticks::record, 10, &ticks, false));
    once->start(true);
    pump([&] { return !ticks.numbers.empty(); }, kPatience);
    pumpFor(60);
    EXPECT_EQ(ticks.numbers, (std::vector<int>{1}));
    EXPECT_EQ(once->stop(), 1);

    std::unique_ptr<VeskTimer> silent(veskCreateTimer(nullptr, 10, nullptr, false));
    silent->start(true);
    const int seen = pump([] { return false; }, 120);
    EXPECT_EQ(seen, 1) << "stopped after its first tick";
    EXPECT_EQ(silent->stop(), 0) << "and counted nothing";
}

TEST(Timers, IntervalChangesOnlyWhileStopped) {
    std::unique_ptr<VeskTimer> timer(veskCreateTimer(nullptr, 50, nullptr, false));
    EXPECT_TRUE(timer->setInterval(5));
    EXPECT_EQ(timer->getInterval(), 50u) << "below 10 is ignored, deliberately";
    EXPECT_TRUE(timer->setInterval(30));
    EXPECT_EQ(timer->getInterval(), 30u);
    timer->start(false);
    EXPECT_FALSE(timer->setInterval(50));
    EXPECT_EQ(timer->getInterval(), 30u);
    timer->stop();
    EXPECT_TRUE(timer->setInterval(50));
}

TEST(Timers, ADestroyedTimerTicksNoMore) {
    Ticks ticks;
    VeskTimer* timer = veskCreateTimer(Ticks::record, 10, &ticks, true);
    delete timer;
    EXPECT_EQ(pump([] { return false; }, 60), 0);
    EXPECT_TRUE(ticks.numbers.empty());
}

TEST(Timers, ThreadsRunTheirOwnTimersAtOnce) {
    constexpr int kThreads = 3;
    std::atomic<int> finished{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            Ticks a, b;
            std::unique_ptr<VeskTimer> first(veskCreateTimer(Ticks::record, 10, &a, true));
            std::unique_ptr<VeskTimer> second(veskCreateTimer(Ticks::record, 15, &b, true));
            pump([&] { return a.numbers.size() >= 5 && b.numbers.size() >= 5; }, kPatience);
            if (first->stop() >= 5 && second->stop() >= 5 && a.data == &a && b.data == &b)
                ++finished;
        });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(finished.load(), kThreads);
}

#if !defined(_WIN32)
// A host's own loop: poll on the queue's descriptor, then peek and dispatch.
TEST(Timers, AHostLoopPollsTheQueuesDescriptor) {
    Ticks ticks;
    std::unique_ptr<VeskTimer> timer(veskCreateTimer(Ticks::record, 10, &ticks, true));
    const auto end = Clock::now() + std::chrono::milliseconds(kPatience);
    while (ticks.numbers.size() < 3 && Clock::now() < end) {
        pollfd queue = {xoMessageQueueDescriptor(), POLLIN, 0};
        ASSERT_GE(::poll(&queue, 1, kPatience), 0);
        XoQueuedMessage m;
        while (xoPeekMessage(&m, true))
            xoDispatchMessage(&m);
    }
    EXPECT_EQ(timer->stop(), 3);
}

// Ticks are due at start + n × interval: a thread that did not dispatch for several
// intervals gets one tick, and the next comes at its own due time, not an interval later.
TEST(Timers, ALateThreadGetsOneTickAndNoDrift) {
    std::vector<Clock::time_point> at;
    const auto record = [](int, void* list) {
        static_cast<std::vector<Clock::time_point>*>(list)->push_back(Clock::now());
    };
    const auto start = Clock::now();
    std::unique_ptr<VeskTimer> timer(veskCreateTimer(record, 40, &at, true));
    std::this_thread::sleep_for(std::chrono::milliseconds(130)); // three ticks missed
    XoQueuedMessage m;
    int burst = 0;
    while (xoPeekMessage(&m, true))
        burst += xoDispatchMessage(&m);
    EXPECT_EQ(burst, 1) << "missed ticks come as one";
    pump([&] { return at.size() >= 2; }, kPatience);
    ASSERT_EQ(at.size(), 2u);
    const auto second = std::chrono::duration_cast<std::chrono::milliseconds>(at[1] - start);
    EXPECT_GE(second.count(), 160) << "due at 4 x 40 ms";
    EXPECT_LT(second.count(), 160 + 40) << "not an interval after the late tick";
}
#endif

} // namespace
