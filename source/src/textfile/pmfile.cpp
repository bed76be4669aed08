#include "PmFILE.h"

#include <vector>

#include "PnCharFormatter.h"
#include "encoding/xoescapes.h"
#include "platform/codepage.h"
#include "platform/textfile.h"
#include "runtime/xoformatter.h"

namespace {

constexpr unsigned kAnsi = 1;
constexpr unsigned kUtf8 = 2;
constexpr unsigned kUtf16Little = 3;
constexpr unsigned kUtf16Big = 4;
constexpr unsigned kUtf32Big = 6;

int readByte(std::FILE* stream) {
    return std::fgetc(stream);
}

void stepBack(std::FILE* stream, long bytes) {
    std::fseek(stream, -bytes, SEEK_CUR);
}

// After a carriage return of an 8-bit file: a line feed joins it, any other byte is
// put back.
wchar_t foldedCarriageReturn(std::FILE* stream) {
    const int next = readByte(stream);
    if (next == '\n')
        return L'\n';
    if (next >= 0)
        stepBack(stream, 1);
    return L'\r';
}

// As the one-character writer of the format would write ch: the bytes, or 0 for formats
// that are not written.
unsigned int encode(unsigned format, bool useCIF, bool expandLF, wchar_t ch, char* out) {
    switch (format) {
    case kAnsi:
    case kUtf8:
        return PnCharFormatter::wcharToAnsiOrUtf8(ch, out, 8, format == kAnsi, useCIF, expandLF);
    case kUtf16Little:
    case kUtf16Big:
        return PnCharFormatter::wcharToUtf16(ch, out, 8, format == kUtf16Little, expandLF);
    default:
        return 0;
    }
}

} // namespace

PmFILE::PmFILE() : m_stream(nullptr), m_charFormat(kAnsi), m_useCIF(false), m_expandLF(false) {}

PmFILE::PmFILE(std::FILE* stream)
    : m_stream(stream), m_charFormat(kAnsi), m_useCIF(false), m_expandLF(false) {}

PmFILE::PmFILE(const PmFILE& other) = default;

PmFILE& PmFILE::operator=(const PmFILE& other) = default;

PmFILE::~PmFILE() = default;

std::FILE* PmFILE::fopen(const wchar_t* path, const wchar_t* mode) {
    m_stream = xo::platform::openStream(path, mode);
    return m_stream;
}

std::FILE* PmFILE::fsopen(const wchar_t* path, const wchar_t* mode, int shareFlag) {
    m_stream = xo::platform::openSharedStream(path, mode, shareFlag);
    return m_stream;
}

void PmFILE::attach(std::FILE* stream) {
    m_stream = stream;
}

std::FILE* PmFILE::detach() {
    std::FILE* stream = m_stream;
    m_stream = nullptr;
    return stream;
}

int PmFILE::fclose() {
    if (!m_stream)
        return 0;
    const int result = std::fclose(m_stream);
    m_stream = nullptr;
    return result;
}

bool PmFILE::isOpen() const {
    return m_stream != nullptr;
}
std::FILE* PmFILE::pFILE() const {
    return m_stream;
}

unsigned int PmFILE::getCharFormat() const {
    return m_charFormat;
}

unsigned int PmFILE::setCharFormat(unsigned int format) {
    const unsigned int previous = m_charFormat;
    m_charFormat = format;
    return previous;
}

bool PmFILE::getUseCIF() const {
    return m_useCIF;
}

bool PmFILE::setUseCIF(bool useCIF) {
    const bool previous = m_useCIF;
    m_useCIF = useCIF;
    return previous;
}

bool PmFILE::getExpandLF() const {
    return m_expandLF;
}

bool PmFILE::setExpandLF(bool expandLF) {
    const bool previous = m_expandLF;
    m_expandLF = expandLF;
    return previous;
}

