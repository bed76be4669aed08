// XoAnsiTextIterator: characters of 8-bit drawing text (bytes, double-byte pairs, CIF
// and MIF escapes), digit folding and the safe cut.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "XoAnsiTextIterator.h"
#include "XoCharMapper.h"
#include "XoString.h"
#include "platform/codepage.h"

namespace {

int systemAnsi() {
    return int(xo::platform::systemAnsiCodePage());
}

XoStringA bytes(const std::string& s) {
    return XoStringA(s.data(), int(s.size()));
}

std::string text(const XoStringA& s) {
    return std::string(s.constStr(), std::size_t(s.numOfChars()));
}

// The characters up to the first 0 result, with the byte offset each one ends at.
struct Walk {
    std::vector<unsigned> chars;
    std::vector<long> ends;
};

Walk walk(const XoStringA& s, code_page_id page) {
    XoAnsiTextIterator it(s, page);
    Walk w;
    while (wchar_t c = it.nextChar()) {
        w.chars.push_back(unsigned(c));
        w.ends.push_back(long(it.currPos() - s.constStr()));
    }
    return w;
}

template <class T> T fieldAt(const XoAnsiTextIterator& it, std::size_t offset) {
    T value;
    std::memcpy(&value, reinterpret_cast<const unsigned char*>(&it) + offset, sizeof value);
    return value;
}

TEST(XoAnsiTextIterator, FieldsLieInTheirOrder) {
    static_assert(sizeof(void*) == 8, "the layout below is the 64-bit one");
    EXPECT_EQ(sizeof(XoAnsiTextIterator), 56u);
    const XoStringA s("abc");
    XoAnsiTextIterator it(s, CODE_PAGE_JAPANESE);
    it.nextChar();
    it.nextChar();
    EXPECT_EQ(fieldAt<const char*>(it, 0), s.constStr());      // base
    EXPECT_EQ(fieldAt<const char*>(it, 8), s.constStr() + 2);  // cursor
    EXPECT_EQ(fieldAt<std::uint32_t>(it, 16), 3u);             // length
    EXPECT_EQ(fieldAt<std::int32_t>(it, 20), 38);              // code page
    EXPECT_EQ(fieldAt<std::uint16_t>(it, 24), 'b');            // current
    EXPECT_EQ(fieldAt<const char*>(it, 32), s.constStr() + 1); // start of current
    EXPECT_EQ(fieldAt<const char*>(it, 40), s.constStr() + 3); // end
    EXPECT_EQ(fieldAt<bool>(it, 48), true);                    // double-byte page
}

TEST(XoAnsiTextIterator, DefaultConstructorLeavesTheObjectAsItWas) {
    alignas(XoAnsiTextIterator) unsigned char storage[sizeof(XoAnsiTextIterator)];
    std::memset(storage, 0xA5, sizeof storage);
    new (storage) XoAnsiTextIterator;
    for (unsigned char b : storage)
        ASSERT_EQ(b, 0xA5);
}

TEST(XoAnsiTextIterator, StartsAtTheFirstByteAndEndsWithZero) {
    const XoStringA s("ab");
    XoAnsiTextIterator it(s, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(it.currPos(), s.constStr());
    EXPECT_EQ(*it, 0);
    EXPECT_EQ(it.nextChar(), L'a');
    EXPECT_EQ(*it, L'a');
    EXPECT_EQ(it.nextChar(), L'b');
    EXPECT_EQ(it.nextChar(), 0);
    EXPECT_EQ(*it, 0);
    EXPECT_EQ(it.nextChar(), 0);
    EXPECT_EQ(it.currPos(), s.constStr() + 2);

    const XoStringA empty;
    XoAnsiTextIterator none(empty, CODE_PAGE_JAPANESE);
    EXPECT_EQ(none.currPos(), empty.constStr());
    EXPECT_EQ(none.nextChar(), 0);
    EXPECT_EQ(none.currPos(), empty.constStr());

    // A zero byte inside the string ends the walk, and high bytes are not sign-extended.
    const Walk w = walk(bytes(std::string("\xE9\0z", 3)), CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(w.chars, std::vector<unsigned>({0xE9}));
}

TEST(XoAnsiTextIterator, WalksEscapesAndDoubleBytePairs) {
    using Units = std::vector<unsigned>;
    const struct {
        std::string text;
        code_page_id page;
        Units chars;
        long firstEnd; // where the first character ends
    } cases[] = {// A CIF escape is one unit, ahead of the lead-byte rule: "\" is never a lead byte,
                 // and an escape in double-byte text is still an escape.
                 {"\\U+00B0x", CODE_PAGE_WIN_WESTERN, {0xB0, 'x'}, 7},
                 {"\\u+4e2D", CODE_PAGE_WIN_WESTERN, {0x4E2D}, 7},
                 {"\\U+8140", CODE_PAGE_JAPANESE, {0x8140}, 7},
                 // Not escapes: a bad digit, a missing plus, a text that ends too soon.
                 {"\\U+00G0", CODE_PAGE_WIN_WESTERN, {'\\', 'U', '+', '0', '0', 'G', '0'}, 1},
                 {"\\U00B0", CODE_PAGE_WIN_WESTERN, {'\\', 'U', '0', '0', 'B', '0'}, 1},
                 {"\\U+00B", CODE_PAGE_WIN_WESTERN, {'\\', 'U', '+', '0', '0', 'B'}, 1},
                 // A MIF escape is the raw code, and takes digit 0 but not 6 or a letter.
                 {"\\M+18140y", CODE_PAGE_WIN_WESTERN, {0x8140, 'y'}, 8},
                 {"\\m+0a1b2", CODE_PAGE_WIN_WESTERN, {0xA1B2}, 8},
                 {"\\M+5B0A1", CODE_PAGE_WIN_WESTERN, {0xB0A1}, 8},
                 {"\\M+68140", CODE_PAGE_WIN_WESTERN, {'\\', 'M', '+', '6', '8', '1', '4', '0'}, 1},
                 {"\\M+A8140", CODE_PAGE_WIN_WESTERN, {'\\', 'M', '+', 'A', '8', '1', '4', '0'}, 1},
                 // Lead bytes join only in double-byte pages.
                 {"\x82\xA0", CODE_PAGE_JAPANESE, {0x82A0}, 2},
                 {"\x82\xA0", CODE_PAGE_JAPANESE_DOS, {0x82A0}, 2},
                 {"\x82\xA0", CODE_PAGE_WIN_WESTERN, {0x82, 0xA0}, 1},
                 // A trail byte that looks like a backslash belongs to its lead byte.
                 {"\x81\x5CU+0041", CODE_PAGE_JAPANESE, {0x815C, 'U', '+', '0', '0', '4', '1'}, 2},
                 // A lead byte with nothing after it stands alone.
                 {"\x82", CODE_PAGE_JAPANESE, {0x82}, 1},
                 {std::string("\x82\0\xA0", 3), CODE_PAGE_JAPANESE, {0x82}, 1},
                 // 0xB0 leads in GBK but not in Shift-JIS.
                 {"\xB0\xA1", CODE_PAGE_SIMPLIFIED_CHINESE, {0xB0A1}, 2},
                 {"\xB0\xA1", CODE_PAGE_JAPANESE, {0xB0, 0xA1}, 1}};
    for (const auto& c : cases) {
        const Walk w = walk(bytes(c.text), c.page);
        EXPECT_EQ(w.chars, c.chars) << c.text << " in " << c.page;
        if (!w.ends.empty()) {
            EXPECT_EQ(w.ends.front(), c.firstEnd) << c.text << " in " << c.page;
        }
    }
}

TEST(XoAnsiTextIterator, SystemAnsiIdentifierNeverJoinsEvenOnAJapaneseSystem) {
    // The system identifier does not count as double-byte, whatever the system answers.
    const XoStringA pair = bytes("\x82\xA0");
    EXPECT_EQ(walk(pair, CODE_PAGE_SYSTEM_ANSI).chars, std::vector<unsigned>({0x82, 0xA0}));
    if (std::getenv("XO_EXPECT_JAPANESE_SYSTEM") != nullptr) {
        EXPECT_TRUE(XoCharMapper::isLeadByte(0x82, CODE_PAGE_SYSTEM_ANSI));
        XoStringA out;
        const XoStringA s("abc");
        XoAnsiTextIterator again(s, CODE_PAGE_WIN_WESTERN);
        again.breakSafely(2, out);
        EXPECT_EQ(out.codepage(), 932);
    }
}

TEST(XoAnsiTextIterator, AppendDigitsFoldsUntilANonDigit) {
    const XoStringA s("x12z");
    XoAnsiTextIterator it(s, CODE_PAGE_WIN_WESTERN);
    it.nextChar();
    EXPECT_EQ(it.appendDigits(0, false), L'x');
    EXPECT_EQ(it.appendDigits(-1, false), L'x');
    EXPECT_EQ(it.currPos(), s.constStr() + 1);
    EXPECT_EQ(unsigned(it.appendDigits(4, false)), ('x' * 10u + 1) * 10 + 2);
    EXPECT_EQ(it.currPos(), s.constStr() + 3);
    EXPECT_EQ(*it, it.appendDigits(4, true)) << "\"z\" is no digit in either base";

    // Decimal stops at a hexadecimal letter; hexadecimal takes both cases.
    const XoStringA h("7aF");
    XoAnsiTextIterator dec(h, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(dec.appendDigits(3, false), 7);
    EXPECT_EQ(dec.currPos(), h.constStr() + 1);
    XoAnsiTextIterator hex(h, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(hex.appendDigits(3, true), 0x7AF);
    EXPECT_EQ(hex.currPos(), h.constStr() + 3);
    EXPECT_EQ(hex.appendDigits(2, true), 0x7AF) << "the end of the text ends the fold";

    // Sixteen bits: 0xFFFF * 16 + 0xF.
    const XoStringA ffff("\\U+FFFFF");
    XoAnsiTextIterator wide(ffff, CODE_PAGE_WIN_WESTERN);
    wide.nextChar();
    EXPECT_EQ(unsigned(wide.appendDigits(1, true)), 0xFFFFu);
    XoStringA decimal("99999");
    XoAnsiTextIterator big(decimal, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(unsigned(big.appendDigits(5, false)), 99999u & 0xFFFF);
}

TEST(XoAnsiTextIterator, AppendDigitsNoCheckTakesEveryByteAsADigit) {
    const XoStringA s("1z2G5");
    XoAnsiTextIterator it(s, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(it.appendDigitsNoCheck(3, false), 102);
    EXPECT_EQ(it.currPos(), s.constStr() + 3);
    EXPECT_EQ(it.appendDigitsNoCheck(0, true), 102);
    EXPECT_EQ(it.appendDigitsNoCheck(1, true), 102 * 16) << "\"G\" is no hexadecimal digit";

    // Nothing past the end of the text is read.
    const XoStringA shortText("12");
    XoAnsiTextIterator past(shortText, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(past.appendDigitsNoCheck(4, false), 12);
    EXPECT_EQ(past.currPos(), shortText.constStr() + 2);
    EXPECT_EQ(past.nextChar(), 0);
}

TEST(XoAnsiTextIterator, BreakSafelyLeavesOutTheCharacterThatReachedTheLimit) {
    const struct {
        std::string text;
        code_page_id page;
        int skip, limit, result;
        std::string out;
        long pos; // where the iterator stays; -1: not checked
    } cases[] = { // The iterator stays after the character it left out.
                 {"abcdef", CODE_PAGE_WIN_WESTERN, 0, 3, 3, "ab", 3},
                 // Left out even when it ends exactly at the limit and nothing follows it.
                 {"abc", CODE_PAGE_WIN_WESTERN, 0, 3, 3, "ab", 3},
                 // Room for everything: the whole text, and 1.
                 {"abc", CODE_PAGE_WIN_WESTERN, 0, 4, 1, "abc", -1},
                 // From the middle of a walk.
                 {"abcdef", CODE_PAGE_WIN_WESTERN, 1, 3, 3, "bc", -1},
                 // A limit below 1 copies nothing but still reads a character.
                 {"abc", CODE_PAGE_WIN_WESTERN, 0, 0, 3, "", 1},
                 {"abc", CODE_PAGE_WIN_WESTERN, 0, -7, 3, "", 1},
                 // One character or none copies nothing, though the character is read.
                 {"a", CODE_PAGE_WIN_WESTERN, 0, 10, 0, "", 1},
                 {"\\U+00B0", CODE_PAGE_WIN_WESTERN, 0, 10, 0, "", -1},
                 {"", CODE_PAGE_WIN_WESTERN, 0, 10, 0, "", -1},
                 // A character is never split.
                 {"a\x82\xA0\x82\xA0z", CODE_PAGE_JAPANESE, 0, 3, 3, "a", -1},
                 {"a\x82\xA0\x82\xA0z", CODE_PAGE_JAPANESE, 0, 4, 3, "a\x82\xA0", -1},
                 {"a\x82\xA0\x82\xA0z", CODE_PAGE_WIN_WESTERN, 0, 3, 3, "a\x82", -1},
                 {"ab\\U+00B0cd", CODE_PAGE_WIN_WESTERN, 0, 5, 3, "ab", -1},
                 {"ab\\U+00B0cd", CODE_PAGE_WIN_WESTERN, 0, 10, 3, "ab\\U+00B0", -1}};
    for (const auto& c : cases) {
        const XoStringA s = bytes(c.text);
        XoAnsiTextIterator it(s, c.page);
        for (int i = 0; i < c.skip; ++i)
            it.nextChar();
        XoStringA out("junk");
        EXPECT_EQ(it.breakSafely(c.limit, out), c.result) << c.text << " limit " << c.limit;
        EXPECT_EQ(text(out), c.out) << c.text << " limit " << c.limit;
        if (c.pos >= 0) {
            EXPECT_EQ(it.currPos(), s.constStr() + c.pos) << c.text << " limit " << c.limit;
            EXPECT_EQ(*it, wchar_t(c.text[std::size_t(c.pos) - 1])) << c.text;
        }
    }
}

TEST(XoAnsiTextIterator, BreakSafelyGivesOutTheSystemCodePageNumber) {
    const XoStringA s("abcdef");
    for (int limit : {3, 100}) {
        XoStringA out;
        out.setCodepage(12345);
        XoAnsiTextIterator it(s, CODE_PAGE_JAPANESE);
        it.breakSafely(limit, out);
        EXPECT_EQ(out.codepage(), systemAnsi()) << "a Windows number, not an identifier";
    }
    XoStringA out;
    out.setCodepage(12345);
    const XoStringA one("a");
    XoAnsiTextIterator it(one, CODE_PAGE_JAPANESE);
    EXPECT_EQ(it.breakSafely(3, out), 0);
    EXPECT_EQ(out.codepage(), systemAnsi());
}

TEST(XoAnsiTextIterator, BreakSafelyIntoTheTextItWalks) {
    XoStringA s("abcdef");
    XoAnsiTextIterator it(s, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(it.breakSafely(3, s), 3);
    EXPECT_EQ(text(s), "ab");
}

TEST(XoAnsiTextIterator, CopiesWalkOnTheirOwn) {
    const XoStringA s = bytes("a\x82\xA0z");
    XoAnsiTextIterator it(s, CODE_PAGE_JAPANESE);
    it.nextChar();
    XoAnsiTextIterator assigned;
    assigned = it;
    const XoAnsiTextIterator constructed(it);
    EXPECT_EQ(*assigned, L'a');
    EXPECT_EQ(assigned.currPos(), s.constStr() + 1);
    EXPECT_EQ(assigned.nextChar(), 0x82A0) << "the code page and its double-byte flag come along";
    EXPECT_EQ(it.currPos(), s.constStr() + 1);
    EXPECT_EQ(it.nextChar(), 0x82A0);
    EXPECT_EQ(*constructed, L'a');
    // The length comes along: the end is where the copy stops.
    EXPECT_EQ(assigned.nextChar(), L'z');
    EXPECT_EQ(assigned.nextChar(), 0);
    EXPECT_EQ(assigned.currPos(), s.constStr() + 4);
}

TEST(XoAnsiTextIterator, NotRequiredOnlyForSingleBytePagesWithoutBackslash) {
    EXPECT_TRUE(XoAnsiTextIterator::XoAnsiTextIteratorNotRequired("abc", CODE_PAGE_WIN_WESTERN));
    EXPECT_TRUE(
        XoAnsiTextIterator::XoAnsiTextIteratorNotRequired(XoStringA(), CODE_PAGE_WIN_WESTERN));
    EXPECT_FALSE(XoAnsiTextIterator::XoAnsiTextIteratorNotRequired("a\\b", CODE_PAGE_WIN_WESTERN));
    EXPECT_FALSE(XoAnsiTextIterator::XoAnsiTextIteratorNotRequired("\\", CODE_PAGE_UTF8));
    for (code_page_id page : {CODE_PAGE_SIMPLIFIED_CHINESE, CODE_PAGE_SIMPLIFIED_CHINESE_SECOND,
                              CODE_PAGE_JAPANESE, CODE_PAGE_JOHAB}) {
        EXPECT_FALSE(XoAnsiTextIterator::XoAnsiTextIteratorNotRequired("abc", page)) << page;
        EXPECT_FALSE(XoAnsiTextIterator::XoAnsiTextIteratorNotRequired(XoStringA(), page)) << page;
    }
    EXPECT_TRUE(XoAnsiTextIterator::XoAnsiTextIteratorNotRequired("abc", CODE_PAGE_UTF8));
    EXPECT_TRUE(XoAnsiTextIterator::XoAnsiTextIteratorNotRequired("abc", CODE_PAGE_SYSTEM_ANSI));
}

} // namespace
