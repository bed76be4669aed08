// PnCharFormatter: the settings of one text file, the byte-order marks, and the CIF,
// MIF and RTF escapes of wide text.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "PnCharFormatter.h"
#include "XoCodePageFunctions.h"
#include "platform/codepage.h"

namespace {

using Bytes = std::string;
using Wide = std::wstring;

unsigned le32(unsigned b0, unsigned b1, unsigned b2, unsigned b3) {
    return b0 | b1 << 8 | b2 << 16 | b3 << 24;
}

bool westernSystem() {
    return xo::platform::systemAnsiCodePage() == 1252;
}
bool japaneseSystem() {
    return xo::platform::systemAnsiCodePage() == 932;
}

#define REQUIRE_SYSTEM(condition, page)                                                            \
    if (!(condition))                                                                              \
    GTEST_SKIP() << "needs system ANSI code page " << (page)

TEST(PnCharFormatter, FieldsDefaultsAndSettersReturningThePreviousValue) {
    EXPECT_EQ(sizeof(PnCharFormatter), 8u); // format, useCIF, expandLF
    PnCharFormatter f;
    EXPECT_EQ(f.getFormat(), 1u);
    EXPECT_FALSE(f.getUseCIF());
    EXPECT_TRUE(f.getExpandLF());

    EXPECT_EQ(f.setFormat(3), 1u);
    EXPECT_EQ(f.setFormat(6), 3u);
    EXPECT_TRUE(f.setExpandLF(false));
    EXPECT_FALSE(f.setExpandLF(false));
    EXPECT_FALSE(f.setUseCIF(true));
    EXPECT_TRUE(f.setUseCIF(true));
    EXPECT_EQ(f.getFormat(), 6u);
    EXPECT_TRUE(f.getUseCIF());
    EXPECT_FALSE(f.getExpandLF());

    PnCharFormatter g(4, true, false);
    EXPECT_EQ(g.getFormat(), 4u);
    EXPECT_TRUE(g.getUseCIF());
    EXPECT_FALSE(g.getExpandLF());

    PnCharFormatter copied;
    copied = g;
    EXPECT_EQ(copied.getFormat(), 4u);
    EXPECT_TRUE(copied.getUseCIF());
    EXPECT_FALSE(copied.getExpandLF());
    PnCharFormatter moved;
    moved = std::move(f);
    EXPECT_EQ(moved.getFormat(), 6u);
    EXPECT_TRUE(moved.getUseCIF());
    EXPECT_FALSE(moved.getExpandLF());
    const PnCharFormatter constructed(copied);
    EXPECT_EQ(PnCharFormatter(constructed).getFormat(), 4u);
}

TEST(PnCharFormatter, LookupBOMTestsUtf16LittleEndianBeforeUtf32) {
    EXPECT_EQ(PnCharFormatter::lookupBOM(le32(0xEF, 0xBB, 0xBF, 0x41)), 2u);
    EXPECT_EQ(PnCharFormatter::lookupBOM(le32(0xEF, 0xBB, 0xBF, 0x00)), 2u);
    EXPECT_EQ(PnCharFormatter::lookupBOM(le32(0xFF, 0xFE, 0x41, 0x00)), 3u);
    EXPECT_EQ(PnCharFormatter::lookupBOM(le32(0xFE, 0xFF, 0x00, 0x41)), 4u);
    // FF FE 00 00 is the UTF-32 little-endian mark, but reads as UTF-16 (kept).
    EXPECT_EQ(PnCharFormatter::lookupBOM(le32(0xFF, 0xFE, 0x00, 0x00)), 3u);
    EXPECT_EQ(PnCharFormatter::lookupBOM(le32(0x00, 0x00, 0xFE, 0xFF)), 6u);
    for (unsigned none : {0u, le32(0x41, 0x42, 0x43, 0x44), le32(0xEF, 0xBB, 0x41, 0x42),
                          le32(0x00, 0x00, 0xFF, 0xFE), le32(0x00, 0xFE, 0xFF, 0x00)})
        EXPECT_EQ(PnCharFormatter::lookupBOM(none), 0u) << std::hex << none;
}

TEST(PnCharFormatter, GetBOMGivesTheMarkAndItsLength) {
    const struct {
        unsigned format;
        unsigned mark;
        int length;
    } marks[] = {
        {2, 0xBFBBEF, 3}, {3, 0xFEFF, 2}, {4, 0xFFFE, 2}, {5, 0x0000FEFF, 4}, {6, 0xFFFE0000, 4}};
    for (const auto& m : marks) {
        unsigned mark = 0x12345678;
        EXPECT_EQ(PnCharFormatter::getBOM(mark, m.format), m.length) << m.format;
        EXPECT_EQ(mark, m.mark) << m.format;
        EXPECT_EQ(PnCharFormatter::lookupBOM(mark), m.format == 5 ? 3u : m.format);
    }
    for (unsigned format : {0u, 1u, 7u, 0xFFFFFFFFu}) {
        unsigned mark = 0x12345678;
        EXPECT_EQ(PnCharFormatter::getBOM(mark, format), 0) << format;
        EXPECT_EQ(mark, 0x12345678u) << format;
    }
}

TEST(PnCharFormatter, WcsLengthCountsUnitsBeforeTheTerminator) {
    EXPECT_EQ(PnCharFormatter::wcsLength(L""), 0u);
    EXPECT_EQ(PnCharFormatter::wcsLength(L"ab\x4E2D"), 3u);
    const wchar_t stops[] = {L'a', 0, L'b', 0};
    EXPECT_EQ(PnCharFormatter::wcsLength(stops), 1u);
}

// --- One character ---

Bytes written(char* buffer, unsigned n) {
    return Bytes(buffer, n);
}

// What one call writes, "-" for nothing; a byte written past the count returned shows.
template <class Fn> Bytes writtenBy(Fn&& fn) {
    char out[8];
    std::memset(out, '-', sizeof out);
    const unsigned n = fn(out);
    if (Bytes(out, 8).find_first_not_of('-', n) != Bytes::npos)
        return "<written past " + std::to_string(n) + ">";
    return n == 0 ? Bytes("-") : Bytes(out, n);
}

TEST(PnCharFormatter, WcharToBytesFollowsTheFormat) {
    const struct {
        unsigned format;
        bool useCIF, expandLF;
        wchar_t ch;
        Bytes bytes;
    } cases[] = {{2, false, true, L'\x4E2D', "\xE4\xB8\xAD"},
                 {2, false, true, L'\n', "\r\n"},
                 {2, false, false, L'\n', "\n"},
                 {3, false, true, L'\x4E2D', Bytes("\x2D\x4E", 2)},
                 {3, false, true, L'\n', Bytes("\r\0\n\0", 4)},
                 {4, true, false, L'\x4E2D', Bytes("\x4E\x2D", 2)},
                 {4, true, false, L'\n', Bytes("\0\n", 2)},
                 // UTF-32 is read, never written; nor is anything unknown.
                 {0, true, true, L'A', "-"},
                 {5, true, true, L'A', "-"},
                 {6, true, true, L'A', "-"},
                 {7, true, true, L'A', "-"}};
    for (const auto& c : cases) {
        PnCharFormatter f(c.format, c.useCIF, !c.expandLF);
        f.setExpandLF(c.expandLF); // set apart: the setter's value is the one used
        EXPECT_EQ(writtenBy([&](char* out) { return f.wcharToBytes(c.ch, out, 8); }), c.bytes)
            << c.format << " " << unsigned(c.ch);
    }
}

TEST(PnCharFormatter, WcharToBytesAnsiUsesTheSystemCodePage) {
    REQUIRE_SYSTEM(westernSystem(), 1252);
    char out[8];
    PnCharFormatter ansi; // ANSI, no CIF, expanded line feeds
    EXPECT_EQ(written(out, ansi.wcharToBytes(L'\xE9', out, 8)), "\xE9");
    EXPECT_EQ(written(out, ansi.wcharToBytes(L'\x4E2D', out, 8)), "?");
    EXPECT_EQ(written(out, ansi.wcharToBytes(L'\n', out, 8)), "\r\n");
    ansi.setUseCIF(true);
    EXPECT_EQ(written(out, ansi.wcharToBytes(L'\x4E2D', out, 8)), "\\U+4E2D");
}

struct CharCase {
    wchar_t ch;
    unsigned room;
    bool ansiOrLittleEndian, useCIF, expandLF;
    Bytes bytes;
};

void expectAnsiOrUtf8(std::initializer_list<CharCase> cases) {
    for (const CharCase& c : cases)
        EXPECT_EQ(writtenBy([&](char* out) {
                      return PnCharFormatter::wcharToAnsiOrUtf8(
                          c.ch, out, c.room, c.ansiOrLittleEndian, c.useCIF, c.expandLF);
                  }),
                  c.bytes)
            << unsigned(c.ch) << " room " << c.room;
}

TEST(PnCharFormatter, WcharToAnsiOrUtf8) {
    expectAnsiOrUtf8({{L'A', 0, true, false, false, "-"},
                      {L'\x4E2D', 1, false, false, false, "-"},
                      {L'A', 2, true, true, true, "A"},
                      {L'\n', 2, true, true, true, "\r\n"},
                      {L'\n', 2, false, false, false, "\n"},
                      {L'\r', 2, false, false, true, "\r"},
                      // UTF-8 ignores useCIF.
                      {L'\x4E2D', 2, false, true, true, "\xE4\xB8\xAD"},
                      {L'\x80', 2, false, true, true, "\xC2\x80"}});
}

TEST(PnCharFormatter, WcharToAnsiWithCIFEscapesWhatTheSystemCodePageLacks) {
    REQUIRE_SYSTEM(westernSystem(), 1252);
    // The escape is written whatever the room beyond 2 (callers offer 7; kept). No best
    // fit with CIF: U+0100 would otherwise become "A".
    expectAnsiOrUtf8({{L'\x4E2D', 2, true, true, false, "\\U+4E2D"},
                      {L'\x3bb', 7, true, true, false, "\\U+03BB"},
                      {L'\x100', 7, true, true, false, "\\U+0100"},
                      {L'\x100', 7, true, false, false, "A"},
                      {L'\xE9', 7, true, true, false, "\xE9"},
                      {L'\x20AC', 7, true, true, false, "\x80"}});
}

TEST(PnCharFormatter, WcharToUtf16) {
    const CharCase cases[] = {{L'A', 2, true, false, true, Bytes("A\0", 2)},
                              {L'A', 2, false, false, true, Bytes("\0A", 2)},
                              {L'\xFEFF', 2, true, false, true, "\xFF\xFE"},
                              {L'\n', 4, false, false, true, Bytes("\0\r\0\n", 4)},
                              {L'\n', 4, true, false, false, Bytes("\n\0", 2)},
                              // The expanded line feed takes 4 bytes whatever the room
                              // beyond 2 (kept).
                              {L'\n', 2, true, false, true, Bytes("\r\0\n\0", 4)},
                              {L'A', 1, true, false, true, "-"}};
    for (const CharCase& c : cases)
        EXPECT_EQ(writtenBy([&](char* out) {
                      return PnCharFormatter::wcharToUtf16(c.ch, out, c.room, c.ansiOrLittleEndian,
                                                           c.expandLF);
                  }),
                  c.bytes)
            << unsigned(c.ch) << " room " << c.room;
}

// --- Code pages ---

TEST(PnCharFormatter, MIFDigitsInEveryDirection) {
    const struct {
        unsigned index;
        unsigned winCp;
        code_page_id second;
        code_page_id ansi;
    } rows[] = {{1, 932, CODE_PAGE_JAPANESE_DOS, CODE_PAGE_JAPANESE},
                {2, 950, CODE_PAGE_TRADITIONAL_CHINESE_SECOND, CODE_PAGE_TRADITIONAL_CHINESE},
                {3, 949, CODE_PAGE_KOREAN_SECOND, CODE_PAGE_KOREAN},
                {4, 1361, CODE_PAGE_JOHAB_SECOND, CODE_PAGE_JOHAB},
                {5, 936, CODE_PAGE_SIMPLIFIED_CHINESE_SECOND, CODE_PAGE_SIMPLIFIED_CHINESE}};
    for (const auto& r : rows) {
        EXPECT_EQ(PnCharFormatter::winCodePageFromMIFIndex(r.index), r.winCp);
        EXPECT_EQ(PnCharFormatter::MIFIndexFromWinCodePage(r.winCp), r.index);
        // The second forms here, the ANSI forms from the digit elsewhere; both required.
        EXPECT_EQ(PnCharFormatter::codePageIdFromMIFIndex(static_cast<unsigned char>(r.index)),
                  r.second);
        EXPECT_EQ(mapCodepage(short('0' + r.index)), r.ansi);
        EXPECT_EQ(unsigned(PnCharFormatter::MIFIndexFromCodePageId(r.second)), r.index);
        EXPECT_EQ(unsigned(PnCharFormatter::MIFIndexFromCodePageId(r.ansi)), r.index);
    }
    for (unsigned other : {0u, 6u, unsigned('1'), 932u})
        EXPECT_EQ(PnCharFormatter::winCodePageFromMIFIndex(other), 0u) << other;
    for (unsigned other : {0u, 1u, 1252u, 10002u, 20936u, 65001u})
        EXPECT_EQ(PnCharFormatter::MIFIndexFromWinCodePage(other), 0u) << other;
    for (unsigned char other : {0, 6, 49, 255})
        EXPECT_EQ(PnCharFormatter::codePageIdFromMIFIndex(other), CODE_PAGE_UNDEFINED)
            << int(other);
    for (int other : {0, 1, 30, 43, 45, 46, 47})
        EXPECT_EQ(PnCharFormatter::MIFIndexFromCodePageId(code_page_id(other)), 0) << other;
}

TEST(PnCharFormatter, IsNativeToCodePageCountsTheBytesWithoutBestFit) {
    const struct {
        wchar_t ch;
        unsigned cp;
        int count;
        Bytes bytes;
    } cases[] = {{L'A', 932, 1, "A"},         {L'\x7F', 1252, 1, "\x7F"},
                 {L'\xE9', 1252, 1, "\xE9"},  {L'\x4E2D', 932, 2, "\x92\x86"},
                 {L'\xFF71', 932, 1, "\xB1"},                          // half-width katakana
                 {L'\x4E2D', 1252, 0, ""},    {L'\x100', 1252, 0, ""}, // best fit "A"
                 {L'\xA5', 932, 0, ""},                                // best fit "\"
                 {L'\xE9', 12345, 0, ""}};                             // no such page
    for (const auto& c : cases) {
        char out[2] = {'x', 'x'};
        EXPECT_EQ(PnCharFormatter::isNativeToCodePage(c.ch, c.cp, out, 0), c.count)
            << unsigned(c.ch) << " in " << c.cp;
        EXPECT_EQ(Bytes(out, std::size_t(c.count)), c.bytes) << unsigned(c.ch) << " in " << c.cp;
        EXPECT_EQ(PnCharFormatter::isNativeToCodePage(c.ch, c.cp, nullptr, 0), c.count);
    }
}

TEST(PnCharFormatter, AskingByIdentifierFindsNothingNative) {
    char out[2] = {'x', 'x'};
    for (int id : {0, 1, 30, 38, 45, 46})
        for (wchar_t ch : {L'A', L'\xE9', L'\x4E2D'})
            EXPECT_EQ(PnCharFormatter::isNativeToCodePageId(ch, code_page_id(id), out, 2), 0);
    EXPECT_EQ(Bytes(out, 2), "xx");
}

TEST(PnCharFormatter, ConvertMBStringToOneWideCharNeverConverts) {
    char text[] = "A";
    wchar_t out = L'x';
    EXPECT_FALSE(convertMBStringToOneWideChar(CODE_PAGE_WIN_WESTERN, text, 1, out));
    EXPECT_FALSE(convertMBStringToOneWideChar(CODE_PAGE_JAPANESE, text, 1, out));
    EXPECT_EQ(out, L'x');
}

// --- Escapes in wide text ---

// All three modes must agree: bounded with room, in place, count only.
Wide decoded(const Wide& in) {
    std::vector<wchar_t> out(in.size() + 1, L'#');
    const int n = PnCharFormatter::wcharFromCIFMIF(in.c_str(), out.data(), int(out.size()));
    Wide inPlace = in;
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(&inPlace[0], nullptr, -1), n) << "in place";
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(in.c_str(), nullptr, 0), n) << "count";
    if (n < 1 || out[std::size_t(n) - 1] != 0)
        return L"<unterminated>";
    EXPECT_EQ(Wide(inPlace.c_str()), Wide(out.data())) << "in place";
    return Wide(out.data(), std::size_t(n) - 1);
}

