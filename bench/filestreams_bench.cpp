// The file streams against the C and C++ runtimes' own: small records to a file, a
// cached file read in pieces and byte by byte.
#include "XoFileStreamBuf.h"
#include "platform/faultguard.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kRecord = 8;
constexpr std::size_t kOutputBytes = 64u << 20;
constexpr std::size_t kInputBytes = 256u << 20;
constexpr std::size_t kPiece = 64u << 10;
constexpr std::size_t kByteInput = 16u << 20;

std::string scratch(const char* name) {
    return (std::filesystem::temp_directory_path() / name).string();
}

std::wstring wide(const std::string& path) {
    return std::wstring(path.begin(), path.end());
}

// A file of size bytes, read once so that it sits in the page cache.
const std::string& cachedFile(std::size_t size) {
    static std::string path;
    if (path.empty() || std::filesystem::file_size(path) != size) {
        path = scratch("xo_bench_input");
        std::vector<char> block(kPiece, 'x');
        std::ofstream out(path, std::ios::binary);
        for (std::size_t done = 0; done < size; done += kPiece)
            out.write(block.data(), std::streamsize(kPiece));
    }
    return path;
}

void BM_Output_XoFileOStreamBuf(benchmark::State& state) {
    const std::wstring path = wide(scratch("xo_bench_out"));
    const unsigned char record[kRecord] = {1, 2, 3, 4, 5, 6, 7, 8};
    for (auto _ : state) {
        XoFileStreamBuf* stream =
            createFileOStreamBuf(path.c_str(), nullptr, XoIO::kAccessWrite, XoIO::kShareDenyNone,
                                 XoIO::kCreateAlways, 16384);
        for (std::size_t done = 0; done < kOutputBytes; done += kRecord)
            stream->writeBytes(record, kRecord);
        destoryFileIOStreamBuf(stream);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * kOutputBytes));
}

void BM_Output_Fwrite(benchmark::State& state) {
    const std::string path = scratch("xo_bench_out");
    const unsigned char record[kRecord] = {1, 2, 3, 4, 5, 6, 7, 8};
    for (auto _ : state) {
        std::FILE* file = std::fopen(path.c_str(), "wb");
        for (std::size_t done = 0; done < kOutputBytes; done += kRecord)
            std::fwrite(record, 1, kRecord, file);
        std::fclose(file);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * kOutputBytes));
}

void BM_Output_Ofstream(benchmark::State& state) {
    const std::string path = scratch("xo_bench_out");
    const char record[kRecord] = {1, 2, 3, 4, 5, 6, 7, 8};
    for (auto _ : state) {
        std::ofstream file(path, std::ios::binary);
        for (std::size_t done = 0; done < kOutputBytes; done += kRecord)
            file.write(record, kRecord);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * kOutputBytes));
}

// The floor: a 16 KiB buffer of one's own, emptied with write(2).
void BM_Output_OwnBufferWrite(benchmark::State& state) {
    const std::string path = scratch("xo_bench_out");
    const unsigned char record[kRecord] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<unsigned char> buffer(16384);
    for (auto _ : state) {
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::size_t used = 0;
        for (std::size_t done = 0; done < kOutputBytes; done += kRecord) {
            if (used + kRecord > buffer.size()) {
                benchmark::DoNotOptimize(::write(fd, buffer.data(), used));
                used = 0;
            }
            std::memcpy(buffer.data() + used, record, kRecord);
            used += kRecord;
        }
        benchmark::DoNotOptimize(::write(fd, buffer.data(), used));
        ::fsync(fd);
        ::close(fd);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * kOutputBytes));
}

