// The punctuation classes, including the units that deliberately stand in two sets.
#include <gtest/gtest.h>

#include "XoCharCategory.h"

namespace {

const XoCharCategory& category() {
    return *XoCharCategory::instance();
}

TEST(XoCharCategory, UnitsInTwoSetsStayInBoth) {
    EXPECT_TRUE(category().isRightPunctuation(L'\xFF09'));
    EXPECT_TRUE(category().isNormalPunctuation(L'\xFF09'));
    EXPECT_TRUE(category().isLeftPunctuation(L'\x2039'));
    EXPECT_TRUE(category().isQuotationPunctuation(L'\x2039'));
    EXPECT_TRUE(category().isRightPunctuation(L'\x203A'));
    EXPECT_TRUE(category().isQuotationPunctuation(L'\x203A'));
    EXPECT_TRUE(category().isLeftPunctuation(L'\xFE35'));
    EXPECT_FALSE(category().isRightPunctuation(L'\xFE36')); // no closing twin, as listed
}

TEST(XoCharCategory, Membership) {
    EXPECT_FALSE(category().isPunctuation(L'A'));
    EXPECT_TRUE(category().isPunctuation(L'\xFF09'));
    EXPECT_TRUE(category().isLeftPunctuation(L'+'));
    EXPECT_FALSE(category().isQuotationPunctuation(L'\x201E'));
    EXPECT_TRUE(category().isLeftPunctuation(L'\x201E'));
    EXPECT_TRUE(category().isLeftPunctuation(L'\x0024')); // first of its list
    EXPECT_TRUE(category().isLeftPunctuation(L'\xFFE5')); // last, listed twice
    EXPECT_TRUE(category().isNormalPunctuation(L'\xFFE0'));
    EXPECT_FALSE(category().isNormalPunctuation(L'\xFFFF'));
    EXPECT_FALSE(category().isPunctuation(L'\0'));
}

TEST(XoCharCategory, AllIsTheUnionOfTheFourSets) {
    int members = 0;
    for (unsigned u = 0; u < 0x10000; ++u) {
        const wchar_t ch = wchar_t(u);
        const bool any = category().isLeftPunctuation(ch) || category().isRightPunctuation(ch) ||
                         category().isNormalPunctuation(ch) ||
                         category().isQuotationPunctuation(ch);
        EXPECT_EQ(category().isPunctuation(ch), any) << u;
        members += any;
    }
    EXPECT_EQ(members, 97 - 7); // 97 listed units, seven of them listed twice
}

TEST(XoCharCategory, ACopyAnswersTheSame) {
    const XoCharCategory copy(category());
    EXPECT_TRUE(copy.isQuotationPunctuation(L'"'));
    EXPECT_TRUE(copy.isPunctuation(L'\x3002'));
    EXPECT_FALSE(copy.isPunctuation(L'x'));
}

} // namespace