TEST(PnCharFormatter, WcharFromCIFMIFDecodesBothEscapes) {
    EXPECT_EQ(decoded(L"a\\U+00B0b"), L"a\xB0"
                                      L"b");
    EXPECT_EQ(decoded(L""), L""); // decoded checks the count: an escape counts one unit
    EXPECT_EQ(decoded(L"\\u+4e2d\\U+4E2D\\U+4e2D"), L"\x4E2D\x4E2D\x4E2D");
    EXPECT_EQ(decoded(L"\\U+0041\\U+0042"), L"AB");
    EXPECT_EQ(decoded(L"\\M+19286"), L"\x4E2D");
    EXPECT_EQ(decoded(L"\\m+2a4a4|\\M+3F1E9|\\M+4f3e9|\\M+5D6D0"), L"\x4E2D|\x4E2D|\x4E2D|\x4E2D");
    EXPECT_EQ(decoded(L"\\\\U+0041"), L"\\A");
}

TEST(PnCharFormatter, WcharFromCIFMIFLeavesWhatIsNoEscapeAsText) {
    for (const wchar_t* text :
         {L"\\U+00B", L"\\U+", L"\\U", L"\\", L"\\U-0041", L"\\X+0041", L"\\U+00G1", L"\\U 0041",
          L"\\M+09286", L"\\M+69286", L"\\M+1928", L"\\M+x9286"})
        EXPECT_EQ(decoded(text), text);
    // Codes that are not one character of the page, or that it refuses.
    EXPECT_EQ(decoded(L"\\M+10041"), L"\\M+10041");
    EXPECT_EQ(decoded(L"\\M+18120"), L"\\M+18120");
    EXPECT_EQ(decoded(L"\\M+1FFFF"), L"\\M+1FFFF");
}

