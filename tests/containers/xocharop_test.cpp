// XoCharOp's two vocabularies, and the secure rules of its bounded operations.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "XoCharOp.h"
#include "platform/codepage.h"

namespace {

int gHandlerCalls = 0;

void countingHandler(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, std::uintptr_t) {
    ++gHandlerCalls;
}

class CharOp : public ::testing::Test {
protected:
    void SetUp() override {
        previousPage_ = xo::platform::multiByteCodePage();
        previousHandler_ = xoSetInvalidParameterHandler(countingHandler);
        gHandlerCalls = 0;
    }
    void TearDown() override {
        xoSetInvalidParameterHandler(previousHandler_);
        xo::platform::setMultiByteCodePage(previousPage_);
    }
    int previousPage_ = 0;
    XoInvalidParameterHandler previousHandler_ = nullptr;
};

int formatLength(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int n = XoCharOp::formattedLength(format, args);
    va_end(args);
    return n;
}

template <class C> int formatBounded(C* buffer, std::size_t size, const C* format, ...) {
    va_list args;
    va_start(args, format);
    const int n = XoCharOp::format(buffer, size, format, args);
    va_end(args);
    return n;
}

TEST_F(CharOp, CharactersVersusBytesUnderADoubleBytePage) {
    ASSERT_EQ(xo::platform::setMultiByteCodePage(932), 0);
    const char* text = "\x82\xA0\x82\xA2";
    EXPECT_EQ(XoCharOp::next(text), text + 2);
    EXPECT_EQ(XoCharOp::next(text, 2), text + 4);
    EXPECT_EQ(XoCharOp::prev(text, text + 4), text + 2);
    EXPECT_EQ(XoCharOp::length(text), 2u);
    EXPECT_EQ(XoCharOp::numOfChars(text), 4u);
    char reversed[] = "a\x82\xA0"
                      "b";
    EXPECT_STREQ(XoCharOp::reverse(reversed), "b\x82\xA0"
                                              "a");
    EXPECT_EQ(XoCharOp::length(static_cast<const char*>(nullptr)), 0u);
    EXPECT_EQ(XoCharOp::numOfChars(static_cast<const char*>(nullptr)), 0u);
}

TEST_F(CharOp, WideWalksAndComparisons) {
    const wchar_t* text = L"abc";
    EXPECT_EQ(XoCharOp::prev(text, text), nullptr);
    EXPECT_EQ(XoCharOp::prev(text, text + 2), text + 1);
    EXPECT_EQ(XoCharOp::next(text, 3), text + 3);
    EXPECT_EQ(XoCharOp::compare(L"ab", L"ac"), -1);
    EXPECT_EQ(XoCharOp::compare(L"b", L"a"), 1);
    EXPECT_EQ(XoCharOp::compare(L"ab", L"ab"), 0);
    EXPECT_EQ(XoCharOp::compare(L"\xFFFF", L"a"), 1); // unsigned units
    EXPECT_EQ(XoCharOp::compare(L"abX", L"abY", 2), 0);
    EXPECT_LT(XoCharOp::compareNoCase(L"apple", L"BANANA"), 0);
    EXPECT_EQ(XoCharOp::compareNoCase(L"MiXeD", L"mixed"), 0);
    EXPECT_NE(XoCharOp::compareNoCase(L"\xE9", L"\xC9"), 0); // the C locale folds ASCII only
    EXPECT_EQ(XoCharOp::length(L"abc"), 3u);
    EXPECT_EQ(XoCharOp::numOfChars(L"abc"), 3u);
}

TEST_F(CharOp, WideSearchStaysInsideTheText) {
    const wchar_t* text = L"abcabd";
    EXPECT_EQ(XoCharOp::find(text, L"abd"), text + 3);
    EXPECT_EQ(XoCharOp::find(text, L"abdx"), nullptr);
    EXPECT_EQ(XoCharOp::find(text, L""), text);
    wchar_t buffer[8] = L"xy";
    EXPECT_EQ(XoCharOp::cat(buffer, L"z"), buffer);
    EXPECT_STREQ(buffer, L"xyz");
    wchar_t reversed[] = L"abc";
    EXPECT_STREQ(XoCharOp::reverse(reversed), L"cba");
}

TEST_F(CharOp, CaseOnEmptyStringsAndSignExtendedBytes) {
    char empty[1] = "";
    EXPECT_EQ(XoCharOp::toUppercase(empty), empty);
    EXPECT_EQ(XoCharOp::toUppercase(static_cast<char*>(nullptr)), nullptr);
    ASSERT_EQ(xo::platform::setMultiByteCodePage(1252), 0);
    EXPECT_EQ(XoCharOp::toUppercase('a'), 'A');
    // A byte from 0x80 arrives as a negative value and comes back unchanged.
    EXPECT_EQ(XoCharOp::toUppercase('\xE9'), '\xE9');
    EXPECT_FALSE(XoCharOp::isLowercase('\xE9'));
    EXPECT_TRUE(XoCharOp::isLowercase('q'));
    EXPECT_TRUE(XoCharOp::isSpace('\t'));
    EXPECT_TRUE(XoCharOp::isDigit('7'));
    char mixed[] = "aB\xE9";
    EXPECT_STREQ(XoCharOp::toUppercase(mixed), "AB\xE9");
    EXPECT_EQ(XoCharOp::toUppercase(L'\xE9'), L'\xE9');
    EXPECT_TRUE(XoCharOp::isLowercase(L'\xE9'));
    EXPECT_TRUE(XoCharOp::isSpace(L'\x3000'));
    EXPECT_TRUE(XoCharOp::isDigit(L'\x0661'));
}

TEST_F(CharOp, BoundedCopyFollowsMemcpySRules) {
    char small[4] = {'x', 'x', 'x', 'x'};
    errno = 0;
    EXPECT_EQ(XoCharOp::copy(small, sizeof small, "abcd", 5), ERANGE);
    EXPECT_EQ(errno, ERANGE);
    EXPECT_EQ(std::string(small, 4), std::string(4, '\0'));
    EXPECT_EQ(gHandlerCalls, 1);
    EXPECT_EQ(XoCharOp::copy(small, sizeof small, nullptr, 2), EINVAL);
    EXPECT_EQ(XoCharOp::copy(static_cast<char*>(nullptr), 4, "ab", 2), EINVAL);
    EXPECT_EQ(gHandlerCalls, 3);
    EXPECT_EQ(XoCharOp::copy(static_cast<char*>(nullptr), 0, nullptr, 0), 0); // nothing to copy
    EXPECT_EQ(XoCharOp::copy(small, sizeof small, "abcd", 4), 0);
    EXPECT_EQ(std::string(small, 4), "abcd");
    wchar_t wide[2];
    EXPECT_EQ(XoCharOp::copy(wide, 2, L"abc", 3), ERANGE);
    EXPECT_EQ(wide[0], 0);
    EXPECT_EQ(gHandlerCalls, 4);
}

TEST_F(CharOp, BoundedStringCopyAndFormat) {
    char buffer[4];
    EXPECT_EQ(XoCharOp::copy(buffer, sizeof buffer, "abc"), 0);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(XoCharOp::copy(buffer, sizeof buffer, "abcd"), ERANGE);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(formatBounded(buffer, sizeof buffer, "%d", 123), 3);
    EXPECT_STREQ(buffer, "123");
    EXPECT_EQ(formatBounded(buffer, sizeof buffer, "%d", 1234), -1);
    EXPECT_STREQ(buffer, "");
    wchar_t wide[3];
    EXPECT_EQ(formatBounded(wide, 3, L"%s", L"ab"), 2);
    EXPECT_STREQ(wide, L"ab");
    EXPECT_EQ(gHandlerCalls, 2);
}

TEST_F(CharOp, FormattingWithTheWindowsMeaning) {
    EXPECT_EQ(formatLength("%d-%s", 42, "xy"), 5);
    EXPECT_EQ(formatLength("%2147483648d", 1), -1); // a conversion that cannot be made
    char buffer[32];
    EXPECT_EQ(XoCharOp::format(buffer, "%I64d|%.0f", 5LL, 2.5), 3);
    EXPECT_STREQ(buffer, "5|3");
    wchar_t wide[16];
    EXPECT_EQ(XoCharOp::format(wide, L"%s|%S", L"w", "n"), 3);
    EXPECT_STREQ(wide, L"w|n");
}

TEST_F(CharOp, FillsMovesAndAllocates) {
    char buffer[8] = "abcdef";
    XoCharOp::move(buffer + 1, buffer, 4);
    EXPECT_STREQ(buffer, "aabcdf");
    XoCharOp::copy(buffer, 'z', 2);
    EXPECT_STREQ(buffer, "zzbcdf");
    wchar_t wide[4] = L"abc";
    XoCharOp::copy(wide, L'q', 2);
    EXPECT_STREQ(wide, L"qqc");
    void* block = XoCharOp::zalloc(24);
    ASSERT_NE(block, nullptr);
    XoCharOp::zfree(block);
    XoCharOp::zfree(nullptr);
}

} // namespace
