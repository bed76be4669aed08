// WildcardsStringMatch: the pattern syntax, where it reports the match, and the
// behaviours the application has always relied on, odd ones included.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "XoWildcard.h"

namespace {

constexpr int kYes = 5100;
constexpr int kNo = -5001;

struct Case {
    std::wstring text;
    std::wstring patterns;
    int result;
    int start;
    int end;
};

void expectAll(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << "text \"" << c.text << "\", patterns \"" << c.patterns << "\"");
        int start = -7;
        int end = -7;
        EXPECT_EQ(WildcardsStringMatch(c.text.c_str(), c.patterns.c_str(), &start, &end), c.result);
        EXPECT_EQ(start, c.start);
        EXPECT_EQ(end, c.end);
    }
}

TEST(WildcardsStringMatch, NullTextOrPatternsIsTheErrorResult) {
    int start = 9;
    int end = 9;
    EXPECT_EQ(WildcardsStringMatch(nullptr, L"*", &start, &end), kNo);
    EXPECT_EQ(start, 0);
    EXPECT_EQ(end, 9);
    start = 9;
    EXPECT_EQ(WildcardsStringMatch(L"a", nullptr, &start, &end), kNo);
    EXPECT_EQ(start, 0);
    EXPECT_EQ(WildcardsStringMatch(nullptr, nullptr, nullptr, &end), kNo);
}

TEST(WildcardsStringMatch, WildcardsAndWhereTheMatchLies) {
    expectAll({
        {L"abc", L"*", kYes, 0, 2},
        {L"", L"*", kYes, 0, -1},
        {L"", L"", kYes, 0, -1}, // an empty list matches everything
        {L"abc", L"", kYes, 0, -1},
        {L"", L"~a", kNo, 0, -1},     // no negation on an empty text
        {L"abcd", L"ab", kYes, 0, 1}, // the rest of the text does not matter
        {L"aab", L"b", kYes, 2, 2},   // a first literal slides along the text
        {L"ABC", L"abc", kNo, 3, 2},  // case-sensitive
        {L"a.b", L"@.@", kYes, 0, 2},
        {L"a1", L"@.", kNo, 0, 0},
        {L"x1a", L"#@", kYes, 1, 2},  // fails at x, matches on the retry from 1
        {L"aab", L"*?b", kYes, 0, 2}, // ? leaves the * absorbing
        {L"xx*b", L"*`*b", kYes, 0, 3},
    });
}

TEST(WildcardsStringMatch, ClassesLookAtTheLowByteOnlyAndLiteralsAtTheWholeUnit) {
    expectAll({
        {L"\x0131", L"#", kYes, 0, 0},
        {L"\x4E31", L"#", kYes, 0, 0},
        {L"\xFF10", L"#", kNo, 0, -1}, // a fullwidth zero is no digit: its low byte is 0x10
        {L"\x0141", L"@", kYes, 0, 0},
        {L"\x00E9", L"@", kNo, 0, -1}, // the C locale has no letters above 0x7F
        {L"\x0100", L".", kYes, 0, 0},
        {L"\x0161", L"a", kNo, 1, 0},
        {L"\xFFFF", L"\xFFFF", kYes, 0, 0},
    });
}

TEST(WildcardsStringMatch, Lists) {
    expectAll({
        {L"a", L"[a-c]", kYes, 0, 0},
        {L"b", L"[a-c]", kYes, 0, 0},
        {L"c", L"[a-c]", kYes, 0, 0},
        {L"d", L"[a-c]", kNo, 0, -1},
        {L"-", L"[a-c]", kNo, 0, -1},
        {L"b", L"[c-a]", kYes, 0, 0},
        {L"b", L"[~a-c]", kNo, 0, -1},
        {L"d", L"[~a-c]", kYes, 0, 0},
        {L"-", L"[-a]", kYes, 0, 0},
        {L"]", L"[]a]", kYes, 0, 0},
        {L"]", L"[~]a]", kNo, 0, -1},
        {L"b", L"[~]a]", kYes, 0, 0},
        {L"\x5000", L"[\x4E00-\x9FFF]", kYes, 0, 0},
        {L"xxb", L"*[ab]", kYes, 0, 2},
        {L"a", L"[a", kNo, 0, -1}, // unclosed
        {L"[", L"[", kNo, 0, -1},
        {L"[", L"`[", kYes, 0, 0},
        {L"a]", L"a]", kYes, 0, 1},  // ] outside a list is itself
        {L"b", L"[a,b]", kNo, 0, 0}, // the comma splits the list
        {L"b", L"[a`,b]", kYes, 0, 0},
    });
}

