#include <gtest/gtest.h>

#include <cstdlib>
#include <cwchar>
#include <cwctype>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "XoCharMapper.h"
#include "XoLocaleHelpers.h"
#include "encoding/xocharmapperbigfont.h"

namespace {

// Stands for the caller's reader: finds the list when told to, and records every call.
class FakeReader final : public CReadUserDefBigfontIni {
public:
    explicit FakeReader(std::map<std::wstring, int> contents, bool findsTheList = true)
        : contents_(std::move(contents)), present(findsTheList) {}

    void read(const wchar_t* path, std::map<std::wstring, int>& map) override {
        ++reads;
        readPath = path;
        for (const auto& entry : contents_)
            map.insert(entry);
    }

    bool find(wchar_t* buffer, int capacity, const wchar_t* fileName) override {
        ++finds;
        askedName = fileName;
        askedCapacity = capacity;
        if (!present)
            return false;
        const std::wstring path = L"C:/Fonts/" + askedName;
        std::wcsncpy(buffer, path.c_str(), std::size_t(capacity));
        return true;
    }

    std::map<std::wstring, int> contents_;
    bool present;
    int reads = 0;
    int finds = 0;
    std::wstring readPath;
    std::wstring askedName;
    int askedCapacity = 0;
};

class BigFont : public ::testing::Test {
protected:
    void SetUp() override { xo::encoding::resetBigFontUserList(); }
    void TearDown() override { xo::encoding::resetBigFontUserList(); }
};

bool systemLocaleIsDoubleByte() {
    return isDoubleByteLcid(std::uint16_t(systemDefaultLcid()));
}

TEST_F(BigFont, TheTwelveKnownNamesInAnyCase) {
    const std::pair<const wchar_t*, int> known[] = {
        {L"@extfont2.shx", 1}, {L"bigfont.shx", 1}, {L"chineset.shx", 2}, {L"extfont.shx", 1},
        {L"extfont2.shx", 1},  {L"gbcbig.shx", 5},  {L"whgdtxt.shx", 3},  {L"whgtxt.shx", 3},
        {L"whtgtxt.shx", 3},   {L"whtmtxt.shx", 3}, {L"visiojp.shx", 1},  {L"visiotc.shx", 2}};
    const code_page_id byIndex[6] = {
        CODE_PAGE_UNDEFINED, CODE_PAGE_JAPANESE, CODE_PAGE_TRADITIONAL_CHINESE,
        CODE_PAGE_KOREAN,    CODE_PAGE_JOHAB,    CODE_PAGE_SIMPLIFIED_CHINESE};
    FakeReader reader({});
    for (const auto& font : known) {
        std::wstring upper = font.first;
        for (wchar_t& c : upper)
            c = wchar_t(std::towupper(c));
        EXPECT_EQ(XoCharMapper::getCpIndexByBigFont(font.first, &reader), font.second)
            << font.first;
        EXPECT_EQ(XoCharMapper::getCpIndexByBigFont(upper.c_str(), &reader), font.second) << upper;
        EXPECT_EQ(XoCharMapper::getCpByBigFont(upper.c_str(), &reader), byIndex[font.second])
            << upper;
        EXPECT_EQ(XoCharMapper::getCodepageByBigFont(font.first, &reader), byIndex[font.second]);
        EXPECT_EQ(XoCharMapper::getCpByBigFontExact(font.first, &reader), byIndex[font.second]);
    }
    EXPECT_EQ(reader.finds, 0); // known names never reach the user's list
}

TEST_F(BigFont, NamesArePreparedPerLookup) {
    // ".shx" is added to a name without a dot, except by the exact lookup.
    EXPECT_EQ(XoCharMapper::getCpByBigFont(L"GBCBIG", nullptr), CODE_PAGE_SIMPLIFIED_CHINESE);
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"gbcbig", nullptr), CODE_PAGE_SIMPLIFIED_CHINESE);
    EXPECT_EQ(XoCharMapper::getCpByBigFontExact(L"GBCBIG", nullptr), CODE_PAGE_UNDEFINED);
    // Folders before the last "/" go, except for the index lookup.
    EXPECT_EQ(XoCharMapper::getCpByBigFont(L"C:/cad/fonts/chineset.shx", nullptr),
              CODE_PAGE_TRADITIONAL_CHINESE);
    EXPECT_EQ(XoCharMapper::getCpByBigFontExact(L"fonts/whgtxt.shx", nullptr), CODE_PAGE_KOREAN);
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"fonts/whgtxt", nullptr), CODE_PAGE_KOREAN);
    // A backslash is no folder separator here, and a dot anywhere stops the extension.
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"fonts\\gbcbig.shx", nullptr),
              CODE_PAGE_UNDEFINED);
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"gbcbig.fnt", nullptr), CODE_PAGE_UNDEFINED);
    // Nothing left of the name, or no name.
    FakeReader reader({{L"", 1}, {L".shx", 5}});
    EXPECT_EQ(XoCharMapper::getCpByBigFontExact(L"", &reader), CODE_PAGE_UNDEFINED);
    EXPECT_EQ(XoCharMapper::getCpByBigFontExact(L"fonts/", &reader), CODE_PAGE_UNDEFINED);
    EXPECT_EQ(reader.finds, 0);
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"fonts/", &reader), CODE_PAGE_SIMPLIFIED_CHINESE);
    EXPECT_EQ(XoCharMapper::getCpByBigFont(nullptr, &reader), CODE_PAGE_UNDEFINED);
    EXPECT_EQ(XoCharMapper::getCpIndexByBigFont(nullptr, &reader), 0);
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(nullptr, &reader), CODE_PAGE_UNDEFINED);
    EXPECT_EQ(XoCharMapper::getCpByBigFontExact(nullptr, &reader), CODE_PAGE_UNDEFINED);
}

