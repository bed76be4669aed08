/// \file
/// How one character is written to an encoded text file, the byte-order marks, and the
/// two escapes in which 8-bit text keeps foreign characters:
/// - CIF `\U+XXXX`: one UTF-16 unit (seven characters);
/// - MIF `\M+nXXXX`: the double-byte code XXXX (lead byte first) in the East Asian code
///   page of digit n: 1 Japanese 932, 2 Traditional Chinese 950, 3 Korean 949, 4 Johab
///   1361, 5 Simplified Chinese 936.
///
/// The letter and the hexadecimal digits are read in either case and written in upper case.
/// Wide text is UTF-16: each wchar_t element holds one unit (only the low 16 bits count
/// where wchar_t is wider).
#pragma once

#include <cstddef>

#include "XoCodePageMapper.h"
#include "XoOsBaseExport.h"

/// One character's bytes in a text file's format, the byte-order marks, and the CIF
/// and MIF escapes. An object holds a format and two switches; the rest is static.
/// Nothing here throws or allocates: failures are the return values each member names.
class XOOSBASE_API PnCharFormatter {
public:
    /// Format codes; the marks are compared and produced as the little-endian 32-bit value
    /// of the first bytes of a file.
    enum : unsigned int {
        kUnknown = 0, ///< no mark, or a format not known
        kAnsi = 1,    ///< the system code page, no mark
        kUtf8 = 2,    ///< EF BB BF
        kUtf16LE = 3, ///< FF FE
        kUtf16BE = 4, ///< FE FF
        kUtf32LE = 5, ///< FF FE 00 00 (read as kUtf16LE, see lookupBOM)
        kUtf32BE = 6  ///< 00 00 FE FF
    };

    /// ANSI, no CIF escapes, line feeds written as CR LF; cannot fail.
    PnCharFormatter();
    /// The format (any value is kept; those without a writer write nothing), CIF escapes
    /// for what the system code page lacks, and line feeds written as CR LF; cannot fail.
    PnCharFormatter(unsigned int format, bool useCIF, bool expandLF);
    /// The same format and switches; cannot fail.
    PnCharFormatter(const PnCharFormatter&) = default;
    /// Takes the other's format and switches; cannot fail.
    PnCharFormatter& operator=(const PnCharFormatter& other);
    /// Takes the other's format and switches, leaving the other as it was; cannot fail.
    PnCharFormatter& operator=(PnCharFormatter&& other);

    /// The format code; cannot fail.
    unsigned int getFormat();
    /// Sets the format code, any value, and returns the previous one; cannot fail.
    unsigned int setFormat(unsigned int format);
    /// Whether ANSI output writes what the code page lacks as CIF escapes; cannot fail.
    bool getUseCIF();
    /// Sets whether ANSI output writes CIF escapes and returns the previous value; cannot
    /// fail.
    bool setUseCIF(bool useCIF);
    /// Whether a line feed is written as CR LF; cannot fail.
    bool getExpandLF();
    /// Sets whether a line feed is written as CR LF and returns the previous value;
    /// cannot fail.
    bool setExpandLF(bool expandLF);

    /// The format of a mark, 0 (kUnknown) for none. UTF-16 little-endian is tested before
    /// UTF-32 little-endian, so FF FE 00 00 gives 3 and 5 is never returned.
    static unsigned int lookupBOM(unsigned int first4);
    /// Stores the mark of the format and returns its length in bytes; 0 for formats
    /// without a mark, leaving mark as it was.
    static int getBOM(unsigned int& mark, unsigned int format);

    /// The number of units before the terminator. s is not checked: null faults.
    static unsigned int wcsLength(const wchar_t* s);

    /// Writes one character in this object's format and returns the byte count; UTF-32
    /// and unknown formats write nothing and return 0, as does a room below 2 or a
    /// character the platform cannot convert. out must have room for 7 bytes.
    unsigned int wcharToBytes(wchar_t ch, char* out, unsigned int room);

    /// One character in ANSI (the system code page) or UTF-8. A room below 2 writes
    /// nothing and returns 0; any other room is trusted to hold 7 bytes: with ansi and
    /// useCIF a character the code page lacks becomes its CIF escape (7 bytes), a UTF-8
    /// character takes up to 3, an expanded line feed 2. Returns the byte count, 0 when
    /// the platform cannot convert.
    static unsigned int wcharToAnsiOrUtf8(wchar_t ch, char* out, unsigned int room, bool ansi,
                                          bool useCIF, bool expandLF);
    /// One character in UTF-16 of either byte order: two bytes, or four for a line feed
    /// with expandLF, and the count returned. A room below 2 writes nothing and returns 0;
    /// any other room is trusted to hold 4 bytes.
    static unsigned int wcharToUtf16(wchar_t ch, char* out, unsigned int room, bool littleEndian,
                                     bool expandLF);

