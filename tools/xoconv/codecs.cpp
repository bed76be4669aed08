#include "codecs.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwctype>

#include "XoCodePageFunctions.h"
#include "XoCodePageMapper.h"

namespace xoconv {

// The hot loops read one buffer and write another; without the promise that they do not
// overlap, every store of a byte would make the compiler read the input again.
#define XOCONV_RESTRICT __restrict

namespace {

constexpr code_page_id kSystemPage = code_page_id(46);
constexpr std::size_t kCifLength = 7; // \U+XXXX
constexpr std::size_t kMifLength = 8; // \M+DXXXX
constexpr std::size_t kLongestEscape = kMifLength;

bool highSurrogate(unsigned unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool surrogate(unsigned unit) {
    return unit >= 0xD800 && unit < 0xE000;
}

unsigned unitOf(wchar_t unit) {
    return static_cast<unsigned>(unit) & 0xFFFF;
}

int hexValue(unsigned c) {
    if (c >= '0' && c <= '9')
        return int(c - '0');
    c |= 0x20;
    return c >= 'a' && c <= 'f' ? int(c - 'a' + 10) : -1;
}

// The value of four hexadecimal digits, or -1.
int fourHex(const unsigned char* p) {
    int value = 0;
    for (int i = 0; i < 4; ++i) {
        const int digit = hexValue(p[i]);
        if (digit < 0)
            return -1;
        value = value << 4 | digit;
    }
    return value;
}

// Writes a code point as UTF-16: itself, or its surrogate pair beyond U+FFFF.
wchar_t* putCodePoint(wchar_t* out, unsigned long code) {
    if (code >= 0x10000) {
        *out++ = wchar_t(0xD800 + ((code - 0x10000) >> 10));
        *out++ = wchar_t(0xDC00 + (code & 0x3FF));
    } else {
        *out++ = wchar_t(code);
    }
    return out;
}

// Stores the low bytes of word at out, the lowest first, as one store of four bytes
// where the machine is little-endian (out has room for four; what lies past the
// bytes that count is written over next).
inline void storeWord(char* out, std::uint32_t word) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    std::memcpy(out, &word, sizeof word);
#else
    out[0] = char(word & 0xFF);
    out[1] = char((word >> 8) & 0xFF);
    out[2] = char((word >> 16) & 0xFF);
    out[3] = char(word >> 24);
#endif
}

// The two or three bytes of UTF-8 of a unit from U+0080 to U+07FF, or from U+0800 on
// (not a surrogate), the first in the low byte.
inline std::uint32_t utf8Two(unsigned unit) {
    return (0x80 | (unit & 0x3F)) << 8 | (0xC0 | unit >> 6);
}
inline std::uint32_t utf8Three(unsigned unit) {
    return (0x80 | (unit & 0x3F)) << 16 | (0x80 | ((unit >> 6) & 0x3F)) << 8 | (0xE0 | unit >> 12);
}

// The UTF-8 of a unit of the basic plane, not a surrogate, as (length << 24) | its
// bytes, the first in the low byte: one store of three bytes writes any of them.
std::uint32_t utf8Word(unsigned unit) {
    if (unit < 0x80)
        return 1u << 24 | unit;
    if (unit < 0x800)
        return 2u << 24 | utf8Two(unit);
    return 3u << 24 | utf8Three(unit);
}

// The unit of the three-byte sequence at bytes (bytes[0] from E0 to EF), or 0 when the
// sequence is not whole, is longer than it needs be or holds a surrogate.
inline unsigned threeByteUnit(const unsigned char* bytes) {
    const unsigned second = bytes[1], third = bytes[2];
    const unsigned unit = (bytes[0] & 0x0Fu) << 12 | (second & 0x3Fu) << 6 | (third & 0x3Fu);
    const bool whole = (second & 0xC0) == 0x80 && (third & 0xC0) == 0x80;
    return whole && unit >= 0x800 && !surrogate(unit) ? unit : 0;
}

// The code unit of width bytes (2 or 4) at bytes, in the order given.
inline unsigned long unitAt(const unsigned char* bytes, std::size_t width, bool big) {
    unsigned long value = 0;
    for (std::size_t k = 0; k < width; ++k)
        value |= static_cast<unsigned long>(bytes[k]) << (8 * (big ? width - 1 - k : k));
    return value;
}

bool utf32Character(unsigned long code) {
    return code <= 0x10FFFF && !surrogate(unsigned(code));
}

// Walks UTF-8, writing units at out when kWrite. Stops at the first byte that is not
// UTF-8 (ok false, bad its offset) or, unless final, before an incomplete sequence at
// the end. Returns the bytes used; units receives the units written. The common forms
// (ASCII runs, whole two- and three-byte sequences) take short paths; anything else,
// the end of the bytes included, the careful one.
template <bool kWrite>
std::size_t walkUtf8(const unsigned char* XOCONV_RESTRICT bytes, std::size_t size, bool final,
                     wchar_t* XOCONV_RESTRICT out, std::size_t& units, bool& ok, std::size_t& bad,
                     bool& ascii) {
    wchar_t* const begin = out;
    std::size_t i = 0;
    bool plain = true; // a local: a store through a reference would make every byte reload
    ok = true;
    while (i < size) {
        // Text comes in runs of one script: ASCII, then (for East Asian text) three-byte
        // sequences. A loop per run keeps the branches predictable within it.
        while (i < size && bytes[i] < 0x80) {
            if (kWrite)
                *out++ = wchar_t(bytes[i]);
            ++i;
        }
        while (i + 3 <= size && (bytes[i] & 0xF0) == 0xE0) {
            const unsigned code = threeByteUnit(bytes + i);
            if (code == 0)
                break;
            if (kWrite)
                *out++ = wchar_t(code);
            i += 3;
            plain = false;
        }
        if (i >= size)
            break;
        const unsigned char lead = bytes[i];
        if (lead < 0x80)
            continue;
        plain = false;
        if (lead >= 0xC2 && lead < 0xE0 && i + 2 <= size && (bytes[i + 1] & 0xC0) == 0x80) {
            if (kWrite)
                *out++ = wchar_t((lead & 0x1Fu) << 6 | (bytes[i + 1] & 0x3Fu));
            i += 2;
            continue;
        }
        const std::size_t length = lead >= 0xC2 && lead < 0xE0   ? 2
                                   : lead >= 0xE0 && lead < 0xF0 ? 3
                                   : lead >= 0xF0 && lead < 0xF5 ? 4
                                                                 : 0;
        if (length > 0 && i + length > size && !final)
            break; // the rest comes with the next piece
        unsigned long code = lead & (length == 2 ? 0x1F : length == 3 ? 0x0F : 0x07);
        bool valid = length > 0 && i + length <= size;
        for (std::size_t k = 1; valid && k < length; ++k) {
            const unsigned char trail = bytes[i + k];
            valid = (trail & 0xC0) == 0x80;
            code = (code << 6) | (trail & 0x3F);
        }
        valid = valid && !(length == 3 && (code < 0x800 || surrogate(unsigned(code)))) &&
                !(length == 4 && (code < 0x10000 || code > 0x10FFFF));
        if (!valid) {
            ok = false;
            bad = i;
            break;
        }
        if (kWrite)
            out = putCodePoint(out, code);
        i += length;
    }
    units = kWrite ? std::size_t(out - begin) : 0;
    ascii = ascii && plain;
    return i;
}

} // namespace

PageCache::PageCache(code_page_id id) : id_(id) {
    if (id_ == kSystemPage)
        id_ = XoCodePageMapper::ansiCpToVeskCp(XoCodePageMapper::currentSystemAnsiCp());
    if (IsMultiByteCodePage(id_))
        for (int byte = 0x80; byte < 0x100; ++byte)
            lead_[byte] = XoCharMapper::isLeadByte(static_cast<unsigned char>(byte), id_);
    for (std::uint32_t ascii = 0; ascii < 0x80; ++ascii) { // as it is, in every page
        fromUnicode_[ascii] = 1u << 16 | ascii;
        utf8_[ascii] = 1u << 24 | ascii;
    }
}

wchar_t PageCache::askToUnicode(unsigned code) {
    wchar_t unit = 0;
    const bool ok =
        XoCharMapper::codepageToUnicode(wchar_t(code), id_, unit) && unit != 0 && unit != L'?';
    toUnicode_[code & 0xFFFF] = ok ? 0x10000u | static_cast<std::uint32_t>(unitOf(unit)) : kNone;
    return ok ? unit : 0;
}

std::uint32_t PageCache::askFromUnicode(wchar_t unit) {
    wchar_t code = 0;
    const bool written = XoCharMapper::unicodeToCodepage(unit, id_, code, true);
    const unsigned value = unitOf(code);
    std::uint32_t bytes = kLacks;
    if (written && toUnicode(value) == unit)
        bytes = value > 0xFF ? 2u << 16 | (value & 0xFF) << 8 | value >> 8 : 1u << 16 | value;
    fromUnicode_[unitOf(unit)] = bytes;
    return bytes == kLacks ? 0 : bytes;
}

std::uint32_t PageCache::askUtf8(unsigned code) {
    const unsigned unit = unitOf(toUnicode(code));
    const std::uint32_t bytes = unit == 0 || surrogate(unit) ? kNone : utf8Word(unit);
    utf8_[code & 0xFFFF] = bytes;
    return bytes;
}

std::size_t Decoder::eightBitToUtf8(const unsigned char* bytes, std::size_t size, Bytes& out,
                                    std::size_t& units) {
    PageCache& page = *page_;
    const std::size_t start = out.size();
    out.resize(start + size * 3 + sizeof(std::uint32_t));
    const unsigned char* XOCONV_RESTRICT in = bytes;
    char* XOCONV_RESTRICT at = out.data() + start;
    std::size_t i = 0, count = 0;
    while (i + 1 < size) {
        const unsigned char lead = in[i];
        std::size_t taken = 0;
        std::uint32_t utf8 = 0;
        if (lead == '\\' && escapes_) {
            // Drawing text holds a backslash every few hundred bytes: its escape is
            // taken here, not left to the careful way for the rest of the piece.
            wchar_t unit = 0;
            if (size - i < kLongestEscape)
                break;
            taken = decodeEscape(in + i, size - i, &unit);
            if (taken == 0) {
                taken = 1; // no escape: the backslash itself
                unit = L'\\';
            } else if (surrogate(unitOf(unit))) {
                break; // half of a pair: the careful way joins them
            }
            utf8 = utf8Word(unitOf(unit));
        } else {
            const std::size_t isLead = page.lead(lead) ? 1 : 0;
            utf8 = page.utf8Of(isLead ? unsigned(lead) << 8 | in[i + 1] : lead);
            if (utf8 == PageCache::kNone)
                break;
            taken = 1 + isLead;
        }
        storeWord(at, utf8);
        at += utf8 >> 24;
        i += taken;
        ++count;
    }
    out.resize(std::size_t(at - out.data()));
    units = count;
    return i;
}

std::size_t utf8ToEightBit(PageCache& page, const unsigned char* bytes, std::size_t size,
                           Bytes& out, std::size_t& units) {
    const std::size_t start = out.size();
    out.resize(start + size + sizeof(std::uint32_t));
    const unsigned char* XOCONV_RESTRICT in = bytes;
    char* XOCONV_RESTRICT at = out.data() + start;
    std::size_t i = 0, count = 0;
    while (i < size) {
        const unsigned lead = in[i];
        unsigned unit = lead;
        std::size_t length = 1;
        if (lead >= 0xE0 && lead < 0xF0 && i + 3 <= size) {
            unit = threeByteUnit(in + i);
            if (unit == 0)
                break;
            length = 3;
        } else if (lead >= 0xC2 && lead < 0xE0 && i + 2 <= size && (in[i + 1] & 0xC0) == 0x80) {
            unit = (lead & 0x1Fu) << 6 | (in[i + 1] & 0x3Fu);
            length = 2;
        } else if (lead >= 0x80) {
            break;
        }
        const std::uint32_t code = page.bytesOf(wchar_t(unit));
        if (code == 0)
            break;
        storeWord(at, code);
        at += code >> 16;
        i += length;
        ++count;
    }
    out.resize(std::size_t(at - out.data()));
    units = count;
    return i;
}

Decoder::Decoder(const Encoding& encoding, bool escapes)
    : kind_(encoding.kind), escapes_(escapes), name_(describe(encoding)) {
    if (kind_ == Encoding::Ansi8)
        page_ = std::make_unique<PageCache>(static_cast<code_page_id>(encoding.codePageId));
}

bool Decoder::decode(const unsigned char* bytes, std::size_t size, bool final, wchar_t* out,
                     std::size_t& units, std::size_t& consumed, std::size_t& bad) {
    units = 0;
    consumed = 0;
    switch (kind_) {
    case Encoding::Ansi8:
        return decodeEightBit(bytes, size, final, out, units, consumed, bad);
    case Encoding::Utf8: {
        bool ok = true, ascii = true;
        consumed = walkUtf8<true>(bytes, size, final, out, units, ok, bad, ascii);
        if (!ok)
            problem_ = "not UTF-8";
        return ok;
    }
    case Encoding::Utf16Little:
    case Encoding::Utf16Big: {
        // As they are, a lone surrogate too: UTF-16 can hold it.
        const std::size_t count = size / 2;
        const int high = kind_ == Encoding::Utf16Big ? 0 : 1;
        for (std::size_t k = 0; k < count; ++k)
            out[k] = wchar_t(unsigned(bytes[2 * k + std::size_t(high)]) << 8 |
                             bytes[2 * k + std::size_t(1 - high)]);
        units = count;
        consumed = count * 2;
        if (final && consumed < size) {
            bad = consumed;
            problem_ = "an odd byte at the end of UTF-16 text";
            return false;
        }
        return true;
    }
    default: {
        const bool big = kind_ == Encoding::Utf32Big;
        wchar_t* at = out;
        for (; consumed + 4 <= size; consumed += 4) {
            const unsigned long code = unitAt(bytes + consumed, 4, big);
            if (!utf32Character(code)) {
                bad = consumed;
                problem_ = "not a UTF-32 character";
                units = std::size_t(at - out);
                return false;
            }
            at = putCodePoint(at, code);
        }
        units = std::size_t(at - out);
        if (final && consumed < size) {
            bad = consumed;
            problem_ = "a partial character at the end of UTF-32 text";
            return false;
        }
        return true;
    }
    }
}

// A CIF escape is its unit; a MIF escape goes to the library, which knows the code
// page of each digit and takes the escape only when its code converts. 0 when no
// escape starts here (the backslash is then a character).
std::size_t Decoder::decodeEscape(const unsigned char* bytes, std::size_t size, wchar_t* out) {
    if (size >= kCifLength && (bytes[1] | 0x20) == 'u' && bytes[2] == '+') {
        const int unit = fourHex(bytes + 3);
        if (unit >= 0) {
            *out = wchar_t(unit);
            return kCifLength;
        }
    }
    if (size >= kMifLength && (bytes[1] | 0x20) == 'm' && bytes[2] == '+' && bytes[3] >= '1' &&
        bytes[3] <= '5' && fourHex(bytes + 4) >= 0) {
        converted_.setLogicalLength(0); // the conversion appends; the room stays
        XoCharMapper::multiByteToWideChar(page_->id(), reinterpret_cast<const char*>(bytes),
                                          int(kMifLength), converted_, true, false);
        if (converted_.size() == 2 && converted_.data()[1] == 0) {
            *out = converted_.data()[0];
            return kMifLength;
        }
    }
    return 0;
}

bool Decoder::decodeEightBit(const unsigned char* bytes, std::size_t size, bool final, wchar_t* out,
                             std::size_t& units, std::size_t& consumed, std::size_t& bad) {
    PageCache& page = *page_;
    const unsigned char* XOCONV_RESTRICT in = bytes;
    wchar_t* XOCONV_RESTRICT at = out;
    std::size_t i = 0;
    bool ok = true;
    while (i < size) {
        const unsigned char byte = in[i];
        if (byte < 0x80) {
            if (byte == '\\' && escapes_) {
                if (size - i < kLongestEscape && !final)
                    break; // an escape may go on in the next piece
                if (const std::size_t taken = decodeEscape(in + i, size - i, at)) {
                    ++at;
                    i += taken;
                    continue;
                }
            }
            *at++ = wchar_t(byte);
            ++i;
            continue;
        }
        // East Asian text comes in runs of double-byte characters.
        while (i + 1 < size && page.lead(in[i])) {
            const wchar_t unit = page.toUnicode(unsigned(in[i]) << 8 | in[i + 1]);
            if (unit == 0)
                break; // the careful path below says which byte
            *at++ = unit;
            i += 2;
        }
        if (i >= size || in[i] < 0x80)
            continue;
        unsigned code = in[i];
        std::size_t length = 1;
        if (page.lead(in[i])) {
            if (i + 1 < size) {
                code = unsigned(in[i]) << 8 | in[i + 1];
                length = 2;
            } else if (!final) {
                break; // the trail byte comes with the next piece
            }
        }
        const wchar_t unit = page.toUnicode(code);
        if (unit == 0) {
            ok = false;
            bad = i;
            break;
        }
        *at++ = unit;
        i += length;
    }
    if (!ok)
        problem_ = "not a character of " + name_;
    units = std::size_t(at - out);
    consumed = i;
    return ok;
}

namespace {

// UTF-16 units into UTF-8, a surrogate pair as one four-byte sequence and a lone
// surrogate as lack(i) says (true: U+FFFD, false: nothing). Runs of ASCII and of
// three-byte characters (East Asian text) take loops of their own. out has room for
// a word past the most the units can take.
template <class Lack>
char* encodeUtf8(const wchar_t* XOCONV_RESTRICT units, std::size_t count, char* XOCONV_RESTRICT out,
                 Lack&& lack) {
    std::size_t i = 0;
    while (i < count) {
        while (i < count && unitOf(units[i]) < 0x80)
            *out++ = char(units[i++]);
        while (i < count) {
            const unsigned unit = unitOf(units[i]);
            if (unit < 0x800 || surrogate(unit))
                break;
            storeWord(out, utf8Three(unit));
            out += 3;
            ++i;
        }
        if (i >= count)
            break;
        unsigned long code = unitOf(units[i]);
        if (code < 0x80)
            continue;
        if (surrogate(unsigned(code))) {
            code = pairAt(units, count, i);
            if (code != 0) {
                ++i;
            } else if (lack(i)) {
                code = 0xFFFD;
            } else {
                ++i;
                continue;
            }
        }
        if (code < 0x10000) {
            const std::uint32_t word = utf8Word(unsigned(code));
            storeWord(out, word);
            out += word >> 24;
        } else {
            *out++ = char(0xF0 | (code >> 18));
            *out++ = char(0x80 | ((code >> 12) & 0x3F));
            *out++ = char(0x80 | ((code >> 6) & 0x3F));
            *out++ = char(0x80 | (code & 0x3F));
        }
        ++i;
    }
    return out;
}

} // namespace

std::size_t utf16ToUtf8(bool bigEndian, const unsigned char* bytes, std::size_t size, Bytes& out,
                        std::size_t& units) {
    const std::size_t start = out.size();
    out.resize(start + size / 2 * 3 + sizeof(std::uint32_t));
    const unsigned char* XOCONV_RESTRICT in = bytes;
    char* XOCONV_RESTRICT at = out.data() + start;
    const std::size_t high = bigEndian ? 0 : 1;
    std::size_t i = 0;
    const auto unitAt = [&](std::size_t at16) {
        return unsigned(in[at16 + high]) << 8 | in[at16 + 1 - high];
    };
    // Runs of one script: ASCII, then three-byte characters (East Asian text), each in
    // a loop of its own, so that the branches change direction once a run.
    while (i + 2 <= size) {
        unsigned unit;
        while (i + 2 <= size && (unit = unitAt(i)) < 0x80) {
            *at++ = char(unit);
            i += 2;
        }
        while (i + 2 <= size && (unit = unitAt(i)) >= 0x800 && !surrogate(unit)) {
            storeWord(at, utf8Three(unit));
            at += 3;
            i += 2;
        }
        if (i + 2 > size)
            break;
        unit = unitAt(i);
        if (surrogate(unit))
            break; // a pair, or a lone half: the careful way
        if (unit >= 0x80 && unit < 0x800) {
            storeWord(at, utf8Two(unit));
            at += 2;
            i += 2;
        }
    }
    out.resize(std::size_t(at - out.data()));
    units = i / 2;
    return i;
}

bool decodeWhole(const Encoding& encoding, const std::string& bytes, std::wstring& units) {
    units.assign(Decoder::mostUnits(bytes.size()), L'\0');
    std::size_t count = 0, consumed = 0, bad = 0;
    const bool ok = Decoder(encoding, false)
                        .decode(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                                true, &units[0], count, consumed, bad);
    units.resize(count);
    return ok;
}

Encoder::Encoder(const Encoding& encoding, Lacking lacking)
    : kind_(encoding.kind), lacking_(lacking) {
    if (kind_ == Encoding::Ansi8)
        page_ = std::make_unique<PageCache>(static_cast<code_page_id>(encoding.codePageId));
}

void Encoder::encode(const wchar_t* units, std::size_t count, Bytes& bytes, std::size_t& lacking,
                     std::size_t& firstLacking) {
    if (kind_ == Encoding::Ansi8) {
        if (lacking_ == Lacking::Cif)
            encodeEscaped(units, count, bytes);
        else
            encodeEightBit(units, count, bytes, lacking, firstLacking);
        return;
    }
    const std::size_t start = bytes.size();
    const std::size_t most = kind_ == Encoding::Utf8                                         ? 3
                             : kind_ == Encoding::Utf32Little || kind_ == Encoding::Utf32Big ? 4
                                                                                             : 2;
    // Room for one more word: UTF-8 is written a word at a time.
    bytes.resize(start + count * most + sizeof(std::uint32_t));
    char* XOCONV_RESTRICT out = bytes.data() + start;
    const auto lack = [&](std::size_t i) {
        if (lacking++ == 0)
            firstLacking = i;
        return lacking_ == Lacking::Question || lacking_ == Lacking::Cif;
    };
    switch (kind_) {
    case Encoding::Utf16Little:
    case Encoding::Utf16Big: {
        const bool big = kind_ == Encoding::Utf16Big;
        for (std::size_t i = 0; i < count; ++i) {
            const unsigned value = unitOf(units[i]);
            out[0] = char(big ? value >> 8 : value & 0xFF);
            out[1] = char(big ? value & 0xFF : value >> 8);
            out += 2;
        }
        break;
    }
    case Encoding::Utf8:
        out = encodeUtf8(units, count, out, lack);
        break;
    default: {
        const bool big = kind_ == Encoding::Utf32Big;
        for (std::size_t i = 0; i < count; ++i) {
            unsigned long code = unitOf(units[i]);
            if (surrogate(unsigned(code))) {
                code = pairAt(units, count, i);
                if (code != 0)
                    ++i;
                else if (lack(i))
                    code = 0xFFFD;
                else
                    continue;
            }
            for (int k = 0; k < 4; ++k)
                *out++ = char((code >> (big ? 8 * (3 - k) : 8 * k)) & 0xFF);
        }
        break;
    }
    }
    bytes.resize(std::size_t(out - bytes.data()));
}

void Encoder::encodeEightBit(const wchar_t* units, std::size_t count, Bytes& bytes,
                             std::size_t& lacking, std::size_t& firstLacking) {
    PageCache& page = *page_;
    const std::size_t start = bytes.size();
    bytes.resize(start + count * 2);
    char* XOCONV_RESTRICT out = bytes.data() + start;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t code = page.bytesOf(units[i]);
        if (code != 0) {
            // Both bytes go out; the length says whether the second counts.
            out[0] = char(code & 0xFF);
            out[1] = char((code >> 8) & 0xFF);
            out += code >> 16;
            continue;
        }
        if (lacking++ == 0)
            firstLacking = i;
        if (lacking_ == Lacking::Question)
            *out++ = '?';
        // No code page holds a character beyond U+FFFF: its pair is one character
        // lacked, one '?'.
        if (pairAt(units, count, i) != 0)
            ++i;
    }
    bytes.resize(std::size_t(out - bytes.data()));
}