TEST_F(BigFont, TheUserListIsReadOncePerFlavour) {
    FakeReader reader({{L"MyKanji.shx", 1}, {L"hz.shx", 5}, {L"odd.shx", 7}});
    EXPECT_EQ(XoCharMapper::getCpByBigFont(L"mykanji", &reader), CODE_PAGE_JAPANESE);
    EXPECT_EQ(reader.finds, 1);
    EXPECT_EQ(reader.reads, 1);
    EXPECT_EQ(reader.askedName, L"BIGFONT.INI");
    EXPECT_EQ(reader.askedCapacity, 1024);
    EXPECT_EQ(reader.readPath, L"C:/Fonts/BIGFONT.INI");
    // The same flavour (locale fallback) does not read it again.
    EXPECT_EQ(XoCharMapper::getCpIndexByBigFont(L"ODD.SHX", &reader), 7);
    EXPECT_EQ(XoCharMapper::getCpByBigFont(L"odd", &reader),
              CODE_PAGE_UNDEFINED); // index 7 has no page
    EXPECT_EQ(reader.reads, 1);
    // The other flavour reads it once for itself, into the same list.
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"HZ", &reader), CODE_PAGE_SIMPLIFIED_CHINESE);
    EXPECT_EQ(XoCharMapper::getCpByBigFontExact(L"dir/hz.shx", &reader),
              CODE_PAGE_SIMPLIFIED_CHINESE);
    EXPECT_EQ(reader.finds, 2);
    EXPECT_EQ(reader.reads, 2);
    // Once read, the list answers without a reader too.
    EXPECT_EQ(XoCharMapper::getCpByBigFontExact(L"mykanji.shx", nullptr), CODE_PAGE_JAPANESE);
}

TEST_F(BigFont, AListNotFoundIsLookedForAgain) {
    FakeReader reader({{L"late.shx", 3}}, false);
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"late", &reader), CODE_PAGE_UNDEFINED);
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"late", &reader), CODE_PAGE_UNDEFINED);
    EXPECT_EQ(reader.finds, 2);
    EXPECT_EQ(reader.reads, 0);
    reader.present = true;
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"late", &reader), CODE_PAGE_KOREAN);
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"late", &reader), CODE_PAGE_KOREAN);
    EXPECT_EQ(reader.finds, 3);
    EXPECT_EQ(reader.reads, 1);
}

