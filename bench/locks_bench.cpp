// XoLocker and XoAutoLockInPool beside what a user would pick instead.
// Run: build/linux-release/bin/xo_bench_locks
#include "XoLock.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <thread>

namespace {

void BM_StdRecursiveMutex(benchmark::State& state) {
    static std::recursive_mutex mutex;
    for (auto _ : state) {
        mutex.lock();
        benchmark::ClobberMemory();
        mutex.unlock();
    }
}
BENCHMARK(BM_StdRecursiveMutex);

void BM_StdMutex(benchmark::State& state) {
    static std::mutex mutex;
    for (auto _ : state) {
        mutex.lock();
        benchmark::ClobberMemory();
        mutex.unlock();
    }
}
BENCHMARK(BM_StdMutex);

void BM_XoLocker(benchmark::State& state) {
    static XoLocker locker;
    for (auto _ : state) {
        locker.lock();
        benchmark::ClobberMemory();
        locker.unlock();
    }
}
BENCHMARK(BM_XoLocker);

// The straightforward address lock: one mutex over a map of per-address mutexes.
class MapLockPool {
public:
    std::recursive_mutex* acquire(const void* address) {
        std::lock_guard<std::mutex> guard(m_guard);
        Entry& entry = m_entries[reinterpret_cast<std::uintptr_t>(address)];
        ++entry.users;
        return &entry.lock;
    }
    void release(const void* address) {
        std::lock_guard<std::mutex> guard(m_guard);
        auto it = m_entries.find(reinterpret_cast<std::uintptr_t>(address));
        if (--it->second.users == 0)
            m_entries.erase(it);
    }

private:
    struct Entry {
        std::recursive_mutex lock;
        unsigned users = 0;
    };
    std::mutex m_guard;
    std::map<std::uintptr_t, Entry> m_entries;
};

// Each thread locks an address of its own: the pool, not the address, is shared.
alignas(64) char g_objects[64][64];

void BM_MutexAndMap(benchmark::State& state) {
    static MapLockPool pool;
    const void* address = g_objects[state.thread_index()];
    for (auto _ : state) {
        std::recursive_mutex* lock = pool.acquire(address);
        lock->lock();
        benchmark::ClobberMemory();
        lock->unlock();
        pool.release(address);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_MutexAndMap)->Threads(1)->Threads(2)->UseRealTime();

void BM_XoAutoLockInPool(benchmark::State& state) {
    const void* address = g_objects[state.thread_index()];
    for (auto _ : state) {
        XoAutoLockInPool guard(address);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_XoAutoLockInPool)->Threads(1)->Threads(2)->UseRealTime();

} // namespace
