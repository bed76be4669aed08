#include "XoCharOp.h"

#include <climits>
#include <cstdint>
#include <cstring>

#include "XoMemory.h"
#include "platform/codepage.h"
#include "platform/error.h"
#include "platform/textunits.h"
#include "runtime/xoformatter.h"
#include "runtime/xombcs.h"
#include "runtime/xosecurecopy.h"
#include "runtime/xowidectype.h"

namespace {

using xo::platform::wideUnit;

using xo::mbcs::bytes;
using xo::mbcs::chars;

namespace mb = xo::mbcs;
namespace wc = xo::widectype;

// The 8-bit single-character operations widen with the sign, as the runtime's callers do.
unsigned int widened(char ch) {
    return static_cast<unsigned int>(static_cast<int>(ch));
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
        const unsigned int ca = fold(wideUnit(*a));
        const unsigned int cb = fold(wideUnit(*b));
        if (ca != cb || ca == 0)
            return int(ca) - int(cb);
    }
    return 0;
}

unsigned int same(unsigned int x) {
    return x;
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
    return chars(mb::inc(bytes(p)));
}
wchar_t* XoCharOp::next(const wchar_t* p) {
    return const_cast<wchar_t*>(p + 1);
}
char* XoCharOp::next(const char* p, std::size_t n) {
    return chars(mb::ninc(bytes(p), n));
}
wchar_t* XoCharOp::next(const wchar_t* p, std::size_t n) {
    return const_cast<wchar_t*>(p + n);
}
char* XoCharOp::prev(const char* start, const char* p) {
    return chars(mb::dec(bytes(start), bytes(p)));
}
wchar_t* XoCharOp::prev(const wchar_t* start, const wchar_t* p) {
    return p > start ? const_cast<wchar_t*>(p - 1) : nullptr;
}

char XoCharOp::toUppercase(char ch) {
    return char(mb::toUpper(widened(ch)));
}
wchar_t XoCharOp::toUppercase(wchar_t ch) {
    return wchar_t(wc::toUpper(wideUnit(ch)));
}
char XoCharOp::toLowercase(char ch) {
    return char(mb::toLower(widened(ch)));
}
wchar_t XoCharOp::toLowercase(wchar_t ch) {
    return wchar_t(wc::toLower(wideUnit(ch)));
}

char* XoCharOp::toUppercase(char* s) {
    return !s || !*s ? s : chars(mb::upr(bytes(s)));
}
char* XoCharOp::toLowercase(char* s) {
    return !s || !*s ? s : chars(mb::lwr(bytes(s)));
}

wchar_t* XoCharOp::toUppercase(wchar_t* s) {
    if (s)
        for (wchar_t* p = s; *p; ++p)
            *p = wchar_t(wc::toUpper(wideUnit(*p)));
    return s;
}

wchar_t* XoCharOp::toLowercase(wchar_t* s) {
    if (s)
        for (wchar_t* p = s; *p; ++p)
            *p = wchar_t(wc::toLower(wideUnit(*p)));
    return s;
}

bool XoCharOp::isLowercase(char ch) {
    return mb::isLower(widened(ch));
}
bool XoCharOp::isLowercase(wchar_t ch) {
    return wc::isLower(wideUnit(ch));
}
bool XoCharOp::isSpace(char ch) {
    return mb::isSpace(widened(ch));
}
bool XoCharOp::isSpace(wchar_t ch) {
    return wc::isSpace(wideUnit(ch));
}
bool XoCharOp::isDigit(char ch) {
    return mb::isDigit(widened(ch));
}
bool XoCharOp::isDigit(wchar_t ch) {
    return wc::isDigit(wideUnit(ch));
}

int XoCharOp::compare(const char* a, const char* b) {
    return mb::cmp(bytes(a), bytes(b));
}

int XoCharOp::compare(const wchar_t* a, const wchar_t* b) {
    for (;; ++a, ++b) {
        if (*a != *b)
            return wideUnit(*a) < wideUnit(*b) ? -1 : 1;
        if (*a == 0)
            return 0;
    }
}