TEST_F(BigFont, TheFirstKeyInKeyOrderThatMatchesWins) {
    // Upper case sorts first.
    FakeReader reader({{L"abc.shx", 2}, {L"ABC.shx", 3}});
    EXPECT_EQ(XoCharMapper::getCpIndexByBigFont(L"Abc.Shx", &reader), 3);
}

TEST_F(BigFont, UnknownNamesOnANonDoubleByteSystemGiveZero) {
    if (systemLocaleIsDoubleByte())
        GTEST_SKIP() << "the system locale is East Asian";
    FakeReader reader({{L"other.shx", 1}});
    EXPECT_EQ(XoCharMapper::getCpByBigFont(L"unknown", &reader), CODE_PAGE_UNDEFINED);
    EXPECT_EQ(XoCharMapper::getCpIndexByBigFont(L"fonts/chineset.shx", &reader), 0);
    EXPECT_EQ(XoCharMapper::getCpIndexByBigFont(L"gbcbig", &reader), 0);
}

// Run with a Japanese system locale (ctest's xo_encoding_tests_japanese); elsewhere
// skipped, unless XO_EXPECT_JAPANESE_SYSTEM says the locale should have been Japanese.
TEST_F(BigFont, JapaneseSystemUnknownNamesFallBackOnTheSystemLocale) {
    const bool expected = std::getenv("XO_EXPECT_JAPANESE_SYSTEM") != nullptr;
    if (systemDefaultLcid() != 0x0411) {
        ASSERT_FALSE(expected) << "system locale " << std::hex << systemDefaultLcid();
        GTEST_SKIP() << "the system locale is not Japanese";
    }
    FakeReader reader({{L"korean.shx", 3}});
    EXPECT_EQ(XoCharMapper::getCpByBigFont(L"unknown.shx", &reader), CODE_PAGE_JAPANESE);
    EXPECT_EQ(XoCharMapper::getCpIndexByBigFont(L"fonts/chineset.shx", &reader), 1);
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"unknown.shx", &reader), CODE_PAGE_UNDEFINED);
    EXPECT_EQ(XoCharMapper::getCpByBigFontExact(L"unknown.shx", &reader), CODE_PAGE_UNDEFINED);
    // The lists come first.
    EXPECT_EQ(XoCharMapper::getCpByBigFont(L"korean", &reader), CODE_PAGE_KOREAN);
    EXPECT_EQ(XoCharMapper::getCpByBigFont(L"chineset", &reader), CODE_PAGE_TRADITIONAL_CHINESE);
}

TEST(XoCharMapperJapaneseSystem, SystemAnsiTextIsShiftJis) {
    if (systemDefaultLcid() != 0x0411)
        GTEST_SKIP() << "the system locale is not Japanese";
    XoVector<wchar_t> out;
    XoCharMapper::multiByteToWideChar(CODE_PAGE_SYSTEM_ANSI, "\x82\xA0\xB1", 3, out, true, false);
    EXPECT_EQ(std::wstring(out.data()), L"\u3042\uFF71");
    wchar_t unit = 0;
    EXPECT_TRUE(XoCharMapper::codepageToUnicode(0x82A0, CODE_PAGE_SYSTEM_ANSI, unit));
    EXPECT_EQ(unit, L'\u3042');
}

TEST_F(BigFont, ConcurrentFirstLookupsReadTheListOncePerFlavour) {
    FakeReader reader({{L"mine.shx", 2}});
    std::vector<std::thread> threads;
    int results[8] = {};
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&reader, &results, t] {
            results[t] = t % 2 ? int(XoCharMapper::getCpByBigFont(L"mine", &reader))
                               : int(XoCharMapper::getCodepageByBigFont(L"mine", &reader));
        });
    for (std::thread& thread : threads)
        thread.join();
    for (int result : results)
        EXPECT_EQ(result, int(CODE_PAGE_TRADITIONAL_CHINESE));
    EXPECT_EQ(reader.reads, 2);
}

} // namespace
