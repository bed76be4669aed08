// The cached platform queries after their first call, against a function that returns a
// constant through the same kind of call.
#include "VeskSystemInfo.h"

#include <benchmark/benchmark.h>

namespace {

[[gnu::noipa]] int constantCount(bool) {
    return 8;
}

[[gnu::noipa]] double constantScale() {
    return 1.25;
}

void BM_ProcessorCount_Cached(benchmark::State& state) {
    veskGetProcessorCoreCount(true);
    for (auto _ : state)
        benchmark::DoNotOptimize(veskGetProcessorCoreCount(true));
}

void BM_ProcessorCount_Constant(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(constantCount(true));
}

void BM_DPIScale_Cached(benchmark::State& state) {
    veskGetDPIScale();
    for (auto _ : state)
        benchmark::DoNotOptimize(veskGetDPIScale());
}

void BM_DPIScale_Constant(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(constantScale());
}

} // namespace

BENCHMARK(BM_ProcessorCount_Cached);
BENCHMARK(BM_ProcessorCount_Constant);
BENCHMARK(BM_DPIScale_Cached);
BENCHMARK(BM_DPIScale_Constant);