bool PmFILE::readBOM() {
    if (!m_stream || std::ftell(m_stream) != 0)
        return false;
    unsigned char mark[4];
    const std::size_t got = std::fread(mark, 1, 2, m_stream);
    if (got == 2) {
        if (mark[0] == 0xFF && mark[1] == 0xFE) {
            m_charFormat = kUtf16Little;
            return true;
        }
        if (mark[0] == 0xFE && mark[1] == 0xFF) {
            m_charFormat = kUtf16Big;
            return true;
        }
        if (mark[0] == 0xEF && mark[1] == 0xBB && std::fread(mark + 2, 1, 1, m_stream) == 1 &&
            mark[2] == 0xBF) {
            m_charFormat = kUtf8;
            return true;
        }
        if (mark[0] == 0 && mark[1] == 0 && std::fread(mark + 2, 1, 2, m_stream) == 2 &&
            mark[2] == 0xFE && mark[3] == 0xFF) {
            m_charFormat = kUtf32Big;
            return true;
        }
    }
    std::rewind(m_stream);
    return false;
}

bool PmFILE::writeBOM() {
    if (!m_stream || std::ftell(m_stream) != 0)
        return false;
    static const unsigned char kMarks[][4] = {
        {0xEF, 0xBB, 0xBF}, {0xFF, 0xFE}, {0xFE, 0xFF}, {0xFF, 0xFE, 0, 0}, {0, 0, 0xFE, 0xFF}};
    static const std::size_t kLengths[] = {3, 2, 2, 4, 4};
    if (m_charFormat < kUtf8 || m_charFormat > kUtf32Big)
        return false;
    const std::size_t index = m_charFormat - kUtf8;
    if (std::fwrite(kMarks[index], 1, kLengths[index], m_stream) < kLengths[index]) {
        std::rewind(m_stream);
        return false;
    }
    return true;
}

bool PmFILE::parseAnsiOrCIF(wchar_t& ch) {
    const int byte = readByte(m_stream);
    if (byte < 0)
        return false;
    if (byte == '\r' && m_expandLF) {
        ch = foldedCarriageReturn(m_stream);
        return true;
    }
    if (byte == '\\' && m_useCIF) {
        unsigned char escape[xo::encoding::kCifLength] = {'\\'};
        const std::size_t got = std::fread(escape + 1, 1, xo::encoding::kCifLength - 1, m_stream);
        const int unit = xo::encoding::cifEscapeAt(escape, escape + 1 + got);
        if (unit >= 0) {
            ch = wchar_t(unit);
            return true;
        }
        stepBack(m_stream, long(got));
        ch = L'\\';
        return true;
    }
    if (byte < 0x80) {
        ch = wchar_t(byte);
        return true;
    }
    char bytes[2] = {char(byte), 0};
    int length = 1;
    if (xo::platform::isDbcsLeadByte(xo::platform::kCpAcp, std::uint8_t(byte))) {
        const int trail = readByte(m_stream);
        if (trail < 0)
            return false;
        bytes[1] = char(trail);
        length = 2;
    }
    // Room for two units, so that "exactly one" is the conversion's answer and not the
    // buffer's (Wine fills a short buffer and reports success).
    wchar_t units[2] = {};
    ch = xo::platform::multiByteToWideChar(xo::platform::kCpAcp, xo::platform::kMbErrInvalidChars,
                                           bytes, length, units, 2) == 1
             ? units[0]
             : L'?';
    return true;
}

bool PmFILE::parseUtf8(wchar_t& ch) {
    const int byte = readByte(m_stream);
    if (byte < 0)
        return false;
    if (byte < 0x80) {
        ch = byte == '\r' && m_expandLF ? foldedCarriageReturn(m_stream) : wchar_t(byte);
        return true;
    }
    const std::size_t length = (byte & 0xE0) == 0xC0   ? 2
                               : (byte & 0xF0) == 0xE0 ? 3
                               : (byte & 0xF8) == 0xF0 ? 4
                                                       : 0;
    if (length == 0)
        return false;
    char bytes[4] = {char(byte)};
    if (std::fread(bytes + 1, 1, length - 1, m_stream) != length - 1)
        return false;
    wchar_t units[2] = {};
    if (xo::platform::multiByteToWideChar(xo::platform::kCpUtf8, 0, bytes, int(length), units, 2) !=
        1)
        return false;
    ch = units[0];
    return true;
}

