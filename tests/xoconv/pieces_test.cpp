// xoconv's conversion streamed in pieces of any size gives what one piece gives: the
// seams fall inside characters, escapes, surrogate pairs, line ends and marks.
#include <gtest/gtest.h>

#include <string>

#include "convert.h"
#include "options.h"

namespace {

using namespace std::string_literals;

struct Case {
    const char* from; // empty: by the mark, else UTF-8 when valid, else the system's
    const char* to;
    xoconv::Lacking lacking;
    xoconv::LineEnds lineEnds;
    std::string in, out; // out: the expected output, or the expected error
};

TEST(XoconvPieces, AnyPieceSizeConvertsAlike) {
    using L = xoconv::Lacking;
    using E = xoconv::LineEnds;
    const Case cases[] = {
        {"932", "utf-8", L::Fail, E::Lf,
         "a\\U+4E2D\x82\xA0\\M+1815C\r\n\\U+D83D\\U+DE00\\u+0z\0\r"s,
         "a\xE4\xB8\xAD\xE3\x81\x82\xE2\x80\x95\n\xF0\x9F\x98\x80\\u+0z\0\r"s},
        {"utf-8", "utf-16be", L::Fail, E::CrLf, "\xF0\x9F\x98\x80\r\nx\n\xC3\xA9"s,
         "\xFE\xFF\xD8\x3D\xDE\x00\0\r\0\n\0x\0\r\0\n\0\xE9"s},
        {"utf-16be", "utf-8", L::Fail, E::Keep, "\0a\0\xE9\x30\x42\xD8\x3D\xDE\x00\0b"s,
         "a\xC3\xA9\xE3\x81\x82\xF0\x9F\x98\x80"
         "b"s},
        {"utf-16le", "utf-8", L::Question, E::Keep,
         "\x3D\xD8"
         "a\0\x3D\xD8\x00\xDE"s,
         "\xEF\xBF\xBD"
         "a\xF0\x9F\x98\x80"s},
        {"utf-32be", "1252", L::Cif, E::Keep,
         "\0\0\0\\\0\0\0U\0\0\0+\0\0\0"
         "4\0\0\0"
         "1\0\0\0"
         "2\0\0\0"
         "3\0\0N-"s,
         "\\U+005CU+4123\\U+4E2D"s},
        {"1252", "utf-32le", L::Fail, E::Keep, "\xE9\\U+00E9"s,
         "\xFF\xFE\0\0\xE9\0\0\0\xE9\0\0\0"s},
        {"utf-8", "932", L::Drop, E::Keep, "\xE3\x81\x82\xC3\xA9z"s, "\x82\xA0z"s},
        {"utf-8", "932", L::Question, E::Keep,
         "\xE3\x81\x82\xC3\xA9\xE3\x81\x82\xF0\x9F\x98\x80"
         "a"s,
         "\x82\xA0?\x82\xA0?a"s},
        {"utf-8", "932", L::Fail, E::Keep, "ab\n\xC3\xA9\xC3\xA9"s,
         "character 3 (U+00E9) and 1 other(s) are not in code page 932; nothing written "
         "(--cif writes escapes, --replace '?', -c drops them)"},
        {"utf-8", "utf-16le", L::Fail, E::Keep,
         "abc\xE3\x81"
         "d"s,
         "byte 3: not UTF-8"},
        {"932", "utf-8", L::Fail, E::Keep, "\x82\xA0\x82"s,
         "byte 2: not a character of code page 932"},
        {"utf-32le", "utf-8", L::Fail, E::Keep, "a\0\0\0b\0"s,
         "byte 4: a partial character at the end of UTF-32 text"},
        {"utf-16", "utf-8", L::Fail, E::Keep, "\xFE\xFF\0a\x30\x42"s, "a\xE3\x81\x82"},
        {"", "utf-16le", L::Fail, E::Keep, "x\xE3\x81\x82"s, "\xFF\xFEx\0\x42\x30"s},
        {"", "utf-8", L::Fail, E::Keep, "\xEF\xBB\xBF\xE3\x81\x82"s, "\xE3\x81\x82"},
    };
    for (const Case& c : cases) {
        xoconv::Options options;
        if (*c.from) {
            ASSERT_TRUE(xoconv::parseEncoding(c.from, options.from));
        }
        ASSERT_TRUE(xoconv::parseEncoding(c.to, options.to));
        options.lacking = c.lacking;
        options.lineEnds = c.lineEnds;
        for (std::size_t piece = 1; piece <= 10; ++piece) {
            SCOPED_TRACE(std::string(c.from) + " to " + c.to + ", pieces of " +
                         std::to_string(piece));
            xoconv::TextSource in(c.in);
            xoconv::TextSink out;
            xoconv::Progress progress;
            const xoconv::Conversion result = xoconv::convert(in, out, options, progress, piece);
            EXPECT_EQ(result.outcome == xoconv::Conversion::Converted ? out.text : result.error,
                      c.out);
        }
    }
}

} // namespace
