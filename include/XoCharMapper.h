/// \file
/// Conversions between the library's code pages, Windows character sets and UTF-16.
/// Every member is static; the class is only a scope. The members live in three
/// files, one per section below, to keep each small: xocharmapper.cpp,
/// xocharmapperconversions.cpp and xocharmapperbigfont.cpp.
///
/// Terms used below:
/// - A code is one character of a code page in 16 bits: a double-byte character has its
///   lead byte in the high 8 bits, a single-byte character a high byte of 0.
/// - A CIF escape, `\U+XXXX`, stands for one UTF-16 unit; a MIF escape, `\M+DXXXX`, for the
///   double-byte code XXXX of the East Asian code page of digit D (1 Japanese,
///   2 Traditional Chinese, 3 Korean, 4 Johab, 5 Simplified Chinese). Letters and
///   hexadecimal digits may be of either case.
/// - The second forms of the East Asian identifiers (22, 24, 25, 26, 31) convert as
///   their ANSI twins (38, 41, 40, 42, 39).
/// - Output vectors are written copy-on-write: a vector that shares its block with
///   others gets a private copy first, and the others keep what they had. When a vector
///   cannot get the memory it needs, the crash recorder is told and an XoErrorStatus*
///   with Vesk::eOutOfMemory (2) is thrown; the catcher deletes it.
#pragma once

#include "CReadUserDefBigfontIni.h"
#include "XoCodePageMapper.h"
#include "XoOsBaseExport.h"
#include "XoVector.h"

/// Conversions between the library's code pages, Windows character sets and UTF-16;
/// only a scope for static members. The members that write an XoVector throw
/// XoErrorStatus* (Vesk::eOutOfMemory) when it cannot get memory; the others throw
/// nothing and report failure in their results.
class XOOSBASE_API XoCharMapper {
public:
    /// \name Windows character sets
    /// The GDI values of a logical font.
    ///@{

    /// The identifier of a character set: 0 and 2 give CODE_PAGE_WIN_WESTERN; the sets
    /// with an ANSI code page give its identifier; everything else, Johab (130) included,
    /// gives CODE_PAGE_UNDEFINED.
    static code_page_id getCodepageByCharset(unsigned short charset);

    /// The reverse for the identifiers of the Windows ANSI code pages; every other
    /// identifier, CODE_PAGE_JOHAB included, gives 1 (DEFAULT_CHARSET).
    static unsigned int getCharSetByCodepageId(code_page_id id);

    ///@}
    /// \name Lead bytes
    ///@{

    /// Whether the platform takes the byte as the lead byte of a double-byte character
    /// in the identifier's code page; the second East Asian forms answer as their
    /// ANSI twins, CODE_PAGE_SYSTEM_ANSI as the system ANSI code page. False for every
    /// other byte and for a code page that has no lead bytes or is not valid.
    static bool isLeadByte(unsigned char byte, code_page_id id);

    ///@}
    /// \name Multibyte and wide conversion
    ///@{

    /// UTF-8 to UTF-16, written from index 0: the vector is first sized to length + 1,
    /// and its size at the end counts the units written with the terminating 0. Reading
    /// stops at a 0 byte and, when length is not 0, once past text + length: the byte
    /// at index length is still read when it is not 0 (kept), so the caller must give
    /// that byte (normally the terminator); a length of 0 reads to the terminator.
    /// Three-byte sequences are decoded for every lead from 0xE0, 0xF0 to 0xFF included
    /// (no four-byte sequences, no surrogate pairs), two-byte ones for leads from 0xC0;
    /// a byte that starts no complete sequence becomes the unit of its value (a stray
    /// 0x80 to 0xFF gives U+0080 to U+00FF). A null text gives just the terminator.
    /// Throws XoErrorStatus* (Vesk::eOutOfMemory) when the vector cannot get the memory.
    static void utf8ToUnicode(const char* text, int length, XoVector<wchar_t>& out);

    /// UTF-16 to UTF-8, appended to what the vector holds, then one 0 byte. A null text
    /// or a length of 0 leaves the vector untouched. Reading stops at a 0 unit and once
    /// past text + length, so the unit at index length is read as in utf8ToUnicode.
    /// Each unit is written on its own: surrogates as three bytes each, never combined.
    /// Throws XoErrorStatus* (Vesk::eOutOfMemory) when the vector cannot get the memory.
    static void unicodeToUtf8(const wchar_t* text, int length, XoVector<char>& out);

