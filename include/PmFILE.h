/// \file
/// PmFILE: a text file over a C runtime stream that reads and writes UTF-16 characters
/// one at a time while the file holds ANSI (the system code page), UTF-8 or UTF-16 of
/// either byte order. Format codes are PnCharFormatter's (1 ANSI, 2 UTF-8, 3 UTF-16 LE,
/// 4 UTF-16 BE, 5 and 6 UTF-32: recognised in a mark, never read or written).
///
/// The object owns nothing: the destructor neither closes nor flushes, and a copy shares
/// the stream. All buffering is the stream's. One thread at a time.
///
/// Stream positions are the contract: readBOM rewinds when it finds no mark (and takes a
/// UTF-32 little-endian mark as UTF-16 little-endian, leaving the position after its
/// first two bytes); the readers put back what they peeked at by seeking, so reading
/// needs a seekable stream when carriage returns are folded or CIF escapes are on.
/// ungetc undoes only characters written as exactly one byte. On POSIX the path is
/// converted to UTF-8, and the share flag of fsopen holds against every open made
/// through the library (see source/src/platform/textfile.h).
#pragma once

#include <cstdarg>
#include <cstdio>

#include "XoOsBaseExport.h"

/// A text file over a C runtime stream, read and written one UTF-16 character at a time.
/// Failures are return values, as the C runtime's: -1 (or null, or false) and errno as
/// the runtime left it; nothing is thrown.
class XOOSBASE_API PmFILE {
public:
    /// No stream, ANSI, no CIF escapes, no line-feed folding; cannot fail.
    PmFILE();
    /// Over stream (may be null), ANSI, no CIF escapes, no line-feed folding; cannot fail.
    explicit PmFILE(std::FILE* stream);
    /// Shares the other's stream and copies its format and switches; cannot fail.
    PmFILE(const PmFILE& other);
    /// Shares the other's stream and copies its format and switches; the stream held
    /// before is neither closed nor flushed. Cannot fail.
    PmFILE& operator=(const PmFILE& other);
    /// Neither closes nor flushes the stream; cannot fail.
    ~PmFILE();

    /// Opens path as _wfopen does and holds the new stream in place of the old one,
    /// which is not closed. Returns the stream; null on failure (the object then holds
    /// none), errno set by the runtime (EINVAL for a mode POSIX cannot take, such as
    /// "ccs=").
    std::FILE* fopen(const wchar_t* path, const wchar_t* mode);
    /// Opens path as _wfsopen does and holds the new stream in place of the old one,
    /// which is not closed. Returns the stream; null on failure (the object then holds
    /// none), errno EINVAL for an unknown share flag and EACCES for an open that the share
    /// modes of other opens refuse (a refused "w" open truncates nothing).
    std::FILE* fsopen(const wchar_t* path, const wchar_t* mode, int shareFlag);
    /// Holds stream (may be null) in place of the old one, which is not closed; cannot
    /// fail.
    void attach(std::FILE* stream);
    /// Gives up the stream without closing it and returns it; null when there was none.
    std::FILE* detach();
    /// Closes the stream and forgets it, also when closing fails. Returns fclose's
    /// result: 0, or EOF when the runtime fails to flush or close; 0 without a stream.
    int fclose();
    /// Whether a stream is held; cannot fail.
    bool isOpen() const;
    /// The stream held, or null.
    std::FILE* pFILE() const;

    /// The format code (PnCharFormatter's); cannot fail.
    unsigned int getCharFormat() const;
    /// Sets the format code, any value, and returns the previous one; cannot fail.
    /// Formats without a reader or writer then read -1 and write nothing.
    unsigned int setCharFormat(unsigned int format);
    /// Whether CIF escapes are read and written in ANSI files; cannot fail.
    bool getUseCIF() const;
    /// Sets whether CIF escapes are read and written in ANSI files and returns the
    /// previous value; cannot fail.
    bool setUseCIF(bool useCIF);
    /// Whether CR LF is read as a line feed and a line feed written as CR LF; cannot
    /// fail.
    bool getExpandLF() const;
    /// Sets whether CR LF is read as a line feed and a line feed written as CR LF, and
    /// returns the previous value; cannot fail.
    bool setExpandLF(bool expandLF);

    /// At the start of the stream, reads a byte-order mark and takes its format (UTF-8,
    /// UTF-16 of either byte order, UTF-32 big-endian). False, with the stream rewound,
    /// when there is no mark; false also without a stream or away from the start.
    bool readBOM();
    /// At the start of the stream, writes the mark of the format (UTF-8, UTF-16, UTF-32).
    /// False without a stream, away from the start, for ANSI or an unknown format, and
    /// when the write fails (the stream then rewound).
    bool writeBOM();

    /// The next character, or -1 at the end of the file or on undecodable input; -1 also
    /// without a stream and for UTF-32 and unknown formats. An ANSI byte sequence the
    /// system code page cannot convert reads as "?".
    int fgetc();
    /// Reads characters into buffer up to and including a line feed, at most count - 1 of
    /// them, and terminates them (when count is above 0). Returns buffer; null when
    /// nothing was read (end of file or a failure at once), for a null buffer and for a
    /// count below 2.
    wchar_t* fgets(wchar_t* buffer, int count);
    /// Puts back a character written as exactly one byte in the format and returns it;
    /// -1 for any other character, without a stream, for UTF-32 and unknown formats, and
    /// when the runtime's ungetc refuses.
    int ungetc(wchar_t ch);
    /// Writes one character in the format and returns it; -1 without a stream or when the
    /// write falls short. UTF-32 and unknown formats write nothing, yet return the
    /// character.
    int fputc(wchar_t ch);
    /// Writes the text in the format; 0 on success, -1 without a stream, for a null text,
    /// or when a write falls short (what came before it stays written).
    int fputs(const wchar_t* text);
    /// printf-formats the text (the Windows meaning: "%s" a wide string) and writes it as
    /// fputs does; returns the characters written, or -1 as fputs fails and when the
    /// length of the text does not fit an int. std::bad_alloc as vfprintf throws it.
    int fprintf(const wchar_t* format, ...);
    /// The va_list form of fprintf, with the same results. The text is built in memory
    /// first, which throws std::bad_alloc when it cannot be allocated.
    int vfprintf(const wchar_t* format, va_list args);
    /// Reading with a format is not supported: always -1, reading nothing.
    int fscanf(const wchar_t* format, ...);

private:
    bool parseAnsiOrCIF(wchar_t& ch);
    bool parseUtf8(wchar_t& ch);
    bool parseUtf16(wchar_t& ch);
    int fputsWorker(const wchar_t* text, int mode);

    std::FILE* m_stream;
    unsigned int m_charFormat;
    bool m_useCIF;
    bool m_expandLF;
};
