// The copy-on-write containers beside the standard ones, reached as a client reaches
// them: through the shared library.
// Run: build/linux-release/bin/xo_bench_containers
#include "XoMemData.h"
#include "XoString.h"
#include "XoVector.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using XoCharData = XoMemData<char, XoStrHeaderA, XoMemDataAllocator, XoPodReallocator<char>>;
using XoStr = XoStringT<char, XoStrHeaderA>;

const char* textOf(const XoStr& s) {
    return s.constStr();
}
const char* textOf(const std::string& s) {
    return s.c_str();
}

template <class S> S makeText(std::size_t size, char fill) {
    const std::string text(size, fill);
    return S(text.c_str());
}

// A held copy replaced by a copy of one of two sources in turn: what assigning a string
// member or a container element does. XoStringA shares the block (one atomic increment
// and one decrement); std::string copies the bytes into the room it already has.
template <class S> void BM_StringCopyAssign(benchmark::State& state) {
    const auto size = std::size_t(state.range(0));
    const S sources[2] = {makeText<S>(size, 'a'), makeText<S>(size, 'b')};
    S held = sources[1];
    unsigned turn = 0;
    for (auto _ : state) {
        held = sources[turn++ & 1];
        benchmark::DoNotOptimize(textOf(held));
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(size));
}

// A copy made and dropped: a string passed or returned by value. XoStringA's copy
// constructor copies the bytes into a header of its own; XoStringT's shares.
template <class Copy, class S> void BM_StringCopyConstruct(benchmark::State& state) {
    const auto size = std::size_t(state.range(0));
    const S source = makeText<S>(size, 'a');
    for (auto _ : state) {
        const Copy copy(source);
        benchmark::DoNotOptimize(textOf(copy));
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(size));
}

// Bytes appended one at a time to an empty buffer, which is then dropped.
void BM_MemDataAppendByte(benchmark::State& state) {
    const auto n = std::size_t(state.range(0));
    for (auto _ : state) {
        XoCharData data;
        for (std::size_t i = 0; i < n; ++i)
            data.append(char(i), 1);
        benchmark::DoNotOptimize(data.rawData());
    }
    state.SetItemsProcessed(std::int64_t(state.iterations()) * std::int64_t(n));
}

void BM_StdStringPushBack(benchmark::State& state) {
    const auto n = std::size_t(state.range(0));
    for (auto _ : state) {
        std::string data;
        for (std::size_t i = 0; i < n; ++i)
            data.push_back(char(i));
        benchmark::DoNotOptimize(data.data());
    }
    state.SetItemsProcessed(std::int64_t(state.iterations()) * std::int64_t(n));
}

// Elements appended one at a time to an empty vector, which is then dropped.
// XoVector<wchar_t> is the library's exported instantiation; XoVector<int> is made in
// the client from the header, as any other element type is.
template <class V> void BM_VectorAppend(benchmark::State& state) {
    const int n = int(state.range(0));
    for (auto _ : state) {
        V v;
        for (int i = 0; i < n; ++i)
            v.push_back(typename V::value_type(i));
        benchmark::DoNotOptimize(v.data());
    }
    state.SetItemsProcessed(std::int64_t(state.iterations()) * n);
}

// The same with a grow length of one eighth of the final length, set beforehand.
template <class V> void BM_VectorAppendGrowLength(benchmark::State& state) {
    const int n = int(state.range(0));
    for (auto _ : state) {
        V v;
        v.setGrowLength(n / 8);
        for (int i = 0; i < n; ++i)
            v.push_back(typename V::value_type(i));
        benchmark::DoNotOptimize(v.data());
    }
    state.SetItemsProcessed(std::int64_t(state.iterations()) * n);
}

// The least a sharing assignment can cost: one atomic increment on the new block's count
// and one atomic decrement on the old one's, nothing else.
void BM_TwoCountUpdates(benchmark::State& state) {
    struct alignas(64) Count {
        std::atomic<std::int32_t> value{2};
    };
    Count counts[2];
    unsigned turn = 0;
    for (auto _ : state) {
        counts[turn & 1].value.fetch_add(1, std::memory_order_relaxed);
        counts[~turn & 1].value.fetch_sub(1, std::memory_order_acq_rel);
        ++turn;
    }
}

// The least an append can cost while the length lives in the control block that copies
// share: an acquire read of the count, the lengths read, the element and the length
// stored. The room is there beforehand, so nothing grows.
void BM_AppendFloorLengthInBlock(benchmark::State& state) {
    const int n = int(state.range(0));
    std::vector<int> room(std::size_t(n), 0);
    XoVectorData block{{1}, 0, n, 8, room.data()};
    XoVectorData* held = &block;
    benchmark::DoNotOptimize(held);
    for (auto _ : state) {
        block.m_nLogicalLength = 0;
        for (int i = 0; i < n; ++i) {
            XoVectorData* b = held;
            if (b->m_nRefs.load(std::memory_order_acquire) != 1)
                std::abort();
            const int used = b->m_nLogicalLength;
            if (used >= b->m_nPhysicalLength)
                std::abort();
            static_cast<int*>(b->m_pElements)[used] = i;
            b->m_nLogicalLength = used + 1;
        }
        benchmark::DoNotOptimize(room.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(std::int64_t(state.iterations()) * n);
}

// Construction from a C string: XoStringA first asks whether the text can be read.
template <class S> void BM_StringFromCString(benchmark::State& state) {
    const std::string text(std::size_t(state.range(0)), 'c');
    for (auto _ : state) {
        const S s(text.c_str());
        benchmark::DoNotOptimize(textOf(s));
    }
}

} // namespace

BENCHMARK(BM_StringCopyAssign<XoStringA>)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(BM_StringCopyAssign<std::string>)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(BM_TwoCountUpdates);
BENCHMARK(BM_StringCopyConstruct<XoStringA, XoStringA>)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(BM_StringCopyConstruct<XoStr, XoStringA>)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(BM_StringCopyConstruct<std::string, std::string>)->Arg(16)->Arg(1024)->Arg(65536);
BENCHMARK(BM_StringFromCString<XoStringA>)->Arg(16)->Arg(1024);
BENCHMARK(BM_StringFromCString<std::string>)->Arg(16)->Arg(1024);
BENCHMARK(BM_MemDataAppendByte)->Arg(4096)->Arg(1 << 20);
BENCHMARK(BM_StdStringPushBack)->Arg(4096)->Arg(1 << 20);
BENCHMARK(BM_VectorAppend<XoVector<wchar_t>>)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(BM_VectorAppend<XoVector<int>>)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(BM_VectorAppend<std::vector<wchar_t>>)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(BM_VectorAppend<std::vector<int>>)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(BM_VectorAppendGrowLength<XoVector<int>>)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(BM_AppendFloorLengthInBlock)->Arg(1000)->Arg(10000)->Arg(100000);
