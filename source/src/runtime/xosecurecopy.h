// The secure copy and formatting rules of the Windows runtime (memcpy_s, strcpy_s,
// vsprintf_s and their wide twins), written once so that both targets fail alike: a
// refused call clears what it may, sets errno and reports through the invalid-parameter
// handler in force, whose default ends the process as the runtime's does.
#pragma once

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstring>

#include "platform/invalidparameter.h"
#include "runtime/xoformatter.h"

namespace xo::runtime {

inline int invalid(int error) {
    errno = error;
    xo::platform::reportInvalidParameter();
    return error;
}

// memcpy_s and wmemcpy_s: n elements into dst of dstSize elements.
template <class Char>
int boundedCopy(Char* dst, std::size_t dstSize, const Char* src, std::size_t n) {
    if (n == 0)
        return 0;
    if (!dst)
        return invalid(EINVAL);
    if (src && dstSize >= n) {
        std::memcpy(dst, src, n * sizeof(Char));
        return 0;
    }
    std::memset(dst, 0, dstSize * sizeof(Char));
    return invalid(src ? ERANGE : EINVAL);
}

// strcpy_s and wcscpy_s.
template <class Char> int boundedStringCopy(Char* dst, std::size_t dstSize, const Char* src) {
    if (!dst || dstSize == 0)
        return invalid(EINVAL);
    if (!src) {
        dst[0] = 0;
        return invalid(EINVAL);
    }
    std::size_t n = 0;
    while (src[n] != 0)
        ++n;
    if (n + 1 > dstSize) {
        dst[0] = 0;
        return invalid(ERANGE);
    }
    std::memcpy(dst, src, (n + 1) * sizeof(Char));
    return 0;
}

// vsprintf_s and vswprintf_s.
template <class Char>
int boundedFormat(Char* buffer, std::size_t size, const Char* format, va_list args) {
    if (!format || !buffer || size == 0) {
        if (buffer && size > 0)
            buffer[0] = 0;
        invalid(EINVAL);
        return -1;
    }
    va_list measure;
    va_copy(measure, args);
    const int length = xo::XoFormatter::formatV(static_cast<Char*>(nullptr), 0, format, measure);
    va_end(measure);
    if (length < 0 || std::size_t(length) >= size) {
        buffer[0] = 0;
        invalid(ERANGE);
        return -1;
    }
    return xo::XoFormatter::formatV(buffer, size, format, args);
}

} // namespace xo::runtime
