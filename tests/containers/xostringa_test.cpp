#include "XoString.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/codepage.h"
#include "xotestcodepage.h"

namespace {

using Str = XoStringT<char, XoStrHeaderA>;

std::int32_t refs(const Str& s) {
    return s.header()->m_nRefs.load();
}

std::string bytes(const Str& s) {
    return std::string(s.constStr(), std::size_t(s.numOfChars()));
}

int acp() {
    return int(xo::platform::systemAnsiCodePage());
}

// A private header of its own with the code page.
void expectOwnHeader(const XoStringA& s, int codePage, const char* what) {
    EXPECT_FALSE(s.isEmptyData()) << what;
    EXPECT_EQ(refs(s), 1) << what;
    EXPECT_EQ(s.codepage(), codePage) << what;
}

TEST(XoStringA, EveryConstructorOwnsItsHeaderAndSetsTheCodePage) {
    const XoStringA empty;
    expectOwnHeader(empty, acp(), "default");
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(empty.header()->m_nCount, 0u);
    EXPECT_STREQ(empty.constStr(), "");
    const XoStringA otherEmpty;
    EXPECT_NE(otherEmpty.header(), empty.header());

    expectOwnHeader(XoStringA(std::size_t(40)), acp(), "capacity");
    EXPECT_EQ(XoStringA(std::size_t(40)).capacity(), 40u);
    expectOwnHeader(XoStringA("text"), acp(), "text");
    expectOwnHeader(XoStringA(static_cast<const char*>(nullptr)), acp(), "null text");
    expectOwnHeader(XoStringA("text", 2), acp(), "length");
    EXPECT_EQ(bytes(XoStringA("text", 2)), "te");
    expectOwnHeader(XoStringA("text", 3, 932), 932, "code page");
    expectOwnHeader(XoStringA("", 0, 1251), 1251, "empty with code page");
    expectOwnHeader(XoStringA('x', 3), acp(), "repeat");
    EXPECT_EQ(bytes(XoStringA('x', 3)), "xxx");

    const Str plain("plain");
    const XoStringA fromPlain(plain);
    expectOwnHeader(fromPlain, acp(), "from XoStringT");
    EXPECT_EQ(refs(plain), 1);
    EXPECT_EQ(bytes(fromPlain), "plain");

    // A copy gets its own bytes and the ANSI code page, not the source's.
    const XoStringA japanese("\x82\xA0", 2, 932);
    const XoStringA copy(japanese);
    expectOwnHeader(copy, acp(), "copy");
    EXPECT_NE(copy.constStr(), japanese.constStr());
    EXPECT_EQ(bytes(copy), "\x82\xA0");
    EXPECT_EQ(japanese.codepage(), 932);
}

TEST(XoStringA, AssignmentSharesTheHeaderAndItsCodePage) {
    const XoStringA japanese("\x82\xA0", 2, 932);
    XoStringA target("x");
    target = japanese;
    EXPECT_EQ(target.header(), japanese.header());
    EXPECT_EQ(target.codepage(), 932);
    EXPECT_EQ(refs(japanese), 2);
    target = target;
    EXPECT_EQ(refs(japanese), 2);

    // Changing the code page of one holder copies the header first.
    EXPECT_EQ(target.setCodepage(1252), 932);
    EXPECT_NE(target.header(), japanese.header());
    EXPECT_EQ(target.codepage(), 1252);
    EXPECT_EQ(japanese.codepage(), 932);
    EXPECT_EQ(bytes(target), "\x82\xA0");

    // The code page travels into every new block of the string.
    target.concat(std::string(100, 'y').c_str());
    EXPECT_EQ(target.codepage(), 1252);
    target.setAt(0, 'z');
    EXPECT_EQ(target.codepage(), 1252);

    // Emptied, the string is back at the shared empty instance, which carries code page 0.
    target.setEmpty();
    EXPECT_TRUE(target.isEmptyData());
    EXPECT_EQ(target.codepage(), 0);
    EXPECT_EQ(target.setCodepage(936), 0);
    EXPECT_FALSE(target.isEmptyData());
    EXPECT_EQ(target.codepage(), 936);
    EXPECT_EQ(XoStringA().codepage(), acp()) << "the empty instance is left as it was";
}

using XoStringACodePage932 = xotest::WithMultiByteCodePage<932>;

TEST_F(XoStringACodePage932, FindCountsBytesAndLengthCountsCharacters) {
    const XoStringA text("a\x82\xA0"
                         "b");
    const Str& plain = text;
    EXPECT_EQ(text.length(), 3);
    EXPECT_EQ(text.numOfChars(), 4);
    EXPECT_EQ(text.find('b', 0), 3);
    EXPECT_EQ(text.find("b", 0), 3);
    EXPECT_EQ(plain.find("b", 0), 2) << "the base class counts characters";
    EXPECT_EQ(plain.find('b', 0), 2);
    EXPECT_EQ(text.find('b', 3), 3) << "start may equal the character length";
    EXPECT_EQ(plain.find('b', 3), -1);
    EXPECT_EQ(text.find('a', -1), -1);
    EXPECT_EQ(text.find(static_cast<const char*>(nullptr), 0), -1);

    // The byte search finds a trail byte; the character search does not.
    EXPECT_EQ(text.find('\xA0', 0), 2);
    EXPECT_EQ(text.find("\xA0", 0), 2);
    EXPECT_EQ(plain.find("\xA0", 0), -1);

    // start is a byte offset, yet bounded by the character length.
    const XoStringA pairs("\x82\xA0\x82\xA0xy");
    ASSERT_EQ(pairs.length(), 4);
    EXPECT_EQ(pairs.find('y', 4), 5);
    EXPECT_EQ(pairs.find("y", 4), 5);
    EXPECT_EQ(pairs.find('y', 5), -1) << "byte 5 is y, but 5 > length()";
    EXPECT_EQ(pairs.find("y", 5), -1);
    EXPECT_EQ(XoStringA("abc").find('\0', 0), 3) << "strchr finds the terminator";

    EXPECT_EQ(XoStringA().length(), 0);
    EXPECT_EQ(XoStringA().find('a', 0), -1);
    EXPECT_EQ(XoStringA().find("", 0), -1);

    // The string's own code page plays no part: the process's decides.
    const XoStringA western("a\x82\xA0"
                            "b",
                            4, 1252);
    EXPECT_EQ(western.length(), 3);
    const XoStringA japanese("a\x82\xA0"
                             "b",
                             4, 932);
    ASSERT_EQ(xo::platform::setMultiByteCodePage(1252), 0);
    EXPECT_EQ(japanese.length(), 4);
}

TEST(XoStringA, BaseOperationsWorkOnTheCodePageCarryingString) {
    XoStringA text("layer");
    text.format("%s %d", text.constStr(), 7);
    EXPECT_EQ(bytes(text), "layer 7");
    XoStringA part = text.mid(0, 5);
    EXPECT_EQ(bytes(part), "layer");
    EXPECT_EQ(part.codepage(), acp());
    EXPECT_EQ(text.replace("layer", "level"), 1);
    EXPECT_EQ(bytes(text), "level 7");
}

} // namespace
