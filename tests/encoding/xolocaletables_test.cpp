// The generated tables: their shape, the rows every user relies on, and the rule that a
// class never leaves out a character set whose code page shows the character.
#include <gtest/gtest.h>

#include "XoLocaleHelpers.h"
#include "encoding/xolocaletables.h"
#include "platform/codepage.h"

namespace {

namespace enc = xo::encoding;

TEST(CharClasses, MasksHoldEveryShowingSet) {
    for (std::uint8_t c : enc::kCharClasses)
        ASSERT_LT(c, enc::kCharClassCount);
    EXPECT_EQ(enc::kCharClassMasks[0], 0u);
    for (unsigned bit = 0; bit < 15; ++bit) {
        const unsigned cp = getAnsiCpByCharSet(enc::kMaskCharSets[bit]);
        if (cp == 0)
            continue; // Johab has no ANSI code page
        int shown = 0;
        for (std::uint32_t unit = 0; unit < 0x10000; ++unit) {
            const wchar_t wide = wchar_t(unit);
            char bytes[4];
            bool used = false;
            if (xo::platform::wideCharToMultiByte(cp, xo::platform::kWcNoBestFitChars, &wide, 1,
                                                  bytes, 4, nullptr, &used) > 0 &&
                !used) {
                ++shown;
                ASSERT_NE(enc::kCharClassMasks[enc::kCharClasses[unit]] >> bit & 1, 0u)
                    << std::hex << unit << " in " << std::dec << cp;
            }
        }
        EXPECT_GE(shown, cp == 874 ? 200 : 250) << cp;
    }
}

TEST(CharClasses, IndicScriptsAndAscii) {
    const struct {
        wchar_t unit;
        unsigned charset;
    } letters[] = {{L'\x0995', 256}, {L'\x0A15', 257}, {L'\x0A95', 258}, {L'\x0B95', 259},
                   {L'\x0C15', 260}, {L'\x0C95', 261}, {L'\x0D15', 262}, {L'\x0915', 263}};
    for (const auto& letter : letters)
        EXPECT_EQ(enc::chooseCharSet(enc::kCharClassMasks[enc::kCharClasses[letter.unit]], 0, 0),
                  letter.charset)
            << std::hex << unsigned(letter.unit);
    for (unsigned unit = 0; unit < 0x80; ++unit)
        EXPECT_EQ(enc::kCharClasses[unit], 32) << unit; // every set shows ASCII
    EXPECT_EQ(enc::kCharClasses[0x0B15], 0);            // Oriya has no class
    EXPECT_EQ(enc::kCharClasses[0xD800], 0);
}

TEST(ScriptClasses, ArrayAndRanges) {
    for (std::uint8_t c : enc::kScriptClasses)
        ASSERT_LT(c, enc::kScriptClassCount);
    ASSERT_EQ(std::size(enc::kScriptRanges), 154u);
    std::uint32_t start = 0x3200;
    for (const enc::ScriptRange& row : enc::kScriptRanges) {
        EXPECT_GE(row.upper, start) << std::hex << row.upper;
        EXPECT_GT(row.nextStart, row.upper) << std::hex << row.upper;
        EXPECT_LT(row.scriptClass, enc::kScriptClassCount);
        start = row.nextStart;
    }
    EXPECT_EQ(enc::kScriptRanges[153].upper, 0x10FFFFu);

    const struct {
        std::uint32_t upper;
        std::uint32_t scriptClass;
    } fixed[] = {{0x4DBF, 12}, {0x4DFF, 11}, {0xDFFF, 12},
                 {0xF8FF, 25}, {0xFAFF, 12}, {0xFB06, 11}};
    for (const auto& row : fixed) {
        const auto* found =
            std::find_if(std::begin(enc::kScriptRanges), std::end(enc::kScriptRanges),
                         [&](const enc::ScriptRange& r) { return r.upper == row.upper; });
        ASSERT_NE(found, std::end(enc::kScriptRanges)) << std::hex << row.upper;
        EXPECT_EQ(found->scriptClass, row.scriptClass) << std::hex << row.upper;
        EXPECT_EQ(getCharScriptClass(wchar_t(row.upper)), int(row.scriptClass));
    }
}

TEST(ScriptClasses, ByUnit) {
    const struct {
        wchar_t unit;
        int scriptClass;
    } samples[] = {
        {L'A', 11},      {L'\x00E9', 11}, {L'\x03B1', 1},  {L'\x0416', 2},  {L'\x0531', 3},
        {L'\x10D0', 4},  {L'\x05D0', 5},  {L'\x0627', 6},  {L'\x060C', 6},  {L'\x0710', 7},
        {L'\x0780', 8},  {L'\x0E01', 9},  {L'\x0E81', 10}, {L'\x3001', 12}, {L'\x3042', 12},
        {L'\x1100', 13}, {L'\x0915', 14}, {L'\x0964', 14}, {L'\x0995', 15}, {L'\x0A15', 16},
        {L'\x0A95', 17}, {L'\x0B15', 18}, {L'\x0B95', 19}, {L'\x0C15', 20}, {L'\x0C95', 21},
        {L'\x0D15', 22}, {L'\x0D85', 23}, {L'\x0F40', 24}, {L'\x1000', 26}, {L'\x1780', 27},
        {L'\x1200', 28}, {L'\x4E00', 12}, {L'\xAC00', 13}, {L'\xD800', 12}, {L'\xE000', 25},
        {L'\xFB00', 11}, {L'\xFB1D', 5},  {L'\xFF21', 11}, {L'\xFF71', 12}, {L'\xFFFF', 11}};
    for (const auto& sample : samples)
        EXPECT_EQ(getCharScriptClass(sample.unit), sample.scriptClass)
            << std::hex << unsigned(sample.unit);
    if constexpr (sizeof(wchar_t) > 2) { // one UTF-16 unit per element: the rest is dropped
        EXPECT_EQ(getCharScriptClass(wchar_t(0x10627)), 6);
    }
}

} // namespace