    /// The Windows code page of a MIF digit (as a number 1 to 5): 932, 950, 949, 1361,
    /// 936; 0 for anything else.
    static unsigned int winCodePageFromMIFIndex(unsigned int index);
    /// The MIF digit (as a number 1 to 5) of a Windows code page; 0 for a page that has
    /// none.
    static unsigned int MIFIndexFromWinCodePage(unsigned int winCp);
    /// The identifier of a MIF digit (as a number 1 to 5), in its second form
    /// (CODE_PAGE_JAPANESE_DOS and the other twins); CODE_PAGE_UNDEFINED for anything
    /// else.
    static code_page_id codePageIdFromMIFIndex(unsigned char index);
    /// The MIF digit (as a number 1 to 5) of an East Asian identifier in either form; 0
    /// for any other identifier.
    static unsigned char MIFIndexFromCodePageId(code_page_id id);

    /// The bytes the Windows code page needs for ch without a best-fit substitute (1 or 2,
    /// stored in out when out is given: room for 2), or 0 when it cannot hold it (an
    /// invalid code page included). ASCII is always native. The last argument is not used.
    static int isNativeToCodePage(wchar_t ch, unsigned int winCp, char* out, int);
    /// Always 0, writing nothing: callers that ask by identifier treat every character
    /// as foreign.
    static int isNativeToCodePageId(wchar_t ch, code_page_id id, char* out, int);

    /// Decodes the CIF and MIF escapes of the zero-terminated in and returns the units
    /// produced, the terminating 0 included. Three modes:
    /// - out given, outLen > 0: writes at most outLen units (unterminated when full);
    /// - no out, outLen < 0: decodes in place, over in;
    /// - no out, outLen == 0: only counts.
    ///
    /// A null in, or an out with outLen <= 0, or outLen > 0 without out, gives 0. Any 0
    /// produced ends the text, `\U+0000` too. A MIF escape whose code the page refuses
    /// (as MB_ERR_INVALID_CHARS does), or that is not one double-byte character, stays
    /// as text.
    static int wcharFromCIFMIF(const wchar_t* in, wchar_t* out, int outLen);

    /// Copies the zero-terminated in, writing what the system ANSI code page lacks (and,
    /// with escapeDoubleByte, what it holds in two bytes) as CIF escapes. Stops before an
    /// escape that would leave fewer than one unit for the terminator, and when outLen - 1
    /// units are written; always terminates. Returns the units written with the 0. Without
    /// out the same count is computed: for the outLen given, or unbounded for 0.
    /// A null in, or out with outLen 0, gives 0.
    static int wcharNonNativeToCIF(const wchar_t* in, wchar_t* out, std::size_t outLen,
                                   bool escapeDoubleByte);

    /// 8-bit text in the Windows code page, foreign units as RTF escapes `\uN?`. Reads
    /// inLen units, or up to the terminating 0 when inLen is -1. A piece that does not fit
    /// strictly below `*outLen` ends the text; `*outLen` receives the bytes written, with
    /// a terminating 0 (written and counted) when inLen is -1. Without out the bytes are
    /// counted and nothing bounds them. Returns the units read; 0 for a null in or
    /// outLen, an inLen below -1, or an out with `*outLen` below 1 (`*outLen` then
    /// unchanged). An invalid code page holds nothing, so every unit is escaped.
    ///
    /// An escape takes 6 bytes below 1000, 7 below 10000 and 8 above, its digits right
    /// aligned before the "?": a value of fewer than three digits leaves the bytes after
    /// `\u` unwritten. Foreign units of a code page are never that small; the identifier
    /// overload escapes everything, ASCII too.
    static int wcharNonNativeToRTF(unsigned int winCp, const wchar_t* in, int inLen, char* out,
                                   int* outLen);
    /// The same with an identifier: every unit is foreign (see isNativeToCodePageId), so
    /// all of them, ASCII too, become escapes. The same results and failures.
    static int wcharNonNativeToRTF(code_page_id id, const wchar_t* in, int inLen, char* out,
                                   int* outLen);

private:
    unsigned int m_format;
    bool m_useCIF;
    bool m_expandLF;
};

/// Always false, writing nothing: callers take that as "not one character" and keep
/// their own path.
XOOSBASE_API bool convertMBStringToOneWideChar(code_page_id id, char* text, int length,
                                               wchar_t& out);
