// The wide character classes beside the Windows runtime's, for every UTF-16 unit.
#if defined(_WIN32)

#include <gtest/gtest.h>

#include <cwctype>

#include "runtime/xowidectype.h"

namespace {

TEST(WideCharacterClasses, MatchTheRuntimeForEveryUnit) {
    int differences = 0;
    for (unsigned u = 0; u < 0x10000; ++u) {
        const wint_t w = wint_t(u);
        differences += xo::widectype::isLower(u) != (iswlower(w) != 0);
        differences += xo::widectype::isSpace(u) != (iswspace(w) != 0);
        differences += xo::widectype::isDigit(u) != (iswdigit(w) != 0);
        differences += xo::widectype::toUpper(u) != unsigned(towupper(w));
        differences += xo::widectype::toLower(u) != unsigned(towlower(w));
    }
    EXPECT_EQ(differences, 0);
}

} // namespace

#endif
