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

TEST(XoAnsiTextIterator, CifEscapeIsOneUnit) {
    const XoStringA s("\\U+00B0x");
    XoAnsiTextIterator it(s, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(it.nextChar(), 0x00B0);
    EXPECT_EQ(it.currPos(), s.constStr() + 7);
    EXPECT_EQ(it.nextChar(), L'x');

    EXPECT_EQ(walk("\\u+4e2D", CODE_PAGE_WIN_WESTERN).chars, std::vector<unsigned>({0x4E2D}));
    // Ahead of the lead-byte rule: "\" is never a lead byte, and an escape in double-byte
    // text is still an escape.
    EXPECT_EQ(walk("\\U+8140", CODE_PAGE_JAPANESE).chars, std::vector<unsigned>({0x8140}));

    // Not escapes: a bad digit, a missing plus, a text that ends too soon.
    EXPECT_EQ(walk("\\U+00G0", CODE_PAGE_WIN_WESTERN).chars.size(), 7u);
    EXPECT_EQ(walk("\\U00B0", CODE_PAGE_WIN_WESTERN).chars.size(), 6u);
    EXPECT_EQ(walk("\\U+00B", CODE_PAGE_WIN_WESTERN).chars,
              std::vector<unsigned>({'\\', 'U', '+', '0', '0', 'B'}));
}

TEST(XoAnsiTextIterator, MifEscapeIsTheRawCodeAndTakesDigitZero) {
    const XoStringA s("\\M+18140y");
    XoAnsiTextIterator it(s, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(it.nextChar(), 0x8140);
    EXPECT_EQ(it.currPos(), s.constStr() + 8);
    EXPECT_EQ(it.nextChar(), L'y');

    EXPECT_EQ(walk("\\m+0a1b2", CODE_PAGE_WIN_WESTERN).chars, std::vector<unsigned>({0xA1B2}));
    EXPECT_EQ(walk("\\M+5B0A1", CODE_PAGE_WIN_WESTERN).chars, std::vector<unsigned>({0xB0A1}));
    EXPECT_EQ(walk("\\M+68140", CODE_PAGE_WIN_WESTERN).chars.size(), 8u);
    EXPECT_EQ(walk("\\M+A8140", CODE_PAGE_WIN_WESTERN).chars.size(), 8u);
}

TEST(XoAnsiTextIterator, LeadBytesJoinOnlyInDoubleBytePages) {
    const XoStringA pair = bytes("\x82\xA0");
    EXPECT_EQ(walk(pair, CODE_PAGE_JAPANESE).chars, std::vector<unsigned>({0x82A0}));
    EXPECT_EQ(walk(pair, CODE_PAGE_JAPANESE_DOS).chars, std::vector<unsigned>({0x82A0}));
    EXPECT_EQ(walk(pair, CODE_PAGE_WIN_WESTERN).chars, std::vector<unsigned>({0x82, 0xA0}));

    // A trail byte that looks like a backslash belongs to its lead byte.
    const Walk sjis = walk(bytes("\x81\x5CU+0041"), CODE_PAGE_JAPANESE);
    EXPECT_EQ(sjis.chars, std::vector<unsigned>({0x815C, 'U', '+', '0', '0', '4', '1'}));
    EXPECT_EQ(sjis.ends.front(), 2);

    // A lead byte with nothing after it stands alone.
    const Walk last = walk(bytes("a\x82"), CODE_PAGE_JAPANESE);
    EXPECT_EQ(last.chars, std::vector<unsigned>({'a', 0x82}));
    EXPECT_EQ(last.ends.back(), 2);
    EXPECT_EQ(walk(bytes(std::string("\x82\0\xA0", 3)), CODE_PAGE_JAPANESE).chars,
              std::vector<unsigned>({0x82}));

    // 0xB0 leads in GBK but not in Shift-JIS.
    EXPECT_EQ(walk(bytes("\xB0\xA1"), CODE_PAGE_SIMPLIFIED_CHINESE).chars,
              std::vector<unsigned>({0xB0A1}));
    EXPECT_EQ(walk(bytes("\xB0\xA1"), CODE_PAGE_JAPANESE).chars,
              std::vector<unsigned>({0xB0, 0xA1}));
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
    const XoStringA s("abcdef");
    XoAnsiTextIterator it(s, CODE_PAGE_WIN_WESTERN);
    XoStringA out("junk");
    EXPECT_EQ(it.breakSafely(3, out), 3);
    EXPECT_EQ(text(out), "ab");
    // The iterator stays after the character it left out.
    EXPECT_EQ(it.currPos(), s.constStr() + 3);
    EXPECT_EQ(*it, L'c');

    // Left out even when it ends exactly at the limit and nothing follows it.
    const XoStringA abc("abc");
    XoAnsiTextIterator exact(abc, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(exact.breakSafely(3, out), 3);
    EXPECT_EQ(text(out), "ab");

    // Room for everything: the whole text, and 1.
    XoAnsiTextIterator all(abc, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(all.breakSafely(4, out), 1);
    EXPECT_EQ(text(out), "abc");

    // From the middle of a walk.
    XoAnsiTextIterator middle(s, CODE_PAGE_WIN_WESTERN);
    middle.nextChar();
    EXPECT_EQ(middle.breakSafely(3, out), 3);
    EXPECT_EQ(text(out), "bc");

    // A limit below 1 copies nothing but still reads a character.
    for (int limit : {0, -7}) {
        XoAnsiTextIterator none(abc, CODE_PAGE_WIN_WESTERN);
        out = XoStringA("junk");
        EXPECT_EQ(none.breakSafely(limit, out), 3);
        EXPECT_TRUE(out.isEmpty());
        EXPECT_EQ(none.currPos(), abc.constStr() + 1);
    }
}

TEST(XoAnsiTextIterator, BreakSafelyOnOneCharacterOrNoneCopiesNothing) {
    XoStringA out("junk");
    const XoStringA one("a");
    XoAnsiTextIterator it(one, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(it.breakSafely(10, out), 0);
    EXPECT_TRUE(out.isEmpty());
    EXPECT_EQ(*it, L'a') << "the character is read all the same";

    out = XoStringA("junk");
    const XoStringA escape("\\U+00B0");
    XoAnsiTextIterator cif(escape, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(cif.breakSafely(10, out), 0);
    EXPECT_TRUE(out.isEmpty());

    out = XoStringA("junk");
    const XoStringA empty;
    XoAnsiTextIterator none(empty, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(none.breakSafely(10, out), 0);
    EXPECT_TRUE(out.isEmpty());
}

TEST(XoAnsiTextIterator, BreakSafelyNeverSplitsACharacter) {
    XoStringA out;
    const XoStringA pairs = bytes("a\x82\xA0\x82\xA0z");
    XoAnsiTextIterator a(pairs, CODE_PAGE_JAPANESE);
    EXPECT_EQ(a.breakSafely(3, out), 3);
    EXPECT_EQ(text(out), "a");
    XoAnsiTextIterator b(pairs, CODE_PAGE_JAPANESE);
    EXPECT_EQ(b.breakSafely(4, out), 3);
    EXPECT_EQ(text(out), "a\x82\xA0");
    XoAnsiTextIterator single(pairs, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(single.breakSafely(3, out), 3);
    EXPECT_EQ(text(out), "a\x82");

    const XoStringA escaped("ab\\U+00B0cd");
    XoAnsiTextIterator c(escaped, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(c.breakSafely(5, out), 3);
    EXPECT_EQ(text(out), "ab");
    XoAnsiTextIterator d(escaped, CODE_PAGE_WIN_WESTERN);
    EXPECT_EQ(d.breakSafely(10, out), 3);
    EXPECT_EQ(text(out), "ab\\U+00B0");
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
