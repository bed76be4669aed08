#include "convert.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <cwctype>
#include <vector>

#include "XoCharMapper.h"
#include "XoCodePageFunctions.h"
#include "XoCodePageMapper.h"
#include "XoVector.h"

namespace xoconv {

namespace {

long long sizeOf(std::FILE* in) {
    const long here = std::ftell(in);
    std::fseek(in, 0, SEEK_END);
    const long size = std::ftell(in);
    std::fseek(in, here, SEEK_SET);
    return size;
}

std::string offsetText(long long offset) {
    return "byte " + std::to_string(offset);
}

code_page_id idOf(const Encoding& encoding) {
    return static_cast<code_page_id>(encoding.codePageId);
}

bool readAll(std::FILE* in, std::string& bytes) {
    const long long size = sizeOf(in);
    if (size > 0)
        bytes.reserve(std::size_t(size));
    char chunk[65536];
    for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, in)) > 0;)
        bytes.append(chunk, n);
    return !std::ferror(in);
}

// The byte-order mark at the start of bytes and its size; 0 without one. The tool
// reads marks itself: PmFILE takes FF FE 00 00 for UTF-16, on purpose.
std::size_t markOf(const std::string& bytes, Encoding& encoding) {
    struct Mark {
        const char* bytes;
        std::size_t size;
        Encoding::Kind kind;
    };
    static const Mark kMarks[] = {
        {"\xFF\xFE\0\0", 4, Encoding::Utf32Little}, {"\0\0\xFE\xFF", 4, Encoding::Utf32Big},
        {"\xEF\xBB\xBF", 3, Encoding::Utf8},        {"\xFF\xFE", 2, Encoding::Utf16Little},
        {"\xFE\xFF", 2, Encoding::Utf16Big},
    };
    for (const Mark& mark : kMarks) {
        if (bytes.compare(0, mark.size, mark.bytes, mark.size) == 0) {
            encoding = Encoding{};
            encoding.kind = mark.kind;
            return mark.size;
        }
    }
    return 0;
}

// UTF-32 into UTF-16 units, a character beyond U+FFFF as a surrogate pair.
// A code point as UTF-16: itself, or its surrogate pair beyond U+FFFF.
void appendCodePoint(std::wstring& text, unsigned long code) {
    if (code >= 0x10000) {
        text += wchar_t(0xD800 + ((code - 0x10000) >> 10));
        text += wchar_t(0xDC00 + (code & 0x3FF));
    } else {
        text += wchar_t(code);
    }
}

bool decodeUtf32(const std::string& bytes, std::size_t start, bool bigEndian, std::wstring& text,
                 std::string& error) {
    const std::size_t end = start + (bytes.size() - start) / 4 * 4;
    for (std::size_t at = start; at < end; at += 4) {
        unsigned long code = 0;
        for (int k = 0; k < 4; ++k) {
            const unsigned long byte = static_cast<unsigned char>(bytes[at + std::size_t(k)]);
            code |= byte << (bigEndian ? 8 * (3 - k) : 8 * k);
        }
        if (code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
            error = offsetText(static_cast<long long>(at)) + ": not a UTF-32 character";
            return false;
        }
        appendCodePoint(text, code);
    }
    if (end < bytes.size()) {
        error = offsetText(static_cast<long long>(end)) + ": a partial character at the end of "
                                                          "UTF-32 text";
        return false;
    }
    return true;
}

// UTF-8 into UTF-16 units, a four-byte sequence as a surrogate pair. Overlong forms,
// encoded surrogates and code points past U+10FFFF are not UTF-8.
bool decodeUtf8(const std::string& bytes, std::size_t start, std::wstring& text,
                std::string& error) {
    const std::size_t size = bytes.size();
    for (std::size_t at = start; at < size;) {
        const unsigned char lead = static_cast<unsigned char>(bytes[at]);
        if (lead < 0x80) {
            text += wchar_t(lead);
            ++at;
            continue;
        }
        const std::size_t length = lead >= 0xC2 && lead < 0xE0   ? 2
                                   : lead >= 0xE0 && lead < 0xF0 ? 3
                                   : lead >= 0xF0 && lead < 0xF5 ? 4
                                                                 : 0;
        unsigned long code = lead & (length == 2 ? 0x1F : length == 3 ? 0x0F : 0x07);
        bool valid = length > 0 && at + length <= size;
        for (std::size_t k = 1; valid && k < length; ++k) {
            const unsigned char trail = static_cast<unsigned char>(bytes[at + k]);
            valid = (trail & 0xC0) == 0x80;
            code = (code << 6) | (trail & 0x3F);
        }
        valid = valid && !(length == 3 && (code < 0x800 || (code >= 0xD800 && code < 0xE000))) &&
                !(length == 4 && (code < 0x10000 || code > 0x10FFFF));
        if (!valid) {
            error = offsetText(static_cast<long long>(at)) + ": not UTF-8";
            return false;
        }
        appendCodePoint(text, code);
        at += length;
    }
    return true;
}

