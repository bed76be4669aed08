// Events and threads against their peers: a ping-pong between two threads (the library's
// events, a condition variable with a flag, and a bare futex word, the floor), waits over
// 64 events, and starting a thread and waiting for its end.
#include "XoSignalObject.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace {

constexpr unsigned kForever = 0xFFFFFFFFu;

void BM_PingPong_XoEvent(benchmark::State& state) {
    XoEvent* ping = createXoEvent(true, false, nullptr);
    XoEvent* pong = createXoEvent(true, false, nullptr);
    std::atomic<bool> done{false};
    std::thread partner([&] {
        while (ping->wait(kForever) == 4096 && !done)
            pong->setSignaled(true);
    });
    for (auto _ : state) {
        ping->setSignaled(true);
        pong->wait(kForever);
    }
    done = true;
    ping->setSignaled(true);
    partner.join();
    ping->release();
    pong->release();
}

void BM_PingPong_ConditionVariable(benchmark::State& state) {
    std::mutex m;
    std::condition_variable cv;
    int turn = 0; // 1: the partner's, 2: back here, 3: stop
    std::thread partner([&] {
        std::unique_lock<std::mutex> lock(m);
        for (;;) {
            cv.wait(lock, [&] { return turn == 1 || turn == 3; });
            if (turn == 3)
                return;
            turn = 2;
            cv.notify_all();
        }
    });
    for (auto _ : state) {
        std::unique_lock<std::mutex> lock(m);
        turn = 1;
        cv.notify_all();
        cv.wait(lock, [&] { return turn == 2; });
    }
    {
        std::lock_guard<std::mutex> lock(m);
        turn = 3;
    }
    cv.notify_all();
    partner.join();
}

#if !defined(_WIN32)
// Two futex words, each 0 until its side is told to go: nothing but the system calls.
void futexWait(std::atomic<std::uint32_t>& word) {
    while (word.exchange(0) == 0)
        ::syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
}
void futexWake(std::atomic<std::uint32_t>& word) {
    word.store(1);
    ::syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

void BM_PingPong_FutexFloor(benchmark::State& state) {
    std::atomic<std::uint32_t> ping{0}, pong{0};
    std::atomic<bool> done{false};
    std::thread partner([&] {
        for (;;) {
            futexWait(ping);
            if (done)
                return;
            futexWake(pong);
        }
    });
    for (auto _ : state) {
        futexWake(ping);
        futexWait(pong);
    }
    done = true;
    futexWake(ping);
    partner.join();
}
#endif

std::vector<XoSignalObject*> events(int count, bool set) {
    std::vector<XoSignalObject*> all;
    for (int i = 0; i < count; ++i)
        all.push_back(createXoEvent(false, set, nullptr));
    return all;
}

void releaseAll(std::vector<XoSignalObject*>& all) {
    for (XoSignalObject* o : all)
        o->release();
}

void BM_WaitAny64_LastSet(benchmark::State& state) {
    std::vector<XoSignalObject*> all = events(64, false);
    static_cast<XoEvent*>(all.back())->setSignaled(true);
    for (auto _ : state)
        benchmark::DoNotOptimize(xoWaitForMultipleObject(all.data(), 64, false, 0));
    releaseAll(all);
}

void BM_WaitAll64_AllSet(benchmark::State& state) {
    std::vector<XoSignalObject*> all = events(64, true);
    for (auto _ : state)
        benchmark::DoNotOptimize(xoWaitForMultipleObject(all.data(), 64, true, 0));
    releaseAll(all);
}

unsigned nothing(void*) {
    return 0;
}

void BM_Thread_CreateXoThreadAndWait(benchmark::State& state) {
    for (auto _ : state) {
        XoThread* t = createXoThread(nothing, nullptr, false, 0);
        t->waitForExit();
        t->release();
    }
}

void BM_Thread_StdThreadAndJoin(benchmark::State& state) {
    for (auto _ : state)
        std::thread([] {}).join();
}

} // namespace

BENCHMARK(BM_PingPong_XoEvent)->UseRealTime();
BENCHMARK(BM_PingPong_ConditionVariable)->UseRealTime();
#if !defined(_WIN32)
BENCHMARK(BM_PingPong_FutexFloor)->UseRealTime();
#endif
BENCHMARK(BM_WaitAny64_LastSet);
BENCHMARK(BM_WaitAll64_AllSet);
BENCHMARK(BM_Thread_CreateXoThreadAndWait)->UseRealTime();
BENCHMARK(BM_Thread_StdThreadAndJoin)->UseRealTime();
