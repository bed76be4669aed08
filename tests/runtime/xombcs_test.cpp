// The multibyte walks under a double-byte code page, on every target.
#include <gtest/gtest.h>

#include <string>

#include "platform/codepage.h"
#include "runtime/xombcs.h"
#include "xotestcodepage.h"

namespace {

using Bytes = std::basic_string<unsigned char>;

const unsigned char* u(const char* s) {
    return reinterpret_cast<const unsigned char*>(s);
}

using MultibyteWalks = xotest::WithMultiByteCodePage<932>;

TEST_F(MultibyteWalks, CharactersAndBytes) {
    const unsigned char* text = u("\x82\xA0\x82\xA2");
    EXPECT_EQ(xo::mbcs::len(text), 2u);
    EXPECT_EQ(xo::mbcs::inc(text), text + 2);
    EXPECT_EQ(xo::mbcs::ninc(text, 5), text + 4);
    EXPECT_EQ(xo::mbcs::dec(text, text + 4), text + 2);
    EXPECT_EQ(xo::mbcs::dec(text, text), nullptr);
    // A trail byte that looks like a backslash belongs to its lead byte.
    const unsigned char* table = u("\x95\x5C"
                                   "a");
    EXPECT_EQ(xo::mbcs::len(table), 2u);
    EXPECT_EQ(xo::mbcs::dec(table, table + 2), table);
}

TEST_F(MultibyteWalks, LeadByteAtTheEnd) {
    const unsigned char* text = u("a\x82");
    EXPECT_EQ(xo::mbcs::len(text), 1u);
    EXPECT_EQ(xo::mbcs::inc(text + 1), text + 2);
    EXPECT_EQ(xo::mbcs::ninc(text, 3), text + 1);
    EXPECT_EQ(xo::mbcs::dec(text, text + 2), text + 1);
    Bytes reversed = u("ab\x82\xA0\x82");
    EXPECT_EQ(Bytes(xo::mbcs::rev(reversed.data())), Bytes(u("\x82\xA0"
                                                             "ba\x82")));
    EXPECT_GT(xo::mbcs::cmp(u("\x82"), u("\xFE")), 0); // a lone lead compares as lead << 8
}

TEST_F(MultibyteWalks, SearchSkipsTrailBytes) {
    const unsigned char* text = u("a\x82\xA0"
                                  "b\xA0");
    EXPECT_EQ(xo::mbcs::str(text, u("\xA0")), text + 4);
    EXPECT_EQ(xo::mbcs::str(text, u("b")), text + 3);
    EXPECT_EQ(xo::mbcs::str(text, u("")), text);
    EXPECT_EQ(xo::mbcs::str(text, u("c")), nullptr);
}

TEST_F(MultibyteWalks, CaseOfDoubleByteLetters) {
    Bytes text = u("a\x82\x81Z");
    EXPECT_EQ(Bytes(xo::mbcs::upr(text.data())), Bytes(u("A\x82\x60Z")));
    EXPECT_EQ(Bytes(xo::mbcs::lwr(text.data())), Bytes(u("a\x82\x81z")));
    EXPECT_EQ(xo::mbcs::icmp(u("\x82\x81x"), u("\x82\x60X")), 0);
    EXPECT_TRUE(xo::mbcs::isLower(0x8281));
    EXPECT_FALSE(xo::mbcs::isLower(0x8260));
    EXPECT_TRUE(xo::mbcs::isDigit(0x8250));
    EXPECT_TRUE(xo::mbcs::isSpace(0x8140));
    EXPECT_EQ(xo::mbcs::toUpper(0x82A0), 0x82A0u); // hiragana has no case
    EXPECT_EQ(xo::mbcs::ncmp(u("\x82\xA0x"), u("\x82\xA0y"), 1), 0);
}

TEST_F(MultibyteWalks, FollowsTheCurrentCodePage) {
    const unsigned char* text = u("\x82\xA0");
    EXPECT_EQ(xo::mbcs::len(text), 1u);
    ASSERT_EQ(xo::platform::setMultiByteCodePage(1252), 0);
    EXPECT_EQ(xo::mbcs::len(text), 2u);
    EXPECT_EQ(xo::mbcs::toUpper(0xE0), 0xC0u);
    EXPECT_TRUE(xo::mbcs::isLower(0xDF));
}

} // namespace