// The code point of a surrogate pair at text[i], or 0 when there is none.
unsigned long pairAt(const std::wstring& text, std::size_t i) {
    const unsigned long high = static_cast<unsigned long>(text[i]) & 0xFFFF;
    if (high < 0xD800 || high >= 0xDC00 || i + 1 >= text.size())
        return 0;
    const unsigned long low = static_cast<unsigned long>(text[i + 1]) & 0xFFFF;
    if (low < 0xDC00 || low >= 0xE000)
        return 0;
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// UTF-16 units into UTF-8, a surrogate pair as one four-byte sequence; a lone
// surrogate is a character UTF-8 lacks.
void encodeUtf8(const std::wstring& text, Lacking lacking, std::string& bytes,
                std::size_t& lackingCount, std::size_t& first) {
    bytes.reserve(bytes.size() + text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned long code = static_cast<unsigned long>(text[i]) & 0xFFFF;
        if (code >= 0xD800 && code < 0xE000) {
            code = pairAt(text, i);
            if (code == 0) {
                if (lackingCount++ == 0)
                    first = i;
                if (lacking == Lacking::Drop || lacking == Lacking::Fail)
                    continue;
                code = 0xFFFD;
            } else {
                ++i;
            }
        }
        if (code < 0x80) {
            bytes += char(code);
        } else if (code < 0x800) {
            bytes += char(0xC0 | (code >> 6));
            bytes += char(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            bytes += char(0xE0 | (code >> 12));
            bytes += char(0x80 | ((code >> 6) & 0x3F));
            bytes += char(0x80 | (code & 0x3F));
        } else {
            bytes += char(0xF0 | (code >> 18));
            bytes += char(0x80 | ((code >> 12) & 0x3F));
            bytes += char(0x80 | ((code >> 6) & 0x3F));
            bytes += char(0x80 | (code & 0x3F));
        }
    }
}

// UTF-16 bytes into units, as they are (a lone surrogate too: UTF-16 can hold it).
bool decodeUtf16(const std::string& bytes, std::size_t start, bool bigEndian, std::wstring& text,
                 std::string& error) {
    const std::size_t end = start + (bytes.size() - start) / 2 * 2;
    text.reserve(text.size() + (end - start) / 2);
    const int high = bigEndian ? 0 : 1;
    for (std::size_t at = start; at < end; at += 2) {
        const unsigned first = static_cast<unsigned char>(bytes[at + std::size_t(high)]);
        const unsigned second = static_cast<unsigned char>(bytes[at + std::size_t(1 - high)]);
        text += wchar_t((first << 8) | second);
    }
    if (end < bytes.size()) {
        error = offsetText(static_cast<long long>(end)) + ": an odd byte at the end of UTF-16 text";
        return false;
    }
    return true;
}

void encodeUtf16(const std::wstring& text, bool bigEndian, std::string& bytes) {
    bytes.reserve(bytes.size() + text.size() * 2);
    for (wchar_t unit : text) {
        const unsigned value = static_cast<unsigned>(unit) & 0xFFFF;
        bytes += char(bigEndian ? value >> 8 : value & 0xFF);
        bytes += char(bigEndian ? value & 0xFF : value >> 8);
    }
}

// UTF-16 units into UTF-32; a lone surrogate is a character UTF-32 lacks.
void encodeUtf32(const std::wstring& text, bool bigEndian, Lacking lacking, std::string& bytes,
                 std::size_t& lackingCount, std::size_t& first) {
    auto put = [&](unsigned long code) {
        for (int k = 0; k < 4; ++k)
            bytes += char((code >> (bigEndian ? 8 * (3 - k) : 8 * k)) & 0xFF);
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned long unit = static_cast<unsigned long>(text[i]) & 0xFFFF;
        if (unit >= 0xD800 && unit < 0xDC00 && i + 1 < text.size() &&
            (static_cast<unsigned long>(text[i + 1]) & 0xFC00) == 0xDC00) {
            put(0x10000 + ((unit - 0xD800) << 10) +
                ((static_cast<unsigned long>(text[i + 1]) & 0xFFFF) - 0xDC00));
            ++i;
        } else if (unit >= 0xD800 && unit < 0xE000) {
            if (lackingCount++ == 0)
                first = i;
            if (lacking == Lacking::Question || lacking == Lacking::Cif)
                put(0xFFFD);
        } else {
            put(unit);
        }
    }
}

// What the code page gives for each code, asked of the library once per code and
// kept: the library resolves the page anew for every character it converts, which
// cost more than everything else the tool does.
class PageCache {
public:
    explicit PageCache(code_page_id id) : id_(id) {
        if (id_ == 46)
            id_ = XoCodePageMapper::ansiCpToVeskCp(XoCodePageMapper::currentSystemAnsiCp());
        multiByte_ = IsMultiByteCodePage(id_);
        for (int byte = 0x80; byte < 0x100; ++byte)
            lead_[byte] =
                multiByte_ && XoCharMapper::isLeadByte(static_cast<unsigned char>(byte), id_);
    }
    code_page_id id() const { return id_; }
    bool lead(unsigned char byte) const { return byte >= 0x80 && lead_[byte]; }

    // The unit of a code, or 0 when the page has none for it.
    wchar_t toUnicode(unsigned code) {
        std::uint32_t& slot = toUnicode_[code & 0xFFFF];
        if (slot == 0) {
            wchar_t unit = 0;
            const bool ok = XoCharMapper::codepageToUnicode(wchar_t(code), id_, unit) &&
                            unit != 0 && unit != L'?';
            slot = ok ? 0x10000u | static_cast<std::uint32_t>(unit & 0xFFFF) : 1;
        }
        return slot == 1 ? 0 : wchar_t(slot & 0xFFFF);
    }

    // The code of a unit, or -1 when the page lacks it. A code that does not read back
    // as the same unit counts as lacking: Windows itself writes U+F8F0-F8F3 as cp932 A0,
    // FD, FE, FF and then refuses those bytes in a strict reading, and the tool never
    // writes what it could not read.
    long fromUnicode(wchar_t unit) {
        std::int32_t& slot = fromUnicode_[static_cast<unsigned>(unit) & 0xFFFF];
        if (slot == 0) {
            wchar_t code = 0;
            const bool written = XoCharMapper::unicodeToCodepage(unit, id_, code, true);
            const bool readsBack =
                written && toUnicode(static_cast<unsigned>(code) & 0xFFFF) == unit;
            slot = readsBack ? 0x10000 | static_cast<std::int32_t>(code & 0xFFFF) : -1;
        }
        return slot < 0 ? -1 : long(slot & 0xFFFF);
    }

private:
    code_page_id id_;
    bool multiByte_ = false;
    bool lead_[256] = {};
    std::vector<std::uint32_t> toUnicode_ = std::vector<std::uint32_t>(0x10000, 0);
    std::vector<std::int32_t> fromUnicode_ = std::vector<std::int32_t>(0x10000, 0);
};

// Without escape decoding: each character through the code page.
bool decodePlain(const char* line, std::size_t size, PageCache& page, std::wstring& text,
                 std::size_t& bad) {
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned char byte = static_cast<unsigned char>(line[i]);
        if (byte < 0x80) {
            text += wchar_t(byte);
            continue;
        }
        unsigned code = byte;
        std::size_t length = 1;
        if (i + 1 < size && page.lead(byte)) {
            code = (unsigned(byte) << 8) | static_cast<unsigned char>(line[i + 1]);
            length = 2;
        }
        const wchar_t unit = page.toUnicode(code);
        if (unit == 0) {
            bad = i;
            return false;
        }
        text += unit;
        i += length - 1;
    }
    return true;
}

// With escape decoding: the plain stretches through the page's codes, and each line
// from a backslash that may begin an escape (\U+ or \M+, not a trail byte) through the
// library, which decodes the escapes.
bool decodeWithEscapes(const char* piece, std::size_t size, PageCache& page,
                       XoVector<wchar_t>& converted, std::wstring& text, std::size_t& bad) {
    std::size_t plain = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned char byte = static_cast<unsigned char>(piece[i]);
        if (page.lead(byte) && i + 1 < size) {
            ++i;
            continue;
        }
        if (byte != '\\' || i + 2 >= size || piece[i + 2] != '+' ||
            std::strchr("UuMm", piece[i + 1]) == nullptr)
            continue;
        if (!decodePlain(piece + plain, i - plain, page, text, bad)) {
            bad += plain;
            return false;
        }
        const void* feed = std::memchr(piece + i, '\n', size - i);
        const std::size_t end = feed ? std::size_t(static_cast<const char*>(feed) - piece) : size;
        converted.setLogicalLength(0); // the conversion appends; the room stays
        if (!XoCharMapper::multiByteToWideChar(page.id(), piece + i, int(end - i), converted, true,
                                               false)) {
            std::wstring scratch; // the same walk without escapes finds the byte
            decodePlain(piece + i, end - i, page, scratch, bad);
            bad += i;
            return false;
        }
        const int units = converted.size();
        const wchar_t* unit = converted.data();
        text.append(unit, unit + units - (units > 0 && unit[units - 1] == 0 ? 1 : 0));
        plain = end;
        i = end - 1;
    }
    if (!decodePlain(piece + plain, size - plain, page, text, bad)) {
        bad += plain;
        return false;
    }
    return true;
}