TEST(PnCharFormatter, WcharFromCIFMIFEndsAtAZeroItProduces) {
    wchar_t out[8];
    std::fill(out, out + 8, L'#');
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(L"a\\U+0000b", out, 8), 2);
    EXPECT_EQ(Wide(out, 3), Wide(L"a\0#", 3));
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(L"a\\U+0000b", nullptr, 0), 2);
}

TEST(PnCharFormatter, WcharFromCIFMIFModesAndBounds) {
    wchar_t out[4];
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(nullptr, out, 4), 0);
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(nullptr, nullptr, 0), 0);
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(nullptr, nullptr, -1), 0);
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(L"abc", out, 0), 0);
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(L"abc", out, -1), 0);
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(L"abc", nullptr, 4), 0);

    // A full output ends the text unterminated.
    std::fill(out, out + 4, L'#');
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(L"a\\U+4E2Dcd", out, 3), 3);
    EXPECT_EQ(Wide(out, 4), L"a\x4E2D"
                            L"c#");
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(L"abc", out, 4), 4);
    EXPECT_EQ(Wide(out, 4), Wide(L"abc\0", 4));

    // In place: the tail behind the new terminator stays as it was.
    wchar_t text[] = L"x\\U+4E2Dy";
    EXPECT_EQ(PnCharFormatter::wcharFromCIFMIF(text, nullptr, -7), 4);
    EXPECT_EQ(Wide(text, 5), Wide(L"x\x4E2Dy\0"
                                  L"4",
                                  5));
}

