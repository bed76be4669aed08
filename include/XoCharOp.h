/// \file
/// XoCharOp: one vocabulary of character and string primitives for both character
/// types, so that code written once for char and wchar_t can call XoCharOp::op.
///
/// The char overloads work in characters of the runtime's current multibyte code page
/// (_getmbcp): a lead byte and its trail byte are one character. `length` counts those
/// characters, `numOfChars` counts bytes. The wchar_t overloads take each element as one
/// UTF-16 unit. Single-character char operations widen with the sign, so bytes from
/// 0x80 reach the multibyte rules as values above 0xFFFF and come back unchanged (or
/// false); double-byte characters are handled by the string overloads. Case and classes
/// follow the C locale of the Windows runtime: wide case mapping changes ASCII letters
/// only, wide classes are the runtime's (iswlower, iswspace, iswdigit).
///
/// The bounded copies and formats follow the runtime's secure rules: on a bad argument
/// they set errno (22, or 34 when the room is too small) and call the invalid-parameter
/// handler (see xoSetInvalidParameterHandler), whose default ends the process as the
/// Windows runtime's does.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "XoOsBaseExport.h"

/// Character and string primitives for char and wchar_t; only a scope for static
/// members. Pointers are not checked for null unless a member says so: a null where a
/// text is expected faults, as it does in the runtime. The char walks learn the lead
/// bytes of a code page the first time it is current, which allocates (std::bad_alloc
/// when that fails).
class XOOSBASE_API XoCharOp {
public:
    /// A block of size bytes from _xoMalloc; null above 2 GiB or when memory runs out.
    static void* zalloc(std::size_t size);
    /// Frees a block of zalloc; null is ignored and it cannot fail.
    static void zfree(void* p);

    /// The character after the one at p (_mbsinc): two bytes for a lead byte with a trail
    /// byte, else one, also for a lead byte before the terminator; cannot fail.
    static char* next(const char* p);
    /// p + 1; cannot fail.
    static wchar_t* next(const wchar_t* p);
    /// n characters on from p (_mbsninc), stopping at the terminator and before a lead
    /// byte that has only the terminator behind it; null for a null p.
    static char* next(const char* p, std::size_t n);
    /// p + n, unchecked; cannot fail.
    static wchar_t* next(const wchar_t* p, std::size_t n);
    /// The start of the character before p in the text that begins at start (_mbsdec).
    /// Null when p is at start, or before it, or either is null.
    static char* prev(const char* start, const char* p);
    /// p - 1; null when p is at start (or before it).
    static wchar_t* prev(const wchar_t* start, const wchar_t* p);

    /// The upper case of the character (_mbctoupper). The byte widens with its sign, so
    /// only ASCII letters change; every other byte comes back unchanged.
    static char toUppercase(char c);
    /// The upper case of an ASCII letter; every other unit comes back unchanged.
    static wchar_t toUppercase(wchar_t c);
    /// Upper-cases the text in place (_mbsupr: ASCII letters and double-byte characters)
    /// and returns it; a null or empty text comes back as it is.
    static char* toUppercase(char* s);
    /// Upper-cases the ASCII letters of the text in place and returns it; null comes back
    /// as it is.
    static wchar_t* toUppercase(wchar_t* s);
    /// The lower case of the character (_mbctolower). The byte widens with its sign, so
    /// only ASCII letters change; every other byte comes back unchanged.
    static char toLowercase(char c);
    /// The lower case of an ASCII letter; every other unit comes back unchanged.
    static wchar_t toLowercase(wchar_t c);
    /// Lower-cases the text in place (_mbslwr: ASCII letters and double-byte characters)
    /// and returns it; a null or empty text comes back as it is.
    static char* toLowercase(char* s);
    /// Lower-cases the ASCII letters of the text in place and returns it; null comes back
    /// as it is.
    static wchar_t* toLowercase(wchar_t* s);
    /// Whether the character is a lower-case letter (_ismbclower). The byte widens with
    /// its sign, so only ASCII letters can answer true; false for anything else.
    static bool isLowercase(char c);
    /// Whether the unit is a lower-case letter (iswlower); false for anything else.
    static bool isLowercase(wchar_t c);
    /// Whether the character is white space (_ismbcspace): the ASCII space and 9 to 13,
    /// the byte widening with its sign; false for anything else.
    static bool isSpace(char c);
    /// Whether the unit is white space (iswspace); false for anything else.
    static bool isSpace(wchar_t c);
    /// Whether the character is a decimal digit (_ismbcdigit): "0" to "9", the byte
    /// widening with its sign; false for anything else.
    static bool isDigit(char c);
    /// Whether the unit is a decimal digit (iswdigit); false for anything else.
    static bool isDigit(wchar_t c);

