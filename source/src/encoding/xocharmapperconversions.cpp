// XoCharMapper's conversions between 8-bit text and UTF-16 (the class's second file).
#include "XoCharMapper.h"

#include <cstdint>
#include <string>

#include "XoCodePageFunctions.h"
#include "encoding/xoescapes.h"
#include "encoding/xovectorwriter.h"
#include "platform/codepage.h"
#include "platform/textunits.h"
#include "platform/version.h"

namespace enc = xo::encoding;
namespace platform = xo::platform;

namespace {

using xo::platform::wideUnit;

using Bytes = const unsigned char*;

code_page_id ansiTwin(code_page_id id) {
    switch (id) {
    case CODE_PAGE_JAPANESE_DOS:
        return CODE_PAGE_JAPANESE;
    case CODE_PAGE_TRADITIONAL_CHINESE_SECOND:
        return CODE_PAGE_TRADITIONAL_CHINESE;
    case CODE_PAGE_KOREAN_SECOND:
        return CODE_PAGE_KOREAN;
    case CODE_PAGE_JOHAB_SECOND:
        return CODE_PAGE_JOHAB;
    case CODE_PAGE_SIMPLIFIED_CHINESE_SECOND:
        return CODE_PAGE_SIMPLIFIED_CHINESE;
    default:
        return id;
    }
}

// Version 5 (Windows 2000) is where WC_NO_BEST_FIT_CHARS arrived and the code pages
// learned the punctuation block U+2000-U+2FFF; before it, that block converted to
// look-alikes, so it is refused rather than guessed.
unsigned windowsMajorVersion() {
    return platform::loadTimeVersionWord() & 0xFF;
}

// The pages for which Windows refuses MB_ERR_INVALID_CHARS.
bool refusesInvalidCharsFlag(unsigned codePage) {
    switch (codePage) {
    case 42:
    case 50220:
    case 50221:
    case 50222:
    case 50225:
    case 50227:
    case 50229:
    case 65000:
        return true;
    default:
        return codePage >= 57002 && codePage <= 57011;
    }
}

unsigned defaultToWideFlags(code_page_id id) {
    const unsigned codePage = unsigned(XoCodePageMapper::veskCpToAnsiCp(ansiTwin(id)));
    return refusesInvalidCharsFlag(codePage) ? 0 : platform::kMbErrInvalidChars;
}

bool isConvertedUnit(wchar_t unit) {
    return unit != 0 && unit != L'?';
}

code_page_id resolveSystemAnsi(code_page_id id) {
    return id == CODE_PAGE_SYSTEM_ANSI
               ? XoCodePageMapper::ansiCpToVeskCp(XoCodePageMapper::currentSystemAnsiCp())
               : id;
}

// The elements before the first 0 within the first length ones: what the string
// conversions read, so that their output is sized once.
template <class C> int extentOf(const C* text, int length) {
    if (text == nullptr || length <= 0)
        return 0;
    const C* zero = std::char_traits<C>::find(text, std::size_t(length), C(0));
    return zero != nullptr ? int(zero - text) : length;
}

bool isUtf8Continuation(unsigned byte) {
    return (byte & 0xC0) == 0x80;
}

// The bytes of the UTF-8 sequence at p: the lead and the continuation bytes that
// follow it, up to the count the lead announces.
int utf8SequenceLength(Bytes p, Bytes end) {
    const unsigned lead = p[0];
    const int announced = xo::platform::utf8AnnouncedLength(std::uint8_t(lead));
    int length = 1;
    while (length < announced && p + length < end && isUtf8Continuation(p[length]))
        ++length;
    return length;
}

// The units of a UTF-8 sequence through the platform's converter; 0 on failure.
int convertUtf8Sequence(Bytes p, int length, unsigned long flags, wchar_t* units) {
    return platform::multiByteToWideChar(platform::kCpUtf8, unsigned(flags),
                                         reinterpret_cast<const char*>(p), length, units, 4);
}

// One character of the code page at p: its code and byte count.
struct Character {
    unsigned code;
    int length;
};

Character characterAt(Bytes p, Bytes end, code_page_id id, bool doubleByte) {
    if (doubleByte && end - p > 1 && p[1] != 0 && XoCharMapper::isLeadByte(p[0], id))
        return {unsigned(p[0]) << 8 | p[1], 2};
    return {p[0], 1};
}

// The unit of a MIF escape's code in the code page of its digit (1 to 5), or 0 when it
// does not convert to a unit other than 0 and "?".
wchar_t mifUnit(const enc::MifEscape& escape) {
    wchar_t unit = 0;
    if (!XoCharMapper::codepageToUnicode(wchar_t(escape.code), mapCodepage(escape.digit), unit) ||
        !isConvertedUnit(unit))
        return 0;
    return unit;
}

// The unit of the escape at p and its length, or 0 when none begins there.
int narrowEscapeAt(Bytes p, Bytes end, wchar_t* unit) {
    if (p[0] != '\\')
        return 0;
    const int cif = enc::cifEscapeAt(p, end);
    if (cif >= 0) {
        *unit = wchar_t(cif);
        return enc::kCifLength;
    }
    enc::MifEscape mif;
    if (enc::mifEscapeAt(p, end, '1', '5', &mif)) {
        *unit = mifUnit(mif);
        if (*unit != 0)
            return enc::kMifLength;
    }
    return 0;
}

struct ToWideOptions {
    bool stopOnFailure;
    bool dropBackslashBeforeEscape;
    bool callerFlags; // flags below rather than each code page's own
    unsigned long flags;
    // The large-input form: the output starts over, sized once to the stated length, and
    // a code that does not convert is kept whole as its unit instead of going back to
    // its lead byte.
    bool largeInput = false;
};

// The common loop of the multiByteToWideChar forms.
bool toWide(code_page_id id, const char* text, int length, XoVector<wchar_t>& out,
            const ToWideOptions& options) {
    const int bytes = extentOf(text, length);
    // Every unit takes at least one byte, so this room is never outgrown.
    enc::VectorWriter<wchar_t> writer(out, options.largeInput ? 0 : out.size(),
                                      std::int64_t(options.largeInput ? length : bytes) + 1);
    id = resolveSystemAnsi(id);
    const bool doubleByte = IsMultiByteCodePage(id);
    const unsigned long utf8Flags = options.callerFlags ? options.flags : defaultToWideFlags(id);
    Bytes p = reinterpret_cast<Bytes>(text);
    const Bytes end = p + bytes;
    bool held = false;
    bool converted = true;
    while (p < end && *p != 0) {
        wchar_t unit = 0;
        if (const int taken = narrowEscapeAt(p, end, &unit)) {
            writer.put(unit);
            held = false;
            p += taken;
            continue;
        }
        if (held) {
            writer.put(L'\\');
            held = false;
        } else if (*p == '\\' && options.dropBackslashBeforeEscape) {
            held = true;
            ++p;
            continue;
        }
        if (*p < 0x80) {
            writer.put(wchar_t(*p++));
            continue;
        }
        if (id == CODE_PAGE_UTF8) {
            const int sequence = utf8SequenceLength(p, end);
            wchar_t decoded[4];
            const int count = convertUtf8Sequence(p, sequence, utf8Flags, decoded);
            if (count > 0) {
                for (int i = 0; i < count; ++i)
                    writer.put(decoded[i]);
                p += sequence;
                continue;
            }
        } else {
            const Character character = characterAt(p, end, id, doubleByte);
            const bool ok =
                options.callerFlags
                    ? XoCharMapper::codepageToUnicode(wchar_t(character.code), options.flags, id,
                                                      unit)
                    : XoCharMapper::codepageToUnicode(wchar_t(character.code), id, unit);
            if (ok && isConvertedUnit(unit)) {
                writer.put(unit);
                p += character.length;
                continue;
            }
            if (options.largeInput) {
                writer.put(wchar_t(character.code));
                p += character.length;
                continue;
            }
        }
        if (options.stopOnFailure) {
            converted = false;
            break;
        }
        writer.put(wchar_t(*p++)); // a double-byte code goes back to its lead byte
    }
    if (held)
        writer.put(L'\\');
    writer.put(0);
    writer.finish();
    return converted;
}

// Bytes written as a code of the code page or as UTF-8 for one unit above 0x7F;
// consumes a second unit when a surrogate pair goes to UTF-8 as one sequence.
template <class Put>
int writeWideCharacter(code_page_id id, const wchar_t* p, const wchar_t* end, Put&& put) {
    const unsigned unit = wideUnit(*p);
    if (id == CODE_PAGE_UTF8) {
        const bool high = unit >= 0xD800 && unit <= 0xDBFF;
        const bool pair =
            high && end - p > 1 && wideUnit(p[1]) >= 0xDC00 && wideUnit(p[1]) <= 0xDFFF;
        if (pair || unit < 0xD800 || unit > 0xDFFF) {
            const wchar_t units[2] = {wchar_t(unit), pair ? wchar_t(wideUnit(p[1])) : L'\0'};
            char bytes[4];
            const int count = platform::wideCharToMultiByte(
                platform::kCpUtf8, 0, units, pair ? 2 : 1, bytes, 4, nullptr, nullptr);
            if (count > 0) {
                for (int i = 0; i < count; ++i)
                    put(bytes[i]);
                return pair ? 2 : 1;
            }
        }
    } else {
        wchar_t code = 0;
        if (XoCharMapper::unicodeToCodepage(wchar_t(unit), id, code, true)) {
            if (wideUnit(code) > 0xFF)
                put(char(wideUnit(code) >> 8));
            put(char(code & 0xFF));
            return 1;
        }
    }
    enc::writeCifEscape(unit, put);
    return 1;
}

// The output is made ready for roomPerUnit bytes a unit, and grows past that.
void toMultiByte(code_page_id id, const wchar_t* text, int length, XoVector<char>& out,
                 int roomPerUnit) {
    const int units = extentOf(text, length);
    enc::VectorWriter<char> writer(out, out.size(), std::int64_t(units) * roomPerUnit + 1);
    const wchar_t* p = text;
    const wchar_t* const end = text + units;
    const auto put = [&writer](char byte) { writer.put(byte); };
    while (p < end && *p != 0) {
        enc::MifEscape mif;
        int copied = 0;
        if (enc::cifEscapeAt(p, end) >= 0)
            copied = enc::kCifLength;
        else if (enc::mifEscapeAt(p, end, '0', '5', &mif))
            copied = enc::kMifLength;
        if (copied != 0) {
            for (int i = 0; i < copied; ++i)
                writer.put(char(p[i]));
            p += copied;
        } else if (wideUnit(*p) > 0x7F) {
            p += writeWideCharacter(id, p, end, put);
        } else {
            writer.put(char(*p++));
        }
    }
    writer.put('\0');
    writer.finish();
}

} // namespace

