// What the unit writers and the reader share: the settings, the rounding to whole steps
// and the small text they build before it goes into the caller's buffer.
#pragma once

#include <cstdint>

#include "XoUnits.h"

namespace xo::units {

constexpr int kMaxPrecision = 8;
// Large enough for any decimal double (309 digits) with a sign, a point and 8 decimals.
constexpr int kTextCapacity = 400;

bool validFormat(const XoUnitFormat& format);
XoUnitFormat currentFormat();

// ASCII text under construction; callers keep within kTextCapacity.
struct Text {
    char units[kTextCapacity];
    int length = 0;
    void put(char c) { units[length++] = c; }
    void put(const char* s);
    void putInteger(std::uint64_t n);
};

// |magnitude| rounded to decimals places as xoDToStr rounds, counted in steps of
// 10^-decimals; false beyond 2^50 steps.
bool decimalSteps(double magnitude, int decimals, std::int64_t* steps);
// |magnitude| rounded to whole 1/2^bits, ties to even; false beyond 2^50 steps.
bool binarySteps(double magnitude, int bits, std::int64_t* steps);
// steps / 10^decimals with its decimals, zero suppression applied.
void putDecimal(Text& text, std::int64_t steps, int decimals, int suppression);
// The leading and trailing suppression on a number text in place ("0.500" to ".5").
void suppressZeros(Text& text, int from, int suppression);
// 10^n for n up to 18.
std::int64_t power10(int n);
// value with precision decimals (xoDToStr's 'f'), zero suppression applied, no sign on a
// value that rounded to zero.
void putFixed(Text& text, double value, int precision, int suppression);
// Copies text into out under the buffer contract; returns the length + 1.
int deliver(const Text& text, wchar_t* out, int size);

int writeLength(double value, const XoUnitFormat& format, Text& text);
int writeAngle(double value, const XoUnitFormat& format, Text& text);
int writeScientific(double value, int precision, Text& text);

} // namespace xo::units
