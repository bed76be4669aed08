// 1000 trivial work items through the workflow manager, against one std::thread per
// item (create and join) and against a fixed pool of four threads.
#include "VeskConcurrenceWorkflowManager.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace {

constexpr int kItems = 1000;
std::atomic<int> g_done{0};

void trivial(VeskConcurrenceWorkContext*, void*) {
    g_done.fetch_add(1, std::memory_order_relaxed);
}

void BM_Work_WorkflowManager(benchmark::State& state) {
    for (auto _ : state) {
        VeskConcurrenceWorkflowManager* m = veskCreateConcurrenceWorkflowManager();
        for (int i = 0; i < kItems; ++i)
            m->addWork(trivial, nullptr, 0, false);
        m->execute(0xFFFFFFFFu);
        delete m;
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}

void BM_Work_ThreadPerItem(benchmark::State& state) {
    for (auto _ : state) {
        for (int i = 0; i < kItems; ++i)
            std::thread([] { trivial(nullptr, nullptr); }).join();
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}

void BM_Work_PoolOfFour(benchmark::State& state) {
    for (auto _ : state) {
        std::mutex m;
        std::condition_variable cv;
        int left = kItems;
        std::vector<std::thread> pool;
        for (int t = 0; t < 4; ++t)
            pool.emplace_back([&] {
                for (;;) {
                    {
                        std::lock_guard<std::mutex> lock(m);
                        if (left == 0)
                            return;
                        --left;
                    }
                    trivial(nullptr, nullptr);
                }
            });
        for (std::thread& t : pool)
            t.join();
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}

} // namespace

BENCHMARK(BM_Work_WorkflowManager)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Work_ThreadPerItem)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Work_PoolOfFour)->Unit(benchmark::kMillisecond)->UseRealTime();