TEST(PnCharFormatter, WcharNonNativeToCIFEscapesWhatTheSystemCodePageLacks) {
    REQUIRE_SYSTEM(westernSystem(), 1252);
    wchar_t out[16];
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"a\x4E2D\xE9", out, 16, false), 10);
    EXPECT_EQ(Wide(out), L"a\\U+4E2D\xE9");
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"a\x4E2D\xE9", nullptr, 0, false), 10);
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"\x3bb\x100", out, 16, true), 15);
    EXPECT_EQ(Wide(out), L"\\U+03BB\\U+0100");
    // Decoding gives the text back.
    EXPECT_EQ(decoded(out), L"\x3BB\x100");
}

TEST(PnCharFormatter, WcharNonNativeToCIFStopsWithRoomForTheTerminator) {
    wchar_t out[16];
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(nullptr, out, 16, false), 0);
    std::fill(out, out + 16, L'#');
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"abc", out, 0, false), 0);
    EXPECT_EQ(out[0], L'#');
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"", out, 1, false), 1);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"", nullptr, 0, false), 1);

    std::fill(out, out + 16, L'#');
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"abcdefg", out, 5, false), 5);
    EXPECT_EQ(Wide(out, 6), Wide(L"abcd\0#", 6));
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"abcdefg", out, 1, false), 1);
    EXPECT_EQ(out[0], 0);
    // U+2C00 (Glagolitic) is in no ANSI code page. The escape needs 8 units of room, its own 7 and
    // the terminator's.
    std::fill(out, out + 16, L'#');
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"a\x2C00z", out, 8, false), 2);
    EXPECT_EQ(Wide(out, 3), Wide(L"a\0#", 3));
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"a\x2C00z", out, 9, false), 9);
    EXPECT_EQ(Wide(out), L"a\\U+2C00");
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"\x2C00z", out, 9, false), 9);
    EXPECT_EQ(Wide(out), L"\\U+2C00z");
    // Counting with a bound gives what writing with it would.
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"a\x2C00z", nullptr, 8, false), 2);
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"abcdefg", nullptr, 5, false), 5);
}