bool decodePlain(const std::string& line, code_page_id id, std::wstring& text, std::size_t& bad) {
    PageCache page(id);
    return decodePlain(line.data(), line.size(), page, text, bad);
}

bool readEightBit(const std::string& bytes, const Options& options, code_page_id id,
                  Progress& progress, std::wstring& text, std::string& error) {
    // A line feed or a zero byte is never the trail byte of a double-byte character, so
    // the text can be converted in pieces ending at one. The library's conversion stops
    // at a zero byte, so a piece holds it only as the unit it adds at the end.
    // Pieces of about 64 KiB: one call of the library per line cost more than the
    // conversion itself.
    constexpr std::size_t kPiece = 64 * 1024;
    text.reserve(text.size() + bytes.size());
    std::size_t start = 0;
    std::size_t zeroAt = bytes.find('\0');
    XoVector<wchar_t> converted;
    PageCache page(id);
    while (start < bytes.size()) {
        if (zeroAt != std::string::npos && zeroAt < start)
            zeroAt = bytes.find('\0', start);
        const std::size_t limit = start + kPiece;
        std::size_t end;
        if (zeroAt != std::string::npos && zeroAt < limit) {
            end = zeroAt + 1;
        } else if (limit >= bytes.size()) {
            end = bytes.size();
        } else {
            std::size_t feed = bytes.rfind('\n', limit);
            if (feed == std::string::npos || feed < start)
                feed = bytes.find('\n', limit);
            end = feed == std::string::npos ? bytes.size() : feed + 1;
            if (zeroAt != std::string::npos && zeroAt < end)
                end = zeroAt + 1;
        }
        const bool zero = bytes[end - 1] == '\0';
        const char* piece = bytes.data() + start;
        const std::size_t length = end - start - (zero ? 1 : 0);
        std::size_t bad = 0;
        bool ok;
        if (options.decodeEscapes)
            ok = decodeWithEscapes(piece, length, page, converted, text, bad);
        else
            ok = decodePlain(piece, length, page, text, bad);
        if (ok && zero)
            text += L'\0';
        if (!ok) {
            error = offsetText(static_cast<long long>(start + bad)) + ": not a character of " +
                    describe(options.from);
            return false;
        }
        start = end;
        progress.report(static_cast<long long>(start));
    }
    return true;
}

