// Random format strings, narrow and wide, into buffers of every size. Every argument
// is a pointer to zeros (an empty string of either width), so any conversion reads
// something harmless; formats with more conversions than arguments cover are skipped.
#include "runtime/xoformatter.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

const char kZeros[64] = {};

bool fewConversions(const std::uint8_t* data, std::size_t size) {
    std::size_t percents = 0;
    for (std::size_t i = 0; i < size; ++i)
        percents += data[i] == '%';
    return percents <= 6; // at most three reads each; 24 arguments are passed
}

#define XO_ARGS8 kZeros, kZeros, kZeros, kZeros, kZeros, kZeros, kZeros, kZeros
#define XO_ARGS24 XO_ARGS8, XO_ARGS8, XO_ARGS8

template <class Char> void run(const std::uint8_t* data, std::size_t size, std::size_t capacity) {
    std::basic_string<Char> format;
    for (std::size_t i = 0; i + sizeof(Char) <= size; i += sizeof(Char)) {
        Char c = 0;
        for (std::size_t b = 0; b < sizeof(Char) && b < 2; ++b)
            c = static_cast<Char>(c | (static_cast<Char>(data[i + b]) << (8 * b)));
        format += c;
    }
    std::vector<Char> buffer(capacity);
    const int measured = xo::XoFormatter::format(nullptr, 0, format.c_str(), XO_ARGS24);
    const int written = xo::XoFormatter::format(buffer.data(), capacity, format.c_str(), XO_ARGS24);
    if (measured != written)
        __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1 || !fewConversions(data + 1, size - 1))
        return 0;
    const std::size_t capacity = data[0] & 0x7F;
    if (data[0] & 0x80)
        run<wchar_t>(data + 1, size - 1, capacity);
    else
        run<char>(data + 1, size - 1, capacity);
    return 0;
}