namespace {

// Whether units at i read as an escape: "U+" and four hexadecimal digits, or "M+", a
// digit and four hexadecimal digits, either letter of either case.
bool escapeFollows(const wchar_t* units, std::size_t count, std::size_t i) {
    const auto hex = [&](std::size_t from, std::size_t digits) {
        for (std::size_t k = from; k < from + digits; ++k)
            if (k >= count || unitOf(units[k]) > 0x7F || hexValue(unitOf(units[k])) < 0)
                return false;
        return true;
    };
    if (i + 1 >= count || units[i + 1] != L'+')
        return false;
    if ((unitOf(units[i]) | 0x20) == 'u')
        return hex(i + 2, 4);
    if ((unitOf(units[i]) | 0x20) == 'm')
        return i + 2 < count && units[i + 2] >= L'0' && units[i + 2] <= L'9' && hex(i + 3, 4);
    return false;
}

void appendEscape(std::wstring& text, unsigned unit) {
    char escape[16];
    std::snprintf(escape, sizeof escape, "\\U+%04X", unit);
    for (const char* c = escape; *c; ++c)
        text += wchar_t(*c);
}

} // namespace

// With escapes written, a backslash that the reader would take for the start of an
// escape is written as the escape of a backslash, so that "\U+0041" in the text reads
// back as itself and not as "A". Units the page writes as a code it will not read back
// (cp932 U+F8F0-F8F3) become escapes, as units it lacks do, so that what --cif writes
// reads back as itself. The library writes the escapes of what the page lacks; a zero
// unit ends its input, so the text goes to it between zero units.
void Encoder::encodeEscaped(const wchar_t* units, std::size_t count, Bytes& bytes) {
    PageCache& page = *page_;
    std::wstring escaped;
    escaped.reserve(count + count / 8);
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned u = unitOf(units[i]);
        wchar_t code = 0;
        if (u == '\\' && escapeFollows(units, count, i + 1))
            appendEscape(escaped, u);
        else if (u < 0x80 || surrogate(u) || page.bytesOf(units[i]) != 0 ||
                 !XoCharMapper::unicodeToCodepage(units[i], page.id(), code, true))
            escaped += units[i]; // as it is; the library escapes what the page lacks
        else
            appendEscape(escaped, u);
    }
    for (std::size_t start = 0; start <= escaped.size();) {
        const std::size_t end = std::min(escaped.find(L'\0', start), escaped.size());
        if (end > start) {
            converted_.setLogicalLength(0); // the conversion appends; the room stays
            XoCharMapper::wideCharToMultiByte(page.id(), escaped.data() + start, int(end - start),
                                              converted_);
            const int size = converted_.size();
            const char* data = converted_.data();
            bytes.insert(bytes.end(), data, data + (size - (size > 0 && data[size - 1] == 0)));
        }
        if (end < escaped.size())
            bytes.push_back('\0');
        start = end + 1;
    }
}

