// The POSIX code-page engine beside glibc's iconv (descriptor opened once), in the same
// run: 1 MB of text to UTF-16 and back, and one character at a time.
// Run: build/linux-release/bin/xo_bench_codepages
#include <benchmark/benchmark.h>

#include <iconv.h>

#include <random>
#include <string>
#include <vector>

#include "platform/charconverter.h"
#include "platform/codepage.h"

namespace {

namespace os = xo::platform;

const char* iconvName(unsigned page) {
    switch (page) {
    case 1252:
        return "CP1252";
    case 932:
        return "CP932";
    default:
        return "CP936";
    }
}

// Both sides must convert the sample in full for the comparison to mean anything.
bool iconvAgrees(unsigned page, const std::string& bytes, wchar_t unit) {
    static iconv_t cd[3] = {iconv_open("UTF-16LE", "CP1252"), iconv_open("UTF-16LE", "CP932"),
                            iconv_open("UTF-16LE", "CP936")};
    iconv_t d = cd[page == 1252 ? 0 : page == 932 ? 1 : 2];
    char* in = const_cast<char*>(bytes.data());
    std::size_t inLeft = bytes.size();
    char16_t out[4];
    char* o = reinterpret_cast<char*>(out);
    std::size_t outLeft = sizeof out;
    return iconv(d, &in, &inLeft, &o, &outLeft) != std::size_t(-1) && outLeft == sizeof out - 2 &&
           out[0] == char16_t(unit);
}

// About 1 MB of text as a drawing would hold it: ASCII words with, for the double-byte
// pages, runs of double-byte characters in between.
const std::string& sampleText(unsigned page) {
    static std::string texts[3];
    std::string& text = texts[page == 1252 ? 0 : page == 932 ? 1 : 2];
    if (!text.empty())
        return text;
    std::mt19937 random(page);
    std::vector<std::string> characters;
    for (unsigned u = 0xA0; u < 0x10000; ++u) {
        const wchar_t unit = wchar_t(u);
        char bytes[4];
        bool used = false;
        const int n = os::wideCharToMultiByte(page, os::kWcNoBestFitChars, &unit, 1, bytes, 4,
                                              nullptr, &used);
        if (n > 0 && !used && iconvAgrees(page, std::string(bytes, std::size_t(n)), unit))
            characters.emplace_back(bytes, std::size_t(n));
    }
    while (text.size() < (1u << 20)) {
        for (int i = 0; i < 6; ++i)
            text += char('a' + random() % 26);
        text += ' ';
        for (int i = 0; i < 4; ++i)
            text += characters[random() % characters.size()];
    }
    return text;
}

std::u16string toUtf16(const std::string& text, unsigned page) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(std::size_t(os::multiByteToWideChar(page, 0, text.data(), int(text.size()),
                                                    wide.data(), int(wide.size()))));
    return std::u16string(wide.begin(), wide.end());
}

void BM_EngineToUtf16(benchmark::State& state) {
    const unsigned page = unsigned(state.range(0));
    const std::string& text = sampleText(page);
    std::vector<wchar_t> out(text.size());
    for (auto _ : state) {
        const int n = os::multiByteToWideChar(page, 0, text.data(), int(text.size()), out.data(),
                                              int(out.size()));
        benchmark::DoNotOptimize(n);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(text.size()));
}

// Converts the whole input through one descriptor per iteration; bytes counts the
// 8-bit side, so that both directions report the same throughput unit.
void runIconv(benchmark::State& state, const char* to, const char* from, char* input,
              std::size_t inputBytes, std::size_t bytes) {
    std::vector<char> out(bytes * 2 + 16);
    iconv_t cd = iconv_open(to, from);
    for (auto _ : state) {
        char* in = input;
        std::size_t inLeft = inputBytes;
        char* o = out.data();
        std::size_t outLeft = out.size();
        if (iconv(cd, &in, &inLeft, &o, &outLeft) == std::size_t(-1))
            state.SkipWithError("iconv stopped");
    }
    iconv_close(cd);
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(bytes));
}

void BM_IconvToUtf16(benchmark::State& state) {
    const unsigned page = unsigned(state.range(0));
    std::string text = sampleText(page);
    runIconv(state, "UTF-16LE", iconvName(page), text.data(), text.size(), text.size());
}

void BM_EngineFromUtf16(benchmark::State& state) {
    const unsigned page = unsigned(state.range(0));
    const std::string& text = sampleText(page);
    const std::u16string utf16 = toUtf16(text, page);
    const std::wstring wide(utf16.begin(), utf16.end());
    std::vector<char> out(text.size() + 16);
    for (auto _ : state) {
        const int n = os::wideCharToMultiByte(page, 0, wide.data(), int(wide.size()), out.data(),
                                              int(out.size()), nullptr, nullptr);
        benchmark::DoNotOptimize(n);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(text.size()));
}

