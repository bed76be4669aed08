// The allocation entry points beside the C runtime heap that users would call instead.
// Run: build/linux-release/bin/xo_bench_memory
#include "XoMemory.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <thread>
#include <vector>

namespace {

struct Xo {
    static void* allocate(std::size_t n) { return _xoMalloc(n); }
    static void release(void* p) { _xoFree(p); }
};

struct Runtime {
    static void* allocate(std::size_t n) { return std::malloc(n); }
    static void release(void* p) { std::free(p); }
};

// One block allocated and freed at once: the hot path of string and vector buffers.
template <class Heap>
void BM_AllocateFree(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        void* p = Heap::allocate(size);
        benchmark::DoNotOptimize(p);
        Heap::release(p);
    }
}
BENCHMARK_TEMPLATE(BM_AllocateFree, Xo)->Arg(8)->Arg(64)->Arg(256)->Arg(4096)->ThreadRange(1, 2);
BENCHMARK_TEMPLATE(BM_AllocateFree, Runtime)->Arg(8)->Arg(64)->Arg(256)->Arg(4096)->ThreadRange(1, 2);

// A thousand blocks of mixed small sizes held at once, then freed in order.
template <class Heap>
void BM_Batch(benchmark::State& state) {
    std::vector<void*> blocks(1000);
    for (auto _ : state) {
        for (std::size_t i = 0; i < blocks.size(); ++i)
            blocks[i] = Heap::allocate(8 + (i * 24) % 248);
        for (void* p : blocks)
            Heap::release(p);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(blocks.size()));
}
BENCHMARK_TEMPLATE(BM_Batch, Xo);
BENCHMARK_TEMPLATE(BM_Batch, Runtime);

} // namespace

int main(int argc, char** argv) {
    std::thread([] {}).join(); // the runtimes lock only once a thread has existed
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
