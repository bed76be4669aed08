// The workflow manager: items on threads of their own, a thread limit, waits with
// time-outs, locks for the work, and failures that stay in their thread.
#include "VeskConcurrenceWorkflowManager.h"
#include "VeskCrashRecorder.h"
#include "XoSignalObject.h"
#include "platform/virtualmemory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr unsigned kForever = 0xFFFFFFFFu;
constexpr unsigned kLong = 10000; // ms: generous, CI machines are loaded

using Manager = std::unique_ptr<VeskConcurrenceWorkflowManager>;

Manager manager(int limit = 0) {
    Manager m(veskCreateConcurrenceWorkflowManager());
    if (limit > 0)
        m->setMaxThreadCount(limit);
    return m;
}

// Work that counts itself in and waits for the gate.
struct Gate {
    std::unique_ptr<XoEvent, void (*)(XoSignalObject*)> open{
        createXoEvent(false, false, nullptr), [](XoSignalObject* o) { o->release(); }};
    std::atomic<int> started{0};
    std::atomic<int> running{0};
    std::atomic<int> mostAtOnce{0};
    static void work(VeskConcurrenceWorkContext*, void* self) {
        auto* g = static_cast<Gate*>(self);
        ++g->started;
        const int now = ++g->running;
        for (int most = g->mostAtOnce;
             now > most && !g->mostAtOnce.compare_exchange_weak(most, now);) {
        }
        g->open->wait(kLong);
        --g->running;
    }
    void waitStarted(int n) {
        const auto end = Clock::now() + std::chrono::milliseconds(kLong);
        while (started < n && Clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
};

TEST(Workflow, TheLimitHoldsAndExecuteRunsTheRest) {
    Gate gate;
    Manager m = manager(2);
    EXPECT_EQ(m->getMaxThreadCount(), 2);
    for (int i = 0; i < 5; ++i)
        m->addWork(Gate::work, &gate, 0, false);
    gate.waitStarted(2);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(gate.started.load(), 2) << "the first two start at once, the rest wait";
    gate.open->setSignaled(true);
    EXPECT_EQ(m->execute(kForever), 0);
    EXPECT_EQ(gate.started.load(), 5);
    EXPECT_LE(gate.mostAtOnce.load(), 2);
    EXPECT_EQ(m->waitAnyThread(0), 0) << "nothing left running";
}

TEST(Workflow, ExecuteTimesOutOnLongWork) {
    Gate gate;
    Manager m = manager(4);
    m->addWork(Gate::work, &gate, 0, false);
    const auto start = Clock::now();
    EXPECT_EQ(m->execute(100), 2);
    const auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    EXPECT_GE(waited.count(), 90);
    EXPECT_LT(waited.count(), kLong / 2);
    gate.open->setSignaled(true);
    EXPECT_EQ(m->execute(kForever), 0);
}

TEST(Workflow, ThreadLimitChangesOnlyWhenIdleAndPositive) {
    Gate gate;
    Manager m = manager();
    const int initial = m->getMaxThreadCount();
    EXPECT_GE(initial, 2);
    EXPECT_EQ(initial % 2, 0) << "twice the logical processors";
    for (int n : {0, -3}) {
        m->setMaxThreadCount(n);
        EXPECT_EQ(m->getMaxThreadCount(), initial) << n;
    }
    m->addWork(Gate::work, &gate, 0, false);
    gate.waitStarted(1);
    m->setMaxThreadCount(7);
    EXPECT_EQ(m->getMaxThreadCount(), initial) << "ignored while work is active";
    gate.open->setSignaled(true);
    EXPECT_EQ(m->execute(kForever), 0);
    m->setMaxThreadCount(7);
    EXPECT_EQ(m->getMaxThreadCount(), 7);
}

TEST(Workflow, RunNowRunsHereAndRecordsNothing) {
    Manager m = manager();
    std::thread::id ranOn;
    m->addWork([](VeskConcurrenceWorkContext*,
                  void* on) { *static_cast<std::thread::id*>(on) = std::this_thread::get_id(); },
               &ranOn, 0, true);
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    EXPECT_EQ(m->firstWork(), nullptr);
    m->addWork(nullptr, nullptr, 0, false);
    EXPECT_EQ(m->firstWork(), nullptr) << "a null function adds nothing";
}

TEST(Workflow, IterationGivesTheDataInOrder) {
    Manager m = manager();
    int data[3] = {};
    for (int& d : data)
        m->addWork([](VeskConcurrenceWorkContext*, void*) {}, &d, 0, false);
    EXPECT_EQ(m->execute(kForever), 0);
    VeskConcurrenceWorkItem* cursor = m->firstWork();
    for (int& d : data)
        EXPECT_EQ(m->nextWorkData(cursor), &d);
    EXPECT_EQ(cursor, nullptr);
    EXPECT_EQ(m->nextWorkData(cursor), nullptr);
}

// Locks for the work: each item adds to a shared total under lock 1.
TEST(Workflow, LocksAreMadeAndTakenByIndex) {
    Manager m = manager(4);
    EXPECT_FALSE(m->createLocks(0));
    ASSERT_TRUE(m->createLocks(2));
    struct Shared {
        long total = 0;
    } shared;
    static constexpr int kAdds = 20000;
    for (int i = 0; i < 4; ++i)
        m->addWork(
            [](VeskConcurrenceWorkContext* context, void* s) {
                EXPECT_EQ(context->getLockCount(), 2);
                context->lockAt(-1, true); // nothing
                context->lockAt(2, true);  // nothing
                for (int k = 0; k < kAdds; ++k) {
                    context->lockAt(1, true);
                    ++static_cast<Shared*>(s)->total;
                    context->lockAt(1, false);
                }
            },
            &shared, 0, false);
    EXPECT_EQ(m->execute(kForever), 0);
    EXPECT_EQ(shared.total, 4L * kAdds);
    EXPECT_FALSE(m->createLocks(-1));
}

struct Recorder : VeskCrashRecorder {
    std::atomic<int> crashes{0};
    std::atomic<int> exceptions{0};
    void recordCrash(XoExceptionPointers*) override { ++crashes; }
    void recordException(XoException*) override { ++exceptions; }
};

// A throwing item and a faulting one (a write to a page without access) end their
// threads normally; only the fault reaches the recorder.
TEST(Workflow, FailuresStayInTheirThread) {
    Recorder recorder;
    VeskCrashRecorder* previous = veskGetCrashRecorder();
    veskSetCrashRecorder(&recorder);
    void* page = xo::platform::reserveAligned(xo::platform::kPageSize, 65536);
    ASSERT_NE(page, nullptr);
    Manager m = manager(4);
    m->addWork([](VeskConcurrenceWorkContext*, void*) { throw 42; }, nullptr, 0, false);
    m->addWork([](VeskConcurrenceWorkContext*, void* p) { *static_cast<volatile int*>(p) = 1; },
               page, 0, false);
    std::atomic<int> after{0};
    m->addWork([](VeskConcurrenceWorkContext*, void* a) { ++*static_cast<std::atomic<int>*>(a); },
               &after, 0, false);
    EXPECT_EQ(m->execute(kForever), 0);
    EXPECT_EQ(after.load(), 1);
    EXPECT_EQ(recorder.crashes.load(), 1);
    EXPECT_EQ(recorder.exceptions.load(), 0);
    veskSetCrashRecorder(previous);
    xo::platform::release(page, xo::platform::kPageSize);
}

TEST(Workflow, MoreThanSixtyFourRunningItems) {
    Gate gate;
    Manager m = manager(100);
    constexpr int kItems = 70;
    for (int i = 0; i < kItems; ++i)
        m->addWork(Gate::work, &gate, 64 * 1024, false);
    gate.waitStarted(kItems);
    EXPECT_EQ(m->waitAnyThread(0), 2) << "all running, none ended";
    gate.open->setSignaled(true);
    EXPECT_EQ(m->execute(kForever), 0);
    EXPECT_EQ(gate.started.load(), kItems);
    EXPECT_EQ(m->waitAllThreads(0), 0);
}

} // namespace