void BM_Input_XoFileIStreamBuf(benchmark::State& state) {
    const std::wstring path = wide(cachedFile(kInputBytes));
    std::vector<unsigned char> piece(kPiece);
    for (auto _ : state) {
        XoFileStreamBuf* stream = createFileIStreamBuf(path.c_str(), nullptr, XoIO::kAccessRead,
                                                       XoIO::kShareDenyNone, XoIO::kOpenExisting);
        for (std::size_t done = 0; done < kInputBytes; done += kPiece)
            stream->readBytes(piece.data(), unsigned(kPiece));
        benchmark::DoNotOptimize(piece.data());
        destoryFileIOStreamBuf(stream);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * kInputBytes));
}

void BM_Input_Read(benchmark::State& state) {
    const std::string path = cachedFile(kInputBytes);
    std::vector<unsigned char> piece(kPiece);
    for (auto _ : state) {
        const int fd = ::open(path.c_str(), O_RDONLY);
        for (std::size_t done = 0; done < kInputBytes; done += kPiece)
            benchmark::DoNotOptimize(::read(fd, piece.data(), kPiece));
        ::close(fd);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * kInputBytes));
}

void BM_ReadByte_XoFileIStreamBuf(benchmark::State& state) {
    const std::wstring path = wide(cachedFile(kByteInput));
    for (auto _ : state) {
        XoFileStreamBuf* stream = createFileIStreamBuf(path.c_str(), nullptr, XoIO::kAccessRead,
                                                       XoIO::kShareDenyNone, XoIO::kOpenExisting);
        unsigned sum = 0;
        for (std::size_t done = 0; done < kByteInput; ++done)
            sum += stream->readByte();
        benchmark::DoNotOptimize(sum);
        destoryFileIOStreamBuf(stream);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * kByteInput));
}

void BM_ReadByte_Getc(benchmark::State& state) {
    const std::string path = cachedFile(kByteInput);
    for (auto _ : state) {
        std::FILE* file = std::fopen(path.c_str(), "rb");
        unsigned sum = 0;
        for (std::size_t done = 0; done < kByteInput; ++done)
            sum += unsigned(std::getc(file));
        benchmark::DoNotOptimize(sum);
        std::fclose(file);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations() * kByteInput));
}

struct Copy64 {
    unsigned char* dest;
    const unsigned char* src;
};

void copy64(void* context) {
    auto* c = static_cast<Copy64*>(context);
    std::memcpy(c->dest, c->src, 64);
}

// What the fault guard adds around each copy from a mapped view when nothing faults.
void BM_Copy64_Guarded(benchmark::State& state) {
    unsigned char src[64] = {1};
    unsigned char dest[64];
    Copy64 c{dest, src};
    for (auto _ : state) {
        xo::platform::runGuarded(xo::platform::kFaultPageNotReadable, copy64, &c);
        benchmark::DoNotOptimize(dest);
    }
}

// The copy the mapped streams use: repaired by the handler, nothing saved beforehand.
void BM_Copy64_CopyGuarded(benchmark::State& state) {
    unsigned char src[64] = {1};
    unsigned char dest[64];
    for (auto _ : state) {
        xo::platform::copyGuarded(dest, src, sizeof dest, xo::platform::kFaultPageNotReadable);
        benchmark::DoNotOptimize(dest);
    }
}

void BM_Copy64_Bare(benchmark::State& state) {
    unsigned char src[64] = {1};
    unsigned char dest[64];
    Copy64 c{dest, src};
    void (*volatile body)(void*) = copy64; // called the same way, only unguarded
    for (auto _ : state) {
        body(&c);
        benchmark::DoNotOptimize(dest);
    }
}

} // namespace

BENCHMARK(BM_Copy64_Guarded);
BENCHMARK(BM_Copy64_CopyGuarded);
BENCHMARK(BM_Copy64_Bare);
BENCHMARK(BM_Output_XoFileOStreamBuf)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Output_Fwrite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Output_Ofstream)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Output_OwnBufferWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Input_XoFileIStreamBuf)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Input_Read)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadByte_XoFileIStreamBuf)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadByte_Getc)->Unit(benchmark::kMillisecond);
