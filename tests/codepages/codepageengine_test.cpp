// The engine's own promises where Windows cannot be asked: the GB2312 page that Wine
// lacks, and the consistency of the generated tables.
#include <gtest/gtest.h>

#include <string>

#include "platform/codepages/codepagedata.h"
#include "platform/codepages/codepageengine.h"

namespace {

namespace cp = xo::codepages;

std::wstring toWide(unsigned page, const std::string& bytes, unsigned flags = 0) {
    wchar_t out[16];
    const cp::Outcome r =
        cp::multiByteToWideChar(page, flags, bytes.data(), int(bytes.size()), out, 16);
    return std::wstring(out, std::size_t(r.count));
}

std::string toBytes(unsigned page, const std::wstring& wide, bool* used) {
    char out[16];
    const cp::Outcome r =
        cp::wideCharToMultiByte(page, 0, wide.data(), int(wide.size()), out, 16, nullptr, used);
    return std::string(out, std::size_t(r.count));
}

TEST(CodePageEngine, Gb2312IsTheSubsetOfGbk) {
    for (unsigned b = 0; b < 256; ++b)
        EXPECT_EQ(cp::isLeadByte(20936, std::uint8_t(b)), b >= 0xA1 && b <= 0xF7) << b;
    EXPECT_EQ(toWide(20936, "\xB0\xA1"), toWide(936, "\xB0\xA1"));
    EXPECT_EQ(toWide(20936, "\xB0\xA1"), L"\x554A");
    // A GBK pair outside the subset reads as two single bytes.
    EXPECT_EQ(toWide(20936, "\x81\x40"), std::wstring(L"?@"));
    EXPECT_EQ(toWide(20936, "\x81\x40", cp::kMbErrInvalidChars), L"");
    EXPECT_EQ(toWide(20936, "\xB0\x40"), std::wstring(L"?@"));
    EXPECT_EQ(toWide(20936, "\x80"), toWide(936, "\x80"));
    bool used = false;
    EXPECT_EQ(toBytes(936, L"\x4E02", &used), "\x81\x40");
    EXPECT_EQ(toBytes(20936, L"\x4E02", &used), "?");
    EXPECT_TRUE(used);
    EXPECT_EQ(toBytes(20936, L"\x554A", &used), "\xB0\xA1");
    EXPECT_FALSE(used);
}

TEST(CodePageEngine, EveryValidPairSurvivesARoundTrip) {
    std::size_t count = 0;
    const cp::PageData* const* pages = cp::allPages(&count);
    for (std::size_t i = 0; i < count; ++i) {
        const cp::PageData& page = *pages[i];
        int broken = 0;
        for (unsigned lead = 0x81; lead < 0x100; ++lead) {
            if (!cp::isLeadByte(page.codePage, std::uint8_t(lead)))
                continue;
            for (unsigned trail = 0x40; trail < 0x100; ++trail) {
                const std::string code{char(lead), char(trail)};
                const std::wstring unit = toWide(page.codePage, code, cp::kMbErrInvalidChars);
                if (unit.size() == 1 &&
                    toWide(page.codePage, toBytes(page.codePage, unit, nullptr)) != unit)
                    ++broken;
            }
        }
        EXPECT_EQ(broken, 0) << page.codePage;
    }
}

TEST(CodePageEngine, NoLeadByteIsAsciiAndNoPairIsMoreThanOneUnit) {
    std::size_t count = 0;
    const cp::PageData* const* pages = cp::allPages(&count);
    for (std::size_t i = 0; i < count; ++i)
        for (unsigned b = 0; b < 0x80; ++b)
            EXPECT_FALSE(cp::testBit(pages[i]->leadBits, b)) << pages[i]->codePage << " " << b;
    // The fast paths size their output by the input's byte count.
    wchar_t out[4];
    EXPECT_EQ(cp::multiByteToWideChar(932, 0, "a\x82\xA0", 3, out, 3).count, 2);
}

TEST(CodePageEngine, RefusesWhatWindowsRefuses) {
    wchar_t w[4];
    char b[4];
    bool used = false;
    EXPECT_EQ(cp::multiByteToWideChar(28586, 0, "a", 1, w, 4).error, cp::kErrorInvalidParameter);
    EXPECT_EQ(cp::multiByteToWideChar(1252, 0, nullptr, 1, w, 4).error, cp::kErrorInvalidParameter);
    EXPECT_EQ(cp::multiByteToWideChar(1252, 0, "a", 1, nullptr, 4).error,
              cp::kErrorInvalidParameter);
    EXPECT_EQ(cp::multiByteToWideChar(1252, 0x4, "a", 1, w, 4).error, cp::kErrorInvalidFlags);
    EXPECT_EQ(cp::wideCharToMultiByte(65001, 0, L"a", 1, b, 4, nullptr, &used).error,
              cp::kErrorInvalidParameter);
    EXPECT_EQ(cp::wideCharToMultiByte(65001, cp::kWcNoBestFitChars, L"a", 1, b, 4, nullptr, nullptr)
                  .error,
              cp::kErrorInvalidFlags);
    EXPECT_EQ(cp::wideCharToMultiByte(1252, cp::kWcErrInvalidChars, L"a", 1, b, 4, nullptr, nullptr)
                  .error,
              cp::kErrorInvalidFlags);
}

TEST(CodePageEngine, CallerDefaultCharacter) {
    char out[8];
    bool used = false;
    const cp::Outcome one = cp::wideCharToMultiByte(1252, 0, L"\x4E00", 1, out, 8, "*", &used);
    EXPECT_EQ(std::string(out, std::size_t(one.count)), "*");
    EXPECT_TRUE(used);
    const cp::Outcome two =
        cp::wideCharToMultiByte(932, 0, L"\xAC00", 1, out, 8, "\x81\x48", &used);
    EXPECT_EQ(std::string(out, std::size_t(two.count)), "\x81\x48");
}

} // namespace
