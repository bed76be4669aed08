// PmFILE: a text file over a C runtime stream that reads and writes UTF-16 characters
// one at a time while the file holds ANSI (the system code page), UTF-8 or UTF-16 of
// either byte order. Format codes are PnCharFormatter's (1 ANSI, 2 UTF-8, 3 UTF-16 LE,
// 4 UTF-16 BE, 5 and 6 UTF-32: recognised in a mark, never read or written).
//
// The object owns nothing: the destructor neither closes nor flushes, and a copy shares
// the stream. All buffering is the stream's. One thread at a time.
//
// Stream positions are the contract: readBOM rewinds when it finds no mark (and takes a
// UTF-32 little-endian mark as UTF-16 little-endian, leaving the position after its
// first two bytes); the readers put back what they peeked at by seeking, so reading
// needs a seekable stream when carriage returns are folded or CIF escapes are on.
// ungetc undoes only characters written as exactly one byte. On POSIX the path is
// converted to UTF-8 and the share flag of fsopen is not enforced (see
// source/src/platform/textfile.h).
#pragma once

#include <cstdarg>
#include <cstdio>

#include "XoOsBaseExport.h"

class XOOSBASE_API PmFILE {
public:
    PmFILE();
    explicit PmFILE(std::FILE* stream);
    PmFILE(const PmFILE& other);
    PmFILE& operator=(const PmFILE& other);
    ~PmFILE();

    std::FILE* fopen(const wchar_t* path, const wchar_t* mode);
    std::FILE* fsopen(const wchar_t* path, const wchar_t* mode, int shareFlag);
    void attach(std::FILE* stream);
    std::FILE* detach();
    int fclose();
    bool isOpen() const;
    std::FILE* pFILE() const;

    unsigned int getCharFormat() const;
    unsigned int setCharFormat(unsigned int format);
    bool getUseCIF() const;
    bool setUseCIF(bool useCIF);
    bool getExpandLF() const;
    bool setExpandLF(bool expandLF);

    bool readBOM();
    bool writeBOM();

    // The next character, or -1 at the end of the file or on undecodable input.
    int fgetc();
    wchar_t* fgets(wchar_t* buffer, int count);
    int ungetc(wchar_t ch);
    int fputc(wchar_t ch);
    int fputs(const wchar_t* text);
    int fprintf(const wchar_t* format, ...);
    int vfprintf(const wchar_t* format, va_list args);
    // Reading with a format is not supported: always -1.
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