void BM_IconvFromUtf16(benchmark::State& state) {
    const unsigned page = unsigned(state.range(0));
    const std::string& text = sampleText(page);
    std::u16string utf16 = toUtf16(text, page);
    runIconv(state, iconvName(page), "UTF-16LE", reinterpret_cast<char*>(utf16.data()),
             utf16.size() * 2, text.size());
}

// One double-byte character of 932 (or one byte of 1252), as the character-at-a-time
// conversions do.
const char* oneCharacter(unsigned page) {
    return page == 1252 ? "\xE9" : "\x82\xA0";
}

void BM_EngineOneCharacter(benchmark::State& state) {
    const unsigned page = unsigned(state.range(0));
    const char* character = oneCharacter(page);
    const int length = page == 1252 ? 1 : 2;
    wchar_t out = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(character);
        benchmark::DoNotOptimize(os::multiByteToWideChar(page, 0, character, length, &out, 1));
    }
}

void BM_ConverterOneCharacter(benchmark::State& state) {
    const unsigned page = unsigned(state.range(0));
    const xo::platform::CharConverter converter(page);
    const char* character = oneCharacter(page);
    const int length = page == 1252 ? 1 : 2;
    char16_t unit = 0;
    bool invalid = false;
    for (auto _ : state) {
        benchmark::DoNotOptimize(character);
        benchmark::DoNotOptimize(converter.decodeOne(character, length, &unit, &invalid));
        benchmark::DoNotOptimize(unit);
    }
}

void BM_ConverterOneUnitBack(benchmark::State& state) {
    const unsigned page = unsigned(state.range(0));
    const xo::platform::CharConverter converter(page);
    const char16_t unit = page == 1252 ? u'\xE9' : u'\x3042';
    char out[4];
    for (auto _ : state) {
        benchmark::DoNotOptimize(unit);
        benchmark::DoNotOptimize(converter.encodeOne(unit, out, nullptr));
        benchmark::DoNotOptimize(out);
    }
}

void BM_IconvOneCharacter(benchmark::State& state) {
    const unsigned page = unsigned(state.range(0));
    const char* character = oneCharacter(page);
    const std::size_t length = page == 1252 ? 1 : 2;
    iconv_t cd = iconv_open("UTF-16LE", iconvName(page));
    char16_t out = 0;
    for (auto _ : state) {
        char* in = const_cast<char*>(character);
        std::size_t inLeft = length;
        char* o = reinterpret_cast<char*>(&out);
        std::size_t outLeft = 2;
        benchmark::DoNotOptimize(iconv(cd, &in, &inLeft, &o, &outLeft));
    }
    iconv_close(cd);
}

void BM_EngineOneUnitBack(benchmark::State& state) {
    const unsigned page = unsigned(state.range(0));
    const wchar_t unit = page == 1252 ? L'\xE9' : L'\x3042';
    char out[2];
    for (auto _ : state) {
        benchmark::DoNotOptimize(unit);
        benchmark::DoNotOptimize(
            os::wideCharToMultiByte(page, 0, &unit, 1, out, 2, nullptr, nullptr));
    }
}

void BM_IconvOneUnitBack(benchmark::State& state) {
    const unsigned page = unsigned(state.range(0));
    char16_t unit = page == 1252 ? u'\xE9' : u'\x3042';
    iconv_t cd = iconv_open(iconvName(page), "UTF-16LE");
    char out[2];
    for (auto _ : state) {
        char* in = reinterpret_cast<char*>(&unit);
        std::size_t inLeft = 2;
        char* o = out;
        std::size_t outLeft = 2;
        benchmark::DoNotOptimize(iconv(cd, &in, &inLeft, &o, &outLeft));
    }
    iconv_close(cd);
}

} // namespace

BENCHMARK(BM_EngineToUtf16)->Arg(1252)->Arg(932)->Arg(936);
BENCHMARK(BM_IconvToUtf16)->Arg(1252)->Arg(932)->Arg(936);
BENCHMARK(BM_EngineFromUtf16)->Arg(1252)->Arg(932)->Arg(936);
BENCHMARK(BM_IconvFromUtf16)->Arg(1252)->Arg(932)->Arg(936);
BENCHMARK(BM_EngineOneCharacter)->Arg(1252)->Arg(932);
BENCHMARK(BM_ConverterOneCharacter)->Arg(1252)->Arg(932);
BENCHMARK(BM_ConverterOneUnitBack)->Arg(1252)->Arg(932);
BENCHMARK(BM_IconvOneCharacter)->Arg(1252)->Arg(932);
BENCHMARK(BM_EngineOneUnitBack)->Arg(1252)->Arg(932);
BENCHMARK(BM_IconvOneUnitBack)->Arg(1252)->Arg(932);
