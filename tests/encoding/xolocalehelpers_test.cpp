#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "XoLocaleHelpers.h"
#include "encoding/xolocaletables.h"
#include "platform/codepage.h"

namespace {

namespace enc = xo::encoding;
namespace os = xo::platform;

// The locales and their character sets, grouped as they are usually described.
std::map<std::uint32_t, unsigned> expectedLocales() {
    const std::vector<std::pair<unsigned, std::vector<std::uint32_t>>> groups = {
        {178,
         {0x0401, 0x0801, 0x0C01, 0x1001, 0x1401, 0x1801, 0x1C01, 0x2001, 0x2401, 0x2801, 0x2C01,
          0x3001, 0x3401, 0x3801, 0x3C01, 0x4001, 0x0420, 0x0429}},
        {136, {0x0404, 0x1404}},
        {134, {0x0804, 0x0C04, 0x1004}},
        {238,
         {0x0405, 0x040E, 0x0415, 0x0418, 0x041A, 0x081A, 0x101A, 0x141A, 0x181A, 0x041B, 0x041C,
          0x0424, 0x042C, 0x0443}},
        {161, {0x0408}},
        {177, {0x040D}},
        {128, {0x0411}},
        {129, {0x0412}},
        {204,
         {0x0402, 0x0419, 0x0422, 0x0423, 0x0C1A, 0x1C1A, 0x042F, 0x043F, 0x0440, 0x0444, 0x0450,
          0x082C, 0x0843}},
        {222, {0x041E}},
        {162, {0x041F}},
        {186, {0x0425, 0x0426, 0x0427}},
        {163, {0x042A}},
        {1, {0x042B, 0x0437, 0x043A, 0x045A, 0x0465, 0x0481}},
        {263, {0x0439, 0x044E, 0x044F, 0x0457}},
        {256, {0x0445}},
        {257, {0x0446}},
        {258, {0x0447}},
        {259, {0x0449}},
        {260, {0x044A}},
        {261, {0x044B}},
        {262, {0x044C}},
        {0, {0x0403, 0x0406, 0x040B, 0x040F, 0x0410, 0x0810, 0x0413, 0x0813, 0x0414, 0x0814,
             0x0416, 0x0816, 0x041D, 0x081D, 0x0421, 0x042D, 0x0432, 0x0434, 0x0435, 0x0436,
             0x0438, 0x043E, 0x083E, 0x0441, 0x0452, 0x0456, 0x046B, 0x086B, 0x0C6B, 0x046C}},
    };
    std::map<std::uint32_t, unsigned> locales;
    for (const auto& group : groups)
        for (std::uint32_t lcid : group.second)
            locales[lcid] = group.first;
    // German 5, English 13, Spanish 20, French 6 countries; Sami 9 forms: all Latin 1.
    for (const auto& family :
         {std::pair{0x07u, 5}, {0x09u, 13}, {0x0Au, 20}, {0x0Cu, 6}, {0x3Bu, 9}})
        for (int sub = 1; sub <= family.second; ++sub)
            locales[std::uint32_t(sub << 10) | family.first] = 0;
    return locales;
}

TEST(LocaleTable, HoldsTheKnownLocalesInOrder) {
    const std::map<std::uint32_t, unsigned> expected = expectedLocales();
    ASSERT_EQ(expected.size(), enc::kLcidCharSetCount);
    std::uint32_t previousKey = 0;
    for (const enc::LcidCharSet& row : enc::kLcidCharSets) {
        const std::uint32_t key = (row.lcid & 0x3FF) << 16 | row.lcid >> 10;
        EXPECT_GT(key, previousKey) << std::hex << row.lcid << " out of order";
        previousKey = key;
        const auto found = expected.find(row.lcid);
        ASSERT_NE(found, expected.end()) << std::hex << row.lcid;
        EXPECT_EQ(row.charset, found->second) << std::hex << row.lcid;
        EXPECT_EQ(getCharSetByLcid(row.lcid), found->second) << std::hex << row.lcid;
    }
}

TEST(LocaleTable, UnknownLocalesTakeTheSetOfTheSystemCodePage) {
    const unsigned fallback = getCharSetByAnsiCp(os::systemAnsiCodePage());
    for (std::uint32_t lcid : {0x0000u, 0x0448u, 0x4009u, 0x540Au, 0x10411u, 0xFFFF0411u})
        EXPECT_EQ(getCharSetByLcid(lcid), fallback) << std::hex << lcid;
    EXPECT_EQ(getAsianIndexByLcid(short(0x8411)), getAsianIndexByAnsiCp(os::systemAnsiCodePage()));
}

TEST(LocaleHelpers, CharacterSetsToLocales) {
    const std::pair<unsigned, std::uint32_t> pairs[] = {
        {0, 1033},   {128, 1041}, {129, 1042}, {134, 2052}, {136, 1028}, {161, 1032},
        {162, 1055}, {163, 1066}, {177, 1037}, {178, 1025}, {186, 1061}, {204, 1049},
        {222, 1054}, {238, 1029}, {256, 1093}, {257, 1095}, {258, 1097}, {259, 1098},
        {260, 1099}, {261, 1100}, {262, 1102}, {263, 1094}, {264, 1096}};
    for (const auto& pair : pairs) {
        EXPECT_EQ(getLcidByCharSet(pair.first), pair.second) << pair.first;
        EXPECT_EQ(getLangIdByCharSet(pair.first), pair.second) << pair.first;
    }
    // The Indic sets do not come back as themselves (kept): 257 stands for Punjabi
    // locales but names a Gujarati one.
    EXPECT_EQ(getCharSetByLcid(getLcidByCharSet(257)), 258u);

    const std::uint32_t system = os::systemDefaultLcid();
    for (unsigned other : {1u, 2u, 130u, 255u + 10, 1000u})
        EXPECT_EQ(getLcidByCharSet(other), system) << other;
    const std::uint32_t ofSystemSet = getLcidByCharSet(getCharSetByLcid(system));
    for (unsigned charset = 239; charset <= 255; ++charset)
        EXPECT_EQ(getLcidByCharSet(charset), ofSystemSet) << charset;
}

TEST(LocaleHelpers, CodePagesAndAsianIndices) {
    const std::pair<unsigned, unsigned> sets[] = {
        {0, 1252},   {128, 932},  {129, 949},  {134, 936},  {136, 950},  {161, 1253}, {162, 1254},
        {163, 1258}, {177, 1255}, {178, 1256}, {186, 1257}, {204, 1251}, {222, 874},  {238, 1250}};
    for (const auto& pair : sets) {
        EXPECT_EQ(getAnsiCpByCharSet(pair.first), pair.second);
        EXPECT_EQ(getCharSetByAnsiCp(pair.second), pair.first == 0 ? 0u : pair.first);
    }
    EXPECT_EQ(getAnsiCpByCharSet(2), 1252u);
    for (unsigned charset : {1u, 130u, 256u, 263u})
        EXPECT_EQ(getAnsiCpByCharSet(charset), 0u) << charset;
    for (unsigned cp : {1252u, 1361u, 65001u, 0u})
        EXPECT_EQ(getCharSetByAnsiCp(cp), 0u) << cp;

    EXPECT_EQ(getAnsiCpCount(), 14);
    const unsigned list[] = {1252, 932,  949,  936, 950,  1255, 1256,
                             1253, 1254, 1258, 874, 1250, 1251, 1257};
    for (int i = 0; i < 14; ++i)
        EXPECT_EQ(getAnsiCpAt(i), list[i]);
    EXPECT_EQ(getAnsiCpAt(14), 1252u);
    EXPECT_EQ(getAnsiCpAt(1000), 1252u);

    const unsigned asianSets[] = {0, 128, 136, 129, 130, 134, 0};
    const unsigned asianCps[] = {1252, 932, 950, 949, 0, 936, 1252}; // 0 is the ANSI set
    for (int index = -1; index <= 6; ++index) {
        const unsigned charset = index >= 0 ? asianSets[index] : 0;
        EXPECT_EQ(getCharSetByAsianIndex(index), charset) << index;
        EXPECT_EQ(getAnsiCpByAsianIndex(index), index >= 0 ? asianCps[index] : 1252) << index;
        EXPECT_EQ(getLcidByAsianIndex(index), getLcidByCharSet(charset)) << index;
    }
    EXPECT_EQ(getLcidByAsianIndex(2), 1028u);
    const std::pair<unsigned, int> indices[] = {{932, 1},  {950, 2}, {949, 3},
                                                {1361, 0}, {936, 5}, {1252, 0}};
    for (const auto& pair : indices)
        EXPECT_EQ(getAsianIndexByAnsiCp(pair.first), pair.second) << pair.first;
    for (const auto& pair :
         {std::pair{0x0411, 1}, {0x1404, 2}, {0x0412, 3}, {0x1004, 5}, {0x0409, 0}})
        EXPECT_EQ(getAsianIndexByLcid(short(pair.first)), pair.second) << std::hex << pair.first;
}

TEST(LocaleHelpers, LanguagesAndCodePages) {
    // 1252 has no set of its own: ANSI.
    for (const auto& pair : {std::pair{932u, 0x0411}, {1251u, 0x0419}, {1252u, 0x0409}})
        EXPECT_EQ(getLangIdByAnsiCp(pair.first), pair.second) << pair.first;
    // Armenian: DEFAULT has no code page.
    for (const auto& pair : {std::pair{0x0419, 1251u}, {0x0C04, 936u}, {0x042B, 0u}})
        EXPECT_EQ(getAnsiCpByLcid(pair.first), pair.second) << std::hex << pair.first;
    for (std::uint16_t lang : {0x0404, 0x0412, 0x0409, 0x0439})
        EXPECT_EQ(isDoubleByteLcid(lang), lang == 0x0404 || lang == 0x0412) << std::hex << lang;

    for (std::uint16_t rtl : {0x0401, 0x3801, 0x040D, 0xFC01, 0x000D})
        EXPECT_TRUE(isRightToLeftLanguage(rtl)) << std::hex << rtl;
    for (std::uint16_t ltr : {0x0420, 0x0429, 0x045A, 0x0409, 0x0411, 0x0000})
        EXPECT_FALSE(isRightToLeftLanguage(ltr)) << std::hex << ltr;
}

TEST(LocaleHelpers, SystemDefaultLocaleIsKept) {
    EXPECT_NE(systemDefaultLcid(), 0u);
    EXPECT_EQ(systemDefaultLcid(), os::systemDefaultLcid());
}

// Masks as the table holds them: bit i stands for enc::kMaskCharSets[i].
constexpr std::uint32_t bits(std::initializer_list<int> list) {
    std::uint32_t mask = 0;
    for (int bit : list)
        mask |= 1u << bit;
    return mask;
}

TEST(CharSetChoice, PreferredThenSecondThenFirstOther) {
    using enc::chooseCharSet;
    EXPECT_EQ(chooseCharSet(0, 204, 128), 204u);                // empty: keep preferred
    EXPECT_EQ(chooseCharSet(bits({0, 2, 14}), 128, 0), 128u);   // preferred, though last
    EXPECT_EQ(chooseCharSet(bits({0, 2, 14}), 161, 186), 0u);   // second not held: first
    EXPECT_EQ(chooseCharSet(bits({1, 2, 14}), 161, 204), 204u); // second wins over first
    EXPECT_EQ(chooseCharSet(bits({1, 2, 14}), 161, 163), 238u); // neither: first other
    EXPECT_EQ(chooseCharSet(bits({11}), 0, 204), 130u);         // Johab counts as any set
    EXPECT_EQ(chooseCharSet(bits({22, 23, 24}), 0, 263), 263u); // one set on several bits
    EXPECT_EQ(chooseCharSet(bits({16, 27}), 257, 0), 257u);
    EXPECT_EQ(chooseCharSet(bits({28}), 0, 0), 264u);
    EXPECT_EQ(chooseCharSet(bits({12}), 129, 129), 129u); // both the same set
    EXPECT_EQ(chooseCharSet(bits({12}), 134, 134), 129u);
    EXPECT_EQ(chooseCharSet(bits({30, 31}), 0, 204), 0u); // bits past the list
}

TEST(CharSetChoice, ForRealCharacters) {
    EXPECT_EQ(getCharSetForChar(L'A', 0x0419, 0x0411), 204u);
    EXPECT_EQ(getCharSetForChar(L'\x3042', 0x0409, 0x0411), 128u); // hiragana
    EXPECT_EQ(getCharSetForChar(L'\xAC00', 0x0409, 0x0411), 129u); // hangul: first other
    EXPECT_EQ(getCharSetForChar(L'\x05D0', 0x0409, 0x0419), 177u); // hebrew
    EXPECT_EQ(getCharSetForChar(L'\x0915', 0x0409, 0x0445), 263u); // devanagari
    EXPECT_EQ(getCharSetForChar(L'\xD800', 0x0419, 0x0411), 204u); // no set: preferred
    EXPECT_EQ(getLangIdForChar(L'\x3042', 0x0409, 0x0411), 0x0411);
    EXPECT_EQ(getLangIdForChar(L'\xAC00', 0x0409, 0x0409), 0x0412);

    // Whenever a locale's code page can show a unit, the locale's set is chosen.
    for (std::uint16_t lang : {0x0409, 0x0411, 0x0419, 0x041E, 0x0804}) {
        const unsigned charset = getCharSetByLcid(lang);
        const unsigned cp = getAnsiCpByCharSet(charset);
        int shown = 0;
        for (std::uint32_t unit = 0; unit < 0x10000; ++unit) {
            const wchar_t wide = wchar_t(unit);
            char bytes[4];
            bool used = false;
            if (os::wideCharToMultiByte(cp, os::kWcNoBestFitChars, &wide, 1, bytes, 4, nullptr,
                                        &used) > 0 &&
                !used) {
                ++shown;
                ASSERT_EQ(getCharSetForChar(wide, lang, 0x0409), charset)
                    << std::hex << unit << " in " << std::dec << cp;
            }
        }
        EXPECT_GT(shown, 128) << cp;
    }
}

} // namespace