Bytes rtf(unsigned winCp, const Wide& in, int inLen, int room, int* outLen, int* read) {
    std::string out(std::size_t(room), 'x');
    *outLen = room;
    *read = PnCharFormatter::wcharNonNativeToRTF(winCp, in.c_str(), inLen, &out[0], outLen);
    return out;
}

TEST(PnCharFormatter, WcharNonNativeToRTFWritesUnicodeEscapes) {
    int outLen = 0;
    int read = 0;
    const Wide text = L"A\xE9\x394\x1E00\x4E2D";
    Bytes out = rtf(1252, text, -1, 64, &outLen, &read);
    EXPECT_EQ(read, 5);
    EXPECT_EQ(outLen, 1 + 1 + 6 + 7 + 8 + 1);
    EXPECT_EQ(out.substr(0, std::size_t(outLen)),
              Bytes("A\xE9\\u916?\\u7680?\\u20013?", 23) + '\0');
    // Only counting: the same numbers, nothing bounds them.
    outLen = 0;
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToRTF(1252u, text.c_str(), -1, nullptr, &outLen), 5);
    EXPECT_EQ(outLen, 24);

    // An explicit length reads past zeros and writes no terminator.
    const Wide zeros(L"A\0B", 3);
    out = rtf(1252, zeros, 3, 8, &outLen, &read);
    EXPECT_EQ(read, 3);
    EXPECT_EQ(out.substr(0, 4), Bytes("A\0Bx", 4));
    EXPECT_EQ(outLen, 3);

    out = rtf(932, L"\x4E2D\xFF71\xE9", -1, 16, &outLen, &read);
    EXPECT_EQ(read, 3);
    EXPECT_EQ(out.substr(0, std::size_t(outLen)), Bytes("\x92\x86\xB1\\u233?", 9) + '\0');
}

