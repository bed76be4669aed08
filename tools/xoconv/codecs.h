// The encodings xoconv reads and writes, a piece at a time: a decoder turns bytes into
// UTF-16 units (one a wchar_t, as the library holds them) and an encoder turns units
// into bytes. A piece may end in the middle of a character; the decoder then leaves the
// incomplete character for the next piece, so the text can stream through in bounded
// memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "XoCharMapper.h"
#include "XoVector.h"
#include "options.h"

namespace xoconv {

// Room that is not zeroed when a vector grows: encoders size their output for the
// most it can take and write every byte before it is read, and zeroing that room cost
// about as much as writing ASCII.
template <class T> struct Unzeroed : std::allocator<T> {
    template <class U> struct rebind { using other = Unzeroed<U>; };
    Unzeroed() = default;
    template <class U> Unzeroed(const Unzeroed<U>&) noexcept {}
    template <class U> void construct(U* at) noexcept { ::new (static_cast<void*>(at)) U; }
    template <class U, class... Args> void construct(U* at, Args&&... args) {
        ::new (static_cast<void*>(at)) U(std::forward<Args>(args)...);
    }
};

// Encoded bytes on their way out.
using Bytes = std::vector<char, Unzeroed<char>>;

// What a code page gives for each code, asked of the library once per code and kept:
// the library resolves the page anew for every character it converts, which cost more
// than everything else the tool does.
class PageCache {
public:
    explicit PageCache(code_page_id id);
    code_page_id id() const { return id_; }
    bool lead(unsigned char byte) const { return lead_[byte]; }

    // The unit of a code, or 0 when the page has none for it.
    wchar_t toUnicode(unsigned code) {
        const std::uint32_t slot = toUnicode_[code & 0xFFFF];
        return slot > kNone ? wchar_t(slot & 0xFFFF) : slot == kNone ? 0 : askToUnicode(code);
    }

    // The UTF-8 of a code as (length << 24) | its bytes, first in the low byte; kNone
    // when the page has no unit for it (or one UTF-8 writes otherwise, a surrogate).
    std::uint32_t utf8Of(unsigned code) {
        const std::uint32_t slot = utf8_[code & 0xFFFF];
        return slot != 0 ? slot : askUtf8(code);
    }

    // The bytes of a unit as (length << 16) | second byte << 8 | first byte, or 0 when
    // the page lacks it. A code that does not read back as the same unit counts as
    // lacking: Windows itself writes U+F8F0-F8F3 as cp932 A0, FD, FE, FF and then
    // refuses those bytes in a strict reading, and the tool never writes what it could
    // not read.
    std::uint32_t bytesOf(wchar_t unit) {
        const std::uint32_t slot = fromUnicode_[static_cast<unsigned>(unit) & 0xFFFF];
        return slot > kLacks ? slot : slot == kLacks ? 0 : askFromUnicode(unit);
    }

    // In the tables, beside 0 for "not asked yet".
    static constexpr std::uint32_t kNone = 1;  // toUnicode_, utf8_: none
    static constexpr std::uint32_t kLacks = 1; // fromUnicode_: no code

private:
    wchar_t askToUnicode(unsigned code);
    std::uint32_t askUtf8(unsigned code);
    std::uint32_t askFromUnicode(wchar_t unit);

    code_page_id id_;
    bool lead_[256] = {};
    // 0: not asked yet; else 0x10000 | the unit, 1 when there is none.
    std::vector<std::uint32_t> toUnicode_ = std::vector<std::uint32_t>(0x10000, 0);
    std::vector<std::uint32_t> fromUnicode_ = std::vector<std::uint32_t>(0x10000, 0);
    std::vector<std::uint32_t> utf8_ = std::vector<std::uint32_t>(0x10000, 0);
};

class Decoder {
public:
    // kind is not Encoding::Auto. escapes: CIF and MIF escapes in 8-bit text are decoded.
    Decoder(const Encoding& encoding, bool escapes);

    // The most units `size` bytes can give, for the caller's buffer.
    static std::size_t mostUnits(std::size_t size) { return size + 2; }

