// Drawing values written in their unit formats, per value, with the digits alone
// (xoDToStr, which every decimal form goes through) as the floor.
#include "XoNumberText.h"
#include "XoUnits.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <random>
#include <vector>

namespace {

// Lengths as a drawing holds them: up to a few hundred feet, in inches.
std::vector<double> lengths() {
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> inches(-5000, 5000);
    std::vector<double> v(4096);
    for (double& d : v)
        d = inches(random);
    return v;
}

void writeAll(benchmark::State& state, const XoUnitFormat& format) {
    const std::vector<double> v = lengths();
    wchar_t text[64];
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(OutputWithFormat(v[i++ & 4095], XoUnitLength, &format, text, 64));
}

void BM_Units_Architectural16ths(benchmark::State& state) {
    writeAll(state, XoUnitFormat{XoLengthArchitectural, 4, XoAngleDegrees, 4, 0});
}

void BM_Units_Decimal4(benchmark::State& state) {
    writeAll(state, XoUnitFormat{XoLengthDecimal, 4, XoAngleDegrees, 4, 0});
}

void BM_Units_Floor_XoDToStrF4(benchmark::State& state) {
    const std::vector<double> v = lengths();
    wchar_t text[64];
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(xoDToStr(v[i++ & 4095], 'f', 4, text, 64));
}

} // namespace

BENCHMARK(BM_Units_Architectural16ths);
BENCHMARK(BM_Units_Decimal4);
BENCHMARK(BM_Units_Floor_XoDToStrF4);