TEST(PnCharFormatter, WcharNonNativeToRTFEndsAtAPieceThatDoesNotFit) {
    // Strictly below the room: the last byte is the terminator's.
    const struct {
        unsigned cp;
        const wchar_t* text;
        int length, room, read, outLen;
        Bytes out; // empty: not checked
    } cases[] = {{1252, L"AB", -1, 2, 1, 2, Bytes("A\0", 2)},
                 {1252, L"AB", 2, 2, 1, 1, "Ax"},
                 {1252, L"A\x4E2D", -1, 9, 1, 2, Bytes("A\0xxxxxxx", 9)},
                 {1252, L"A\x4E2D", -1, 10, 2, 10, ""},
                 {932, L"A\x4E2D", 2, 3, 1, 1, ""},
                 {1252, L"", -1, 1, 0, 1, Bytes("\0", 1)}};
    for (const auto& c : cases) {
        int outLen = 0, read = 0;
        const Bytes out = rtf(c.cp, c.text, c.length, c.room, &outLen, &read);
        EXPECT_EQ(read, c.read) << c.cp << " room " << c.room;
        EXPECT_EQ(outLen, c.outLen) << c.cp << " room " << c.room;
        if (!c.out.empty()) {
            EXPECT_EQ(out, c.out) << c.cp << " room " << c.room;
        }
    }
}

