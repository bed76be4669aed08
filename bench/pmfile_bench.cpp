// PmFILE's character reader against the C runtime's fgetwc on the same UTF-8 file (the
// runtime in a UTF-8 locale), one character at a time.
#include "PmFILE.h"

#include <benchmark/benchmark.h>

#include <clocale>
#include <cstdio>
#include <cwchar>
#include <string>

namespace {

constexpr int kCharacters = 1 << 22; // about 4 million, mixed one- to three-byte

const std::string& utf8File() {
    static const std::string path = [] {
        const std::string p = "/tmp/xo_bench_pmfile_utf8.txt";
        std::FILE* f = std::fopen(p.c_str(), "wb");
        const char piece[] = "drawing \xE9\x83\xA8\xE5\x93\x81 caf\xC3\xA9\n"; // 15 characters
        for (int i = 0; i < kCharacters / 15; ++i)
            std::fwrite(piece, 1, sizeof piece - 1, f);
        std::fclose(f);
        return p;
    }();
    return path;
}

void BM_ReadChars_PmFILE(benchmark::State& state) {
    const std::wstring path(utf8File().begin(), utf8File().end());
    for (auto _ : state) {
        PmFILE file;
        file.fopen(path.c_str(), L"rb");
        file.setCharFormat(2); // UTF-8, as PnCharFormatter numbers it
        long long sum = 0, count = 0;
        for (int c; (c = file.fgetc()) != -1; ++count)
            sum += c;
        benchmark::DoNotOptimize(sum);
        file.fclose();
        state.counters["chars"] = double(count);
    }
}

void BM_ReadChars_Fgetwc(benchmark::State& state) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    for (auto _ : state) {
        std::FILE* file = std::fopen(utf8File().c_str(), "rb");
        long long sum = 0, count = 0;
        for (wint_t c; (c = std::fgetwc(file)) != WEOF; ++count)
            sum += c;
        benchmark::DoNotOptimize(sum);
        std::fclose(file);
        state.counters["chars"] = double(count);
    }
    std::setlocale(LC_CTYPE, "C");
}

} // namespace

BENCHMARK(BM_ReadChars_PmFILE)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadChars_Fgetwc)->Unit(benchmark::kMillisecond);