bool PmFILE::parseUtf16(wchar_t& ch) {
    unsigned char pair[2];
    if (std::fread(pair, 1, 2, m_stream) != 2)
        return false;
    const bool big = m_charFormat == kUtf16Big;
    ch = wchar_t(big ? (pair[0] << 8) | pair[1] : (pair[1] << 8) | pair[0]);
    if (ch == L'\r' && m_expandLF) {
        unsigned char next[2];
        const std::size_t got = std::fread(next, 1, 2, m_stream);
        if (got == 2 && (big ? (next[0] << 8) | next[1] : (next[1] << 8) | next[0]) == L'\n')
            ch = L'\n';
        else if (got > 0)
            stepBack(m_stream, long(got));
    }
    return true;
}

int PmFILE::fgetc() {
    if (!m_stream)
        return -1;
    wchar_t ch = 0;
    bool ok = false;
    switch (m_charFormat) {
    case kAnsi:
        ok = parseAnsiOrCIF(ch);
        break;
    case kUtf8:
        ok = parseUtf8(ch);
        break;
    case kUtf16Little:
    case kUtf16Big:
        ok = parseUtf16(ch);
        break;
    default:
        return -1; // UTF-32 is recognised, not read
    }
    return ok ? int(std::uint16_t(ch)) : -1;
}

wchar_t* PmFILE::fgets(wchar_t* buffer, int count) {
    if (!buffer)
        return nullptr;
    int stored = 0;
    if (count > 1) {
        while (stored < count - 1) {
            const int ch = fgetc();
            if (ch < 0)
                break;
            buffer[stored++] = wchar_t(ch);
            if (ch == L'\n')
                break;
        }
    }
    if (count > 0)
        buffer[stored] = 0;
    return stored == 0 ? nullptr : buffer;
}

int PmFILE::ungetc(wchar_t ch) {
    if (!m_stream || m_charFormat < kAnsi || m_charFormat > kUtf16Big)
        return -1;
    char bytes[8];
    if (encode(m_charFormat, m_useCIF, m_expandLF, ch, bytes) != 1)
        return -1;
    return std::ungetc(std::uint8_t(bytes[0]), m_stream) == EOF ? -1 : int(std::uint16_t(ch));
}

int PmFILE::fputc(wchar_t ch) {
    if (!m_stream)
        return -1;
    char bytes[8];
    const unsigned int n = encode(m_charFormat, m_useCIF, m_expandLF, ch, bytes);
    return std::fwrite(bytes, 1, n, m_stream) == n ? int(std::uint16_t(ch)) : -1;
}

int PmFILE::fputsWorker(const wchar_t* text, int mode) {
    if (!m_stream || !text)
        return -1;
    int written = 0;
    for (; *text; ++text, ++written) {
        char bytes[8];
        const unsigned int n = encode(m_charFormat, m_useCIF, m_expandLF, *text, bytes);
        if (std::fwrite(bytes, 1, n, m_stream) != n)
            return -1;
    }
    return mode == 0 ? 0 : written;
}

int PmFILE::fputs(const wchar_t* text) {
    return fputsWorker(text, 0);
}

int PmFILE::fprintf(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const int result = vfprintf(format, args);
    va_end(args);
    return result;
}

int PmFILE::vfprintf(const wchar_t* format, va_list args) {
    va_list measure;
    va_copy(measure, args);
    const int length = xo::XoFormatter::formatV(static_cast<wchar_t*>(nullptr), 0, format, measure);
    va_end(measure);
    if (length < 0)
        return -1;
    std::vector<wchar_t> text(std::size_t(length) + 1, 0);
    xo::XoFormatter::formatV(text.data(), text.size(), format, args);
    return fputsWorker(text.data(), 1);
}

int PmFILE::fscanf(const wchar_t*, ...) {
    return -1;
}