    /// 8-bit text of the code page to UTF-16, escapes decoded, appended to what the
    /// vector holds, then a terminating 0 unit. Reading stops at a 0 byte or at
    /// text + length (a length below 1, or a null text, reads nothing). The identifier
    /// CODE_PAGE_SYSTEM_ANSI stands for the system ANSI code page at the time of the call.
    /// - A CIF escape gives its unit; a MIF escape gives its character when the code page
    ///   of its digit converts the code to a unit other than 0 and "?", and is ordinary
    ///   text otherwise.
    /// - A byte from 0x80 up, with its trail byte when it is a lead byte of a double-byte
    ///   code page, is one character; converting it (as codepageToUnicode) to 0 or "?"
    ///   is a failure. With stopOnFailure the conversion then ends and the result is
    ///   false; without it the first byte becomes the unit of its value and reading goes
    ///   on at the next byte. UTF-8 (CODE_PAGE_UTF8) reads the sequence that its first
    ///   byte announces instead, through the platform's UTF-8 converter with
    ///   MB_ERR_INVALID_CHARS.
    /// - With dropBackslashBeforeEscape, a backslash that begins no escape is held back
    ///   and dropped when an escape follows it directly; otherwise it is written before
    ///   the next character (a second backslash is then a character) or at the end.
    ///
    /// True unless stopOnFailure ended the conversion. Throws XoErrorStatus* (Vesk::eOutOfMemory)
    /// when the vector cannot get the memory.
    static bool multiByteToWideChar(code_page_id id, const char* text, int length,
                                    XoVector<wchar_t>& out, bool stopOnFailure,
                                    bool dropBackslashBeforeEscape);

    /// The same conversion (no stop on failure, no backslash rule) with the caller's
    /// MultiByteToWideChar flags for the characters of the code page; UTF-8 goes through
    /// the platform's UTF-8 converter with those flags. MIF escapes convert as above.
    /// Throws XoErrorStatus* (Vesk::eOutOfMemory) when the vector cannot get the memory.
    static void multiByteToWideChar(code_page_id id, unsigned long flags, const char* text,
                                    int length, XoVector<wchar_t>& out);

    /// The first form without stop on failure and without the backslash rule.
    /// Throws XoErrorStatus* (Vesk::eOutOfMemory) when the vector cannot get the memory.
    static void multiByteToWideCharNoChangeM(code_page_id id, const char* text, int length,
                                             XoVector<wchar_t>& out);

    /// The conversion for long texts: written from index 0 into a vector sized once to
    /// length + 1 units, its size at the end the units written with the terminating 0.
    /// A null text or a length below 1 only appends a 0 unit. Unlike the first form a
    /// MIF escape that does not convert gives its eight bytes as eight units, and a
    /// character that does not convert gives its code as one unit (a double-byte code
    /// is not split); UTF-8 that does not convert gives its first byte as a unit.
    /// Throws XoErrorStatus* (Vesk::eOutOfMemory) when the vector cannot get the memory.
    static void multiByteToWideCharBigData(code_page_id id, const char* text, int length,
                                           XoVector<wchar_t>& out);

    /// UTF-16 to 8-bit text of the code page, appended to what the vector holds, then a
    /// 0 byte. Reading stops at a 0 unit or at text + length (the unit there is not
    /// read). CIF escapes and MIF escapes (digit 0 to 5) already in the text are copied
    /// through. A unit above 0x7F is written as its code (unicodeToCodepage, strict),
    /// lead byte first, or as its CIF escape with upper-case digits when the code page
    /// lacks it. UTF-8 writes the unit's sequence (a surrogate pair as one four-byte
    /// sequence, a lone surrogate as its CIF escape). A null text or a length below 1
    /// appends only the 0 byte. Throws XoErrorStatus* (Vesk::eOutOfMemory) when the vector cannot
    /// get the memory.
    static void wideCharToMultiByte(code_page_id id, const wchar_t* text, int length,
                                    XoVector<char>& out);

    /// The same conversion for long texts: room for two bytes a unit is made up front.
    /// Throws XoErrorStatus* (Vesk::eOutOfMemory) when the vector cannot get the memory.
    static void wideCharToMultiByteBigData(code_page_id id, const wchar_t* text, int length,
                                           XoVector<char>& out);

