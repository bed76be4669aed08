#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "VeskCrashRecorder.h"
#include "XoCharMapper.h"
#include "XoException.h"
#include "platform/version.h"

namespace {

using WideVector = XoVector<wchar_t>;
using ByteVector = XoVector<char>;

// Every element, the terminating 0 included.
std::wstring all(const WideVector& v) {
    return v.empty() ? std::wstring() : std::wstring(v.begin(), v.end());
}
std::string all(const ByteVector& v) {
    return v.empty() ? std::string() : std::string(v.begin(), v.end());
}

std::wstring withZero(const std::wstring& text) {
    return text + L'\0';
}
std::string withZero(const std::string& text) {
    return text + '\0';
}

WideVector holding(const std::wstring& text) {
    WideVector v;
    for (wchar_t c : text)
        v.push_back(c);
    return v;
}

ByteVector holding(const std::string& text) {
    ByteVector v;
    for (char c : text)
        v.push_back(c);
    return v;
}

// Converted by the first multiByteToWideChar form into a fresh vector.
std::wstring toWide(code_page_id id, const std::string& text, bool stop = false,
                    bool dropBackslash = false, bool* result = nullptr) {
    WideVector out;
    const bool converted = XoCharMapper::multiByteToWideChar(id, text.data(), int(text.size()), out,
                                                             stop, dropBackslash);
    if (result)
        *result = converted;
    return all(out);
}

std::wstring toWideFlags(code_page_id id, unsigned long flags, const std::string& text) {
    WideVector out;
    XoCharMapper::multiByteToWideChar(id, flags, text.data(), int(text.size()), out);
    return all(out);
}

std::wstring toWideBig(code_page_id id, const std::string& text) {
    WideVector out;
    XoCharMapper::multiByteToWideCharBigData(id, text.data(), int(text.size()), out);
    return all(out);
}

std::string toBytes(code_page_id id, const std::wstring& text) {
    ByteVector out;
    XoCharMapper::wideCharToMultiByte(id, text.data(), int(text.size()), out);
    return all(out);
}

std::wstring fromUtf8(const std::string& text, int length) {
    WideVector out;
    XoCharMapper::utf8ToUnicode(text.c_str(), length, out);
    return all(out);
}

std::string toUtf8(const std::wstring& text, int length) {
    ByteVector out;
    XoCharMapper::unicodeToUtf8(text.c_str(), length, out);
    return all(out);
}

// Replaces the load-time version word for one scope.
class VersionWord {
public:
    explicit VersionWord(std::uint32_t word)
        : before_(xo::platform::replaceLoadTimeVersionWord(word)) {}
    ~VersionWord() { xo::platform::replaceLoadTimeVersionWord(before_); }

private:
    std::uint32_t before_;
};

constexpr std::uint32_t kWindowsNt4 = 0x05650004;  // 4.0 build 1381
constexpr std::uint32_t kWindows2000 = 0x08930005; // 5.0 build 2195

struct Recorder : VeskCrashRecorder {
    void recordException(XoException* exception) override { seen = exception; }
    XoException* seen = nullptr;
};

// The status of the XoErrorStatus that fn throws, after checking that the recorder saw
// it first; -1 when nothing is thrown.
template <class Fn> int thrownStatus(Fn&& fn) {
    Recorder recorder;
    veskSetCrashRecorder(&recorder);
    int status = -1;
    try {
        fn();
    } catch (XoException* caught) {
        const std::unique_ptr<XoException> owner(caught);
        auto* error = dynamic_cast<XoErrorStatus*>(caught);
        status = error ? int(error->errorType()) : -2;
        if (recorder.seen != caught)
            status = -3;
    }
    veskSetCrashRecorder(nullptr);
    return status;
}

// --- UTF-8 ---

TEST(XoCharMapperUtf8, DecodesSequencesAndReadsTheByteAtIndexLength) {
    const struct {
        const char* in;
        int length;
        const wchar_t* out;
    } cases[] = {{"A\xC3\xA9\xE4\xB8\xAD", 0, L"A\u00E9\u4E2D"},
                 {"\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF", 0, L"\u0080\u07FF\u0800\uFFFF"},
                 // Bytes that start no complete sequence stand for themselves; a three-byte lead
                 // with one continuation byte takes the two-byte rule.
                 {"\xC3\x28", 0, L"\u00C3("},
                 {"\x80\xBF\xFF", 0, L"\u0080\u00BF\u00FF"},
                 {"a\xC3", 0, L"a\u00C3"},
                 {"\xE4\xB8"
                  "A",
                  0, L"\u0138A"},
                 // Leads from F0 are three-byte leads: the first three bytes of U+1F600 make one
                 // unit, the fourth stands alone.
                 {"\xF0\x9F\x98\x80", 4, L"\u07D8\u0080"},
                 {"\xF8\x80\x80\xFF\xBF\xBF", 0, L"\u8000\uFFFF"},
                 // The byte at index length is still read, and a sequence may start there; a 0
                 // byte ends it first; 0 reads up to the terminator.
                 {"abcd", 2, L"abc"},
                 {"ab\xC3\xA9z", 2, L"ab\u00E9"},
                 {"ab", 2, L"ab"},
                 {"ab\0cd", 4, L"ab"},
                 {"abcdef", 0, L"abcdef"},
                 {"abc", -1, L""}};
    for (const auto& c : cases)
        EXPECT_EQ(fromUtf8(c.in, c.length), withZero(c.out)) << c.in << " length " << c.length;
}

TEST(XoCharMapperUtf8, OutputIsWrittenFromTheStartAndSizedToWhatWasWritten) {
    WideVector out = holding(L"0123456789");
    XoCharMapper::utf8ToUnicode("\xC3\xA9t\xC3\xA9", 5, out);
    EXPECT_EQ(all(out), withZero(L"\u00E9t\u00E9"));
    XoCharMapper::utf8ToUnicode(nullptr, 3, out);
    EXPECT_EQ(all(out), withZero(L""));
}

TEST(XoCharMapperUtf8, WidensEachUnitOnItsOwnAfterWhatTheVectorHolds) {
    const struct {
        std::wstring in;
        int length;
        const char* out;
    } cases[] = {
        {L"A\u00E9\u4E2D", 3, "A\xC3\xA9\xE4\xB8\xAD"},
        {L"\u007F\u0080\u07FF\u0800\uFFFF", 5, "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        // A surrogate pair is two units of three bytes each.
        {{wchar_t(0xD83D), wchar_t(0xDE00)}, 2, "\xED\xA0\xBD\xED\xB8\x80"},
        // The unit at index length is read too.
        {L"abc", 2, "abc"},
        {L"ab", 5, "ab"}};
    for (const auto& c : cases)
        EXPECT_EQ(toUtf8(c.in, c.length), withZero(c.out)) << c.out;
    ByteVector out = holding(std::string("ab"));
    XoCharMapper::unicodeToUtf8(L"\u00E9", 1, out);
    EXPECT_EQ(all(out), withZero("ab\xC3\xA9"));
    // Empty requests leave the vector alone.
    out = holding(std::string("keep"));
    XoCharMapper::unicodeToUtf8(L"abc", 0, out);
    XoCharMapper::unicodeToUtf8(nullptr, 3, out);
    EXPECT_EQ(all(out), "keep");
}

// --- One character ---

TEST(XoCharMapperCharacter, CodesConvertThroughTheirCodePageOrAreRefused) {
    constexpr long kDefault = -1; // the form without flags
    const struct {
        wchar_t code;
        long flags;
        code_page_id page;
        bool converted;
        wchar_t unit; // x: left as it was
    } cases[] = {{0x82A0, kDefault, CODE_PAGE_JAPANESE, true, L'\u3042'},
                 {0x00B1, kDefault, CODE_PAGE_JAPANESE, true, L'\uFF71'}, // halfwidth
                 {0xB0A1, kDefault, CODE_PAGE_SIMPLIFIED_CHINESE, true, L'\u554A'},
                 {0xB0A1, kDefault, CODE_PAGE_KOREAN, true, L'\uAC00'},
                 {0xA440, kDefault, CODE_PAGE_TRADITIONAL_CHINESE, true, L'\u4E00'},
                 {0x0080, kDefault, CODE_PAGE_WIN_WESTERN, true, L'\u20AC'},
                 // A high byte that is no lead byte is not read.
                 {0x4142, kDefault, CODE_PAGE_WIN_WESTERN, true, L'B'},
                 // Identifier 7 names 28586, which no platform knows: ASCII codes survive.
                 {0x41, kDefault, CODE_PAGE_ISO8859_6, true, L'A'},
                 {0xE9, kDefault, CODE_PAGE_ISO8859_6, false, L'x'},
                 // A lone lead byte and a lead byte with a bad trail: refused by default, read
                 // with the caller's 0.
                 {0x8120, kDefault, CODE_PAGE_JAPANESE, false, L'x'},
                 {0x0081, kDefault, CODE_PAGE_JAPANESE, false, L'x'},
                 {0x0081, 0, CODE_PAGE_JAPANESE, true, L'\u30FB'},
                 {0x8120, 0, CODE_PAGE_JAPANESE, true, L'\u30FB'},
                 {0x00AA, 8, CODE_PAGE_WIN_GREEK, false, L'x'}};
    for (const auto& c : cases) {
        wchar_t unit = L'x';
        const bool converted =
            c.flags == kDefault
                ? XoCharMapper::codepageToUnicode(c.code, c.page, unit)
                : XoCharMapper::codepageToUnicode(c.code, (unsigned long)c.flags, c.page, unit);
        EXPECT_EQ(converted, c.converted) << std::hex << c.code << " in " << c.page;
        EXPECT_EQ(unit, c.unit) << std::hex << c.code << " in " << c.page;
    }
}

TEST(XoCharMapperCharacter, SecondFormsConvertAsTheirAnsiTwins) {
    const code_page_id pairs[5][2] = {
        {CODE_PAGE_JAPANESE_DOS, CODE_PAGE_JAPANESE},
        {CODE_PAGE_TRADITIONAL_CHINESE_SECOND, CODE_PAGE_TRADITIONAL_CHINESE},
        {CODE_PAGE_KOREAN_SECOND, CODE_PAGE_KOREAN},
        {CODE_PAGE_JOHAB_SECOND, CODE_PAGE_JOHAB},
        {CODE_PAGE_SIMPLIFIED_CHINESE_SECOND, CODE_PAGE_SIMPLIFIED_CHINESE}};
    const wchar_t codes[5] = {0x82A0, 0xA440, 0xB0A1, 0x8861, 0xB0A1};
    for (int i = 0; i < 5; ++i) {
        wchar_t second = 0, twin = 1;
        EXPECT_TRUE(XoCharMapper::codepageToUnicode(codes[i], pairs[i][0], second)) << i;
        EXPECT_TRUE(XoCharMapper::codepageToUnicode(codes[i], pairs[i][1], twin)) << i;
        EXPECT_EQ(second, twin) << i;
        wchar_t back = 0;
        EXPECT_TRUE(XoCharMapper::unicodeToCodepage(twin, pairs[i][0], back, true)) << i;
        EXPECT_EQ(back, codes[i]) << i;
    }
}

struct UnitToCode {
    wchar_t unit;
    code_page_id page;
    bool strict;
    wchar_t code; // 0: refused, the output left as it was
};

void expectCodes(std::initializer_list<UnitToCode> cases) {
    for (const UnitToCode& c : cases) {
        wchar_t code = L'x';
        EXPECT_EQ(XoCharMapper::unicodeToCodepage(c.unit, c.page, code, c.strict), c.code != 0)
            << std::hex << unsigned(c.unit) << " in " << std::dec << c.page;
        EXPECT_EQ(code, c.code ? c.code : L'x') << std::hex << unsigned(c.unit);
    }
}

TEST(XoCharMapperCharacter, UnitsToCodesGiveOnlyCodesOutsideAscii) {
    for (int id : {1, 2, 11, 22, 30, 38, 39, 40, 41, 42, 45, 46})
        expectCodes({{L'A', code_page_id(id), false, 0}});
    expectCodes({{L'\u3042', CODE_PAGE_JAPANESE, true, 0x82A0},
                 {L'\uFF71', CODE_PAGE_JAPANESE, true, 0xB1},
                 {L'\u00E9', CODE_PAGE_WIN_WESTERN, true, 0xE9},
                 {L'\u4E2D', CODE_PAGE_WIN_WESTERN, false, 0},
                 // Best fit would give an ASCII letter or D0; from version 5 on it is refused.
                 {L'\u0100', CODE_PAGE_WIN_WESTERN, false, 0},
                 {L'\u0110', CODE_PAGE_WIN_WESTERN, false, 0},
                 {L'\u00B5', CODE_PAGE_JAPANESE, false, 0},
                 // U+2000 to U+2FFF are ordinary from version 5 on, strict or not.
                 {L'\u2022', CODE_PAGE_WIN_WESTERN, true, 0x95},
                 {L'\u20AC', CODE_PAGE_WIN_WESTERN, true, 0x80}});
    // Version 5 is the first with these rules.
    VersionWord v5(kWindows2000);
    expectCodes({{L'\u2022', CODE_PAGE_WIN_WESTERN, true, 0x95},
                 {L'\u0110', CODE_PAGE_WIN_WESTERN, true, 0}});
}

TEST(XoCharMapperCharacter, BeforeVersion5TheGeneralPunctuationBlockIsRefusedAndBestFitAllowed) {
    VersionWord old(kWindowsNt4);
    expectCodes({{L'\u2022', CODE_PAGE_WIN_WESTERN, false, 0},
                 {L'\u2000', CODE_PAGE_WIN_WESTERN, false, 0},
                 {L'\u2FFF', CODE_PAGE_WIN_WESTERN, false, 0},
                 {L'\u20AC', CODE_PAGE_WIN_WESTERN, true, 0},
                 {L'\u2026', CODE_PAGE_JAPANESE, false, 0},
                 // The euro sign passes when not strict.
                 {L'\u20AC', CODE_PAGE_WIN_WESTERN, false, 0x80},
                 // Without WC_NO_BEST_FIT_CHARS the best fit counts, unless it is ASCII.
                 {L'\u0110', CODE_PAGE_WIN_WESTERN, true, 0xD0},
                 {L'\u00B5', CODE_PAGE_JAPANESE, true, 0x83CA},
                 {L'\u0100', CODE_PAGE_WIN_WESTERN, true, 0},
                 {L'\u3000', CODE_PAGE_JAPANESE, true, 0x8140}});
    // The whole wide-to-8-bit conversion follows.
    EXPECT_EQ(toBytes(CODE_PAGE_WIN_WESTERN, L"\u2022\u0110"), withZero("\\U+2022\xD0"));
}

// --- Multibyte to wide ---

TEST(XoCharMapperToWide, TheFirstFormReadsCharactersEscapesAndFailures) {
    const struct {
        code_page_id page;
        std::string text;
        bool stop, dropBackslash;
        std::wstring out;
        bool converted;
    } cases[] = {{CODE_PAGE_JAPANESE, "a\x82\xA0\xB1z", false, false, L"a\u3042\uFF71z", true},
                 {CODE_PAGE_JAPANESE_DOS, "\x82\xA0", false, false, L"\u3042", true},
                 {CODE_PAGE_SIMPLIFIED_CHINESE, "\xB0\xA1", false, false, L"\u554A", true},
                 {CODE_PAGE_WIN_WESTERN, "caf\xE9 \x80", false, false, L"caf\u00E9 \u20AC", true},
                 {CODE_PAGE_WIN_CYRILLIC, "\xC0\xFF", false, false, L"\u0410\u044F", true},
                 // A 0 byte ends the text; a lead byte at the end stands alone.
                 {CODE_PAGE_JAPANESE, std::string("ab\0cd", 5), false, false, L"ab", true},
                 {CODE_PAGE_JAPANESE, "a\x82", false, false, L"a\u0082", true},
                 // Failures stop, or fall back to the lead byte: 0x81 0x20 is refused by
                 // MB_ERR_INVALID_CHARS; Greek 0xAA has no character.
                 {CODE_PAGE_JAPANESE, "a\x81 b", true, false, L"a", false},
                 {CODE_PAGE_JAPANESE, "a\x81 b", false, false, L"a\u0081 b", true},
                 {CODE_PAGE_WIN_GREEK, "\xAA\xE1", true, false, L"", false},
                 {CODE_PAGE_WIN_GREEK, "\xAA\xE1", false, false, L"\u00AA\u03B1", true},
                 // CIF escapes in either case; not escapes: a non-digit, a missing plus sign.
                 {CODE_PAGE_WIN_WESTERN, "x\\U+00B0y", false, false, L"x\u00B0y", true},
                 {CODE_PAGE_WIN_WESTERN, "\\u+4e2d\\U+4E2D", false, false, L"\u4E2D\u4E2D", true},
                 {CODE_PAGE_JAPANESE, "\\U+3042\x82\xA0", false, false, L"\u3042\u3042", true},
                 {CODE_PAGE_WIN_WESTERN, "\\U+00G1", false, false, L"\\U+00G1", true},
                 {CODE_PAGE_WIN_WESTERN, "\\U00B0", false, false, L"\\U00B0", true},
                 // MIF escapes name their code page by digit; 0 and 6 name none, and a code that
                 // converts to 0 or does not convert is text too.
                 {CODE_PAGE_WIN_WESTERN, "\\M+18140", false, false, L"\u3000", true},
                 {CODE_PAGE_WIN_WESTERN, "\\M+2A440", false, false, L"\u4E00", true},
                 {CODE_PAGE_WIN_WESTERN, "\\M+3B0A1", false, false, L"\uAC00", true},
                 {CODE_PAGE_WIN_WESTERN, "\\M+48861", false, false, L"\uAC00", true},
                 {CODE_PAGE_WIN_WESTERN, "\\m+5b0a1", false, false, L"\u554A", true},
                 {CODE_PAGE_WIN_WESTERN, "\\M+08140", false, false, L"\\M+08140", true},
                 {CODE_PAGE_WIN_WESTERN, "\\M+68140", false, false, L"\\M+68140", true},
                 {CODE_PAGE_WIN_WESTERN, "\\M+10000", false, false, L"\\M+10000", true},
                 {CODE_PAGE_WIN_WESTERN, "\\M+18120", false, false, L"\\M+18120", true},
                 // The backslash rule drops only the backslash right before an escape. A held
                 // backslash is written before whatever follows, a second one after it, one at the
                 // end too, and before a failure that stops the conversion it is already written.
                 {CODE_PAGE_WIN_WESTERN, "\\\\U+0041", false, false, L"\\A", true},
                 {CODE_PAGE_WIN_WESTERN, "\\\\U+0041", false, true, L"A", true},
                 {CODE_PAGE_WIN_WESTERN, "\\\\M+18140", false, true, L"\u3000", true},
                 {CODE_PAGE_WIN_WESTERN, "a\\b", false, true, L"a\\b", true},
                 {CODE_PAGE_WIN_WESTERN, "\\\\", false, true, L"\\\\", true},
                 {CODE_PAGE_WIN_WESTERN, "\\\\\\U+0041", false, true, L"\\\\A", true},
                 {CODE_PAGE_JAPANESE, "\\\x82\xA0", false, true, L"\\\u3042", true},
                 {CODE_PAGE_WIN_WESTERN, "a\\", false, true, L"a\\", true},
                 {CODE_PAGE_JAPANESE, "\\\x81 ", true, true, L"\\", false},
                 // UTF-8 reads whole sequences.
                 {CODE_PAGE_UTF8,
                  "\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80",
                  true,
                  false,
                  {L'\u00E9', L'\u4E2D', wchar_t(0xD83D), wchar_t(0xDE00)},
                  true},
                 {CODE_PAGE_UTF8, "\xC3(", true, false, L"", false},
                 {CODE_PAGE_UTF8, "\xC3(\\U+00B0", false, false, L"\u00C3(\u00B0", true}};
    for (const auto& c : cases) {
        bool converted = !c.converted;
        EXPECT_EQ(toWide(c.page, c.text, c.stop, c.dropBackslash, &converted), withZero(c.out))
            << c.text << " in " << c.page;
        EXPECT_EQ(converted, c.converted) << c.text << " in " << c.page;
    }
    // An escape cut off by the length is no escape.
    WideVector out;
    XoCharMapper::multiByteToWideChar(CODE_PAGE_WIN_WESTERN, "\\U+00B0", 6, out, false, false);
    EXPECT_EQ(all(out), withZero(L"\\U+00B"));
}

TEST(XoCharMapperToWide, LengthBoundsTheTextAndOutputIsAppended) {
    WideVector out = holding(L"pre");
    EXPECT_TRUE(
        XoCharMapper::multiByteToWideChar(CODE_PAGE_WIN_WESTERN, "abcdef", 3, out, false, false));
    EXPECT_EQ(all(out), std::wstring(L"preabc") + L'\0');
    WideVector empty;
    EXPECT_TRUE(
        XoCharMapper::multiByteToWideChar(CODE_PAGE_WIN_WESTERN, "abc", 0, empty, true, false));
    EXPECT_TRUE(
        XoCharMapper::multiByteToWideChar(CODE_PAGE_WIN_WESTERN, nullptr, 5, empty, true, false));
    EXPECT_EQ(all(empty), std::wstring(2, L'\0'));
}

TEST(XoCharMapperToWide, SystemAnsiIdentifierIsTheSystemCodePage) {
    const code_page_id system =
        XoCodePageMapper::ansiCpToVeskCp(XoCodePageMapper::currentSystemAnsiCp());
    const std::string text = "a\xE9\x82\xA0";
    EXPECT_EQ(toWide(CODE_PAGE_SYSTEM_ANSI, text), toWide(system, text));
}

TEST(XoCharMapperToWide, FlagsFormPassesTheCallersFlags) {
    const struct {
        code_page_id page;
        unsigned long flags;
        const char* text;
        const wchar_t* out;
    } cases[] = {// With 0 a bad pair reads as Windows reads it, where the first form falls back.
                 {CODE_PAGE_JAPANESE, 0, "a\x81 b\\U+00B0", L"a\u30FBb\u00B0"},
                 {CODE_PAGE_JAPANESE, 8, "a\x81 b", L"a\u0081 b"},
                 {CODE_PAGE_JAPANESE, 0, "\\M+18140\x82\xA0", L"\u3000\u3042"},
                 // UTF-8 through the platform's converter: U+FFFD for a bad sequence with 0.
                 {CODE_PAGE_UTF8, 0, "\xC3(\xC3\xA9", L"\uFFFD(\u00E9"},
                 {CODE_PAGE_UTF8, 8, "\xC3(\xC3\xA9", L"\u00C3(\u00E9"}};
    for (const auto& c : cases)
        EXPECT_EQ(toWideFlags(c.page, c.flags, c.text), withZero(c.out)) << c.text;
    WideVector out = holding(L"x");
    XoCharMapper::multiByteToWideChar(CODE_PAGE_WIN_WESTERN, 0ul, "\\\\U+0041", 8, out);
    EXPECT_EQ(all(out), withZero(L"x\\A")); // no backslash rule
}

TEST(XoCharMapperToWide, NoChangeMIsTheFirstFormWithoutStopOrBackslashRule) {
    for (const char* text : {"a\x81 b", "\\\\U+0041", "\\m+5b0a1\\M+08140", "\xC3(\x82\xA0\\"}) {
        for (code_page_id id : {CODE_PAGE_JAPANESE, CODE_PAGE_UTF8, CODE_PAGE_WIN_WESTERN}) {
            WideVector out;
            XoCharMapper::multiByteToWideCharNoChangeM(id, text, int(std::string(text).size()),
                                                       out);
            EXPECT_EQ(all(out), toWide(id, text, false, false)) << text << " in " << id;
        }
    }
}

TEST(XoCharMapperToWide, BigDataWritesFromTheStartAndKeepsFailedCodesWhole) {
    WideVector out = holding(L"0123456789");
    XoCharMapper::multiByteToWideCharBigData(CODE_PAGE_JAPANESE, "a\x82\xA0", 3, out);
    EXPECT_EQ(all(out), withZero(L"a\u3042"));
    const struct {
        code_page_id page;
        std::string text;
        const wchar_t* out;
    } cases[] = {// A failed double-byte code is one unit; a failed MIF escape is its eight bytes.
                 {CODE_PAGE_JAPANESE, "a\x81 b", L"a\u8120b"},
                 {CODE_PAGE_WIN_GREEK, "\xAA\xE1", L"\u00AA\u03B1"},
                 {CODE_PAGE_WIN_WESTERN, "\\M+10000.", L"\\M+10000."},
                 {CODE_PAGE_WIN_WESTERN, "\\u+00b0\\M+18140\\M+08140", L"\u00B0\u3000\\M+08140"},
                 {CODE_PAGE_UTF8, "\xC3\xA9\xC3(", L"\u00E9\u00C3("},
                 {CODE_PAGE_JAPANESE, std::string("ab\0cd", 5), L"ab"}};
    for (const auto& c : cases)
        EXPECT_EQ(toWideBig(c.page, c.text), withZero(c.out)) << c.text;
    // Nothing to read appends one zero.
    out = holding(L"ab");
    XoCharMapper::multiByteToWideCharBigData(CODE_PAGE_WIN_WESTERN, "xyz", 0, out);
    XoCharMapper::multiByteToWideCharBigData(CODE_PAGE_WIN_WESTERN, nullptr, 3, out);
    EXPECT_EQ(all(out), std::wstring(L"ab") + L'\0' + L'\0');
}

TEST(XoCharMapperToWide, BigDataAgreesWithTheFirstFormWhenEverythingConverts) {
    const std::string texts[] = {"plain ascii", "\x82\xA0\x82\xA2 \xB1\xB2",
                                 "\\U+4E2D and \\M+18140 end"};
    for (const std::string& text : texts)
        EXPECT_EQ(toWideBig(CODE_PAGE_JAPANESE, text), toWide(CODE_PAGE_JAPANESE, text, true))
            << text;
}

// --- Wide to multibyte ---

TEST(XoCharMapperToBytes, CodesLeadByteFirstCifForWhatThePageLacksAndEscapesCopied) {
    const struct {
        code_page_id page;
        std::wstring text;
        const char* out;
    } cases[] = {{CODE_PAGE_JAPANESE, L"A\u3042\uFF71", "A\x82\xA0\xB1"},
                 {CODE_PAGE_KOREAN_SECOND, L"\uAC00", "\xB0\xA1"},
                 {CODE_PAGE_WIN_WESTERN, L"caf\u00E9\u20AC", "caf\xE9\x80"},
                 {CODE_PAGE_WIN_WESTERN, L"\u4E2D\u0100\uabcd", "\\U+4E2D\\U+0100\\U+ABCD"},
                 {CODE_PAGE_JAPANESE, L"\u00E9", "\\U+00E9"},
                 {CODE_PAGE_ISO8859_6, L"\u00E9x", "\\U+00E9x"}, // no such page
                 {CODE_PAGE_JAPANESE, L"\\u+00e9\\M+08140\\m+5B0A1", "\\u+00e9\\M+08140\\m+5B0A1"},
                 // A unit above 0x7F in place of a digit: no escape, the unit is converted.
                 {CODE_PAGE_JAPANESE, L"\\M+\u3042", "\\M+\x82\xA0"},
                 // UTF-8 writes sequences and pairs; a lone low surrogate is escaped.
                 {CODE_PAGE_UTF8,
                  {L'\u00E9', L'\u4E2D', wchar_t(0xD83D), wchar_t(0xDE00), wchar_t(0xDC00), L'z'},
                  "\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80\\U+DC00z"}};
    for (const auto& c : cases)
        EXPECT_EQ(toBytes(c.page, c.text), withZero(c.out)) << c.out;
    // A high surrogate cut off by the length stands alone.
    const wchar_t pair[] = {wchar_t(0xD83D), wchar_t(0xDE00), 0};
    ByteVector out;
    XoCharMapper::wideCharToMultiByte(CODE_PAGE_UTF8, pair, 1, out);
    EXPECT_EQ(all(out), withZero("\\U+D83D"));
}

TEST(XoCharMapperToBytes, ReadingEndsAtZeroOrLengthAndOutputIsAppended) {
    ByteVector out = holding(std::string("pre"));
    XoCharMapper::wideCharToMultiByte(CODE_PAGE_WIN_WESTERN, L"abc", 2, out);
    EXPECT_EQ(all(out), withZero("preab"));
    EXPECT_EQ(toBytes(CODE_PAGE_WIN_WESTERN, std::wstring(L"ab\0cd", 5)), withZero("ab"));
    ByteVector none;
    XoCharMapper::wideCharToMultiByte(CODE_PAGE_WIN_WESTERN, nullptr, 4, none);
    XoCharMapper::wideCharToMultiByte(CODE_PAGE_WIN_WESTERN, L"abc", 0, none);
    EXPECT_EQ(all(none), std::string(2, '\0'));
}

TEST(XoCharMapperToBytes, BigDataGivesTheSameBytes) {
    const std::wstring texts[] = {L"A\u3042\u4E2D\\M+18140", L"", L"\u00E9\u00E9\u00E9"};
    for (const std::wstring& text : texts) {
        ByteVector big = holding(std::string("x"));
        XoCharMapper::wideCharToMultiByteBigData(CODE_PAGE_JAPANESE, text.data(), int(text.size()),
                                                 big);
        EXPECT_EQ(all(big), "x" + toBytes(CODE_PAGE_JAPANESE, text));
    }
}

TEST(XoCharMapperToBytes, RoundTripThroughEscapes) {
    const std::wstring text = L"Gr\u00FC\u00DFe \u4E2D\u6587 \u3042 \u20AC\u2022";
    for (code_page_id id : {CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE, CODE_PAGE_SIMPLIFIED_CHINESE,
                            CODE_PAGE_WIN_GREEK, CODE_PAGE_UTF8}) {
        const std::string bytes = toBytes(id, text);
        EXPECT_EQ(toWide(id, bytes.c_str(), true), withZero(text)) << id;
    }
}

// --- Output vectors ---

TEST(XoCharMapperOutput, SharedVectorsAreCopiedBeforeTheyAreWritten) {
    const WideVector original = holding(L"shared");
    WideVector copy = original;
    XoCharMapper::utf8ToUnicode("new", 3, copy);
    EXPECT_EQ(all(original), L"shared");
    EXPECT_EQ(all(copy), withZero(L"new"));

    copy = original;
    XoCharMapper::multiByteToWideChar(CODE_PAGE_WIN_WESTERN, "+", 1, copy, false, false);
    EXPECT_EQ(all(original), L"shared");
    EXPECT_EQ(all(copy), withZero(L"shared+"));

    copy = original;
    XoCharMapper::multiByteToWideCharBigData(CODE_PAGE_WIN_WESTERN, "big", 3, copy);
    EXPECT_EQ(all(original), L"shared");
    EXPECT_EQ(all(copy), withZero(L"big"));

    // The same length: nothing to resize, still copied.
    WideVector sameSize = holding(L"abcd");
    WideVector other = sameSize;
    XoCharMapper::utf8ToUnicode("xyz", 3, other);
    EXPECT_EQ(all(sameSize), L"abcd");
    EXPECT_EQ(all(other), withZero(L"xyz"));

    const ByteVector bytes = holding(std::string("ab"));
    ByteVector byteCopy = bytes;
    XoCharMapper::wideCharToMultiByte(CODE_PAGE_WIN_WESTERN, L"c", 1, byteCopy);
    EXPECT_EQ(all(bytes), "ab");
    EXPECT_EQ(all(byteCopy), withZero("abc"));
    byteCopy = bytes;
    XoCharMapper::unicodeToUtf8(L"\u00E9", 1, byteCopy);
    EXPECT_EQ(all(bytes), "ab");
    EXPECT_EQ(all(byteCopy), withZero("ab\xC3\xA9"));
}

TEST(XoCharMapperOutput, LongOutputsGrowPastTheirFirstSizing) {
    const std::wstring foreign(5000, L'\u4E2D'); // seven bytes a unit
    ByteVector out;
    XoCharMapper::wideCharToMultiByte(CODE_PAGE_WIN_WESTERN, foreign.data(), int(foreign.size()),
                                      out);
    ASSERT_EQ(out.size(), 7 * 5000 + 1);
    EXPECT_EQ(std::string(out.begin() + 7 * 4999, out.end()), withZero("\\U+4E2D"));
    WideVector wide;
    const std::string ascii(100000, 'a');
    XoCharMapper::utf8ToUnicode(ascii.c_str(), 0, wide);
    EXPECT_EQ(wide.size(), 100001);
}

TEST(XoCharMapperOutput, SizesAVectorCannotHoldRaiseOutOfMemoryAfterTheRecorderIsTold) {
    const char text[] = "abc";
    WideVector out = holding(L"kept");
    EXPECT_EQ(thrownStatus([&] {
                  XoCharMapper::multiByteToWideCharBigData(CODE_PAGE_WIN_WESTERN, text, INT_MAX,
                                                           out);
              }),
              int(Vesk::eOutOfMemory));
    EXPECT_EQ(thrownStatus([&] { XoCharMapper::utf8ToUnicode(text, INT_MAX, out); }),
              int(Vesk::eOutOfMemory));
    EXPECT_EQ(all(out), L"kept");
}

// --- Suitable code page ---

TEST(XoCharMapperJudge, TheCandidateWinsOnlyOnAValidPair) {
    const struct {
        std::string text;
        code_page_id def, candidate, chosen;
    } cases[] = {
        {"plain ascii", CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE, CODE_PAGE_WIN_WESTERN},
        {"ab\x82\xA0", CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE, CODE_PAGE_JAPANESE},
        {"\xE9\x82\xA0", CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE_DOS, CODE_PAGE_JAPANESE_DOS},
        {"", CODE_PAGE_WIN_GREEK, CODE_PAGE_JAPANESE, CODE_PAGE_WIN_GREEK},
        // Not valid: the private use area, a refused pair, a lead byte at the end, a 0.
        {"\xF0\x40", CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE, CODE_PAGE_WIN_WESTERN},
        {"\x81 ", CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE, CODE_PAGE_WIN_WESTERN},
        {"ab\x82", CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE, CODE_PAGE_WIN_WESTERN},
        {std::string("a\0\x82\xA0", 4), CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE,
         CODE_PAGE_WIN_WESTERN},
        {std::string("\x82\0\x82\xA0", 4), CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE,
         CODE_PAGE_WIN_WESTERN},
        // A single-byte candidate never wins.
        {"\x82\xA0\xC0", CODE_PAGE_WIN_WESTERN, CODE_PAGE_WIN_CYRILLIC, CODE_PAGE_WIN_WESTERN},
        // Trail bytes of either page are skipped: B0 leads a GBK pair, so 82 is its trail
        // and A0 alone begins nothing in 932.
        {"\xB0\x82\xA0", CODE_PAGE_SIMPLIFIED_CHINESE, CODE_PAGE_JAPANESE,
         CODE_PAGE_SIMPLIFIED_CHINESE},
        {"\xB0\x82\xA0", CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE, CODE_PAGE_JAPANESE},
        // A pair of the candidate that is not valid still takes its trail: F0 82 is
        // private use, and the A0 left after it begins nothing.
        {"\xF0\x82\xA0", CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE, CODE_PAGE_WIN_WESTERN},
        {"\x81\x20\x82\xA0", CODE_PAGE_WIN_WESTERN, CODE_PAGE_JAPANESE, CODE_PAGE_JAPANESE}};
    for (const auto& c : cases)
        EXPECT_EQ(XoCharMapper::JudgeSuitableCodePage(c.text.data(), unsigned(c.text.size()), c.def,
                                                      c.candidate),
                  c.chosen)
            << c.text;
    EXPECT_EQ(
        XoCharMapper::JudgeSuitableCodePage(nullptr, 4, CODE_PAGE_WIN_GREEK, CODE_PAGE_JAPANESE),
        CODE_PAGE_WIN_GREEK);
    // The length bounds the walk.
    EXPECT_EQ(XoCharMapper::JudgeSuitableCodePage("ab\x82\xA0", 2, CODE_PAGE_WIN_WESTERN,
                                                  CODE_PAGE_JAPANESE),
              CODE_PAGE_WIN_WESTERN);
}

// --- Checksums ---

TEST(XoCharMapperCheckSum, WeightsEachElementByItsPosition) {
    const std::uint16_t ones[2] = {1, 1};
    EXPECT_EQ(XoCharMapper::getCheckSumUnicode(ones, 2), 3.0);
    const unsigned char ff = 0xFF;
    EXPECT_EQ(XoCharMapper::getCheckSumAnsi(&ff, 1), -1.0);
    const char bytes[6] = {1, 2, 3, 4, 5, char(0x80)};
    EXPECT_EQ(XoCharMapper::getCheckSumAnsi(bytes, 5), 55.0);
    EXPECT_EQ(XoCharMapper::getCheckSumAnsi(bytes, 6), 55.0 - 128.0 * 6);
    const std::uint16_t units[5] = {0xFFFF, 2, 3, 4, 5};
    EXPECT_EQ(XoCharMapper::getCheckSumUnicode(units, 5), 65535.0 + 4 + 9 + 16 + 25);
    EXPECT_EQ(XoCharMapper::getCheckSumUnicode(units, 0), 0.0);
    EXPECT_EQ(XoCharMapper::getCheckSumAnsi(bytes, -3), 0.0);
}

TEST(XoCharMapperCheckSum, ProductsWrapAsSignedThirtyTwoBitIntegers) {
    std::vector<std::uint16_t> units(40000, 0);
    units.back() = 0xFFFF; // 65535 * 40000 = 2621400000 wraps to -1673567296
    EXPECT_EQ(XoCharMapper::getCheckSumUnicode(units.data(), int(units.size())), -1673567296.0);
}

// Beyond 2^53 a double rounds, so the order of the additions shows in the result.
TEST(XoCharMapperCheckSum, ProductsAreAddedOneByOneInElementOrder) {
    const int count = 8000000;
    std::vector<std::uint16_t> units(std::size_t(count), 0);
    for (int i = 1; i <= count; ++i) // products just below 2^31
        units[std::size_t(i - 1)] = std::uint16_t(i <= 32768 ? 65535 : 2147483647 / i);
    double inOrder = 0.0, inGroups = 0.0;
    for (int i = 0; i < count; i += 4) {
        double group = 0.0;
        for (int k = i; k < i + 4; ++k) {
            const double product = double(std::int64_t(units[std::size_t(k)]) * (k + 1));
            inOrder += product;
            group += product;
        }
        inGroups += group;
    }
    ASSERT_NE(inOrder, inGroups) << "the data must tell the orders apart";
    EXPECT_EQ(XoCharMapper::getCheckSumUnicode(units.data(), count), inOrder);

    const int byteCount = 16000000;
    const std::vector<char> bytes(std::size_t(byteCount), 0x7F);
    double bytesInOrder = 0.0, bytesInGroups = 0.0;
    for (int i = 0; i < byteCount; i += 4) {
        double group = 0.0;
        for (int k = i; k < i + 4; ++k) {
            bytesInOrder += 127.0 * (k + 1);
            group += 127.0 * (k + 1);
        }
        bytesInGroups += group;
    }
    ASSERT_NE(bytesInOrder, bytesInGroups);
    EXPECT_EQ(XoCharMapper::getCheckSumAnsi(bytes.data(), byteCount), bytesInOrder);
}

} // namespace