std::wstring withLineEnds(const std::wstring& text, LineEnds lineEnds) {
    if (lineEnds == LineEnds::Keep)
        return text;
    std::wstring result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n')
            continue; // folded; the line feed follows
        if (text[i] == L'\n' && lineEnds == LineEnds::CrLf)
            result += L'\r';
        result += text[i];
    }
    return result;
}

std::string hexUnit(wchar_t unit) {
    char text[16];
    std::snprintf(text, sizeof text, "U+%04X", unsigned(unit));
    return text;
}

// Whether text at i reads as an escape: "U+" and four hexadecimal digits, or "M+", a
// digit and four hexadecimal digits, either letter of either case.
bool escapeFollows(const std::wstring& text, std::size_t i) {
    const auto hex = [&text](std::size_t from, std::size_t count) {
        for (std::size_t k = from; k < from + count; ++k)
            if (k >= text.size() || !std::iswxdigit(text[k]) || text[k] > 0x7F)
                return false;
        return true;
    };
    if (i + 1 >= text.size() || text[i + 1] != L'+')
        return false;
    if (text[i] == L'U' || text[i] == L'u')
        return hex(i + 2, 4);
    if (text[i] == L'M' || text[i] == L'm')
        return i + 2 < text.size() && text[i + 2] >= L'0' && text[i + 2] <= L'9' && hex(i + 3, 4);
    return false;
}

// With escapes written, a backslash that the reader would take for the start of an
// escape is written as the escape of a backslash, so that "\U+0041" in the text
// reads back as itself and not as "A".
std::wstring withLiteralBackslashes(const std::wstring& text) {
    std::wstring result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == L'\\' && escapeFollows(text, i + 1))
            result += L"\\U+005C";
        else
            result += text[i];
    }
    return result;
}

// Units the page writes as a code it will not read back (cp932 U+F8F0-F8F3) become CIF
// escapes, as units it lacks do, so that what --cif writes reads back as itself.
std::wstring withEscapedNonRoundTrips(const std::wstring& text, code_page_id id) {
    PageCache page(id);
    std::wstring out;
    out.reserve(text.size());
    for (const wchar_t unit : text) {
        const unsigned u = static_cast<unsigned>(unit) & 0xFFFF;
        const bool surrogate = u >= 0xD800 && u <= 0xDFFF;
        if (u < 0x80 || surrogate || page.fromUnicode(unit) >= 0) {
            out += unit;
            continue;
        }
        wchar_t code = 0;
        if (!XoCharMapper::unicodeToCodepage(unit, page.id(), code, true)) {
            out += unit; // lacked altogether: the library writes its escape
            continue;
        }
        char escape[16];
        std::snprintf(escape, sizeof escape, "\\U+%04X", u);
        for (const char* c = escape; *c; ++c)
            out += wchar_t(*c);
    }
    return out;
}