std::size_t unitsToHold(const wchar_t* units, std::size_t count, bool lineEnds, bool escapes) {
    std::size_t from = count;
    if (count > 0 &&
        (highSurrogate(unitOf(units[count - 1])) || (lineEnds && units[count - 1] == L'\r')))
        from = count - 1;
    if (escapes) {
        for (std::size_t k = count > kCifLength ? count - kCifLength : 0; k < from; ++k) {
            if (units[k] == L'\\') {
                from = k;
                break;
            }
        }
    }
    return count - from;
}

void changeLineEnds(const wchar_t* units, std::size_t count, LineEnds lineEnds,
                    std::wstring& result) {
    result.clear();
    result.reserve(count + count / 16);
    for (std::size_t i = 0; i < count; ++i) {
        if (units[i] == L'\r' && i + 1 < count && units[i + 1] == L'\n')
            continue; // folded; the line feed follows
        if (units[i] == L'\n' && lineEnds == LineEnds::CrLf)
            result += L'\r';
        result += units[i];
    }
}

unsigned long pairAt(const wchar_t* units, std::size_t count, std::size_t i) {
    const unsigned high = unitOf(units[i]);
    if (!highSurrogate(high) || i + 1 >= count)
        return 0;
    const unsigned low = unitOf(units[i + 1]);
    if (low < 0xDC00 || low >= 0xE000)
        return 0;
    return 0x10000 + ((unsigned long)(high - 0xD800) << 10) + (low - 0xDC00);
}

