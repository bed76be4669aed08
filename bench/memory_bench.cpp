// The allocation entry points beside the allocators users would pick instead: glibc's
// malloc and mimalloc (Debian libmimalloc-dev, loaded privately so that it does not
// replace malloc for the whole process; its benchmarks are skipped when it is missing).
// Run: build/linux-release/bin/xo_bench_memory
#include "XoMemory.h"

#include <benchmark/benchmark.h>

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

namespace {

struct Xo {
    static bool available() { return true; }
    static void* allocate(std::size_t n) { return _xoMalloc(n); }
    static void* reallocate(void* p, std::size_t n) { return _xoRealloc(p, n); }
    static void release(void* p) { _xoFree(p); }
};

struct Glibc {
    static bool available() { return true; }
    static void* allocate(std::size_t n) { return std::malloc(n); }
    static void* reallocate(void* p, std::size_t n) { return std::realloc(p, n); }
    static void release(void* p) { std::free(p); }
};

struct Mimalloc {
    using Allocate = void* (*)(std::size_t);
    using Reallocate = void* (*)(void*, std::size_t);
    using Release = void (*)(void*);
    struct Api {
        Allocate allocate = nullptr;
        Reallocate reallocate = nullptr;
        Release release = nullptr;
    };
    static const Api& api() {
        static const Api loaded = [] {
            Api result;
            void* library = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL);
            if (library != nullptr) {
                result.allocate = reinterpret_cast<Allocate>(dlsym(library, "mi_malloc"));
                result.reallocate = reinterpret_cast<Reallocate>(dlsym(library, "mi_realloc"));
                result.release = reinterpret_cast<Release>(dlsym(library, "mi_free"));
            }
            return result;
        }();
        return loaded;
    }
    static bool available() { return api().allocate != nullptr; }
    static void* allocate(std::size_t n) { return api().allocate(n); }
    static void* reallocate(void* p, std::size_t n) { return api().reallocate(p, n); }
    static void release(void* p) { api().release(p); }
};

template <class Heap> bool skipUnavailable(benchmark::State& state) {
    if (Heap::available())
        return false;
    state.SkipWithError("not installed");
    return true;
}

// One block allocated and freed at once: the hot path of string and vector buffers.
template <class Heap> void BM_Pair(benchmark::State& state) {
    if (skipUnavailable<Heap>(state))
        return;
    const auto size = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        void* p = Heap::allocate(size);
        benchmark::DoNotOptimize(p);
        Heap::release(p);
    }
}
#define XO_PAIR_SIZES ->Arg(8)->Arg(24)->Arg(64)->Arg(200)->Arg(512)->Arg(1024)->Arg(4096)
BENCHMARK_TEMPLATE(BM_Pair, Xo) XO_PAIR_SIZES;
BENCHMARK_TEMPLATE(BM_Pair, Glibc) XO_PAIR_SIZES;
BENCHMARK_TEMPLATE(BM_Pair, Mimalloc) XO_PAIR_SIZES;

// A thousand blocks of random sizes 8-256 held at once, then freed in random order.
template <class Heap> void BM_RandomBatch(benchmark::State& state) {
    if (skipUnavailable<Heap>(state))
        return;
    std::mt19937 random(42);
    std::vector<std::size_t> sizes(1000);
    for (std::size_t& size : sizes)
        size = std::uniform_int_distribution<std::size_t>(8, 256)(random);
    std::vector<std::size_t> order(sizes.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::shuffle(order.begin(), order.end(), random);
    std::vector<void*> blocks(sizes.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < sizes.size(); ++i)
            blocks[i] = Heap::allocate(sizes[i]);
        for (std::size_t i : order)
            Heap::release(blocks[i]);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(sizes.size()));
}
BENCHMARK_TEMPLATE(BM_RandomBatch, Xo);
BENCHMARK_TEMPLATE(BM_RandomBatch, Glibc);
BENCHMARK_TEMPLATE(BM_RandomBatch, Mimalloc);

// A string-like buffer grown 16 bytes at a time to 4 KiB.
template <class Heap> void BM_ReallocGrowth(benchmark::State& state) {
    if (skipUnavailable<Heap>(state))
        return;
    for (auto _ : state) {
        void* p = Heap::allocate(16);
        for (std::size_t size = 32; size <= 4096; size += 16)
            p = Heap::reallocate(p, size);
        Heap::release(p);
    }
}
BENCHMARK_TEMPLATE(BM_ReallocGrowth, Xo);
BENCHMARK_TEMPLATE(BM_ReallocGrowth, Glibc);
BENCHMARK_TEMPLATE(BM_ReallocGrowth, Mimalloc);

// Pairs on two threads: each on a class of its own (range 1) or both on one (range 0).
template <class Heap> void BM_ThreadPairs(benchmark::State& state) {
    if (skipUnavailable<Heap>(state))
        return;
    const std::size_t size = state.range(0) != 0 ? 24 + 64 * state.thread_index() : 24;
    for (auto _ : state) {
        void* p = Heap::allocate(size);
        benchmark::DoNotOptimize(p);
        Heap::release(p);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK_TEMPLATE(BM_ThreadPairs, Xo)->Arg(0)->Arg(1)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK_TEMPLATE(BM_ThreadPairs, Glibc)->Arg(0)->Arg(1)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK_TEMPLATE(BM_ThreadPairs, Mimalloc)->Arg(0)->Arg(1)->Threads(1)->Threads(2)->UseRealTime();

} // namespace
