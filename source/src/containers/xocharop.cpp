#include "XoCharOp.h"

#include <cerrno>
#include <climits>
#include <cstring>

#include "XoMemory.h"
#include "containers/xoformatter.h"
#include "containers/xombcs.h"
#include "containers/xowidectype.h"
#include "platform/invalidparameter.h"

namespace {

namespace mb = xo::mbcs;
namespace wc = xo::widectype;

unsigned char* u(char* p) {
    return reinterpret_cast<unsigned char*>(p);
}
const unsigned char* u(const char* p) {
    return reinterpret_cast<const unsigned char*>(p);
}
char* c(unsigned char* p) {
    return reinterpret_cast<char*>(p);
}

// The 8-bit single-character operations widen with the sign, as the runtime's callers do.
unsigned int widened(char ch) {
    return static_cast<unsigned int>(static_cast<int>(ch));
}

unsigned int unit(wchar_t w) {
    return static_cast<std::uint16_t>(w);
}

std::size_t wideLength(const wchar_t* s) {
    std::size_t n = 0;
    while (s[n] != 0)
        ++n;
    return n;
}

template <class Fold>
int wideCompare(const wchar_t* a, const wchar_t* b, std::size_t n, Fold fold) {
    for (; n > 0; --n, ++a, ++b) {
        const unsigned int ca = fold(unit(*a));
        const unsigned int cb = fold(unit(*b));
        if (ca != cb || ca == 0)
            return int(ca) - int(cb);
    }
    return 0;
}

unsigned int same(unsigned int x) {
    return x;
}

int invalid(int error) {
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

constexpr std::size_t kUnbounded = 0x7FFFFFFF;

} // namespace

void* XoCharOp::zalloc(std::size_t size) {
    return _xoMalloc(size);
}

void XoCharOp::zfree(void* p) {
    if (p)
        _xoFree(p);
}

char* XoCharOp::next(const char* p) {
    return c(mb::inc(u(p)));
}
wchar_t* XoCharOp::next(const wchar_t* p) {
    return const_cast<wchar_t*>(p + 1);
}
char* XoCharOp::next(const char* p, std::size_t n) {
    return c(mb::ninc(u(p), n));
}
wchar_t* XoCharOp::next(const wchar_t* p, std::size_t n) {
    return const_cast<wchar_t*>(p + n);
}
char* XoCharOp::prev(const char* start, const char* p) {
    return c(mb::dec(u(start), u(p)));
}
wchar_t* XoCharOp::prev(const wchar_t* start, const wchar_t* p) {
    return p > start ? const_cast<wchar_t*>(p - 1) : nullptr;
}

char XoCharOp::toUppercase(char ch) {
    return char(mb::toUpper(widened(ch)));
}
wchar_t XoCharOp::toUppercase(wchar_t ch) {
    return wchar_t(wc::toUpper(unit(ch)));
}
char XoCharOp::toLowercase(char ch) {
    return char(mb::toLower(widened(ch)));
}
wchar_t XoCharOp::toLowercase(wchar_t ch) {
    return wchar_t(wc::toLower(unit(ch)));
}

char* XoCharOp::toUppercase(char* s) {
    return !s || !*s ? s : c(mb::upr(u(s)));
}
char* XoCharOp::toLowercase(char* s) {
    return !s || !*s ? s : c(mb::lwr(u(s)));
}

wchar_t* XoCharOp::toUppercase(wchar_t* s) {
    if (s)
        for (wchar_t* p = s; *p; ++p)
            *p = wchar_t(wc::toUpper(unit(*p)));
    return s;
}

wchar_t* XoCharOp::toLowercase(wchar_t* s) {
    if (s)
        for (wchar_t* p = s; *p; ++p)
            *p = wchar_t(wc::toLower(unit(*p)));
    return s;
}

bool XoCharOp::isLowercase(char ch) {
    return mb::isLower(widened(ch));
}
bool XoCharOp::isLowercase(wchar_t ch) {
    return wc::isLower(unit(ch));
}
bool XoCharOp::isSpace(char ch) {
    return mb::isSpace(widened(ch));
}
bool XoCharOp::isSpace(wchar_t ch) {
    return wc::isSpace(unit(ch));
}
bool XoCharOp::isDigit(char ch) {
    return mb::isDigit(widened(ch));
}
bool XoCharOp::isDigit(wchar_t ch) {
    return wc::isDigit(unit(ch));
}

int XoCharOp::compare(const char* a, const char* b) {
    return mb::cmp(u(a), u(b));
}

int XoCharOp::compare(const wchar_t* a, const wchar_t* b) {
    for (;; ++a, ++b) {
        if (*a != *b)
            return unit(*a) < unit(*b) ? -1 : 1;
        if (*a == 0)
            return 0;
    }
}

int XoCharOp::compare(const char* a, const char* b, std::size_t n) {
    return mb::ncmp(u(a), u(b), n);
}
int XoCharOp::compare(const wchar_t* a, const wchar_t* b, std::size_t n) {
    return wideCompare(a, b, n, same);
}
int XoCharOp::compareNoCase(const char* a, const char* b) {
    return mb::icmp(u(a), u(b));
}
int XoCharOp::compareNoCase(const wchar_t* a, const wchar_t* b) {
    return wideCompare(a, b, std::size_t(-1), wc::toLower);
}
int XoCharOp::compareNoCase(const char* a, const char* b, std::size_t n) {
    return mb::nicmp(u(a), u(b), n);
}
int XoCharOp::compareNoCase(const wchar_t* a, const wchar_t* b, std::size_t n) {
    return wideCompare(a, b, n, wc::toLower);
}
int XoCharOp::collate(const char* a, const char* b) {
    return mb::coll(u(a), u(b));
}
int XoCharOp::collate(const wchar_t* a, const wchar_t* b) {
    return wideCompare(a, b, std::size_t(-1), same);
}
int XoCharOp::collate(const char* a, const char* b, std::size_t n) {
    return mb::ncoll(u(a), u(b), n);
}
int XoCharOp::collate(const wchar_t* a, const wchar_t* b, std::size_t n) {
    return wideCompare(a, b, n, same);
}
int XoCharOp::collateNoCase(const char* a, const char* b) {
    return mb::icoll(u(a), u(b));
}
int XoCharOp::collateNoCase(const wchar_t* a, const wchar_t* b) {
    return wideCompare(a, b, std::size_t(-1), wc::toLower);
}
int XoCharOp::collateNoCase(const char* a, const char* b, std::size_t n) {
    return mb::nicoll(u(a), u(b), n);
}
int XoCharOp::collateNoCase(const wchar_t* a, const wchar_t* b, std::size_t n) {
    return wideCompare(a, b, n, wc::toLower);
}

char* XoCharOp::find(char* haystack, const char* needle) {
    return c(mb::str(u(haystack), u(needle)));
}
const char* XoCharOp::find(const char* haystack, const char* needle) {
    return c(mb::str(u(haystack), u(needle)));
}

const wchar_t* XoCharOp::find(const wchar_t* haystack, const wchar_t* needle) {
    for (const wchar_t* p = haystack;; ++p) {
        std::size_t i = 0;
        while (needle[i] != 0 && p[i] == needle[i])
            ++i;
        if (needle[i] == 0)
            return p;
        if (*p == 0)
            return nullptr;
    }
}

wchar_t* XoCharOp::find(wchar_t* haystack, const wchar_t* needle) {
    return const_cast<wchar_t*>(find(static_cast<const wchar_t*>(haystack), needle));
}

char* XoCharOp::reverse(char* s) {
    return c(mb::rev(u(s)));
}

wchar_t* XoCharOp::reverse(wchar_t* s) {
    for (wchar_t *front = s, *back = s + wideLength(s); front < back && front < --back; ++front) {
        const wchar_t t = *front;
        *front = *back;
        *back = t;
    }
    return s;
}

std::size_t XoCharOp::length(const char* s) {
    return s ? mb::len(u(s)) : 0;
}
std::size_t XoCharOp::length(const wchar_t* s) {
    return s ? wideLength(s) : 0;
}
std::size_t XoCharOp::numOfChars(const char* s) {
    return s ? std::strlen(s) : 0;
}
std::size_t XoCharOp::numOfChars(const wchar_t* s) {
    return length(s);
}

char* XoCharOp::copy(char* dst, const char* src) {
    return std::strcpy(dst, src);
}

wchar_t* XoCharOp::copy(wchar_t* dst, const wchar_t* src) {
    std::memcpy(dst, src, (wideLength(src) + 1) * sizeof(wchar_t));
    return dst;
}

int XoCharOp::copy(char* dst, std::size_t dstSize, const char* src) {
    return boundedStringCopy(dst, dstSize, src);
}
int XoCharOp::copy(wchar_t* dst, std::size_t dstSize, const wchar_t* src) {
    return boundedStringCopy(dst, dstSize, src);
}
char* XoCharOp::copy(char* dst, const char* src, std::size_t n) {
    return static_cast<char*>(std::memcpy(dst, src, n));
}
wchar_t* XoCharOp::copy(wchar_t* dst, const wchar_t* src, std::size_t n) {
    return static_cast<wchar_t*>(std::memcpy(dst, src, n * sizeof(wchar_t)));
}
int XoCharOp::copy(char* dst, std::size_t dstSize, const char* src, std::size_t n) {
    return boundedCopy(dst, dstSize, src, n);
}
int XoCharOp::copy(wchar_t* dst, std::size_t dstSize, const wchar_t* src, std::size_t n) {
    return boundedCopy(dst, dstSize, src, n);
}
char* XoCharOp::copy(char* dst, char ch, std::size_t n) {
    return static_cast<char*>(std::memset(dst, ch, n));
}

wchar_t* XoCharOp::copy(wchar_t* dst, wchar_t ch, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i)
        dst[i] = ch;
    return dst;
}

