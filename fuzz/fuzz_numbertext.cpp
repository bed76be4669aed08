// Random texts read by xoStrToD and by strtod in the C locale (the process never sets
// another): the same value and the same end. Then the value written in its shortest form
// reads back to the same double, and with a format and precision as glibc's printf
// writes it.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "XoNumberText.h"
#include "fuzzsupport.h"

using fuzzsupport::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size); // ends with a 0
    const char* end = nullptr;
    char* runtimeEnd = nullptr;
    const double value = xoStrToD(text.c_str(), &end, nullptr);
    const double expected = std::strtod(text.c_str(), &runtimeEnd);
    check(end == runtimeEnd);
    check((std::isnan(value) && std::isnan(expected)) ||
          std::memcmp(&value, &expected, sizeof value) == 0);
    if (!std::isfinite(value))
        return 0;
    char shortest[64];
    check(xoDToStr(value, 'g', -1, shortest, sizeof shortest) <= int(sizeof shortest));
    check(xoStrToD(shortest, nullptr, nullptr) == value);
    const char letters[] = {'e', 'E', 'f', 'g', 'G'};
    const char letter = letters[size % 5];
    const int precision = int(size % 23);
    char ours[2048], theirs[2048];
    const std::string format = std::string("%.*") + letter;
    std::snprintf(theirs, sizeof theirs, format.c_str(), precision, value);
    check(xoDToStr(value, letter, precision, ours, sizeof ours) <= int(sizeof ours));
    check(std::strcmp(ours, theirs) == 0);
    return 0;
}
