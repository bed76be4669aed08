// Events, threads, the process and the waits: Windows' rules, the same on both targets
// (under Wine the Windows functions themselves answer).
#include "XoMessageQueue.h"
#include "XoSignalObject.h"

#include <gtest/gtest.h>

#include <atomic>
#include <bitset>
#include <chrono>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include <poll.h>
#endif

namespace {

constexpr unsigned kSignalled = 4096;
constexpr unsigned kTimedOut = 8192;
constexpr unsigned kFailed = 0xFFFFFFFFu;
constexpr unsigned kLong = 10000; // generous: CI machines are loaded
constexpr unsigned kPostMessage = 0x0008;

struct Release {
    void operator()(XoSignalObject* o) const { o->release(); }
};
using Event = std::unique_ptr<XoEvent, Release>;
using Thread = std::unique_ptr<XoThread, Release>;

Event autoEvent(bool set = false) {
    return Event(createXoEvent(true, set, nullptr));
}
Event manualEvent(bool set = false) {
    return Event(createXoEvent(false, set, nullptr));
}

unsigned waitAny(std::vector<XoSignalObject*> objects, unsigned timeout) {
    return xoWaitForMultipleObject(objects.data(), unsigned(objects.size()), false, timeout);
}
unsigned waitAll(std::vector<XoSignalObject*> objects, unsigned timeout) {
    return xoWaitForMultipleObject(objects.data(), unsigned(objects.size()), true, timeout);
}

TEST(Events, SetResetAndWhatAWaitTakes) {
    const wchar_t* name = L"drawing-ready";
    Event a(createXoEvent(true, true, name));
    EXPECT_EQ(a->name(), name) << "the caller's pointer";
    EXPECT_TRUE(a->isAutoReset());
    EXPECT_EQ(a->wait(0), kSignalled);
    EXPECT_EQ(a->wait(0), kTimedOut) << "the wait reset it";
    Event m = manualEvent();
    EXPECT_FALSE(m->isAutoReset());
    EXPECT_TRUE(m->setSignaled(true));
    EXPECT_EQ(m->wait(0), kSignalled);
    EXPECT_EQ(m->wait(0), kSignalled) << "a manual event stays set";
    EXPECT_TRUE(m->setSignaled(false));
    EXPECT_EQ(m->wait(0), kTimedOut);
    EXPECT_EQ(xoWaitForSingleObject(nullptr, 0), kFailed);
}

TEST(Events, WaitAnyTakesTheLowestSignalledAndOnlyThatOne) {
    Event a = autoEvent(), b = autoEvent(true), c = autoEvent(true);
    EXPECT_EQ(waitAny({a.get(), b.get(), c.get()}, 0), kSignalled + 1);
    EXPECT_EQ(b->wait(0), kTimedOut);
    EXPECT_EQ(c->wait(0), kSignalled) << "the higher one was left alone";
}

TEST(Events, WaitAllTakesAllAtOnceOrNothing) {
    Event a = autoEvent(true), b = autoEvent(), m = manualEvent(true);
    EXPECT_EQ(waitAll({a.get(), b.get(), m.get()}, 0), kTimedOut);
    EXPECT_EQ(waitAll({a.get(), b.get(), m.get()}, 30), kTimedOut);
    EXPECT_EQ(a->wait(0), kSignalled) << "a partial wait-all took nothing";
    a->setSignaled(true);
    b->setSignaled(true);
    EXPECT_EQ(waitAll({a.get(), b.get(), m.get()}, 0), kSignalled) << "all set: no time-out";
    EXPECT_EQ(waitAny({a.get(), b.get()}, 0), kTimedOut) << "both auto events taken";
    EXPECT_EQ(m->wait(0), kSignalled);
}

TEST(Events, SameObjectTwiceFailsAWaitAllOnly) {
    Event a = autoEvent(true);
#if !defined(_WIN32)
    // Windows refuses it (ERROR_INVALID_PARAMETER); Wine does not check.
    EXPECT_EQ(waitAll({a.get(), a.get()}, 0), kFailed);
#endif
    EXPECT_EQ(waitAny({a.get(), a.get()}, 0), kSignalled);
    EXPECT_EQ(waitAny({a.get(), nullptr}, 0), kFailed);
}

TEST(Events, AWaitAllInProgressDoesNotStarveASingleWaiter) {
    Event a = autoEvent(), b = autoEvent();
    std::atomic<unsigned> all{0}, one{0};
    std::thread waitingForAll([&] { all = waitAll({a.get(), b.get()}, kLong); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    std::thread waitingForA([&] { one = a->wait(kLong); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    a->setSignaled(true); // only a: the wait-all cannot take it, the single waiter does
    waitingForA.join();
    EXPECT_EQ(one.load(), kSignalled);
    EXPECT_EQ(all.load(), 0u);
    a->setSignaled(true);
    b->setSignaled(true);
    waitingForAll.join();
    EXPECT_EQ(all.load(), kSignalled);
}

// How many of several waiters one set releases.
int releasedBy(XoEvent* event, int waiters, int sets) {
    std::atomic<int> released{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < waiters; ++i)
        threads.emplace_back([&] {
            if (event->wait(600) == kSignalled)
                ++released;
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    for (int i = 0; i < sets; ++i)
        event->setSignaled(true);
    for (std::thread& t : threads)
        t.join();
    return released;
}

TEST(Events, AutoResetReleasesOneWaiterManualReleasesAll) {
    Event a = autoEvent(), m = manualEvent();
    EXPECT_EQ(releasedBy(a.get(), 3, 1), 1);
    EXPECT_EQ(releasedBy(m.get(), 3, 1), 3);
}

TEST(Events, TimeOutsPollOrElapseOnTheirClock) {
    Event a = autoEvent();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(a->wait(0), kTimedOut);
    EXPECT_EQ(a->wait(60), kTimedOut);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    std::thread setter([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        a->setSignaled(true);
    });
    EXPECT_EQ(a->wait(0xFFFFFFFFu), kSignalled) << "forever ends when it is set";
    setter.join();
}

unsigned exitWith(void* code) {
    return unsigned(reinterpret_cast<std::uintptr_t>(code));
}

TEST(Threads, RunEndSignalledAndKeepTheirExitCode) {
    Thread t(createXoThread(exitWith, reinterpret_cast<void*>(std::uintptr_t(42)), false, 0));
    EXPECT_EQ(t->waitForExit(), kSignalled);
    unsigned code = 0;
    EXPECT_TRUE(xoGetThreadExitCode(t.get(), &code));
    EXPECT_EQ(code, 42u);
    EXPECT_NE(t->threadId(), 0u);
    EXPECT_FALSE(t->isCurrentThread());
    EXPECT_EQ(t->wait(0), kSignalled) << "an ended thread stays signalled";
}

TEST(Threads, StartedSuspendedRunsOnlyWhenResumed) {
    std::atomic<int> ran{0};
    Thread t(createXoThread(
        [](void* flag) -> unsigned {
            ++*static_cast<std::atomic<int>*>(flag);
            return 0;
        },
        &ran, true, 256 * 1024));
    EXPECT_EQ(t->wait(100), kTimedOut);
    EXPECT_EQ(ran.load(), 0);
    EXPECT_EQ(t->resume(), 1u);
    EXPECT_EQ(t->waitForExit(), kSignalled);
    EXPECT_EQ(ran.load(), 1);
}

TEST(Threads, TheCurrentThreadAndTheProcessAreNeverSignalled) {
    Thread self(getXoThreadCurrent());
    EXPECT_TRUE(self->isCurrentThread());
    std::atomic<bool> elsewhere{true};
    std::thread([&] { elsewhere = self->isCurrentThread(); }).join();
    EXPECT_FALSE(elsewhere.load());
    EXPECT_EQ(self->wait(0), kTimedOut);
    XoProcess* process = getXoCurProcess();
    EXPECT_EQ(process, getXoCurProcess());
    EXPECT_EQ(process->wait(0), kTimedOut);
    EXPECT_EQ(process->processId(), 0u);
    EXPECT_GT(process->processorCount(), 0);
    EXPECT_EQ(process->processorCount(), int(std::bitset<64>(process->affinityMask()).count()));
}

TEST(Threads, PriorityLevelsLoweredAndReadBack) {
    Event go = manualEvent();
    Thread t(createXoThread(
        [](void* event) -> unsigned {
            static_cast<XoEvent*>(event)->wait(kLong);
            return 0;
        },
        go.get(), false, 0));
    EXPECT_EQ(t->getPriority(), 0);
    EXPECT_TRUE(t->setPriority(-1));
    EXPECT_EQ(t->getPriority(), -1);
    EXPECT_FALSE(t->setPriority(99)) << "not a level";
    go->setSignaled(true);
    EXPECT_EQ(t->waitForExit(), kSignalled);
}

// Windows suspends and terminates a running thread; Linux reports failure for both.
TEST(Threads, SuspendingOrTerminatingARunningThread) {
    struct Events {
        Event running = manualEvent();
        Event go = manualEvent();
    } events;
    Thread t(createXoThread(
        [](void* context) -> unsigned {
            auto* e = static_cast<Events*>(context);
            e->running->setSignaled(true);
            e->go->wait(kLong);
            return 7;
        },
        &events, false, 0));
    ASSERT_EQ(events.running->wait(kLong), kSignalled);
#if defined(_WIN32)
    EXPECT_EQ(t->suspend(), 0u);
    EXPECT_EQ(t->resume(), 1u);
#else
    EXPECT_EQ(t->suspend(), kFailed);
    EXPECT_FALSE(t->terminate(3));
#endif
    events.go->setSignaled(true);
    EXPECT_EQ(t->waitForExit(), kSignalled);
}

TEST(MessageWaits, APostedMessageAnswersOnePastTheObjects) {
    XoQueuedMessage m;
    while (xoPeekMessage(&m, true)) {
    }
    Event a = autoEvent(), b = autoEvent();
    XoSignalObject* objects[] = {a.get(), b.get()};
    Thread self(getXoThreadCurrent());
    ASSERT_TRUE(xoPostThreadMessage(self->threadId(), 0x8001, 5, -6));
    EXPECT_EQ(xoMsgWaitForMultipleObject(objects, 2, kPostMessage, false, 0), kSignalled + 2);
    ASSERT_TRUE(xoPeekMessage(&m, true));
    EXPECT_EQ(m.message, 0x8001u);
    EXPECT_EQ(m.wParam, 5u);
    EXPECT_EQ(m.lParam, -6);
    EXPECT_EQ(xoMsgWaitForMultipleObject(objects, 2, kPostMessage, false, 0), kTimedOut);
    b->setSignaled(true);
    EXPECT_EQ(a->msgWait(kPostMessage, 0), kTimedOut);
    EXPECT_EQ(xoMsgWaitForMultipleObject(objects, 2, kPostMessage, false, 0), kSignalled + 1);
}

TEST(MessageWaits, APostFromAnotherThreadWakesTheWait) {
    XoQueuedMessage m;
    xoPeekMessage(&m, false); // the queue exists before anyone posts
    Thread self(getXoThreadCurrent());
    const unsigned id = self->threadId();
    std::thread poster([id] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        xoPostThreadMessage(id, 0x8002, 0, 0);
    });
    Event a = autoEvent();
    EXPECT_EQ(a->msgWait(kPostMessage, kLong), kSignalled + 1);
    poster.join();
#if !defined(_WIN32)
    pollfd ready = {xoMessageQueueDescriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&ready, 1, 0), 1) << "the host's loop sees it too";
#endif
    EXPECT_TRUE(xoPeekMessage(&m, true));
    EXPECT_EQ(m.message, 0x8002u);
#if !defined(_WIN32)
    EXPECT_EQ(::poll(&ready, 1, 0), 0);
#endif
    EXPECT_FALSE(xoPostThreadMessage(0xFFFFFFF0u, 1, 0, 0)) << "no such thread";
}

// Producers each hand out one token at a time on an auto-reset event; consumers wait for
// any or all of overlapping sets and hand each token back. Every token must be taken
// exactly once and nobody may be left waiting.
TEST(WaitStress, EveryTokenTakenOnceAndNoWakeUpLost) {
    constexpr int kProducers = 4;
    constexpr int kRounds = 2000;
    std::vector<Event> tokens, acks;
    for (int p = 0; p < kProducers; ++p) {
        tokens.push_back(autoEvent());
        acks.push_back(autoEvent(true));
    }
    std::atomic<int> taken[kProducers] = {};
    std::atomic<int> total{0};
    std::atomic<bool> stuck{false};
    std::vector<std::thread> threads;
    for (int p = 0; p < kProducers; ++p)
        threads.emplace_back([&, p] {
            for (int r = 0; r < kRounds; ++r) {
                if (acks[p]->wait(kLong) != kSignalled)
                    stuck = true;
                tokens[p]->setSignaled(true);
            }
        });
    const auto consume = [&](std::vector<int> which, bool all, unsigned seed) {
        std::mt19937 random(seed);
        std::vector<XoSignalObject*> objects;
        for (int p : which)
            objects.push_back(tokens[p].get());
        while (total.load() < kProducers * kRounds && !stuck) {
            const unsigned r = xoWaitForMultipleObject(objects.data(), unsigned(objects.size()),
                                                       all, 20 + random() % 20);
            if (r == kTimedOut)
                continue;
            for (std::size_t i = 0; i < which.size(); ++i) {
                if (all || r == kSignalled + i) {
                    ++taken[which[i]];
                    ++total;
                    acks[which[i]]->setSignaled(true);
                }
            }
        }
    };
    threads.emplace_back(consume, std::vector<int>{0, 1, 2, 3}, false, 1);
    threads.emplace_back(consume, std::vector<int>{3, 2, 1, 0}, false, 2);
    threads.emplace_back(consume, std::vector<int>{0, 1}, true, 3);
    threads.emplace_back(consume, std::vector<int>{1, 2, 3}, true, 4);
    for (std::thread& t : threads)
        t.join();
    EXPECT_FALSE(stuck.load()) << "a producer waited in vain for its token to be taken";
    for (int p = 0; p < kProducers; ++p)
        EXPECT_EQ(taken[p].load(), kRounds) << "producer " << p;
}

} // namespace
