// A routed query (XoFileSystem::getFileAttributes on a file the kernel has cached) with
// the worker on, beside the same query with the worker off: the difference is what the
// two thread hand-offs cost. Reached as a client reaches it: through the shared library.
// Run: build/linux-release/bin/xo_bench_filesystem --benchmark_repetitions=5
#include "XoFileSystem.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

const std::wstring& cachedFile() {
    static const std::wstring path = [] {
        const auto file = std::filesystem::temp_directory_path() / "xo_bench_filesystem_file";
        std::FILE* out = std::fopen(file.string().c_str(), "wb");
        if (out != nullptr)
            std::fclose(out);
        return file.wstring();
    }();
    return path;
}

void BM_GetFileAttributesDirect(benchmark::State& state) {
    XoFileSystem::stopMultiThread();
    const wchar_t* path = cachedFile().c_str();
    for (auto _ : state)
        benchmark::DoNotOptimize(XoFileSystem::getFileAttributes(path));
}
BENCHMARK(BM_GetFileAttributesDirect)->UseRealTime();

void BM_GetFileAttributesRouted(benchmark::State& state) {
    XoFileSystem::useMultiThread(10000);
    const wchar_t* path = cachedFile().c_str();
    for (auto _ : state)
        benchmark::DoNotOptimize(XoFileSystem::getFileAttributes(path));
    XoFileSystem::stopMultiThread();
}
BENCHMARK(BM_GetFileAttributesRouted)->UseRealTime();

} // namespace
