// printf-style formatting with the Windows runtime's meaning, identical on every target.
#pragma once

#include <cstdarg>
#include <cstddef>

namespace xo {

// Characters: in a wide format %s and %c take wide arguments and %S and %C narrow ones; in
// a narrow format the reverse (%hs/%hc are always narrow, %ls/%lc/%ws/%wc always wide).
// Wide text holds UTF-16 code units, one per wchar_t; a %c argument keeps its low 16 bits.
// Narrow text crosses to wide byte for byte (the runtime's "C" locale); a wide unit above
// 0xFF becomes '?' in narrow text, where the runtime would fail the whole call. A null
// string prints "(null)". The '0' flag pads strings and characters with zeros too.
//
// Integers follow C: a precision cancels '0', zero with precision 0 prints nothing but
// "%#.0o" still prints "0". hh narrows to char, l is the C type long, ll and I64 are
// 64 bits, I32 32 bits, and I, z and t the size of a pointer. %p prints every hex digit
// of the address in upper case (000000000012FF3C), ignoring precision and '0'.
//
// Floating point: ties round away from zero, as the runtime does ("%.0f" of 2.5 is "3");
// %a without a precision shows all 13 hex digits of the mantissa; L reads a long double
// but prints it at double precision, the runtime's long double. Infinity prints "inf",
// a NaN "nan", and any NaN with the sign bit set "-nan(ind)" (the x86 "indeterminate"
// that 0.0 / 0.0 gives); upper case for E, F, G and A; these pad with spaces even under
// '0'. Digits beyond the 1074th after the point are zeros and cost no memory.
//
// %n stores nothing (the runtime rejects it) but consumes its pointer. An unknown
// conversion character, '%' included, is copied as it stands without padding; a
// directive cut short by the end of the format prints nothing.
class XoFormatter {
public:
    // Writes at most capacity - 1 characters and a terminator (nothing when capacity is 0)
    // and returns the length of the whole text, so a call with capacity 0 measures.
    // Returns -1 when the length does not fit in an int. A null format is the empty text.
    static int formatV(wchar_t* buffer, std::size_t capacity, const wchar_t* format, va_list args);
    static int formatV(char* buffer, std::size_t capacity, const char* format, va_list args);
    // The length formatV would return, or -1 where the Windows runtime rejects the format
    // outright: an unknown conversion (with whatever flags, width or length, and a
    // positional "%1$d"), '%' with anything between the two, %n, a directive cut short by
    // the end, I, z or t on anything but an integer, and in narrow text a wide string
    // whose printed part holds a unit above 0xFF. A wide character above 0xFF still counts
    // as its '?': the runtime drops it silently, and formatV writes it.
    static int checkedLengthV(const wchar_t* format, va_list args);
    static int checkedLengthV(const char* format, va_list args);
    static int format(wchar_t* buffer, std::size_t capacity, const wchar_t* format, ...);
    static int format(char* buffer, std::size_t capacity, const char* format, ...);
};

} // namespace xo