// --- Multibyte and wide conversion ---

void XoCharMapper::utf8ToUnicode(const char* text, int length, XoVector<wchar_t>& out) {
    enc::VectorWriter<wchar_t> writer(out, 0, std::int64_t(length) + 1);
    if (text != nullptr) {
        Bytes p = reinterpret_cast<Bytes>(text);
        const Bytes first = p;
        // Past text + length, not at it: the byte at index length is read (kept).
        while (*p != 0 && (length == 0 || p - first <= length)) {
            const unsigned byte = p[0];
            if (byte >= 0xE0 && isUtf8Continuation(p[1]) && isUtf8Continuation(p[2])) {
                writer.put(
                    wchar_t(((byte & 0x0F) << 12 | (p[1] & 0x3Fu) << 6 | (p[2] & 0x3Fu)) & 0xFFFF));
                p += 3;
            } else if (byte >= 0xC0 && isUtf8Continuation(p[1])) {
                writer.put(wchar_t((byte & 0x1F) << 6 | (p[1] & 0x3Fu)));
                p += 2;
            } else {
                writer.put(wchar_t(byte));
                ++p;
            }
        }
    }
    writer.put(0);
    writer.finish();
}

void XoCharMapper::unicodeToUtf8(const wchar_t* text, int length, XoVector<char>& out) {
    if (text == nullptr || length == 0)
        return;
    enc::VectorWriter<char> writer(out, out.size(), std::int64_t(extentOf(text, length)) + 1);
    // Past text + length, not at it, as utf8ToUnicode reads.
    for (const wchar_t* p = text; p - text <= length && *p != 0; ++p) {
        const unsigned unit = wideUnit(*p);
        if (unit < 0x80) {
            writer.put(char(unit));
        } else if (unit >= 0x800) {
            writer.put(char(0xE0 | unit >> 12));
            writer.put(char(0x80 | (unit >> 6 & 0x3F)));
            writer.put(char(0x80 | (unit & 0x3F)));
        } else {
            writer.put(char(0xC0 | unit >> 6));
            writer.put(char(0x80 | (unit & 0x3F)));
        }
    }
    writer.put('\0');
    writer.finish();
}