TEST(WildcardsStringMatch, BackquoteAndNegation) {
    expectAll({
        {L"a,b", L"a`,b", kYes, 0, 2},
        {L"*", L"`*", kYes, 0, 0},
        {L"x", L"`*", kNo, 0, -1},
        {L"`", L"``", kYes, 0, 0},
        {L"a`", L"a`", kNo, 0, 0},  // a backquote last fails the item
        {L"xy", L"*`?", kNo, 0, 1}, // after a * the backquote is tried again
        {L"abc", L"~ab*", kNo, -1, -1},
        {L"xyz", L"~ab*", kYes, 0, 2},
        {L"a", L"~#", kYes, 0, -1}, // a failure inside the walk is inverted too
        {L"1", L"~#", kNo, -1, -1},
        // A negated item that fails ends the list with the result so far.
        {L"abc", L"a*,~a*,*", kYes, -1, -1},
        {L"abc", L"x*,~a*", kNo, -1, -1},
    });
}

TEST(WildcardsStringMatch, SplittingTheList) {
    expectAll({
        {L"b", L",,x,,b", kYes, 1, 0},
        {L"q", L",,,", kYes, 0, -1},
        {L"q", L"x,", kYes, 1, -1}, // what follows the last comma is an item, empty or not
    });
}

TEST(WildcardsStringMatch, ListsAreCutAfter2048Characters) {
    // The second item is "bc" when it fits and "b" when its c is the 2049th character.
    expectAll({
        {L"b", std::wstring(2045, L'x') + L",bc", kNo, 1, 0},
        {L"b", std::wstring(2046, L'x') + L",bc", kYes, 1, 0},
    });
}

TEST(WildcardsStringMatch, SkipsCarryIntoLaterItems) {
    expectAll({
        {L"abc", L"x,a*", kYes, 3, 0},
        {L"abc", L"x,*", kYes, 3, 2},
    });
}

TEST(WildcardsStringMatch, ALoneStarEndsTheListAtOnce) {
    expectAll({
        {L"abc", L"*,~abc", kYes, 0, 2},
        {L"abc", L"**,~abc", kYes, -1, -1}, // not alone: the negated item is reached
    });
}

TEST(WildcardsStringMatch, RetriesFurtherOnEndTheListBeingRetried) {
    expectAll({
        {L"aa", L"aa,ab", kYes, 0, 0},
        {L"aa", L"ab,aa", kNo, 0, 0}, // aa is never tried on the whole text
        {L"aab", L"*ab", kYes, 1, 2}, // after a * a miss drops the character it missed on
        {L"aaab", L"ab", kYes, 2, 3},
        // Retries from 1, 2 and 3; the deepest that matched (from 2) gives the answer.
        {L"abab", L"?b,ax", kYes, 2, 2},
    });
}

TEST(WildcardsStringMatch, RetriesAsManyAsTheTextIsLong) {
    const std::wstring text = std::wstring(20000, L'a') + L"b";
    int start = 0;
    int end = 0;
    EXPECT_EQ(WildcardsStringMatch(text.c_str(), L"ab", &start, &end), kYes);
    EXPECT_EQ(start, 19999);
    EXPECT_EQ(end, 20000);
}

} // namespace