TEST(PnCharFormatter, WcharNonNativeToRTFRefusesBadArguments) {
    char out[8];
    int outLen = 8;
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToRTF(1252u, nullptr, -1, out, &outLen), 0);
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToRTF(1252u, L"A", -1, out, nullptr), 0);
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToRTF(1252u, L"A", -2, out, &outLen), 0);
    EXPECT_EQ(outLen, 8);
    outLen = 0;
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToRTF(1252u, L"A", -1, out, &outLen), 0);
    EXPECT_EQ(outLen, 0);
    outLen = 0;
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToRTF(CODE_PAGE_WIN_WESTERN, L"A", -1, out, &outLen),
              0);
}

TEST(PnCharFormatter, WcharNonNativeToRTFByIdentifierEscapesEverything) {
    char out[32];
    std::memset(out, 'x', sizeof out);
    int outLen = 32;
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToRTF(CODE_PAGE_WIN_WESTERN, L"A\xE9\x4E2D", -1, out,
                                                   &outLen),
              3);
    EXPECT_EQ(outLen, 6 + 6 + 8 + 1);
    // "A" is 65: two digits right-aligned in a field of three leave one byte unwritten.
    EXPECT_EQ(Bytes(out, std::size_t(outLen) + 1), Bytes("\\ux65?\\u233?\\u20013?\0x", 22));
    std::memset(out, 'x', sizeof out);
    outLen = 32;
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToRTF(CODE_PAGE_JAPANESE, Wide(L"\t\0", 2).c_str(), 2,
                                                   out, &outLen),
              2);
    EXPECT_EQ(Bytes(out, std::size_t(outLen)), "\\uxx9?\\uxx0?");
}

// --- With a Japanese system code page (run with LC_ALL=ja_JP.UTF-8) ---

TEST(PnCharFormatterJapaneseSystem, DoubleByteCharactersAreNativeUnlessEscaped) {
    REQUIRE_SYSTEM(japaneseSystem(), 932);
    wchar_t out[32];
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"a\x4E2D\xFF71\xE9", out, 32, false), 11);
    EXPECT_EQ(Wide(out), L"a\x4E2D\xFF71\\U+00E9");
    EXPECT_EQ(PnCharFormatter::wcharNonNativeToCIF(L"a\x4E2D\xFF71\xE9", out, 32, true), 17);
    EXPECT_EQ(Wide(out), L"a\\U+4E2D\xFF71\\U+00E9");

    char bytes[8];
    PnCharFormatter ansi(1, true, true);
    EXPECT_EQ(Bytes(bytes, ansi.wcharToBytes(L'\x4E2D', bytes, 8)), "\x92\x86");
    EXPECT_EQ(Bytes(bytes, ansi.wcharToBytes(L'\xE9', bytes, 8)), "\\U+00E9");
}

} // namespace