    /// The code of one UTF-16 unit, through WideCharToMultiByte with
    /// WC_NO_BEST_FIT_CHARS (without it on Windows before version 5). False when the
    /// code page lacks the unit, uses its default character for it, or maps it to an
    /// ASCII byte (callers convert only characters outside ASCII), and before version 5
    /// for U+2000 to U+2FFF, except the euro sign when strict is false. out is written
    /// only on success.
    static bool unicodeToCodepage(wchar_t unit, code_page_id id, wchar_t& out, bool strict);

    /// The UTF-16 unit of one code: both bytes when the high byte is a lead byte of the
    /// code page, else the low byte, through MultiByteToWideChar with
    /// MB_ERR_INVALID_CHARS (flags 0 for the pages that refuse it). When the platform
    /// fails, a code up to 127 is its own unit; other codes give false and leave out.
    static bool codepageToUnicode(wchar_t code, code_page_id id, wchar_t& out);
    /// The same with the caller's MultiByteToWideChar flags; false, leaving out, as the
    /// first form.
    static bool codepageToUnicode(wchar_t code, unsigned long flags, code_page_id id, wchar_t& out);

    /// Whether bytes are written in the candidate code page rather than the default: the
    /// candidate wins when, before any 0 byte, a lead byte of the double-byte candidate
    /// and its trail byte convert to a unit other than 0, "?" and the private use area
    /// U+E000 to U+F8FF; nothing else can make it win. A 0 byte is never a trail byte.
    /// A null text or a length of 0 gives the default.
    static code_page_id JudgeSuitableCodePage(const char* text, unsigned int length,
                                              code_page_id defaultId, code_page_id candidate);

    /// The sum of e(i) * i over the elements e(1) to e(count), each product a 32-bit
    /// signed integer (wrapping) added into a double in element order: 16-bit unsigned
    /// units, or signed bytes (0x80 to 0xFF count as -128 to -1). 0.0 for a count
    /// below 1. getCheckSumUnicode takes the 16-bit units.
    static double getCheckSumUnicode(const void* units, int count);
    /// The checksum of getCheckSumUnicode over signed bytes (0x80 to 0xFF count as -128
    /// to -1); 0.0 for a count below 1.
    static double getCheckSumAnsi(const void* bytes, int count);

    ///@}
    /// \name Big-font code pages
    /// Which East Asian code page a big-font (.shx) file name stands for. Names are
    /// compared without regard to case, first with the twelve that the library knows
    /// ("bigfont.shx", "gbcbig.shx", "chineset.shx", "whgtxt.shx", ...), then with the
    /// user's list, which the reader (may be null) reads from "BIGFONT.INI" once per
    /// process for the lookups with locale fallback and once for those without. A list
    /// file that is not found is looked for again on the next call. The locale fallback:
    /// a name in neither list gives the East Asian code page of the system default
    /// locale when that locale is double-byte. A null name gives 0. The reader's own
    /// exceptions reach the caller.
    ///@{

    /// The code page of the name after its last "/", with ".shx" added when it holds no
    /// "."; locale fallback. CODE_PAGE_UNDEFINED when that finds nothing either, when the
    /// user's list holds an index outside 1 to 5, and for a null name.
    static code_page_id getCpByBigFont(const wchar_t* fileName, CReadUserDefBigfontIni* reader);
    /// The name as given; locale fallback. The East Asian index 1 to 5 (or whatever the
    /// user's list holds), 0 when unknown and for a null name.
    static int getCpIndexByBigFont(const wchar_t* fileName, CReadUserDefBigfontIni* reader);
    /// As getCpByBigFont without the locale fallback: CODE_PAGE_UNDEFINED for a name in
    /// neither list, an index outside 1 to 5, and a null name.
    static code_page_id getCodepageByBigFont(const wchar_t* fileName,
                                             CReadUserDefBigfontIni* reader);
    /// The code page of the name after its last "/", nothing added; no locale fallback.
    /// CODE_PAGE_UNDEFINED (0) for a name in neither list, an empty or null name, and an
    /// index outside 1 to 5.
    static code_page_id getCpByBigFontExact(const wchar_t* fileName,
                                            CReadUserDefBigfontIni* reader);

    ///@}
};
