#include "PnCharFormatter.h"

#include <cstdint>
#include <cstring>

#include "encoding/xoescapes.h"
#include "platform/codepage.h"
#include "platform/textunits.h"

namespace {

using xo::platform::wideUnit;

namespace os = xo::platform;

// "\U+XXXX" without a terminator.
template <class Char> void writeCif(std::uint16_t unit, Char* out) {
    int i = 0;
    xo::encoding::writeCifEscape(unit, [&](char c) { out[i++] = Char(c); });
}

// The escape readers stop at a terminator before reading past it, so a text that ends
// early is simply no escape.
bool readCif(const wchar_t* p, wchar_t* unit) {
    const int value = xo::encoding::cifEscapeAt(p, p + xo::encoding::kCifLength);
    if (value < 0)
        return false;
    *unit = wchar_t(value);
    return true;
}

bool readMif(const wchar_t* p, wchar_t* unit) {
    xo::encoding::MifEscape escape{};
    if (!xo::encoding::mifEscapeAt(p, p + xo::encoding::kMifLength, '1', '5', &escape))
        return false;
    const unsigned code = escape.code;
    const unsigned winCp = PnCharFormatter::winCodePageFromMIFIndex(unsigned(escape.digit - '0'));
    const char bytes[2] = {char(code >> 8), char(code & 0xFF)};
    // Exactly one unit from both bytes: a refused code, or two single-byte characters,
    // is no character of the page. Room for two, so that the count is the conversion's
    // answer and not the buffer's.
    wchar_t decoded[2] = {};
    if (os::multiByteToWideChar(winCp, os::kMbErrInvalidChars, bytes, 2, decoded, 2) != 1)
        return false;
    *unit = decoded[0];
    return true;
}

template <class Native>
int toRtf(Native native, const wchar_t* in, int inLen, char* out, int* outLen) {
    if (!in || !outLen || inLen < -1)
        return 0;
    if (out && *outLen < 1)
        return 0;
    long long written = 0;
    int read = 0;
    for (; inLen < 0 ? in[read] != 0 : read < inLen; ++read) {
        const std::uint16_t unit = wideUnit(in[read]);
        char bytes[2];
        const int nativeSize = native(wchar_t(unit), bytes);
        const int size = nativeSize != 0 ? nativeSize : unit < 1000 ? 6 : unit < 10000 ? 7 : 8;
        if (out) {
            if (written + size >= *outLen)
                break;
            char* piece = out + written;
            if (nativeSize != 0) {
                std::memcpy(piece, bytes, std::size_t(nativeSize));
            } else {
                piece[0] = '\\';
                piece[1] = 'u';
                piece[size - 1] = '?';
                // Right-aligned: a value short of the field leaves the bytes after "\u"
                // as they were.
                int at = size - 2;
                unsigned rest = unit;
                do {
                    piece[at--] = char('0' + rest % 10);
                    rest /= 10;
                } while (rest != 0);
            }
        }
        written += size;
    }
    if (inLen < 0) {
        if (out)
            out[written] = 0;
        ++written;
    }
    *outLen = int(written);
    return read;
}

} // namespace

PnCharFormatter::PnCharFormatter() : m_format(kAnsi), m_useCIF(false), m_expandLF(true) {}

PnCharFormatter::PnCharFormatter(unsigned int format, bool useCIF, bool expandLF)
    : m_format(format), m_useCIF(useCIF), m_expandLF(expandLF) {}

PnCharFormatter& PnCharFormatter::operator=(const PnCharFormatter& other) {
    m_format = other.m_format;
    m_useCIF = other.m_useCIF;
    m_expandLF = other.m_expandLF;
    return *this;
}

PnCharFormatter& PnCharFormatter::operator=(PnCharFormatter&& other) {
    return *this = static_cast<const PnCharFormatter&>(other);
}

unsigned int PnCharFormatter::getFormat() {
    return m_format;
}

unsigned int PnCharFormatter::setFormat(unsigned int format) {
    const unsigned int previous = m_format;
    m_format = format;
    return previous;
}

bool PnCharFormatter::getUseCIF() {
    return m_useCIF;
}

bool PnCharFormatter::setUseCIF(bool useCIF) {
    const bool previous = m_useCIF;
    m_useCIF = useCIF;
    return previous;
}

bool PnCharFormatter::getExpandLF() {
    return m_expandLF;
}

bool PnCharFormatter::setExpandLF(bool expandLF) {
    const bool previous = m_expandLF;
    m_expandLF = expandLF;
    return previous;
}