std::size_t Utf8Check::feed(const unsigned char* bytes, std::size_t size, bool final) {
    if (!valid_)
        return size;
    std::size_t units = 0, bad = 0;
    bool ok = true;
    const std::size_t used = walkUtf8<false>(bytes, size, final, nullptr, units, ok, bad, ascii_);
    valid_ = ok;
    return ok ? used : size;
}

std::size_t markOf(const unsigned char* bytes, std::size_t size, Encoding& encoding) {
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
        if (size >= mark.size && std::memcmp(bytes, mark.bytes, mark.size) == 0) {
            encoding = Encoding{};
            encoding.kind = mark.kind;
            return mark.size;
        }
    }
    return 0;
}

std::size_t unitSize(Encoding::Kind kind) {
    switch (kind) {
    case Encoding::Utf16Little:
    case Encoding::Utf16Big:
        return 2;
    case Encoding::Utf32Little:
    case Encoding::Utf32Big:
        return 4;
    default:
        return 0;
    }
}

long firstCharacter(Encoding::Kind kind, const unsigned char* bytes, std::size_t size) {
    const std::size_t width = unitSize(kind);
    if (width == 0 || size < width)
        return -1;
    const unsigned long value =
        unitAt(bytes, width, kind == Encoding::Utf16Big || kind == Encoding::Utf32Big);
    return width == 4 && !utf32Character(value) ? -1 : static_cast<long>(value);
}

std::string markFor(Encoding::Kind kind) {
    switch (kind) {
    case Encoding::Utf8:
        return "\xEF\xBB\xBF";
    case Encoding::Utf16Little:
        return "\xFF\xFE";
    case Encoding::Utf16Big:
        return "\xFE\xFF";
    case Encoding::Utf32Little:
        return std::string("\xFF\xFE\0\0", 4);
    case Encoding::Utf32Big:
        return std::string("\0\0\xFE\xFF", 4);
    default:
        return {};
    }
}

std::string hexUnit(unsigned long code) {
    char text[16];
    std::snprintf(text, sizeof text, "U+%04lX", code);
    return text;
}

} // namespace xoconv
