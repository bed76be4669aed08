// The POSIX stand-in for the system locale: Windows' code pages by language.
#if !defined(_WIN32)

#include <gtest/gtest.h>

#include "platform/posix/localefacts.h"

namespace {

using xo::platform::localeFactsFromName;

TEST(LocaleFacts, CodePagesByLanguage) {
    struct Case {
        const char* name;
        std::uint32_t lcid;
        unsigned ansi;
        unsigned oem;
    };
    const Case cases[] = {
        {"ja_JP.UTF-8", 0x0411, 932, 932},
        {"zh_CN.UTF-8", 0x0804, 936, 936},
        {"zh_TW.UTF-8", 0x0404, 950, 950},
        {"zh_HK", 0x0C04, 950, 950},
        {"zh_SG.GB2312", 0x1004, 936, 936},
        {"ko_KR.EUC-KR", 0x0412, 949, 949},
        {"ru_RU.UTF-8", 0x0419, 1251, 866},
        {"uk_UA", 0x0422, 1251, 866},
        {"el_GR.UTF-8", 0x0408, 1253, 737},
        {"tr_TR.UTF-8", 0x041F, 1254, 857},
        {"he_IL.UTF-8", 0x040D, 1255, 862},
        {"ar_EG.UTF-8", 0x0C01, 1256, 720},
        {"lt_LT.UTF-8", 0x0427, 1257, 775},
        {"vi_VN", 0x042A, 1258, 1258},
        {"th_TH.UTF-8", 0x041E, 874, 874},
        {"pl_PL.UTF-8", 0x0415, 1250, 852},
        {"cs_CZ", 0x0405, 1250, 852},
        {"de_DE.UTF-8", 0x0407, 1252, 850},
        {"de_CH.UTF-8", 0x0807, 1252, 850},
        {"en_US.UTF-8", 0x0409, 1252, 437},
        {"en_GB.UTF-8", 0x0809, 1252, 437},
        {"sr_RS@latin", 0x241A, 1250, 852},
        {"sr_RS", 0x281A, 1251, 866},
        {"hi_IN", 0x0439, 1252, 850},
        {"C", 0x0409, 1252, 437},
        {"POSIX", 0x0409, 1252, 437},
        {"", 0x0409, 1252, 437},
        {"xx_YY.UTF-8", 0x0409, 1252, 437},
    };
    for (const Case& c : cases) {
        const auto facts = localeFactsFromName(c.name);
        EXPECT_EQ(facts.lcid, c.lcid) << c.name;
        EXPECT_EQ(facts.ansiCodePage, c.ansi) << c.name;
        EXPECT_EQ(facts.oemCodePage, c.oem) << c.name;
    }
    EXPECT_EQ(localeFactsFromName(nullptr).ansiCodePage, 1252u);
}

} // namespace

#endif