unsigned int PnCharFormatter::lookupBOM(unsigned int first4) {
    if ((first4 & 0xFFFFFFu) == 0xBFBBEFu)
        return kUtf8;
    if ((first4 & 0xFFFFu) == 0xFEFFu)
        return kUtf16LE; // before UTF-32 LE, whose mark starts the same way
    if ((first4 & 0xFFFFu) == 0xFFFEu)
        return kUtf16BE;
    if (first4 == 0x0000FEFFu)
        return kUtf32LE;
    if (first4 == 0xFFFE0000u)
        return kUtf32BE;
    return kUnknown;
}

int PnCharFormatter::getBOM(unsigned int& mark, unsigned int format) {
    switch (format) {
    case kUtf8:
        mark = 0xBFBBEFu;
        return 3;
    case kUtf16LE:
        mark = 0xFEFFu;
        return 2;
    case kUtf16BE:
        mark = 0xFFFEu;
        return 2;
    case kUtf32LE:
        mark = 0x0000FEFFu;
        return 4;
    case kUtf32BE:
        mark = 0xFFFE0000u;
        return 4;
    default:
        return 0;
    }
}

unsigned int PnCharFormatter::wcsLength(const wchar_t* s) {
    unsigned int n = 0;
    while (s[n] != 0)
        ++n;
    return n;
}

unsigned int PnCharFormatter::wcharToBytes(wchar_t ch, char* out, unsigned int room) {
    switch (m_format) {
    case kAnsi:
    case kUtf8:
        return wcharToAnsiOrUtf8(ch, out, room, m_format == kAnsi, m_useCIF, m_expandLF);
    case kUtf16LE:
    case kUtf16BE:
        return wcharToUtf16(ch, out, room, m_format == kUtf16LE, m_expandLF);
    default:
        return 0; // UTF-32 is read, never written
    }
}

unsigned int PnCharFormatter::wcharToAnsiOrUtf8(wchar_t ch, char* out, unsigned int room, bool ansi,
                                                bool useCIF, bool expandLF) {
    if (room < 2)
        return 0;
    const std::uint16_t unit = wideUnit(ch);
    if (unit > 0x7F) {
        const wchar_t wide = wchar_t(unit);
        if (!ansi) {
            const int n =
                os::wideCharToMultiByte(os::kCpUtf8, 0, &wide, 1, out, 4, nullptr, nullptr);
            return n > 0 ? unsigned(n) : 0;
        }
        bool usedDefault = false;
        const int n = os::wideCharToMultiByte(os::kCpAcp, useCIF ? os::kWcNoBestFitChars : 0, &wide,
                                              1, out, 2, nullptr, &usedDefault);
        if (useCIF && usedDefault) {
            writeCif(unit, out); // room trusted: callers offer 7
            return 7;
        }
        return n > 0 ? unsigned(n) : 0;
    }
    if (unit == 0x0A && expandLF) {
        out[0] = '\r';
        out[1] = '\n';
        return 2;
    }
    out[0] = char(unit);
    return 1;
}

unsigned int PnCharFormatter::wcharToUtf16(wchar_t ch, char* out, unsigned int room,
                                           bool littleEndian, bool expandLF) {
    if (room < 2)
        return 0;
    const std::uint16_t unit = wideUnit(ch);
    unsigned int n = 0;
    auto put = [&](std::uint16_t u) {
        out[n + (littleEndian ? 0 : 1)] = char(u & 0xFF);
        out[n + (littleEndian ? 1 : 0)] = char(u >> 8);
        n += 2;
    };
    if (unit == 0x0A && expandLF)
        put(0x0D); // room trusted: callers offer 4
    put(unit);
    return n;
}

unsigned int PnCharFormatter::winCodePageFromMIFIndex(unsigned int index) {
    switch (index) {
    case 1:
        return 932;
    case 2:
        return 950;
    case 3:
        return 949;
    case 4:
        return 1361;
    case 5:
        return 936;
    default:
        return 0;
    }
}

unsigned int PnCharFormatter::MIFIndexFromWinCodePage(unsigned int winCp) {
    switch (winCp) {
    case 932:
        return 1;
    case 950:
        return 2;
    case 949:
        return 3;
    case 1361:
        return 4;
    case 936:
        return 5;
    default:
        return 0;
    }
}