    // Decodes bytes into units at out (room for mostUnits(size)), and returns how many it
    // wrote; consumed receives the bytes used. Unless final, an incomplete character at
    // the end is left unconsumed. Returns false at bytes that are no character of the
    // encoding (bad: their offset); what came before is still decoded.
    bool decode(const unsigned char* bytes, std::size_t size, bool final, wchar_t* out,
                std::size_t& units, std::size_t& consumed, std::size_t& bad);
    // What was wrong with the bytes at bad, after decode returned false.
    const std::string& problem() const { return problem_; }
    // 8-bit text into UTF-8 in one pass, as the functions below (escapes decoded when
    // read, a surrogate escape left to the careful way).
    std::size_t eightBitToUtf8(const unsigned char* bytes, std::size_t size, Bytes& out,
                               std::size_t& units);

private:
    bool decodeEightBit(const unsigned char* bytes, std::size_t size, bool final, wchar_t* out,
                        std::size_t& units, std::size_t& consumed, std::size_t& bad);
    bool decodeUtf8(const unsigned char* bytes, std::size_t size, bool final, wchar_t* out,
                    std::size_t& units, std::size_t& consumed, std::size_t& bad);
    std::size_t decodeEscape(const unsigned char* bytes, std::size_t size, wchar_t* out);

    Encoding::Kind kind_;
    bool escapes_;
    std::string name_; // for messages
    std::string problem_;
    std::unique_ptr<PageCache> page_; // when 8-bit
    XoVector<wchar_t> converted_;
};

class Encoder {
public:
    Encoder(const Encoding& encoding, Lacking lacking);

    // Encodes units and appends the bytes. A character the target lacks counts in
    // lacking (firstLacking: its index in units, for the first one) and is written as
    // the lacking rule says. A surrogate pair is one character.
    void encode(const wchar_t* units, std::size_t count, Bytes& bytes, std::size_t& lacking,
                std::size_t& firstLacking);

    // The code page of 8-bit text, else null.
    PageCache* page() const { return page_.get(); }

private:
    void encodeEightBit(const wchar_t* units, std::size_t count, Bytes& bytes, std::size_t& lacking,
                        std::size_t& firstLacking);
    void encodeEscaped(const wchar_t* units, std::size_t count, Bytes& bytes);

    Encoding::Kind kind_;
    Lacking lacking_;
    std::unique_ptr<PageCache> page_; // when 8-bit
    XoVector<char> converted_;
};

// All of bytes as units; false when some byte is no character of the encoding.
bool decodeWhole(const Encoding& encoding, const std::string& bytes, std::wstring& units);

// The common cases in one pass, with no units between: 8-bit text (escapes read or
// not) into UTF-8, UTF-8 into 8-bit text, and UTF-16 into UTF-8. Each converts from the start of
// bytes for as long as the text is plain (ASCII and characters both sides have, no escape, no
// character cut by the end), appends the bytes and counts the units they stand for, and returns the
// bytes used: the careful way goes on from there.
std::size_t utf8ToEightBit(PageCache& page, const unsigned char* bytes, std::size_t size,
                           Bytes& out, std::size_t& units);
std::size_t utf16ToUtf8(bool bigEndian, const unsigned char* bytes, std::size_t size, Bytes& out,
                        std::size_t& units);

// How many units at the end of a piece must wait for the next: the first half of a
// surrogate pair, a carriage return that a line feed may follow, and a backslash that
// an escape may follow when escapes are written.
std::size_t unitsToHold(const wchar_t* units, std::size_t count, bool lineEnds, bool escapes);

// Units with each line end made a line feed, or a carriage return and a line feed.
void changeLineEnds(const wchar_t* units, std::size_t count, LineEnds lineEnds,
                    std::wstring& result);

// The code point of a surrogate pair at units[i], or 0 when there is none.
unsigned long pairAt(const wchar_t* units, std::size_t count, std::size_t i);

// Whether bytes are UTF-8 as a whole (overlong forms, encoded surrogates and code
// points past U+10FFFF are not), fed a piece at a time.
class Utf8Check {
public:
    // Unless final, an incomplete character at the end waits for the next piece: call
    // again with it in front. Returns the bytes used; valid() turns false for good at
    // the first byte that is not UTF-8.
    std::size_t feed(const unsigned char* bytes, std::size_t size, bool final);
    bool valid() const { return valid_; }
    bool ascii() const { return ascii_; }

private:
    bool valid_ = true;
    bool ascii_ = true;
};

// The byte-order mark at the start of bytes and its size; 0 without one.
std::size_t markOf(const unsigned char* bytes, std::size_t size, Encoding& encoding);

// The size of a code unit of a UTF-16 or UTF-32 form, else 0.
std::size_t unitSize(Encoding::Kind kind);

// The first character of UTF-16 or UTF-32 text (of UTF-16, its first unit), or -1 when
// the text is shorter than a unit or the unit is no character.
long firstCharacter(Encoding::Kind kind, const unsigned char* bytes, std::size_t size);

// The mark that starts text in the encoding.
std::string markFor(Encoding::Kind kind);

std::string hexUnit(unsigned long code);

} // namespace xoconv
