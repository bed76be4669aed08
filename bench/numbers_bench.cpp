// Doubles to text and back against the standard library and the C runtime.
#include "XoNumberText.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

std::vector<double> values() {
    std::mt19937_64 random(1);
    std::vector<double> v;
    while (v.size() < 4096) {
        const std::uint64_t bits = random();
        double d;
        std::memcpy(&d, &bits, sizeof d);
        if (d == d && d - d == 0)
            v.push_back(d);
    }
    return v;
}

std::vector<std::string> texts() {
    std::vector<std::string> t;
    for (double d : values()) {
        char text[64];
        std::snprintf(text, sizeof text, "%.17g", d);
        t.push_back(text);
    }
    return t;
}

void BM_Shortest_XoDToStr(benchmark::State& state) {
    const std::vector<double> v = values();
    char text[64];
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(xoDToStr(v[i++ & 4095], 'g', -1, text, sizeof text));
}

void BM_Shortest_ToChars(benchmark::State& state) {
    const std::vector<double> v = values();
    char text[64];
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(std::to_chars(text, text + sizeof text, v[i++ & 4095]).ptr);
}

void BM_Shortest_Snprintf17g(benchmark::State& state) {
    const std::vector<double> v = values();
    char text[64];
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(std::snprintf(text, sizeof text, "%.17g", v[i++ & 4095]));
}

void BM_Read_XoStrToD(benchmark::State& state) {
    const std::vector<std::string> t = texts();
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(xoStrToD(t[i++ & 4095].c_str(), nullptr, nullptr));
}

void BM_Read_Strtod(benchmark::State& state) {
    const std::vector<std::string> t = texts();
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(std::strtod(t[i++ & 4095].c_str(), nullptr));
}

void BM_Read_FromChars(benchmark::State& state) {
    const std::vector<std::string> t = texts();
    std::size_t i = 0;
    double d;
    for (auto _ : state) {
        const std::string& s = t[i++ & 4095];
        benchmark::DoNotOptimize(std::from_chars(s.data(), s.data() + s.size(), d).ptr);
    }
}

} // namespace

BENCHMARK(BM_Shortest_XoDToStr);
BENCHMARK(BM_Shortest_ToChars);
BENCHMARK(BM_Shortest_Snprintf17g);
BENCHMARK(BM_Read_XoStrToD);
BENCHMARK(BM_Read_Strtod);
BENCHMARK(BM_Read_FromChars);