char* XoCharOp::move(char* dst, const char* src, std::size_t n) {
    return static_cast<char*>(std::memmove(dst, src, n));
}
wchar_t* XoCharOp::move(wchar_t* dst, const wchar_t* src, std::size_t n) {
    return static_cast<wchar_t*>(std::memmove(dst, src, n * sizeof(wchar_t)));
}

wchar_t* XoCharOp::cat(wchar_t* dst, const wchar_t* src) {
    copy(dst + wideLength(dst), src);
    return dst;
}

int XoCharOp::formattedLength(const char* format, va_list args) {
    return xo::XoFormatter::checkedLengthV(format, args);
}

int XoCharOp::formattedLength(const wchar_t* format, va_list args) {
    return xo::XoFormatter::checkedLengthV(format, args);
}

int XoCharOp::format(char* buffer, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int length = format(buffer, fmt, args);
    va_end(args);
    return length;
}

int XoCharOp::format(wchar_t* buffer, const wchar_t* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int length = format(buffer, fmt, args);
    va_end(args);
    return length;
}

int XoCharOp::format(char* buffer, const char* fmt, va_list args) {
    return xo::XoFormatter::formatV(buffer, kUnbounded, fmt, args);
}

int XoCharOp::format(wchar_t* buffer, const wchar_t* fmt, va_list args) {
    return xo::XoFormatter::formatV(buffer, kUnbounded, fmt, args);
}

int XoCharOp::format(char* buffer, std::size_t size, const char* fmt, va_list args) {
    return boundedFormat(buffer, size, fmt, args);
}

int XoCharOp::format(wchar_t* buffer, std::size_t size, const wchar_t* fmt, va_list args) {
    return boundedFormat(buffer, size, fmt, args);
}

XoInvalidParameterHandler xoSetInvalidParameterHandler(XoInvalidParameterHandler handler) {
    return xo::platform::setInvalidParameterHandler(handler);
}
