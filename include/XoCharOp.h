// XoCharOp: one vocabulary of character and string primitives for both character
// types, so that code written once for char and wchar_t can call XoCharOp::op.
//
// The char overloads work in characters of the runtime's current multibyte code page
// (_getmbcp): a lead byte and its trail byte are one character. `length` counts those
// characters, `numOfChars` counts bytes. The wchar_t overloads take each element as one
// UTF-16 unit. Single-character char operations widen with the sign, so bytes from
// 0x80 reach the multibyte rules as values above 0xFFFF and come back unchanged (or
// false); double-byte characters are handled by the string overloads. Case and classes
// follow the C locale of the Windows runtime: wide case mapping changes ASCII letters
// only, wide classes are the runtime's (iswlower, iswspace, iswdigit).
//
// The bounded copies and formats follow the runtime's secure rules: on a bad argument
// they set errno (22, or 34 when the room is too small) and call the invalid-parameter
// handler (see xoSetInvalidParameterHandler), whose default ends the process as the
// Windows runtime's does.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "XoOsBaseExport.h"

class XOOSBASE_API XoCharOp {
public:
    static void* zalloc(std::size_t size);
    static void zfree(void* p);

    static char* next(const char* p);
    static wchar_t* next(const wchar_t* p);
    static char* next(const char* p, std::size_t n);
    static wchar_t* next(const wchar_t* p, std::size_t n);
    // Null when p is at start.
    static char* prev(const char* start, const char* p);
    static wchar_t* prev(const wchar_t* start, const wchar_t* p);

    static char toUppercase(char c);
    static wchar_t toUppercase(wchar_t c);
    static char* toUppercase(char* s);
    static wchar_t* toUppercase(wchar_t* s);
    static char toLowercase(char c);
    static wchar_t toLowercase(wchar_t c);
    static char* toLowercase(char* s);
    static wchar_t* toLowercase(wchar_t* s);
    static bool isLowercase(char c);
    static bool isLowercase(wchar_t c);
    static bool isSpace(char c);
    static bool isSpace(wchar_t c);
    static bool isDigit(char c);
    static bool isDigit(wchar_t c);

    // Negative, zero or positive as a is before, equal to or after b.
    static int compare(const char* a, const char* b);
    static int compare(const wchar_t* a, const wchar_t* b); // -1, 0 or 1
    static int compare(const char* a, const char* b, std::size_t n);
    static int compare(const wchar_t* a, const wchar_t* b, std::size_t n);
    static int compareNoCase(const char* a, const char* b);
    static int compareNoCase(const wchar_t* a, const wchar_t* b);
    static int compareNoCase(const char* a, const char* b, std::size_t n);
    static int compareNoCase(const wchar_t* a, const wchar_t* b, std::size_t n);
    // Collation in the C locale, which is the order of characters.
    static int collate(const char* a, const char* b);
    static int collate(const wchar_t* a, const wchar_t* b);
    static int collate(const char* a, const char* b, std::size_t n);
    static int collate(const wchar_t* a, const wchar_t* b, std::size_t n);
    static int collateNoCase(const char* a, const char* b);
    static int collateNoCase(const wchar_t* a, const wchar_t* b);
    static int collateNoCase(const char* a, const char* b, std::size_t n);
    static int collateNoCase(const wchar_t* a, const wchar_t* b, std::size_t n);

    static char* find(char* haystack, const char* needle);
    static const char* find(const char* haystack, const char* needle);
    static wchar_t* find(wchar_t* haystack, const wchar_t* needle);
    static const wchar_t* find(const wchar_t* haystack, const wchar_t* needle);

    static char* reverse(char* s);
    static wchar_t* reverse(wchar_t* s);
    static std::size_t length(const char* s);
    static std::size_t length(const wchar_t* s);
    static std::size_t numOfChars(const char* s);
    static std::size_t numOfChars(const wchar_t* s);

    static char* copy(char* dst, const char* src);
    static wchar_t* copy(wchar_t* dst, const wchar_t* src);
    // The bounded copies return 0 or the errno value they set.
    static int copy(char* dst, std::size_t dstSize, const char* src);
    static int copy(wchar_t* dst, std::size_t dstSize, const wchar_t* src);
    static char* copy(char* dst, const char* src, std::size_t n);
    static wchar_t* copy(wchar_t* dst, const wchar_t* src, std::size_t n);
    static int copy(char* dst, std::size_t dstSize, const char* src, std::size_t n);
    static int copy(wchar_t* dst, std::size_t dstSize, const wchar_t* src, std::size_t n);
    static char* copy(char* dst, char c, std::size_t n);
    static wchar_t* copy(wchar_t* dst, wchar_t c, std::size_t n);
    static char* move(char* dst, const char* src, std::size_t n);
    static wchar_t* move(wchar_t* dst, const wchar_t* src, std::size_t n);
    static wchar_t* cat(wchar_t* dst, const wchar_t* src);

    // printf formats with the Windows runtime's meaning. Lengths exclude the terminator;
    // -1 when the text cannot be made (its length does not fit an int). formattedLength
    // also gives -1 for a format the runtime rejects (a bad conversion, %n, a wide string
    // that narrow text cannot hold), where format copies the unknown letter as it stands.
    static int formattedLength(const char* format, va_list args);
    static int formattedLength(const wchar_t* format, va_list args);
    static int format(char* buffer, const char* format, ...);
    static int format(wchar_t* buffer, const wchar_t* format, ...);
    static int format(char* buffer, const char* format, va_list args);
    static int format(wchar_t* buffer, const wchar_t* format, va_list args);
    // size in elements of buffer; too small a buffer is emptied and gives -1.
    static int format(char* buffer, std::size_t size, const char* format, va_list args);
    static int format(wchar_t* buffer, std::size_t size, const wchar_t* format, va_list args);

    // UTF-16 to the Windows code page, writing what the page lacks (no best fit, and no
    // ASCII byte for a non-ASCII unit) as a CIF escape "\U+XXXX". inLen -1 reads through
    // the terminating 0, which is written and counted. Stops at the first piece that
    // does not fit in outLen bytes. Returns the bytes written; 0 with the last error
    // 1001 for an invalid code page, 87 for a null in, or a null out with outLen not 0.
    // flags and the last argument are not used.
    static int WideCharToMultiByteCIF(unsigned int winCp, unsigned long flags, const wchar_t* in,
                                      int inLen, char* out, int outLen, unsigned long);
};

// The runtime's invalid-parameter handler: on Windows the C runtime's own
// (_set_invalid_parameter_handler); on POSIX the library's. A null handler restores the
// default, which ends the process. Returns the previous handler.
using XoInvalidParameterHandler = void (*)(const wchar_t* expression, const wchar_t* function,
                                           const wchar_t* file, unsigned int line,
                                           std::uintptr_t reserved);
XOOSBASE_API XoInvalidParameterHandler
xoSetInvalidParameterHandler(XoInvalidParameterHandler handler);
