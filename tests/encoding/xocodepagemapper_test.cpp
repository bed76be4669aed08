#include <gtest/gtest.h>

#include "PmCodePage.h"
#include "XoCharMapper.h"
#include "XoCodePageFunctions.h"
#include "XoCodePageMapper.h"
#include "platform/codepage.h"

namespace {

code_page_id id(int value) {
    return code_page_id(value);
}

TEST(XoCodePageMapper, TableIsReproducedAsItStands) {
    const int expected[46] = {0,     20127, 28591, 28592, 28593, 28594, 28595, 28586, 28597, 28598,
                              28599, 437,   850,   852,   855,   857,   860,   861,   863,   864,
                              865,   869,   932,   10000, 10002, 949,   1361,  866,   1250,  1251,
                              1252,  20936, 1253,  1254,  1255,  1256,  1257,  874,   932,   936,
                              949,   950,   1361,  0,     1258,  65001};
    for (int i = 0; i < 46; ++i)
        EXPECT_EQ(XoCodePageMapper::arrAnsiVeskCpMapper[i], expected[i]) << "identifier " << i;
    EXPECT_EQ(sizeof XoCodePageMapper::arrAnsiVeskCpMapper, 46 * sizeof(std::int32_t));
    EXPECT_EQ(XoCodePageMapper::arrAnsiVeskCpMapper[CODE_PAGE_ISO8859_6], 28586); // kept
}

TEST(XoCodePageMapper, IdentifierToWindowsCodePage) {
    for (int i = 2; i < 46; ++i) {
        if (i == 43)
            continue;
        EXPECT_EQ(XoCodePageMapper::veskCpToAnsiCp(id(i)),
                  XoCodePageMapper::arrAnsiVeskCpMapper[i]);
    }
    // The thread's ANSI code page (3) for no entry, for US-ASCII (kept) and out of range.
    for (int i : {0, 1, 43, 46, 47, 1000, -1})
        EXPECT_EQ(XoCodePageMapper::veskCpToAnsiCp(id(i)), 3) << "identifier " << i;
    EXPECT_EQ(XoCodePageMapper::veskCpToAnsiCp(CODE_PAGE_UTF8), 65001);
}

TEST(XoCodePageMapper, WindowsCodePageToIdentifierSearchesFromTheTop) {
    EXPECT_EQ(XoCodePageMapper::ansiCpToVeskCp(932), CODE_PAGE_JAPANESE);
    EXPECT_EQ(XoCodePageMapper::ansiCpToVeskCp(949), CODE_PAGE_KOREAN);
    EXPECT_EQ(XoCodePageMapper::ansiCpToVeskCp(1361), CODE_PAGE_JOHAB);
    EXPECT_EQ(XoCodePageMapper::ansiCpToVeskCp(0), CODE_PAGE_NO_WINDOWS_CP);
    EXPECT_EQ(XoCodePageMapper::ansiCpToVeskCp(20936), CODE_PAGE_SIMPLIFIED_CHINESE_SECOND);
    EXPECT_EQ(XoCodePageMapper::ansiCpToVeskCp(28586), CODE_PAGE_ISO8859_6);
    EXPECT_EQ(XoCodePageMapper::ansiCpToVeskCp(20127), CODE_PAGE_US_ASCII);
    for (int unknown : {28596, 3, 65000, -1})
        EXPECT_EQ(XoCodePageMapper::ansiCpToVeskCp(unknown), CODE_PAGE_UNDEFINED) << unknown;
    for (int i = 1; i < 46; ++i) {
        if (i == 22 || i == 25 || i == 26 || i == 43)
            continue; // the tie-breaks above
        EXPECT_EQ(XoCodePageMapper::ansiCpToVeskCp(XoCodePageMapper::arrAnsiVeskCpMapper[i]),
                  id(i));
    }
}

TEST(XoCodePageMapper, SystemAnsiCodePageIsThePlatformsAnswer) {
    EXPECT_EQ(XoCodePageMapper::currentSystemAnsiCp(), int(xo::platform::systemAnsiCodePage()));
}

TEST(XoCharMapper, CharacterSetsAndIdentifiers) {
    const struct {
        unsigned short charset;
        code_page_id id;
    } pairs[] = {{0, CODE_PAGE_WIN_WESTERN},
                 {128, CODE_PAGE_JAPANESE},
                 {129, CODE_PAGE_KOREAN},
                 {134, CODE_PAGE_SIMPLIFIED_CHINESE},
                 {136, CODE_PAGE_TRADITIONAL_CHINESE},
                 {161, CODE_PAGE_WIN_GREEK},
                 {162, CODE_PAGE_WIN_TURKISH},
                 {163, CODE_PAGE_WIN_VIETNAMESE},
                 {177, CODE_PAGE_WIN_HEBREW},
                 {178, CODE_PAGE_WIN_ARABIC},
                 {186, CODE_PAGE_WIN_BALTIC},
                 {204, CODE_PAGE_WIN_CYRILLIC},
                 {222, CODE_PAGE_WIN_THAI},
                 {238, CODE_PAGE_WIN_CENTRAL_EUROPEAN}};
    int mapped = 0;
    for (unsigned charset = 0; charset < 0x10000; ++charset) {
        const code_page_id got = XoCharMapper::getCodepageByCharset((unsigned short)charset);
        mapped += got != CODE_PAGE_UNDEFINED;
    }
    EXPECT_EQ(mapped, 15); // the fourteen below and SYMBOL
    EXPECT_EQ(XoCharMapper::getCodepageByCharset(2), CODE_PAGE_WIN_WESTERN);
    for (const auto& pair : pairs) {
        EXPECT_EQ(XoCharMapper::getCodepageByCharset(pair.charset), pair.id) << pair.charset;
        EXPECT_EQ(XoCharMapper::getCharSetByCodepageId(pair.id), pair.charset) << pair.id;
    }
    int defaults = 0;
    for (int i = -1; i <= 47; ++i)
        defaults += XoCharMapper::getCharSetByCodepageId(id(i)) == 1;
    EXPECT_EQ(defaults, 49 - 14);
    // Johab is known in neither direction (kept).
    EXPECT_EQ(XoCharMapper::getCodepageByCharset(130), CODE_PAGE_UNDEFINED);
    EXPECT_EQ(XoCharMapper::getCharSetByCodepageId(CODE_PAGE_JOHAB), 1u);
}

TEST(XoCharMapper, DoubleByteSetsAndIdentifiers) {
    for (int charset = -1; charset < 600; ++charset) {
        const bool expected =
            charset == 128 || charset == 129 || charset == 130 || charset == 134 || charset == 136;
        EXPECT_EQ(PmCodePage::CharSetIsDoubleByte(charset), expected) << charset;
    }
    for (int i = -1; i <= 47; ++i) {
        const bool expected =
            i == 22 || i == 24 || i == 25 || i == 26 || i == 31 || (i >= 38 && i <= 42);
        EXPECT_EQ(IsMultiByteCodePage(id(i)), expected) << i;
        EXPECT_EQ(isAsianCodepage(id(i)), expected) << i;
    }
}

TEST(XoCharMapper, DigitCodes) {
    EXPECT_EQ(mapCodepage('0'),
              XoCodePageMapper::ansiCpToVeskCp(int(xo::platform::systemAnsiCodePage())));
    // Digits 1 to 5 are checked with the MIF digits (PnCharFormatter tests).
    EXPECT_EQ(mapCodepage(0x0131), CODE_PAGE_JAPANESE); // only the low byte counts (kept)
    EXPECT_EQ(mapCodepage(short(0xFF35)), CODE_PAGE_SIMPLIFIED_CHINESE);
    for (short other : {short('6'), short('/'), short('A'), short(0), short(0xB1), short(0x0100)})
        EXPECT_EQ(mapCodepage(other), CODE_PAGE_UNDEFINED) << other;

    const char expected[49] = "000000000000000000000010234000050000001532400000";
    for (int i = 0; i <= 47; ++i)
        EXPECT_EQ(reMapCodepage(id(i)), short(expected[i])) << i;
    EXPECT_EQ(reMapCodepage(id(-1)), short('0'));
}

TEST(XoCharMapper, LeadBytesFollowTheAnsiTwins) {
    namespace os = xo::platform;
    const struct {
        code_page_id second;
        code_page_id twin;
    } twins[] = {{CODE_PAGE_JAPANESE_DOS, CODE_PAGE_JAPANESE},
                 {CODE_PAGE_TRADITIONAL_CHINESE_SECOND, CODE_PAGE_TRADITIONAL_CHINESE},
                 {CODE_PAGE_KOREAN_SECOND, CODE_PAGE_KOREAN},
                 {CODE_PAGE_JOHAB_SECOND, CODE_PAGE_JOHAB},
                 {CODE_PAGE_SIMPLIFIED_CHINESE_SECOND, CODE_PAGE_SIMPLIFIED_CHINESE}};
    for (const auto& pair : twins)
        for (int byte = 0; byte < 256; ++byte) {
            const bool expected = os::isDbcsLeadByte(
                unsigned(XoCodePageMapper::veskCpToAnsiCp(pair.twin)), (unsigned char)byte);
            EXPECT_EQ(XoCharMapper::isLeadByte((unsigned char)byte, pair.second), expected);
            EXPECT_EQ(XoCharMapper::isLeadByte((unsigned char)byte, pair.twin), expected);
        }
    // 10002 and 950 differ in their last lead bytes; 20936 has no lead byte 0x81.
    EXPECT_TRUE(XoCharMapper::isLeadByte(0x81, CODE_PAGE_TRADITIONAL_CHINESE_SECOND));
    EXPECT_TRUE(XoCharMapper::isLeadByte(0xFE, CODE_PAGE_TRADITIONAL_CHINESE_SECOND));
    EXPECT_FALSE(os::isDbcsLeadByte(10002, 0xFE));
    EXPECT_TRUE(XoCharMapper::isLeadByte(0x81, CODE_PAGE_SIMPLIFIED_CHINESE_SECOND));
    EXPECT_TRUE(XoCharMapper::isLeadByte(0x81, CODE_PAGE_JAPANESE_DOS));
    EXPECT_FALSE(XoCharMapper::isLeadByte(0xA0, CODE_PAGE_JAPANESE_DOS));

    const unsigned acp = os::systemAnsiCodePage();
    for (int byte = 0; byte < 256; ++byte) {
        const auto b = (unsigned char)byte;
        EXPECT_EQ(XoCharMapper::isLeadByte(b, CODE_PAGE_SYSTEM_ANSI), os::isDbcsLeadByte(acp, b));
        EXPECT_EQ(XoCharMapper::isLeadByte(b, CODE_PAGE_US_ASCII),
                  os::isDbcsLeadByte(os::kCpThreadAcp, b));
        EXPECT_FALSE(XoCharMapper::isLeadByte(b, CODE_PAGE_WIN_WESTERN));
        EXPECT_FALSE(XoCharMapper::isLeadByte(b, CODE_PAGE_UTF8));
    }
}

} // namespace