Written writeEightBit(std::FILE* out, const std::wstring& written, const Options& options,
                      std::size_t& lacking, std::string& error) {
    const std::wstring& text = written;
    const code_page_id id = idOf(options.to);
    std::string bytes;
    std::size_t first = 0;
    if (options.lacking == Lacking::Cif) {
        // The library writes what the code page lacks as CIF escapes; a zero unit ends
        // its input, so the text goes piece by piece.
        const std::wstring escaped = withEscapedNonRoundTrips(withLiteralBackslashes(written), id);
        for (std::size_t start = 0; start <= escaped.size();) {
            const std::size_t end = std::min(escaped.find(L'\0', start), escaped.size());
            if (end > start) {
                XoVector<char> converted; // the conversion appends to what it holds
                XoCharMapper::wideCharToMultiByte(id, escaped.data() + start, int(end - start),
                                                  converted);
                const int size = converted.size();
                bytes.append(
                    converted.data(),
                    std::size_t(size - (size > 0 && converted.data()[size - 1] == 0 ? 1 : 0)));
            }
            if (end < escaped.size())
                bytes += '\0';
            start = end + 1;
        }
    } else {
        PageCache page(id);
        bytes.reserve(text.size() * 2);
        for (std::size_t i = 0; i < text.size(); ++i) {
            const wchar_t unit = text[i];
            if (static_cast<unsigned>(unit) < 0x80) {
                bytes += char(unit);
                continue;
            }
            const long code = page.fromUnicode(unit);
            if (code >= 0) {
                if (code > 0xFF)
                    bytes += char(code >> 8);
                bytes += char(code & 0xFF);
            } else {
                if (lacking++ == 0)
                    first = i;
                if (options.lacking == Lacking::Question)
                    bytes += '?';
                // No code page holds a character beyond U+FFFF: its pair is one
                // character lacked, one '?'.
                if (pairAt(text, i) != 0)
                    ++i;
            }
        }
    }
    if (lacking > 0 && options.lacking == Lacking::Fail) {
        const unsigned long pair = pairAt(text, first);
        char shownCode[16];
        std::snprintf(shownCode, sizeof shownCode, "U+%04lX",
                      pair != 0 ? pair : static_cast<unsigned long>(text[first]) & 0xFFFF);
        error = "character " + std::to_string(first) + " (" + shownCode + ") and " +
                std::to_string(lacking - 1) + " other(s) are not in " + describe(options.to) +
                "; nothing written (--cif writes escapes, --replace '?', -c drops them)";
        return Written::Lacking;
    }
    if (std::fwrite(bytes.data(), 1, bytes.size(), out) != bytes.size()) {
        error = std::strerror(errno);
        return Written::Failed;
    }
    return Written::Ok;
}

} // namespace

void Progress::report(long long done) {
    if (!show || total <= 0)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (!begun_) {
        started_ = now;
        begun_ = true;
    } else if (now - drawn_ < std::chrono::milliseconds(250)) {
        return;
    }
    drawn_ = now;
    const double seconds = std::chrono::duration<double>(now - started_).count();
    const double mebibyte = 1024.0 * 1024.0;
    char rate[32] = "";
    if (seconds > 0)
        std::snprintf(rate, sizeof rate, "%.1f MiB/s", double(done) / mebibyte / seconds);
    else
        std::snprintf(rate, sizeof rate, "- MiB/s");
    std::fprintf(stderr, "\rxoconv: %s: %.1f of %.1f MiB (%d%%), %s\033[K", name.c_str(),
                 double(done) / mebibyte, double(total) / mebibyte, int(done * 100 / total), rate);
    std::fflush(stderr);
}

void Progress::finish() {
    if (show && begun_)
        std::fprintf(stderr, "\r\033[K");
}

