// XoPathMaker::splitPath beside a naive split into std::wstring (find the last separator
// and the last dot, copy four substrings), on the same typical paths in the same run.
// Reached as a client reaches it: through the shared library.
// Run: build/linux-release/bin/xo_bench_paths
#include "XoPathMaker.h"

#include <benchmark/benchmark.h>

#include <iterator>
#include <string>
#include <vector>

namespace {

// Drawings and their folders as the application meets them, on both kinds of system.
const wchar_t* const kPaths[] = {
    L"C:\\Users\\alice\\Documents\\Drawings\\site-plan.dwg",
    L"D:\\Projects\\2024\\Bridge\\sections\\pier.v2.dxf",
    L"\\\\fileserver\\cad\\standards\\blocks\\title.dwt",
    L"/home/alice/drawings/site-plan.dwg",
    L"/usr/share/xo/fonts/bigfont.shx",
    L"relative\\part.dwg",
    L"C:\\temp\\readme",
    L"plot.pdf",
};
constexpr int kCount = int(std::size(kPaths));

void perPath(benchmark::State& state) {
    state.counters["per_path"] = benchmark::Counter(
        kCount, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_XoPathMakerSplitPath(benchmark::State& state) {
    wchar_t drive[3], dir[256], name[256], ext[256];
    for (auto _ : state) {
        for (const wchar_t* path : kPaths) {
            XoPathMaker::splitPath(path, drive, 3, dir, 256, name, 256, ext, 256);
            benchmark::DoNotOptimize(drive);
            benchmark::DoNotOptimize(dir);
            benchmark::DoNotOptimize(name);
            benchmark::DoNotOptimize(ext);
        }
    }
    perPath(state);
}

struct Parts {
    std::wstring drive, dir, name, ext;
};

// What a caller writes without a splitter: the same rules with std::wstring.
void naiveSplit(const std::wstring& path, Parts& parts) {
    const std::size_t driveEnd = path.size() >= 2 && path[1] == L':' ? 2 : 0;
    const std::size_t lastSeparator = path.find_last_of(L"\\/");
    const std::size_t nameStart = lastSeparator == std::wstring::npos || lastSeparator < driveEnd
                                      ? driveEnd
                                      : lastSeparator + 1;
    std::size_t extStart = path.rfind(L'.');
    if (extStart == std::wstring::npos || extStart < nameStart)
        extStart = path.size();
    parts.drive.assign(path, 0, driveEnd);
    parts.dir.assign(path, driveEnd, nameStart - driveEnd);
    parts.name.assign(path, nameStart, extStart - nameStart);
    parts.ext.assign(path, extStart, std::wstring::npos);
}

const std::vector<std::wstring>& wstringPaths() {
    static const std::vector<std::wstring> paths(std::begin(kPaths), std::end(kPaths));
    return paths;
}

// Parts returned fresh for each path, as naive code returns them.
void BM_NaiveWstringSplit(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::wstring& path : wstringPaths()) {
            Parts parts;
            naiveSplit(path, parts);
            benchmark::DoNotOptimize(parts);
        }
    }
    perPath(state);
}

// The same with strings that keep their room from one path to the next: no allocation.
void BM_NaiveWstringSplitReused(benchmark::State& state) {
    Parts parts;
    for (auto _ : state) {
        for (const std::wstring& path : wstringPaths()) {
            naiveSplit(path, parts);
            benchmark::DoNotOptimize(parts);
        }
    }
    perPath(state);
}

} // namespace

BENCHMARK(BM_XoPathMakerSplitPath);
BENCHMARK(BM_NaiveWstringSplit);
BENCHMARK(BM_NaiveWstringSplitReused);
