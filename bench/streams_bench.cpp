// The memory streams beside the standard containers and string streams, reached as a
// client reaches them: through the shared library.
// Run: build/linux-release/bin/xo_bench_streams --benchmark_repetitions=9
//          --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true
#include "XoFlatMemBuf.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <sstream>
#include <vector>

namespace {

constexpr std::size_t kMiB = 1024 * 1024;

// One byte at a time to 1 MiB, from empty: growth included.
void BM_WriteByte_FlatMemBuf(benchmark::State& state) {
    for (auto _ : state) {
        XoFlatMemBuf stream(0);
        for (std::size_t i = 0; i < kMiB; ++i)
            stream.writeByte(static_cast<unsigned char>(i));
        benchmark::DoNotOptimize(stream.length());
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * kMiB));
}

void BM_WriteByte_VectorPushBack(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<unsigned char> bytes;
        for (std::size_t i = 0; i < kMiB; ++i)
            bytes.push_back(static_cast<unsigned char>(i));
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * kMiB));
}

void BM_WriteByte_OStringStreamPut(benchmark::State& state) {
    for (auto _ : state) {
        std::ostringstream stream;
        for (std::size_t i = 0; i < kMiB; ++i)
            stream.put(static_cast<char>(i));
        benchmark::DoNotOptimize(stream.tellp());
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * kMiB));
}

// Records of range(0) bytes written to 4 MiB, from empty, then read back into a caller's
// buffer; the peer copies the same records into a vector of the final size.
void BM_Records_FlatMemBuf(benchmark::State& state) {
    const auto record = std::size_t(state.range(0));
    const std::vector<unsigned char> source(record, 0x5A);
    std::vector<unsigned char> back(record);
    for (auto _ : state) {
        XoFlatMemBuf stream(0);
        for (std::size_t done = 0; done < 4 * kMiB; done += record)
            stream.writeBytes(source.data(), unsigned(record));
        stream.rewind();
        for (std::size_t done = 0; done < 4 * kMiB; done += record)
            stream.readBytes(back.data(), unsigned(record));
        benchmark::DoNotOptimize(back.data());
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * 8 * kMiB));
}

void BM_Records_MemcpyIntoVector(benchmark::State& state) {
    const auto record = std::size_t(state.range(0));
    const std::vector<unsigned char> source(record, 0x5A);
    std::vector<unsigned char> back(record);
    for (auto _ : state) {
        std::vector<unsigned char> bytes(4 * kMiB);
        for (std::size_t done = 0; done < 4 * kMiB; done += record)
            std::memcpy(bytes.data() + done, source.data(), record);
        for (std::size_t done = 0; done < 4 * kMiB; done += record)
            std::memcpy(back.data(), bytes.data() + done, record);
        benchmark::DoNotOptimize(back.data());
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * 8 * kMiB));
}

// The inherited transfer between two flat buffers: chunked through a scratch buffer.
void BM_DefaultTransfer_FlatToFlat(benchmark::State& state) {
    const auto count = unsigned(state.range(0));
    XoFlatMemBuf src(count), dest(count);
    const std::vector<unsigned char> bytes(count, 0x33);
    src.writeBytes(bytes.data(), count);
    for (auto _ : state) {
        src.rewind();
        src.XoStreamBuf::readBytes(&dest, count);
        benchmark::DoNotOptimize(dest.length());
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * count);
}

void BM_DefaultTransfer_Memcpy(benchmark::State& state) {
    const auto count = std::size_t(state.range(0));
    const std::vector<unsigned char> src(count, 0x33);
    std::vector<unsigned char> dest(count);
    for (auto _ : state) {
        std::memcpy(dest.data(), src.data(), count);
        benchmark::DoNotOptimize(dest.data());
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * count));
}

BENCHMARK(BM_WriteByte_FlatMemBuf);
BENCHMARK(BM_WriteByte_VectorPushBack);
BENCHMARK(BM_WriteByte_OStringStreamPut);
BENCHMARK(BM_Records_FlatMemBuf)->Arg(16)->Arg(4096);
BENCHMARK(BM_Records_MemcpyIntoVector)->Arg(16)->Arg(4096);
BENCHMARK(BM_DefaultTransfer_FlatToFlat)->Arg(1000)->Arg(100000)->Arg(10000000);
BENCHMARK(BM_DefaultTransfer_Memcpy)->Arg(1000)->Arg(100000)->Arg(10000000);

} // namespace