int XoCharOp::compare(const char* a, const char* b, std::size_t n) {
    return mb::ncmp(bytes(a), bytes(b), n);
}
int XoCharOp::compare(const wchar_t* a, const wchar_t* b, std::size_t n) {
    return wideCompare(a, b, n, same);
}
int XoCharOp::compareNoCase(const char* a, const char* b) {
    return mb::icmp(bytes(a), bytes(b));
}
int XoCharOp::compareNoCase(const wchar_t* a, const wchar_t* b) {
    return wideCompare(a, b, std::size_t(-1), wc::toLower);
}
int XoCharOp::compareNoCase(const char* a, const char* b, std::size_t n) {
    return mb::nicmp(bytes(a), bytes(b), n);
}
int XoCharOp::compareNoCase(const wchar_t* a, const wchar_t* b, std::size_t n) {
    return wideCompare(a, b, n, wc::toLower);
}
int XoCharOp::collate(const char* a, const char* b) {
    return mb::coll(bytes(a), bytes(b));
}
int XoCharOp::collate(const wchar_t* a, const wchar_t* b) {
    return wideCompare(a, b, std::size_t(-1), same);
}
int XoCharOp::collate(const char* a, const char* b, std::size_t n) {
    return mb::ncoll(bytes(a), bytes(b), n);
}
int XoCharOp::collate(const wchar_t* a, const wchar_t* b, std::size_t n) {
    return wideCompare(a, b, n, same);
}
int XoCharOp::collateNoCase(const char* a, const char* b) {
    return mb::icoll(bytes(a), bytes(b));
}
int XoCharOp::collateNoCase(const wchar_t* a, const wchar_t* b) {
    return wideCompare(a, b, std::size_t(-1), wc::toLower);
}
int XoCharOp::collateNoCase(const char* a, const char* b, std::size_t n) {
    return mb::nicoll(bytes(a), bytes(b), n);
}
int XoCharOp::collateNoCase(const wchar_t* a, const wchar_t* b, std::size_t n) {
    return wideCompare(a, b, n, wc::toLower);
}

char* XoCharOp::find(char* haystack, const char* needle) {
    return chars(mb::str(bytes(haystack), bytes(needle)));
}
const char* XoCharOp::find(const char* haystack, const char* needle) {
    return chars(mb::str(bytes(haystack), bytes(needle)));
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
    return chars(mb::rev(bytes(s)));
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
    return s ? mb::len(bytes(s)) : 0;
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
    return xo::runtime::boundedStringCopy(dst, dstSize, src);
}
int XoCharOp::copy(wchar_t* dst, std::size_t dstSize, const wchar_t* src) {
    return xo::runtime::boundedStringCopy(dst, dstSize, src);
}
char* XoCharOp::copy(char* dst, const char* src, std::size_t n) {
    return static_cast<char*>(std::memcpy(dst, src, n));
}
wchar_t* XoCharOp::copy(wchar_t* dst, const wchar_t* src, std::size_t n) {
    return static_cast<wchar_t*>(std::memcpy(dst, src, n * sizeof(wchar_t)));
}
int XoCharOp::copy(char* dst, std::size_t dstSize, const char* src, std::size_t n) {
    return xo::runtime::boundedCopy(dst, dstSize, src, n);
}
int XoCharOp::copy(wchar_t* dst, std::size_t dstSize, const wchar_t* src, std::size_t n) {
    return xo::runtime::boundedCopy(dst, dstSize, src, n);
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
    return xo::runtime::boundedFormat(buffer, size, fmt, args);
}

int XoCharOp::format(wchar_t* buffer, std::size_t size, const wchar_t* fmt, va_list args) {
    return xo::runtime::boundedFormat(buffer, size, fmt, args);
}

XoInvalidParameterHandler xoSetInvalidParameterHandler(XoInvalidParameterHandler handler) {
    return xo::platform::setInvalidParameterHandler(handler);
}

// The CIF conversion: a unit the code page cannot hold as itself becomes its \U+XXXX
// escape. It asks only the code-page layer, so it lives here with the rest of XoCharOp
// rather than with the escape classes of encoding/.
int XoCharOp::WideCharToMultiByteCIF(unsigned int winCp, unsigned long, const wchar_t* in,
                                     int inLen, char* out, int outLen, unsigned long) {
    namespace os = xo::platform;
    if (!os::isValidCodePage(winCp)) {
        os::setThreadLastError(os::kErrorStackOverflow);
        return 0;
    }
    if (!in || (!out && outLen != 0)) {
        os::setThreadLastError(os::kErrorInvalidParameter);
        return 0;
    }
    long long length = inLen;
    if (inLen == -1) {
        length = 1;
        while (in[length - 1] != 0)
            ++length;
    }
    if (length < 1)
        return 0;
    static const char kHex[] = "0123456789ABCDEF";
    int written = 0;
    for (long long i = 0; i < length; ++i) {
        const std::uint16_t unit = wideUnit(in[i]);
        char piece[7];
        int size = 0;
        if (unit < 0x80) {
            piece[0] = char(unit);
            size = 1;
        } else {
            const wchar_t wide = wchar_t(unit);
            bool usedDefault = false;
            const int n = os::wideCharToMultiByte(winCp, os::kWcNoBestFitChars, &wide, 1, piece, 4,
                                                  nullptr, &usedDefault);
            if (!usedDefault && (n == 2 || (n == 1 && std::uint8_t(piece[0]) >= 0x80))) {
                size = n;
            } else {
                piece[0] = '\\';
                piece[1] = 'U';
                piece[2] = '+';
                for (int d = 0; d < 4; ++d)
                    piece[3 + d] = kHex[(unit >> (12 - 4 * d)) & 0xF];
                size = 7;
            }
        }
        if (outLen - written < size)
            break;
        std::memcpy(out + written, piece, std::size_t(size));
        written += size;
        if (unit == 0)
            break;
    }
    return written;
}