code_page_id PnCharFormatter::codePageIdFromMIFIndex(unsigned char index) {
    switch (index) {
    case 1:
        return CODE_PAGE_JAPANESE_DOS;
    case 2:
        return CODE_PAGE_TRADITIONAL_CHINESE_SECOND;
    case 3:
        return CODE_PAGE_KOREAN_SECOND;
    case 4:
        return CODE_PAGE_JOHAB_SECOND;
    case 5:
        return CODE_PAGE_SIMPLIFIED_CHINESE_SECOND;
    default:
        return CODE_PAGE_UNDEFINED;
    }
}

unsigned char PnCharFormatter::MIFIndexFromCodePageId(code_page_id id) {
    switch (id) {
    case CODE_PAGE_JAPANESE_DOS:
    case CODE_PAGE_JAPANESE:
        return 1;
    case CODE_PAGE_TRADITIONAL_CHINESE_SECOND:
    case CODE_PAGE_TRADITIONAL_CHINESE:
        return 2;
    case CODE_PAGE_KOREAN_SECOND:
    case CODE_PAGE_KOREAN:
        return 3;
    case CODE_PAGE_JOHAB_SECOND:
    case CODE_PAGE_JOHAB:
        return 4;
    case CODE_PAGE_SIMPLIFIED_CHINESE_SECOND:
    case CODE_PAGE_SIMPLIFIED_CHINESE:
        return 5;
    default:
        return 0;
    }
}

int PnCharFormatter::isNativeToCodePage(wchar_t ch, unsigned int winCp, char* out, int) {
    const std::uint16_t unit = wideUnit(ch);
    if (unit <= 0x7F) {
        if (out)
            out[0] = char(unit);
        return 1;
    }
    char scratch[2];
    const wchar_t wide = wchar_t(unit);
    bool usedDefault = false;
    const int n = os::wideCharToMultiByte(winCp, os::kWcNoBestFitChars, &wide, 1,
                                          out ? out : scratch, 2, nullptr, &usedDefault);
    return n >= 1 && !usedDefault ? n : 0;
}

int PnCharFormatter::isNativeToCodePageId(wchar_t, code_page_id, char*, int) {
    return 0;
}

int PnCharFormatter::wcharFromCIFMIF(const wchar_t* in, wchar_t* out, int outLen) {
    if (!in)
        return 0;
    if (out ? outLen <= 0 : outLen > 0)
        return 0;
    const bool inPlace = !out && outLen < 0;
    wchar_t* write = inPlace ? const_cast<wchar_t*>(in) : out;
    const wchar_t* read = in;
    int count = 0;
    for (;;) {
        if (out && count >= outLen)
            break;
        wchar_t unit = *read;
        int used = 1;
        if (readCif(read, &unit))
            used = 7;
        else if (readMif(read, &unit))
            used = 8;
        if (write)
            write[count] = unit; // in place, never ahead of read
        ++count;
        if (unit == 0)
            break;
        read += used;
    }
    return count;
}

int PnCharFormatter::wcharNonNativeToCIF(const wchar_t* in, wchar_t* out, std::size_t outLen,
                                         bool escapeDoubleByte) {
    if (!in || (out && outLen == 0))
        return 0;
    const std::size_t limit = outLen != 0 ? outLen : SIZE_MAX;
    std::size_t written = 0;
    for (const wchar_t* p = in; *p != 0 && written < limit - 1; ++p) {
        const int bytes = isNativeToCodePage(*p, os::kCpAcp, nullptr, 0);
        if (bytes != 0 && !(escapeDoubleByte && bytes == 2)) {
            if (out)
                out[written] = *p;
            ++written;
            continue;
        }
        if (limit - written < 8)
            break; // the escape and the terminator
        if (out)
            writeCif(wideUnit(*p), out + written);
        written += 7;
    }
    if (out)
        out[written] = 0;
    return int(written + 1);
}

int PnCharFormatter::wcharNonNativeToRTF(unsigned int winCp, const wchar_t* in, int inLen,
                                         char* out, int* outLen) {
    return toRtf(
        [winCp](wchar_t ch, char* piece) { return isNativeToCodePage(ch, winCp, piece, 0); }, in,
        inLen, out, outLen);
}

int PnCharFormatter::wcharNonNativeToRTF(code_page_id id, const wchar_t* in, int inLen, char* out,
                                         int* outLen) {
    return toRtf([id](wchar_t ch, char* piece) { return isNativeToCodePageId(ch, id, piece, 0); },
                 in, inLen, out, outLen);
}

// Deliberately always false, writing nothing: callers take that as "not one character"
// and keep their own path.
bool convertMBStringToOneWideChar(code_page_id, char*, int, wchar_t&) {
    return false;
}