    /// Negative, zero or positive as a is before, equal to or after b, by characters of
    /// the multibyte code page (_mbscmp: -1, 0 or 1).
    static int compare(const char* a, const char* b);
    /// -1, 0 or 1 as a is before, equal to or after b, by unit values.
    static int compare(const wchar_t* a, const wchar_t* b);
    /// compare(a, b) over at most n characters (_mbsncmp): -1, 0 or 1.
    static int compare(const char* a, const char* b, std::size_t n);
    /// Over at most n units: negative, zero or positive (the difference of the first
    /// units that differ).
    static int compare(const wchar_t* a, const wchar_t* b, std::size_t n);
    /// compare(a, b) with ASCII letters and double-byte characters folded to lower case
    /// (_mbsicmp): -1, 0 or 1.
    static int compareNoCase(const char* a, const char* b);
    /// compare(a, b) with ASCII letters folded to lower case: the difference of the
    /// first folded units that differ, or 0.
    static int compareNoCase(const wchar_t* a, const wchar_t* b);
    /// compareNoCase(a, b) over at most n characters (_mbsnicmp): -1, 0 or 1.
    static int compareNoCase(const char* a, const char* b, std::size_t n);
    /// compareNoCase(a, b) over at most n units.
    static int compareNoCase(const wchar_t* a, const wchar_t* b, std::size_t n);
    /// Collation in the C locale, which is the order of characters: compare(a, b).
    static int collate(const char* a, const char* b);
    /// Collation in the C locale, which is the order of units: the difference of the
    /// first units that differ, or 0.
    static int collate(const wchar_t* a, const wchar_t* b);
    /// collate(a, b) over at most n characters: compare(a, b, n).
    static int collate(const char* a, const char* b, std::size_t n);
    /// collate(a, b) over at most n units: compare(a, b, n).
    static int collate(const wchar_t* a, const wchar_t* b, std::size_t n);
    /// Case-insensitive collation in the C locale: compareNoCase(a, b).
    static int collateNoCase(const char* a, const char* b);
    /// Case-insensitive collation in the C locale: compareNoCase(a, b).
    static int collateNoCase(const wchar_t* a, const wchar_t* b);
    /// collateNoCase(a, b) over at most n characters: compareNoCase(a, b, n).
    static int collateNoCase(const char* a, const char* b, std::size_t n);
    /// collateNoCase(a, b) over at most n units: compareNoCase(a, b, n).
    static int collateNoCase(const wchar_t* a, const wchar_t* b, std::size_t n);

    /// The first occurrence of needle that starts on a character boundary (_mbsstr);
    /// haystack itself for an empty needle, null when there is none.
    static char* find(char* haystack, const char* needle);
    /// The const form of find(char*, const char*), with the same results.
    static const char* find(const char* haystack, const char* needle);
    /// The first occurrence of needle (wcsstr); haystack itself for an empty needle, null
    /// when there is none.
    static wchar_t* find(wchar_t* haystack, const wchar_t* needle);
    /// The const form of find(wchar_t*, const wchar_t*), with the same results.
    static const wchar_t* find(const wchar_t* haystack, const wchar_t* needle);

    /// Reverses the characters in place (_mbsrev: a double-byte character keeps its byte
    /// order; a lead byte before the terminator stays last) and returns s.
    static char* reverse(char* s);
    /// Reverses the units in place and returns s.
    static wchar_t* reverse(wchar_t* s);
    /// The characters of the multibyte code page in s (_mbslen; a lead byte before the
    /// terminator is not counted); 0 for null.
    static std::size_t length(const char* s);
    /// The units before the terminator; 0 for null.
    static std::size_t length(const wchar_t* s);
    /// The bytes before the terminator (strlen); 0 for null.
    static std::size_t numOfChars(const char* s);
    /// The units before the terminator; 0 for null.
    static std::size_t numOfChars(const wchar_t* s);