bool XoCharMapper::multiByteToWideChar(code_page_id id, const char* text, int length,
                                       XoVector<wchar_t>& out, bool stopOnFailure,
                                       bool dropBackslashBeforeEscape) {
    return toWide(id, text, length, out, {stopOnFailure, dropBackslashBeforeEscape, false, 0});
}

void XoCharMapper::multiByteToWideChar(code_page_id id, unsigned long flags, const char* text,
                                       int length, XoVector<wchar_t>& out) {
    toWide(id, text, length, out, {false, false, true, flags});
}

void XoCharMapper::multiByteToWideCharNoChangeM(code_page_id id, const char* text, int length,
                                                XoVector<wchar_t>& out) {
    toWide(id, text, length, out, {false, false, false, 0});
}

void XoCharMapper::multiByteToWideCharBigData(code_page_id id, const char* text, int length,
                                              XoVector<wchar_t>& out) {
    if (text == nullptr || length < 1) {
        out.append(L'\0');
        return;
    }
    toWide(id, text, length, out, {false, false, false, 0, true});
}

void XoCharMapper::wideCharToMultiByte(code_page_id id, const wchar_t* text, int length,
                                       XoVector<char>& out) {
    toMultiByte(id, text, length, out, 1);
}

void XoCharMapper::wideCharToMultiByteBigData(code_page_id id, const wchar_t* text, int length,
                                              XoVector<char>& out) {
    toMultiByte(id, text, length, out, 2);
}

