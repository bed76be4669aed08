#include "convert.h"

#include <cerrno>
#include <cstring>
#include <vector>

#include "PmFILE.h"
#include "XoCharMapper.h"
#include "XoCodePageFunctions.h"
#include "XoCodePageMapper.h"
#include "XoVector.h"

namespace xoconv {

namespace {

constexpr unsigned kFormatAnsi = 1, kFormatUtf8 = 2, kFormatUtf16Little = 3, kFormatUtf16Big = 4;

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

const char* formatName(unsigned format) {
    switch (format) {
    case kFormatUtf8:
        return "UTF-8";
    case kFormatUtf16Little:
        return "UTF-16LE";
    case kFormatUtf16Big:
        return "UTF-16BE";
    case 5:
        return "UTF-32LE";
    case 6:
        return "UTF-32BE";
    default:
        return "none";
    }
}

unsigned formatOf(const Encoding& encoding) {
    switch (encoding.kind) {
    case Encoding::Utf8:
        return kFormatUtf8;
    case Encoding::Utf16Little:
        return kFormatUtf16Little;
    case Encoding::Utf16Big:
        return kFormatUtf16Big;
    default:
        return kFormatAnsi;
    }
}

code_page_id idOf(const Encoding& encoding) {
    return static_cast<code_page_id>(encoding.codePageId);
}

// Bytes a UTF-8 or UTF-16 file spent on one unit that PmFILE returned.
long long bytesOf(unsigned format, int unit) {
    if (format != kFormatUtf8)
        return 2;
    return unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
}

bool readUnicode(PmFILE& file, std::FILE* in, unsigned format, long long start, Progress& progress,
                 std::wstring& text, std::string& error) {
    file.setCharFormat(format);
    const long long size = sizeOf(in);
    long long offset = start;
    for (int unit; (unit = file.fgetc()) >= 0;) {
        text += wchar_t(unit);
        offset += bytesOf(format, unit);
        if ((offset & 0xFFFFF) < 3)
            progress.report(offset);
    }
    if (offset < size) {
        error = offsetText(offset) + ": " +
                (format == kFormatUtf8 ? "not UTF-8, or a character beyond U+FFFF (not supported)"
                                       : "an odd byte at the end of UTF-16 text");
        return false;
    }
    return true;
}

// Without escape decoding: each character through the code page, one at a time.
bool decodePlain(const std::string& line, code_page_id id, std::wstring& text, std::size_t& bad) {
    if (id == 46)
        id = XoCodePageMapper::ansiCpToVeskCp(XoCodePageMapper::currentSystemAnsiCp());
    for (std::size_t i = 0; i < line.size(); ++i) {
        const unsigned char byte = static_cast<unsigned char>(line[i]);
        if (byte < 0x80) {
            text += wchar_t(byte);
            continue;
        }
        wchar_t code = byte;
        std::size_t length = 1;
        if (IsMultiByteCodePage(id) && i + 1 < line.size() && XoCharMapper::isLeadByte(byte, id)) {
            code = wchar_t((byte << 8) | static_cast<unsigned char>(line[i + 1]));
            length = 2;
        }
        wchar_t unit = 0;
        if (!XoCharMapper::codepageToUnicode(code, id, unit) || unit == 0 || unit == L'?') {
            bad = i;
            return false;
        }
        text += unit;
        i += length - 1;
    }
    return true;
}

bool readEightBit(std::FILE* in, const Options& options, code_page_id id, Progress& progress,
                  std::wstring& text, std::string& error) {
    std::string bytes;
    char chunk[65536];
    for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, in)) > 0;)
        bytes.append(chunk, n);
    if (std::ferror(in)) {
        error = std::strerror(errno);
        return false;
    }
    // A line feed or a zero byte is never the trail byte of a double-byte character, so
    // the text can be converted in pieces ending at one. The library's conversion stops
    // at a zero byte, so a piece holds it only as the unit it adds at the end.
    static const char kEnds[] = {'\n', '\0'};
    std::size_t start = 0;
    while (start < bytes.size()) {
        XoVector<wchar_t> converted; // the conversion appends to what it holds
        const std::size_t end =
            std::min(bytes.find_first_of(kEnds, start, 2), bytes.size() - 1) + 1;
        const bool zero = bytes[end - 1] == '\0';
        const std::string line = bytes.substr(start, end - start - (zero ? 1 : 0));
        std::size_t bad = 0;
        bool ok;
        if (options.decodeEscapes) {
            ok = XoCharMapper::multiByteToWideChar(id, line.data(), int(line.size()), converted,
                                                   true, false);
            if (ok) {
                const int size = converted.size();
                const wchar_t* units = converted.data();
                text.append(units, units + size - (size > 0 && units[size - 1] == 0 ? 1 : 0));
            } else {
                std::wstring scratch; // the same walk without escapes finds the byte
                decodePlain(line, id, scratch, bad);
            }
        } else {
            ok = decodePlain(line, id, text, bad);
        }
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

Written writeEightBit(std::FILE* out, const std::wstring& text, const Options& options,
                      std::size_t& lacking, std::string& error) {
    const code_page_id id = idOf(options.to);
    std::string bytes;
    std::size_t first = 0;
    if (options.lacking == Lacking::Cif) {
        // The library writes what the code page lacks as CIF escapes; a zero unit ends
        // its input, so the text goes piece by piece.
        for (std::size_t start = 0; start <= text.size();) {
            const std::size_t end = std::min(text.find(L'\0', start), text.size());
            if (end > start) {
                XoVector<char> converted; // the conversion appends to what it holds
                XoCharMapper::wideCharToMultiByte(id, text.data() + start, int(end - start),
                                                  converted);
                const int size = converted.size();
                bytes.append(
                    converted.data(),
                    std::size_t(size - (size > 0 && converted.data()[size - 1] == 0 ? 1 : 0)));
            }
            if (end < text.size())
                bytes += '\0';
            start = end + 1;
        }
    } else {
        for (const wchar_t& unit : text) {
            if (static_cast<unsigned>(unit) < 0x80) {
                bytes += char(unit);
                continue;
            }
            wchar_t code = 0;
            if (XoCharMapper::unicodeToCodepage(unit, id, code, true)) {
                if (static_cast<unsigned>(code) > 0xFF)
                    bytes += char(static_cast<unsigned>(code) >> 8);
                bytes += char(code & 0xFF);
            } else {
                if (lacking++ == 0)
                    first = std::size_t(&unit - text.data());
                if (options.lacking == Lacking::Question)
                    bytes += '?';
            }
        }
    }
    if (lacking > 0 && options.lacking == Lacking::Fail) {
        error = "character " + std::to_string(first) + " (" + hexUnit(text[first]) + ") and " +
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
    std::fprintf(stderr, "\rxoconv: %s: %3d%%", name.c_str(), int(done * 100 / total));
    std::fflush(stderr);
}

void Progress::finish() {
    if (show)
        std::fprintf(stderr, "\r\033[K");
}

bool readText(std::FILE* in, const Options& options, Progress& progress, std::wstring& text,
              Encoding& encoding, std::string& error) {
    PmFILE file(in);
    encoding = options.from;
    progress.total = sizeOf(in);
    const bool marked = file.readBOM();
    if (marked) {
        const unsigned format = file.getCharFormat();
        if (format != kFormatUtf8 && format != kFormatUtf16Little && format != kFormatUtf16Big) {
            error = std::string("a ") + formatName(format) +
                    " byte-order mark: UTF-32 is not supported";
            return false;
        }
        if (encoding.kind != Encoding::Auto && formatOf(encoding) != format) {
            error = std::string("the byte-order mark says ") + formatName(format) +
                    ", --from says " + encoding.name;
            return false;
        }
        encoding.kind = format == kFormatUtf8          ? Encoding::Utf8
                        : format == kFormatUtf16Little ? Encoding::Utf16Little
                                                       : Encoding::Utf16Big;
        encoding.name = formatName(format);
    } else if (encoding.kind == Encoding::Auto) {
        parseEncoding("ansi", encoding);
    }
    if (encoding.kind == Encoding::Ansi8) {
        Options withName = options;
        withName.from = encoding;
        return readEightBit(in, withName, idOf(encoding), progress, text, error);
    }
    return readUnicode(file, in, formatOf(encoding), std::ftell(in), progress, text, error);
}

Written writeText(std::FILE* out, std::wstring text, const Options& options, std::size_t& lacking,
                  std::string& error) {
    text = withLineEnds(text, options.lineEnds);
    if (options.to.kind == Encoding::Ansi8)
        return writeEightBit(out, text, options, lacking, error);
    PmFILE file(out);
    file.setCharFormat(formatOf(options.to));
    const bool bom = options.bom == 1 || (options.bom == -1 && options.to.kind != Encoding::Utf8);
    // Written here rather than by PmFILE, which writes a mark only where it can tell
    // that the stream is at its start: never on a pipe or a terminal.
    const char* mark = options.to.kind == Encoding::Utf8          ? "\xEF\xBB\xBF"
                       : options.to.kind == Encoding::Utf16Little ? "\xFF\xFE"
                                                                  : "\xFE\xFF";
    const std::size_t markSize = options.to.kind == Encoding::Utf8 ? 3 : 2;
    if (bom && std::fwrite(mark, 1, markSize, out) != markSize) {
        error = std::strerror(errno);
        return Written::Failed;
    }
    for (wchar_t unit : text) {
        if (file.fputc(unit) < 0) {
            error = std::strerror(errno);
            return Written::Failed;
        }
    }
    return Written::Ok;
}

std::string detect(std::FILE* in, const Options& options) {
    PmFILE file(in);
    if (file.readBOM())
        return std::string("byte-order mark ") + formatName(file.getCharFormat());
    std::string bytes;
    char chunk[65536];
    for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, in)) > 0;)
        bytes.append(chunk, n);
    Encoding base = options.from;
    if (base.kind != Encoding::Ansi8)
        parseEncoding("ansi", base);
    const code_page_id chosen = XoCharMapper::JudgeSuitableCodePage(
        bytes.data(), unsigned(bytes.size()), idOf(base), idOf(options.candidate));
    const bool candidate = chosen == idOf(options.candidate) && chosen != idOf(base);
    const Encoding& winner = candidate ? options.candidate : base;
    const int windowsPage = XoCodePageMapper::veskCpToAnsiCp(chosen);
    return "no byte-order mark; 8-bit text suits " + winner.name + " (Windows code page " +
           std::to_string(windowsPage == 3 ? XoCodePageMapper::currentSystemAnsiCp()
                                           : windowsPage) +
           ", code_page_id " + std::to_string(int(chosen)) + ")";
}

} // namespace xoconv
