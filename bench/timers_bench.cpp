// Timer accuracy: 200 ticks of a VeskTimer pumped through the thread's queue, against a
// timerfd loop (the floor), at 10 and 50 ms. Reports the mean and 99th-percentile
// lateness behind each tick's due time (start + n x interval) and the drift of the last.
#include "VeskTimer.h"
#include "XoMessageQueue.h"
#include "XoSignalObject.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

#if !defined(_WIN32)
#include <sys/timerfd.h>
#include <unistd.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kTicks = 200;

struct Lateness {
    Clock::time_point start;
    std::chrono::microseconds interval;
    std::vector<double> late; // microseconds behind each due time
};

void report(benchmark::State& state, std::vector<double> late) {
    state.counters["last_drift_us"] = late.back(); // behind its own due time: no build-up
    std::sort(late.begin(), late.end());
    double sum = 0;
    for (double l : late)
        sum += l;
    state.counters["mean_late_us"] = sum / double(late.size());
    state.counters["p99_late_us"] = late[std::size_t(double(late.size()) * 0.99)];
}

void record(int tick, void* context) {
    auto* l = static_cast<Lateness*>(context);
    const auto due = l->start + l->interval * tick;
    l->late.push_back(
        double(std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - due).count()));
}

void BM_Timer_VeskTimer(benchmark::State& state) {
    const auto interval = std::chrono::milliseconds(state.range(0));
    for (auto _ : state) {
        Lateness l{Clock::now(), interval, {}};
        VeskTimer* timer = veskCreateTimer(record, unsigned(state.range(0)), &l, true);
        l.start = Clock::now();
        while (l.late.size() < std::size_t(kTicks)) {
            xoMsgWaitForMultipleObject(nullptr, 0, 0x0010, false, 1000);
            XoQueuedMessage m;
            while (xoPeekMessage(&m, true))
                xoDispatchMessage(&m);
        }
        delete timer;
        report(state, l.late);
    }
}

#if !defined(_WIN32)
void BM_Timer_TimerfdFloor(benchmark::State& state) {
    const long ms = long(state.range(0));
    for (auto _ : state) {
        const int fd = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
        itimerspec every = {{ms / 1000, (ms % 1000) * 1000000}, {ms / 1000, (ms % 1000) * 1000000}};
        Lateness l{Clock::now(), std::chrono::milliseconds(ms), {}};
        ::timerfd_settime(fd, 0, &every, nullptr);
        int tick = 0;
        while (tick < kTicks) {
            std::uint64_t expirations = 0;
            if (::read(fd, &expirations, sizeof expirations) == sizeof expirations) {
                tick += int(expirations);
                record(tick, &l);
            }
        }
        ::close(fd);
        report(state, l.late);
    }
}
#endif

} // namespace

BENCHMARK(BM_Timer_VeskTimer)->Arg(10)->Arg(50)->Iterations(1)->Unit(benchmark::kMillisecond);
#if !defined(_WIN32)
BENCHMARK(BM_Timer_TimerfdFloor)->Arg(10)->Arg(50)->Iterations(1)->Unit(benchmark::kMillisecond);
#endif