bool readText(std::FILE* in, const Options& options, Progress& progress, std::wstring& text,
              Encoding& encoding, std::string& error) {
    std::string bytes;
    if (!readAll(in, bytes)) {
        error = std::strerror(errno);
        return false;
    }
    encoding = options.from;
    progress.total = static_cast<long long>(bytes.size());
    Encoding marked;
    std::size_t markSize = markOf(bytes, marked);
    // FF FE 00 00 is also the UTF-16 mark followed by U+0000: what --from says decides.
    if (marked.kind == Encoding::Utf32Little && encoding.kind == Encoding::Utf16Little) {
        marked.kind = Encoding::Utf16Little;
        markSize = 2;
    }
    // "utf-16" and "utf-32" take the order the mark gives.
    const auto width = [](Encoding::Kind kind) {
        return kind == Encoding::Utf16Little || kind == Encoding::Utf16Big   ? 16
               : kind == Encoding::Utf32Little || kind == Encoding::Utf32Big ? 32
                                                                             : 0;
    };
    if (markSize > 0 && encoding.eitherOrder && width(marked.kind) == width(encoding.kind))
        encoding.kind = marked.kind;
    if (markSize > 0) {
        if (encoding.kind != Encoding::Auto && encoding.kind != marked.kind) {
            error =
                "the byte-order mark says " + describe(marked) + ", --from says " + encoding.name;
            return false;
        }
        encoding = marked;
        encoding.name = describe(marked) + " (its byte-order mark)";
    } else if (encoding.kind == Encoding::Auto) {
        // As the user would guess: text that is valid UTF-8 is UTF-8 (8-bit text
        // outside ASCII seldom is), anything else the system's code page.
        std::wstring scratch;
        std::string ignored;
        if (decodeUtf8(bytes, 0, scratch, ignored)) {
            parseEncoding("utf-8", encoding);
            encoding.name = "UTF-8 (no byte-order mark; valid UTF-8)";
            text.swap(scratch);
            return true;
        }
        parseEncoding("ansi", encoding);
        encoding.name = describe(encoding) + " (no byte-order mark; not UTF-8)";
    } else {
        encoding.name = describe(encoding) + " (--from)";
    }
    switch (encoding.kind) {
    case Encoding::Ansi8: {
        Options withName = options;
        withName.from = encoding;
        return readEightBit(bytes, withName, idOf(encoding), progress, text, error);
    }
    case Encoding::Utf32Little:
    case Encoding::Utf32Big:
        return decodeUtf32(bytes, markSize, encoding.kind == Encoding::Utf32Big, text, error);
    case Encoding::Utf8:
        return decodeUtf8(bytes, markSize, text, error);
    default:
        return decodeUtf16(bytes, markSize, encoding.kind == Encoding::Utf16Big, text, error);
    }
}

Written writeText(std::FILE* out, const std::wstring& read, const Options& options,
                  std::size_t& lacking, std::string& error) {
    std::wstring changed;
    if (options.lineEnds != LineEnds::Keep)
        changed = withLineEnds(read, options.lineEnds);
    const std::wstring& text = options.lineEnds != LineEnds::Keep ? changed : read;
    if (options.to.kind == Encoding::Ansi8)
        return writeEightBit(out, text, options, lacking, error);
    const Encoding::Kind kind = options.to.kind;
    std::string encodedBytes;
    if (kind == Encoding::Utf16Little || kind == Encoding::Utf16Big) {
        encodeUtf16(text, kind == Encoding::Utf16Big, encodedBytes);
    } else {
        // Encoded whole before anything is written, so that a lack writes nothing.
        std::size_t first = 0;
        if (kind == Encoding::Utf8)
            encodeUtf8(text, options.lacking, encodedBytes, lacking, first);
        else
            encodeUtf32(text, kind == Encoding::Utf32Big, options.lacking, encodedBytes, lacking,
                        first);
        if (lacking > 0 && options.lacking == Lacking::Fail) {
            error = "character " + std::to_string(first) + " (" + hexUnit(text[first]) +
                    ", a lone surrogate) and " + std::to_string(lacking - 1) +
                    " other(s) are not in " + describe(options.to) + "; nothing written";
            return Written::Lacking;
        }
    }
    const bool bom = options.bom == 1 || (options.bom == -1 && kind != Encoding::Utf8);
    // Written here rather than by PmFILE (which writes a mark only where it can tell
    // that the stream is at its start: never on a pipe or a terminal).
    const std::string mark = kind == Encoding::Utf8          ? std::string("\xEF\xBB\xBF")
                             : kind == Encoding::Utf16Little ? std::string("\xFF\xFE")
                             : kind == Encoding::Utf16Big    ? std::string("\xFE\xFF")
                             : kind == Encoding::Utf32Little ? std::string("\xFF\xFE\0\0", 4)
                                                             : std::string("\0\0\xFE\xFF", 4);
    if (bom && std::fwrite(mark.data(), 1, mark.size(), out) != mark.size()) {
        error = std::strerror(errno);
        return Written::Failed;
    }
    if (std::fwrite(encodedBytes.data(), 1, encodedBytes.size(), out) != encodedBytes.size()) {
        error = std::strerror(errno);
        return Written::Failed;
    }
    return Written::Ok;
}

