// printf-style formatting with the Windows runtime's meaning, identical on every target.
#pragma once

#include <cstdarg>
#include <cstddef>

namespace xo {

// In a wide format %s and %c take wide arguments and %S and %C narrow ones; in a narrow
// format the reverse (%hs/%ls/%ws and %hc/%lc/%wc name the width explicitly). Wide
// strings hold UTF-16 code units, one per wchar_t. Narrow text crosses to wide byte
// for byte (the runtime's "C" locale); a wide unit above 0xFF becomes '?' in narrow text.
class XoFormatter {
public:
    // Writes at most capacity - 1 characters and a terminator (nothing when capacity is 0)
    // and returns the length of the whole text, so a call with capacity 0 measures.
    // Returns -1 when the length does not fit in an int.
    static int formatV(wchar_t* buffer, std::size_t capacity, const wchar_t* format,
                       va_list args);
    static int formatV(char* buffer, std::size_t capacity, const char* format, va_list args);
    static int format(wchar_t* buffer, std::size_t capacity, const wchar_t* format, ...);
    static int format(char* buffer, std::size_t capacity, const char* format, ...);
};

} // namespace xo
