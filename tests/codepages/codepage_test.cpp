// Windows answers that other code leans on, through the platform layer on each target.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "platform/charconverter.h"
#include "platform/codepage.h"
#include "platform/error.h"

namespace {

namespace os = xo::platform;

std::wstring toWide(unsigned page, unsigned flags, const std::string& bytes) {
    wchar_t out[16];
    const int n = os::multiByteToWideChar(page, flags, bytes.data(), int(bytes.size()), out, 16);
    return std::wstring(out, std::size_t(n));
}

std::string toBytes(unsigned page, unsigned flags, const std::wstring& wide, bool* used) {
    char out[16];
    const int n =
        os::wideCharToMultiByte(page, flags, wide.data(), int(wide.size()), out, 16, nullptr, used);
    return std::string(out, std::size_t(n));
}

TEST(CodePage, ShiftJisLeadByteWithAnInvalidTrail) {
    EXPECT_EQ(toWide(932, 0, "\x81\x20"), std::wstring(1, L'\x30FB')); // the trail is taken
    os::setThreadLastError(0);
    EXPECT_EQ(toWide(932, os::kMbErrInvalidChars, "\x81\x20"), L"");
    EXPECT_EQ(os::threadLastError(), os::kErrorNoUnicodeTranslation);
    EXPECT_EQ(toWide(932, 0, std::string("\x81\0", 2)), std::wstring(L"\x30FB\0", 2)); // not a zero
    EXPECT_EQ(toWide(932, 0, "\xA0"), L"\xF8F0");
    EXPECT_EQ(toWide(932, 0, "\x82\xA0\x41"), L"\x3042"
                                              L"A");
}

TEST(CodePage, BestFitAndTheUsedDefaultFlag) {
    bool used = true;
    EXPECT_EQ(toBytes(1252, 0, L"\x0100", &used), "A");
    EXPECT_FALSE(used);
    EXPECT_EQ(toBytes(1252, os::kWcNoBestFitChars, L"\x0100", &used), "?");
    EXPECT_TRUE(used);
    EXPECT_EQ(toBytes(1252, 0, L"?", &used), "?");
    EXPECT_FALSE(used);
    EXPECT_EQ(toBytes(932, 0, L"\x00A5", &used), "\x5C");
    EXPECT_EQ(toBytes(932, 0, L"\x3042", &used), "\x82\xA0");
    EXPECT_FALSE(used);
}

TEST(CodePage, Utf8ReplacesIllFormedInput) {
    EXPECT_EQ(toWide(os::kCpUtf8, 0, "\xC0\x80"), L"\xFFFD\xFFFD");
    EXPECT_EQ(toWide(os::kCpUtf8, 0, "\xF0\x9F\x98\x80"), L"\xD83D\xDE00");
    EXPECT_EQ(toBytes(os::kCpUtf8, 0, L"\xD83D\xDE00", nullptr), "\xF0\x9F\x98\x80");
    EXPECT_EQ(toBytes(os::kCpUtf8, 0, L"\xDC00", nullptr), "\xEF\xBF\xBD");
    EXPECT_EQ(toBytes(os::kCpUtf8, os::kWcErrInvalidChars, L"\xDC00", nullptr), "");
}

TEST(CodePage, LengthsBuffersAndTerminators) {
    EXPECT_EQ(os::multiByteToWideChar(932, 0, "a\x82\xA0", -1, nullptr, 0), 3);
    wchar_t two[2];
    os::setThreadLastError(0);
    EXPECT_EQ(os::multiByteToWideChar(1252, 0, "abc", 3, two, 2), 0);
    EXPECT_EQ(os::threadLastError(), 122u);
    char one[1];
    EXPECT_EQ(os::wideCharToMultiByte(932, 0, L"\x3042", 1, one, 1, nullptr, nullptr), 0);
    EXPECT_EQ(os::threadLastError(), 122u);
}

TEST(CodePage, LeadBytesAndValidity) {
    EXPECT_TRUE(os::isDbcsLeadByte(932, 0x81));
    EXPECT_FALSE(os::isDbcsLeadByte(932, 0xA0));
    EXPECT_TRUE(os::isDbcsLeadByte(1361, 0xD8));
    EXPECT_FALSE(os::isDbcsLeadByte(1361, 0xD4));
    EXPECT_FALSE(os::isDbcsLeadByte(1252, 0x81));
    EXPECT_FALSE(os::isValidCodePage(28586));
    EXPECT_FALSE(os::isValidCodePage(0));
    EXPECT_TRUE(os::isValidCodePage(65001));
    EXPECT_TRUE(os::isValidCodePage(10002));
}

TEST(CodePage, SymbolicPagesFollowTheSystemPages) {
    const unsigned ansi = os::systemAnsiCodePage();
    for (unsigned b = 0x80; b < 0x100; ++b) {
        const std::string byte(1, char(b));
        EXPECT_EQ(toWide(os::kCpAcp, 0, byte), toWide(ansi, 0, byte)) << b;
        EXPECT_EQ(toWide(os::kCpThreadAcp, 0, byte), toWide(ansi, 0, byte)) << b;
        EXPECT_EQ(toWide(os::kCpMacCp, 0, byte), toWide(10000, 0, byte)) << b;
    }
}

TEST(CodePage, RuntimeMultibyteCodePage) {
    const int initial = os::multiByteCodePage();
    EXPECT_EQ(initial, int(os::systemAnsiCodePage()));
    EXPECT_EQ(os::setMultiByteCodePage(932), 0);
    EXPECT_EQ(os::multiByteCodePage(), 932);
    EXPECT_EQ(os::setMultiByteCodePage(28586), -1);
    EXPECT_EQ(os::multiByteCodePage(), 932);
    EXPECT_EQ(os::setMultiByteCodePage(0), 0);
    EXPECT_EQ(os::multiByteCodePage(), 20127);
    EXPECT_EQ(os::setMultiByteCodePage(-3), 0);
    EXPECT_EQ(os::multiByteCodePage(), int(os::systemAnsiCodePage()));
    EXPECT_EQ(os::setMultiByteCodePage(initial), 0);
}

TEST(CodePage, LocaleQueriesWithoutAnOutputBuffer) {
    EXPECT_EQ(os::localeAnsiCodePageQuery(0x0409), 0);
    EXPECT_FALSE(os::translateCharsetInfoFromLocale(0x0409));
    EXPECT_NE(os::systemDefaultLcid(), 0u);
}

TEST(CodePage, FirstUseOfAPageFromManyThreads) {
    // 869 is used by no other test: its reverse table is made while these threads race.
    std::vector<std::thread> threads;
    std::vector<std::string> results(4);
    for (std::size_t i = 0; i < results.size(); ++i)
        threads.emplace_back(
            [&results, i] { results[i] = toBytes(869, 0, L"\x0391\x03A9", nullptr); });
    for (auto& thread : threads)
        thread.join();
    for (const std::string& result : results)
        EXPECT_EQ(result, toBytes(869, 0, L"\x0391\x03A9", nullptr));
    EXPECT_EQ(results[0].size(), 2u);
}

TEST(CharConverter, AgreesWithTheStringConversions) {
    for (unsigned page : {932u, 936u, 1252u, 874u, os::kCpAcp}) {
        const os::CharConverter converter(page);
        ASSERT_TRUE(converter.valid()) << page;
        for (unsigned lead = 0; lead < 256; ++lead) {
            for (unsigned trail : {0x00u, 0x20u, 0x40u, 0x7Fu, 0x80u, 0xA1u, 0xFEu}) {
                const char bytes[2] = {char(lead), char(trail)};
                char16_t unit = 0;
                bool invalid = false;
                const int taken = converter.decodeOne(bytes, 2, &unit, &invalid);
                wchar_t expected[2];
                const int n = os::multiByteToWideChar(page, 0, bytes, taken, expected, 2);
                ASSERT_EQ(n, 1) << page << " " << lead << " " << trail;
                EXPECT_EQ(unit, char16_t(expected[0])) << page << " " << lead << " " << trail;
                EXPECT_EQ(invalid, os::multiByteToWideChar(page, os::kMbErrInvalidChars, bytes,
                                                           taken, expected, 2) == 0);
                EXPECT_EQ(taken == 2, os::multiByteToWideChar(page, 0, bytes, 2, expected, 2) == 1);
            }
        }
        for (unsigned u = 0; u < 0x10000; u += 7) {
            char out[4];
            bool used = false;
            const int n = converter.encodeOne(char16_t(u), out, &used);
            const wchar_t wide = wchar_t(u);
            char expected[4];
            bool expectedUsed = false;
            ASSERT_EQ(
                n, os::wideCharToMultiByte(page, 0, &wide, 1, expected, 4, nullptr, &expectedUsed))
                << u;
            EXPECT_EQ(std::string(out, std::size_t(n)), std::string(expected, std::size_t(n))) << u;
            EXPECT_EQ(used, expectedUsed) << u;
        }
    }
    EXPECT_FALSE(os::CharConverter(28586).valid());
}

TEST(CharConverter, Utf8TakesTheSequenceItsFirstByteAnnounces) {
    const os::CharConverter converter(os::kCpUtf8);
    char16_t unit = 0;
    bool invalid = true;
    EXPECT_EQ(converter.decodeOne("\xE3\x81\x82z", 4, &unit, &invalid), 3);
    EXPECT_EQ(unit, u'\x3042');
    EXPECT_FALSE(invalid);
    EXPECT_EQ(converter.decodeOne("\xE3\x81", 2, &unit, &invalid), 2);
    EXPECT_EQ(unit, u'\xFFFD');
    EXPECT_TRUE(invalid);
    char out[4];
    EXPECT_EQ(converter.encodeOne(u'\x3042', out, nullptr), 3);
    EXPECT_EQ(std::string(out, 3), "\xE3\x81\x82");
}

} // namespace