namespace {

// What text in a code page is made of, to judge how plausible a reading is: the
// characters its languages use outside ASCII ("home"), and a few that mark the page
// out among pages whose homes overlap ("marks": kana for Japanese, Hangul for Korean,
// the commonest simplified or traditional characters for Chinese). East Asian text
// also holds Greek letters, arrows, shapes and mathematical signs.
struct Plausibility {
    int windows;
    const char* home;  // UTF-8; "A-B" pairs after '|' are ranges
    const char* marks; // UTF-8, as home
};

const Plausibility kJudged[] = {
    {1252, u8"àáâãäåæçèéêëìíîïñòóôöøùúûüÿßœšžÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÑÒÓÔÖØÙÚÛÜŸŒŠŽ", ""},
    {1250, u8"áäčďđéěíľňóôőöřšťúůűüýžąćęłńśźżăâîșşțţÁÄČĎĐÉĚÍĽŇÓÔŐÖŘŠŤÚŮŰÜÝŽĄĆĘŁŃŚŹŻĂÂÎȘŞȚŢ", ""},
    {1251, u8"|\u0400-\u045F\u0490-\u0491", ""},
    {1253, u8"|\u0386-\u03CE", ""},
    {1254, u8"àáâäçèéêëîïñòóôöùúûüßğışÀÁÂÄÇÈÉÊËÎÏÑÒÓÔÖÙÚÛÜĞİŞ", ""},
    {1255, u8"|\u05B0-\u05C7\u05D0-\u05EA", ""},
    {1256, u8"|\u0621-\u0652\u0660-\u0669\u067E-\u067E\u0686-\u0686\u0698-\u0698\u06AF-\u06AF", ""},
    {1257, u8"āčēģīķļņōŗšūžąęėįųäöüõĀČĒĢĪĶĻŅŌŖŠŪŽĄĘĖĮŲÄÖÜÕ", ""},
    {1258, u8"àáâãèéêìíòóôõùúýăđơưÀÁÂÃÈÉÊÌÍÒÓÔÕÙÚÝĂĐƠƯ|\u0300-\u0323", ""},
    {874, u8"|\u0E01-\u0E5B", ""},
    {932,
     u8"|\u00B1-\u00B1\u00D7-\u00D7\u00F7-\u00F7\u0391-\u03C9\u2010-\u2312\u2460-\u26FF\uFFE0-"
     u8"\uFFE5\u3000-\u30FF\u4E00-\u9FFF\uFF01-\uFF5E",
     u8"|\u3041-\u30FF"},
    {936,
     u8"|\u00B1-\u00B1\u00D7-\u00D7\u00F7-\u00F7\u0391-\u03C9\u2010-\u2312\u2460-\u26FF\uFFE0-"
     u8"\uFFE5\u3000-\u303F\u4E00-\u9FFF\uFF01-\uFF5E",
     u8"这们个来为国说时对会发后过还进么开经现动当没样学实长间问东见车从"},
    {949,
     u8"|\u00B1-\u00B1\u00D7-\u00D7\u00F7-\u00F7\u0391-\u03C9\u2010-\u2312\u2460-\u26FF\uFFE0-"
     u8"\uFFE5\u3000-\u303F\u3131-\u318E\uAC00-\uD7A3\uFF01-\uFF5E",
     u8"|\uAC00-\uD7A3"},
    {950,
     u8"|\u00B1-\u00B1\u00D7-\u00D7\u00F7-\u00F7\u0391-\u03C9\u2010-\u2312\u2460-\u26FF\uFFE0-"
     u8"\uFFE5\u3000-\u303F\u4E00-\u9FFF\uFF01-\uFF5E",
     u8"這們個來為國說時對會發後過還進麼開經現動當沒樣學實長間問東見車從"},
};

// Whether the unit is in a set written as characters, then '|' and ranges.
bool inSet(wchar_t unit, const std::wstring& set) {
    const std::size_t bar = set.find(L'|');
    const std::size_t listed = bar == std::wstring::npos ? set.size() : bar;
    if (set.find(unit) < listed)
        return true;
    for (std::size_t i = listed + 1; i + 2 < set.size() + 1 && bar != std::wstring::npos; i += 3)
        if (i + 2 < set.size() + 1 && unit >= set[i] && unit <= set[i + 2])
            return true;
    return false;
}

std::wstring unitsOf(const char* utf8) {
    std::wstring units;
    std::string error;
    decodeUtf8(utf8, 0, units, error);
    return units;
}

// Punctuation any page's text may hold: it tells the pages apart no more than ASCII.
bool neutral(wchar_t unit) {
    return (unit >= 0x2010 && unit <= 0x2027) || unit == 0x20AC || unit == 0xA0 || unit == 0xAB ||
           unit == 0xBB || unit == 0xB0 || unit == 0xA7 || unit == 0xB7 || unit == 0xA9 ||
           unit == 0xAE || unit == 0xA1 || unit == 0xBF;
}

// 1 for an upper-case letter, -1 for a lower-case one, 0 otherwise, for the scripts
// whose pages are told apart by case (a reading in the wrong page puts capitals in
// the middle of words).
int caseOf(wchar_t unit) {
    if ((unit >= L'A' && unit <= L'Z') || (unit >= 0xC0 && unit <= 0xDE && unit != 0xD7) ||
        (unit >= 0x391 && unit <= 0x3AB) || (unit >= 0x410 && unit <= 0x42F))
        return 1;
    if ((unit >= L'a' && unit <= L'z') || (unit >= 0xDF && unit <= 0xFF && unit != 0xF7) ||
        (unit >= 0x3AC && unit <= 0x3CE) || (unit >= 0x430 && unit <= 0x44F))
        return -1;
    return 0;
}

struct Reading {
    int windows;
    double home;  // share of the telling characters at home in the page
    double marks; // share of them that mark the page out
};

} // namespace

