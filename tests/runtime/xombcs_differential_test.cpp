// The multibyte walks beside the Windows runtime's own functions, under each of the
// code pages drawings use. Wine's msvcrt stands in for Windows here; where it is known
// to differ from Windows (its _mbsstr ignores lead bytes, and it leaves double-byte
// letters alone in case mapping) the comparison is narrowed and says so.
#if defined(_WIN32)

#include <gtest/gtest.h>

#include <mbctype.h>
#include <mbstring.h>

#include <random>
#include <string>
#include <vector>

#include "runtime/xombcs.h"

namespace {

using Bytes = std::basic_string<unsigned char>;

class MultibyteDifferential : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override {
        previous_ = _getmbcp();
        ASSERT_EQ(_setmbcp(GetParam()), 0);
    }
    void TearDown() override { _setmbcp(previous_); }

    // Texts of single bytes, lead bytes, trail bytes that look like ASCII, and lead
    // bytes at the end.
    std::vector<Bytes> texts() {
        const unsigned char alphabet[] = {'a',  'b',  'A',  'Z',  '\\', '@',  ' ',
                                          '1',  0x81, 0x82, 0x88, 0xA1, 0xB0, 0xE0,
                                          0x40, 0x5C, 0x7E, 0xA0, 0xFE};
        std::mt19937 random{unsigned(GetParam())};
        std::vector<Bytes> result;
        for (int i = 0; i < 3000; ++i) {
            Bytes text(random() % 9, 'a');
            for (unsigned char& c : text)
                c = alphabet[random() % sizeof alphabet];
            result.push_back(text);
        }
        return result;
    }

    // Whether p starts a character of text by the walk from its start.
    static bool onBoundary(const unsigned char* text, const unsigned char* p) {
        const unsigned char* q = text;
        while (q < p && *q)
            q = xo::mbcs::inc(q);
        return q == p;
    }

    int previous_ = 0;
};

int sign(int v) {
    return v < 0 ? -1 : v > 0;
}

bool hasHighByte(const Bytes& text) {
    for (unsigned char c : text)
        if (c >= 0x80)
            return true;
    return false;
}

std::string hex(const Bytes& text) {
    std::string out;
    for (unsigned char c : text) {
        char buf[4];
        std::snprintf(buf, sizeof buf, "%02X ", c);
        out += buf;
    }
    return out;
}

TEST_P(MultibyteDifferential, Walks) {
    for (const Bytes& text : texts()) {
        const unsigned char* s = text.c_str();
        ASSERT_EQ(xo::mbcs::len(s), _mbslen(s)) << hex(text);
        for (std::size_t i = 0; i < text.size(); ++i) {
            EXPECT_EQ(xo::mbcs::inc(s + i), _mbsinc(s + i)) << hex(text) << i;
            // Wine walks from the start where Windows reads back; they agree from the
            // end of a character, the only place callers step back from.
            if (onBoundary(s, s + i + 1)) {
                EXPECT_EQ(xo::mbcs::dec(s, s + i + 1), _mbsdec(s, s + i + 1)) << hex(text) << i;
            }
        }
        EXPECT_EQ(xo::mbcs::dec(s, s), _mbsdec(s, s));
        for (std::size_t n = 0; n < 6; ++n)
            EXPECT_EQ(xo::mbcs::ninc(s, n), _mbsninc(s, n)) << hex(text) << n;
    }
}

TEST_P(MultibyteDifferential, Comparisons) {
    const std::vector<Bytes> all = texts();
    for (std::size_t i = 0; i + 1 < all.size(); ++i) {
        const unsigned char* a = all[i].c_str();
        const unsigned char* b = all[i + 1].c_str();
        const unsigned char* a2 = all[i / 2].c_str();
        EXPECT_EQ(sign(xo::mbcs::cmp(a, b)), sign(_mbscmp(a, b)));
        EXPECT_EQ(sign(xo::mbcs::cmp(a, a2)), sign(_mbscmp(a, a2)));
        // On a single-byte page Wine compares case-insensitively as signed bytes;
        // Windows, and the library, compare unsigned.
        const bool wineSigned =
            GetParam() == 1252 && (hasHighByte(all[i]) || hasHighByte(all[i + 1]));
        if (!wineSigned) {
            EXPECT_EQ(sign(xo::mbcs::icmp(a, b)), sign(_mbsicmp(a, b)))
                << hex(all[i]) << "| " << hex(all[i + 1]);
        }
        for (std::size_t n = 0; n < 4; ++n) {
            EXPECT_EQ(sign(xo::mbcs::ncmp(a, b, n)), sign(_mbsncmp(a, b, n)));
            if (!wineSigned) {
                EXPECT_EQ(sign(xo::mbcs::nicmp(a, b, n)), sign(_mbsnicmp(a, b, n)));
            }
        }
    }
}

TEST_P(MultibyteDifferential, SearchReverseAndCase) {
    const std::vector<Bytes> all = texts();
    for (std::size_t i = 0; i < all.size(); ++i) {
        const unsigned char* s = all[i].c_str();
        const Bytes needle = all[(i * 7) % all.size()].substr(0, 2);
        const unsigned char* windows = _mbsstr(s, needle.c_str());
        if (!windows || onBoundary(s, windows)) {
            EXPECT_EQ(xo::mbcs::str(s, needle.c_str()), windows);
        }
        Bytes mine = all[i], theirs = all[i];
        EXPECT_EQ(Bytes(xo::mbcs::rev(mine.data())), Bytes(_mbsrev(theirs.data())));
        mine = theirs = all[i];
        EXPECT_EQ(Bytes(xo::mbcs::upr(mine.data())), Bytes(_mbsupr(theirs.data())));
        mine = theirs = all[i];
        EXPECT_EQ(Bytes(xo::mbcs::lwr(mine.data())), Bytes(_mbslwr(theirs.data())));
    }
}

TEST_P(MultibyteDifferential, SingleByteCharacterTests) {
    for (unsigned c = 0; c < 256; ++c) {
        EXPECT_EQ(xo::mbcs::toUpper(c), _mbctoupper(c)) << c;
        EXPECT_EQ(xo::mbcs::toLower(c), _mbctolower(c)) << c;
        EXPECT_EQ(xo::mbcs::isLower(c), _ismbclower(c) != 0) << "byte " << c;
        EXPECT_EQ(xo::mbcs::isSpace(c), _ismbcspace(c) != 0) << "byte " << c;
        EXPECT_EQ(xo::mbcs::isDigit(c), _ismbcdigit(c) != 0) << "byte " << c;
        EXPECT_EQ(xo::mbcs::isLeadByte(std::uint8_t(c)), _ismbblead(c) != 0) << c;
    }
}

INSTANTIATE_TEST_SUITE_P(CodePages, MultibyteDifferential,
                         ::testing::Values(1252, 932, 936, 949, 950));

} // namespace

#endif