bool XoCharMapper::unicodeToCodepage(wchar_t unit, code_page_id id, wchar_t& out, bool strict) {
    const unsigned codePage = unsigned(XoCodePageMapper::veskCpToAnsiCp(ansiTwin(id)));
    const unsigned value = wideUnit(unit);
    const bool modern = windowsMajorVersion() >= 5;
    // The euro sign (U+20AC) was added to the old systems' code pages by update, so a
    // lenient caller may still have it converted there.
    if (!modern && value >= 0x2000 && value <= 0x2FFF && !(value == 0x20AC && !strict))
        return false;
    const wchar_t wide = wchar_t(value);
    char bytes[4];
    bool usedDefault = false;
    const int count =
        platform::wideCharToMultiByte(codePage, modern ? platform::kWcNoBestFitChars : 0, &wide, 1,
                                      bytes, 4, nullptr, &usedDefault);
    if (count == 0 || usedDefault)
        return false;
    const unsigned first = static_cast<unsigned char>(bytes[0]);
    if (count == 2) {
        out = wchar_t(first << 8 | static_cast<unsigned char>(bytes[1]));
        return true;
    }
    if (count == 1 && first >= 0x80) {
        out = wchar_t(first);
        return true;
    }
    return false;
}

bool XoCharMapper::codepageToUnicode(wchar_t code, code_page_id id, wchar_t& out) {
    return codepageToUnicode(code, defaultToWideFlags(id), id, out);
}

bool XoCharMapper::codepageToUnicode(wchar_t code, unsigned long flags, code_page_id id,
                                     wchar_t& out) {
    id = ansiTwin(id);
    const unsigned codePage = unsigned(XoCodePageMapper::veskCpToAnsiCp(id));
    const unsigned value = wideUnit(code);
    const char pair[2] = {char(value >> 8), char(value & 0xFF)};
    const bool doubleByte = isLeadByte(static_cast<unsigned char>(value >> 8), id);
    wchar_t unit = 0;
    if (platform::multiByteToWideChar(codePage, unsigned(flags), doubleByte ? pair : pair + 1,
                                      doubleByte ? 2 : 1, &unit, 1) == 1) {
        out = unit;
        return true;
    }
    if (value <= 127) {
        out = wchar_t(value);
        return true;
    }
    return false;
}

code_page_id XoCharMapper::JudgeSuitableCodePage(const char* text, unsigned int length,
                                                 code_page_id defaultId, code_page_id candidate) {
    if (text == nullptr || length == 0)
        return defaultId;
    const bool defaultDoubleByte = IsMultiByteCodePage(defaultId);
    const bool candidateDoubleByte = IsMultiByteCodePage(candidate);
    Bytes p = reinterpret_cast<Bytes>(text);
    const Bytes end = p + length;
    while (p < end) {
        const unsigned byte = *p;
        if (byte == 0)
            return defaultId;
        if (byte < 0x80) {
            ++p;
            continue;
        }
        const bool hasTrail = end - p > 1 && p[1] != 0;
        const bool candidateLead = candidateDoubleByte && isLeadByte(std::uint8_t(byte), candidate);
        if (candidateLead && hasTrail) {
            wchar_t unit = 0;
            // Unused pairs of the double-byte pages map to the private use area (U+E000 to
            // U+F8FF), so a pair landing there is no evidence for the candidate.
            if (codepageToUnicode(wchar_t(byte << 8 | p[1]), candidate, unit) &&
                isConvertedUnit(unit) && !(wideUnit(unit) >= 0xE000 && wideUnit(unit) <= 0xF8FF))
                return candidate;
        }
        const bool skipTrail =
            hasTrail &&
            (candidateLead || (defaultDoubleByte && isLeadByte(std::uint8_t(byte), defaultId)));
        p += skipTrail ? 2 : 1;
    }
    return defaultId;
}

// Products wrap as 32-bit signed integers and are added one by one, in element order,
// so that the double comes out the same everywhere.
double XoCharMapper::getCheckSumUnicode(const void* units, int count) {
    const auto* e = static_cast<const std::uint16_t*>(units);
    double sum = 0.0;
    for (int i = 0; i < count; ++i)
        sum += double(std::int32_t(std::uint32_t(e[i]) * std::uint32_t(i + 1)));
    return sum;
}

double XoCharMapper::getCheckSumAnsi(const void* bytes, int count) {
    const auto* e = static_cast<const std::int8_t*>(bytes);
    double sum = 0.0;
    for (int i = 0; i < count; ++i)
        sum += double(std::int32_t(std::uint32_t(std::int32_t(e[i])) * std::uint32_t(i + 1)));
    return sum;
}