    /// strcpy: copies src with its terminator to dst and returns dst, unchecked.
    static char* copy(char* dst, const char* src);
    /// wcscpy: copies src with its terminator to dst and returns dst, unchecked.
    static wchar_t* copy(wchar_t* dst, const wchar_t* src);
    /// strcpy_s into dst of dstSize elements. The bounded copies return 0 or the errno
    /// value they set: 22 (EINVAL) for a null dst, a dstSize of 0 or a null src (dst then
    /// emptied when it can be), 34 (ERANGE) when src does not fit (dst emptied); both
    /// after calling the invalid-parameter handler.
    static int copy(char* dst, std::size_t dstSize, const char* src);
    /// wcscpy_s into dst of dstSize elements: 0, or 22 (EINVAL) or 34 (ERANGE) as the
    /// char form, after calling the invalid-parameter handler.
    static int copy(wchar_t* dst, std::size_t dstSize, const wchar_t* src);
    /// memcpy of n bytes, unchecked; returns dst.
    static char* copy(char* dst, const char* src, std::size_t n);
    /// wmemcpy of n units, unchecked; returns dst.
    static wchar_t* copy(wchar_t* dst, const wchar_t* src, std::size_t n);
    /// memcpy_s of n bytes into dst of dstSize: 0 (also for n 0); 22 (EINVAL) for a null
    /// dst or src, 34 (ERANGE) when n exceeds dstSize, dst then cleared (unless null);
    /// both after calling the invalid-parameter handler.
    static int copy(char* dst, std::size_t dstSize, const char* src, std::size_t n);
    /// wmemcpy_s of n units into dst of dstSize: 0, 22 (EINVAL) or 34 (ERANGE) as the
    /// char form, after calling the invalid-parameter handler.
    static int copy(wchar_t* dst, std::size_t dstSize, const wchar_t* src, std::size_t n);
    /// memset: n copies of c at dst, unchecked; returns dst.
    static char* copy(char* dst, char c, std::size_t n);
    /// n copies of c at dst, unchecked; returns dst.
    static wchar_t* copy(wchar_t* dst, wchar_t c, std::size_t n);
    /// memmove of n bytes (the ranges may overlap), unchecked; returns dst.
    static char* move(char* dst, const char* src, std::size_t n);
    /// wmemmove of n units (the ranges may overlap), unchecked; returns dst.
    static wchar_t* move(wchar_t* dst, const wchar_t* src, std::size_t n);
    /// wcscat: appends src with its terminator to dst and returns dst, unchecked.
    static wchar_t* cat(wchar_t* dst, const wchar_t* src);

    /// printf formats with the Windows runtime's meaning. Lengths exclude the terminator;
    /// -1 when the text cannot be made (its length does not fit an int). formattedLength
    /// also gives -1 for a format the runtime rejects (a bad conversion, "%n", a wide
    /// string that narrow text cannot hold), where format copies the unknown letter as it
    /// stands.
    static int formattedLength(const char* format, va_list args);
    /// The length of the wide text the format makes, without the terminator; -1 as the
    /// char form gives it.
    static int formattedLength(const wchar_t* format, va_list args);
    /// Formats into buffer, unbounded (sprintf), and returns the length; -1 when the
    /// length does not fit an int.
    static int format(char* buffer, const char* format, ...);
    /// Formats into buffer, unbounded (swprintf), and returns the length; -1 when the
    /// length does not fit an int.
    static int format(wchar_t* buffer, const wchar_t* format, ...);
    /// Formats into buffer, unbounded (vsprintf), and returns the length; -1 when the
    /// length does not fit an int.
    static int format(char* buffer, const char* format, va_list args);
    /// Formats into buffer, unbounded (vswprintf), and returns the length; -1 when the
    /// length does not fit an int.
    static int format(wchar_t* buffer, const wchar_t* format, va_list args);
    /// vsprintf_s: size in elements of buffer. Returns the length; too small a buffer
    /// is emptied and gives -1 (errno 34), and so does a null buffer or format or a size
    /// of 0 (errno 22), after calling the invalid-parameter handler.
    static int format(char* buffer, std::size_t size, const char* format, va_list args);
    /// vswprintf_s: the same results and failures as the char form.
    static int format(wchar_t* buffer, std::size_t size, const wchar_t* format, va_list args);

    /// UTF-16 to the Windows code page, writing what the page lacks (no best fit, and no
    /// ASCII byte for a non-ASCII unit) as a CIF escape `\U+XXXX`. inLen -1 reads through
    /// the terminating 0, which is written and counted. Stops at the first piece that
    /// does not fit in outLen bytes. Returns the bytes written; 0 with the last error
    /// 1001 for an invalid code page, 87 for a null in, or a null out with outLen not 0;
    /// 0 also for an inLen of 0 or below -1, and for a null out with outLen 0 (nothing is
    /// counted). flags and the last argument are not used.
    static int WideCharToMultiByteCIF(unsigned int winCp, unsigned long flags, const wchar_t* in,
                                      int inLen, char* out, int outLen, unsigned long);
};

/// The runtime's invalid-parameter handler: it receives the expression, function, file
/// and line (null and 0 where the library does not know them) and a reserved word.
using XoInvalidParameterHandler = void (*)(const wchar_t* expression, const wchar_t* function,
                                           const wchar_t* file, unsigned int line,
                                           std::uintptr_t reserved);
/// Installs the runtime's invalid-parameter handler: on Windows the C runtime's own
/// (_set_invalid_parameter_handler); on POSIX the library's. A null handler restores the
/// default, which ends the process. Returns the previous handler (null for the default);
/// cannot fail.
XOOSBASE_API XoInvalidParameterHandler
xoSetInvalidParameterHandler(XoInvalidParameterHandler handler);