std::string detect(std::FILE* in, const Options& options, Encoding* chosen) {
    std::string bytes;
    readAll(in, bytes);
    Encoding marked;
    if (markOf(bytes, marked) > 0) {
        if (chosen)
            *chosen = marked;
        return "byte-order mark " + describe(marked);
    }
    std::wstring units;
    std::string error;
    if (decodeUtf8(bytes, 0, units, error)) {
        const bool ascii = std::all_of(bytes.begin(), bytes.end(),
                                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
        if (chosen)
            parseEncoding("utf-8", *chosen);
        return ascii ? "ASCII only (every code page reads it alike)" : "UTF-8 (no byte-order mark)";
    }
    // The first 4 MiB tell as much as the whole, cut after a line feed so that no
    // double-byte character is split.
    if (bytes.size() > (4u << 20)) {
        const std::size_t cut = bytes.rfind('\n', 4u << 20);
        bytes.resize(cut == std::string::npos ? (4u << 20) : cut + 1);
    }
    std::vector<Reading> readings;
    std::vector<int> pages;
    for (const Plausibility& page : kJudged)
        pages.push_back(page.windows);
    const int extra = XoCodePageMapper::veskCpToAnsiCp(idOf(options.candidate));
    if (std::find(pages.begin(), pages.end(), extra) == pages.end())
        pages.push_back(extra);
    for (int windows : pages) {
        const code_page_id id = XoCodePageMapper::ansiCpToVeskCp(windows);
        std::wstring text;
        std::size_t bad = 0;
        if (id == 0 || !decodePlain(bytes, id, text, bad))
            continue;
        const Plausibility* judged = nullptr;
        for (const Plausibility& page : kJudged)
            if (page.windows == windows)
                judged = &page;
        const std::wstring home = judged ? unitsOf(judged->home) : std::wstring();
        const std::wstring marking = judged ? unitsOf(judged->marks) : std::wstring();
        // A page of one other script reads Latin text as words of that script mixed
        // with ASCII letters ("cafй" in 1251): there a character beside an ASCII
        // letter is not at home.
        const bool ownScript = windows == 1251 || windows == 1253 || windows == 1255 ||
                               windows == 1256 || windows == 874;
        const auto asciiLetter = [&text](std::size_t i) {
            return i < text.size() && text[i] < 0x80 && std::iswalpha(text[i]);
        };
        std::size_t telling = 0, atHome = 0, markedCount = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const wchar_t unit = text[i];
            if (unit < 0x80 || neutral(unit))
                continue;
            ++telling;
            const bool mixed =
                (ownScript && ((i > 0 && asciiLetter(i - 1)) || asciiLetter(i + 1))) ||
                (i > 0 && caseOf(unit) == 1 && caseOf(text[i - 1]) == -1);
            atHome += !mixed && inSet(unit, home);
            markedCount += !marking.empty() && inSet(unit, marking);
        }
        const double share = telling ? double(atHome) / double(telling) : 1.0;
        const double marks = telling ? double(markedCount) / double(telling) : 0.0;
        readings.push_back({windows, share, marks});
    }
    if (readings.empty())
        return "8-bit text that no code page reads without error";
    // Most at home first; among pages that tie, the one its marks point to.
    std::stable_sort(readings.begin(), readings.end(), [](const Reading& a, const Reading& b) {
        const int left = int(a.home * 100 + 0.5), right = int(b.home * 100 + 0.5);
        return left != right ? left > right : a.marks > b.marks;
    });
    if (chosen)
        parseEncoding(std::to_string(readings.front().windows), *chosen);
    std::string report = "8-bit; code pages that read it, most plausible first:";
    for (const Reading& reading : readings) {
        report += " " + std::to_string(reading.windows) + " (" +
                  std::to_string(int(reading.home * 100 + 0.5)) + "%)";
    }
    return report;
}

} // namespace xoconv
