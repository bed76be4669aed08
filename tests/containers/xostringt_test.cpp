#include "XoString.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "containers/xolasttext.h"
#include "platform/codepage.h"
#include "platform/virtualmemory.h"
#include "xotestcodepage.h"

namespace {

using namespace std::string_literals;
using Str = XoStringT<char, XoStrHeaderA>;

std::int32_t refs(const Str& s) {
    return s.header()->m_nRefs.load();
}

// The bytes of the text, embedded zeros included.
std::string bytes(const Str& s) {
    return std::string(s.constStr(), std::size_t(s.numOfChars()));
}

Str withZeros(const std::string& s) {
    return Str(s.data(), int(s.size()));
}

using CodePage932 = xotest::WithMultiByteCodePage<932>;

// a, one double-byte character, b: four bytes, three characters in code page 932.
const char kMixed[] = "a\x82\xA0"
                      "b";

TEST(XoStringT, EmptyStringsShareTheStaticInstanceAndReadAStaticText) {
    const std::int32_t before = refs(Str()) - 1; // less the measuring temporary
    Str empty;
    const Str copy(empty);
    EXPECT_TRUE(empty.isEmptyData());
    EXPECT_EQ(refs(empty), before + 2);
    EXPECT_EQ(empty.numOfChars(), 0);
    EXPECT_TRUE(empty.isEmpty());
    ASSERT_NE(empty.constStr(), nullptr);
    EXPECT_STREQ(empty.constStr(), "");
    EXPECT_EQ(static_cast<const char*>(copy), copy.constStr());
    EXPECT_EQ(copy.getAt(0), '\0');
    EXPECT_EQ(copy[0], '\0');

    // "" is copied with its terminator into a block of its own.
    Str blank("");
    EXPECT_FALSE(blank.isEmptyData());
    EXPECT_EQ(blank.header()->m_nCount, 1u);
    EXPECT_TRUE(blank.isEmpty());
    EXPECT_EQ(blank.compare(empty), 0);
    blank.setEmpty();
    EXPECT_TRUE(blank.isEmptyData());
    EXPECT_EQ(refs(empty), before + 3);
}

TEST(XoStringT, Constructors) {
    const Str text("drawing");
    EXPECT_EQ(bytes(text), "drawing");
    EXPECT_EQ(text.header()->m_nCount, 8u) << "the terminator is counted";
    EXPECT_EQ(text.constStr()[7], '\0');

    const Str cut("drawing", 4);
    EXPECT_EQ(bytes(cut), "draw");
    EXPECT_EQ(bytes(withZeros(std::string("a\0b", 3))), std::string("a\0b", 3));
    EXPECT_TRUE(Str("abc", 0).isEmptyData());
    EXPECT_TRUE(Str("abc", -2).isEmptyData());
    EXPECT_TRUE(Str(static_cast<const char*>(nullptr)).isEmptyData());
    EXPECT_TRUE(Str(static_cast<const char*>(nullptr), 3).isEmptyData());

    EXPECT_EQ(bytes(Str('z', 3)), "zzz");
    EXPECT_TRUE(Str('z', 0).isEmptyData());

    const Str room(std::size_t(100));
    EXPECT_EQ(room.capacity(), 100u);
    EXPECT_FALSE(room.isEmptyData());
    EXPECT_TRUE(room.isEmpty());
    EXPECT_STREQ(room.constStr(), "");
    EXPECT_TRUE(Str(std::size_t(0)).isEmptyData());
}

TEST(XoStringT, UnreadableTextLeavesTheStringEmpty) {
    // One readable page followed by one that cannot be read.
    constexpr std::size_t kPage = 4096;
    char* pages = static_cast<char*>(xo::platform::reserveAligned(2 * kPage, 65536));
    ASSERT_NE(pages, nullptr);
    ASSERT_TRUE(xo::platform::commit(pages, kPage));
    char* tail = pages + kPage - 5;
    std::memcpy(tail, "abcd", 5); // ends on the page's last byte
    EXPECT_EQ(bytes(Str(tail)), "abcd");

    tail[4] = 'e'; // the text now runs into the unreadable page
    EXPECT_TRUE(Str(tail).isEmptyData());
    Str held("held");
    const Str other(held);
    held = tail;
    EXPECT_TRUE(held.isEmptyData());
    EXPECT_EQ(bytes(other), "held");
    held.assign("x");
    held.assign(static_cast<const char*>(nullptr));
    EXPECT_TRUE(held.isEmptyData());

    // A text that crosses from one readable page into the next is whole.
    ASSERT_TRUE(xo::platform::commit(pages + kPage, kPage));
    pages[kPage] = 'f';
    pages[kPage + 1] = 0;
    EXPECT_EQ(bytes(Str(tail)), "abcdef");
    xo::platform::release(pages, 2 * kPage);
}

TEST(XoStringT, CopiesShareUntilOneWrites) {
    const Str source("shared text");
    const std::vector<std::pair<const char*, std::function<void(Str&)>>> writers = {
        {"setAt", [](Str& s) { s.setAt(0, 'S'); }},
        {"concat", [](Str& s) { s.concat("!"); }},
        {"+= char", [](Str& s) { s += '!'; }},
        {"insert", [](Str& s) { s.insert(0, ">"); }},
        {"removeChars", [](Str& s) { s.removeChars(0, 1); }},
        {"replace", [](Str& s) { s.replace("text", "data"); }},
        {"makeReverse", [](Str& s) { s.makeReverse(); }},
        {"setNumOfChars", [](Str& s) { s.setNumOfChars(3); }},
        {"format", [](Str& s) { s.format("%d", 7); }},
        {"rawStr", [](Str& s) { s.rawStr()[0] = 'S'; }},
        {"getBuffer", [](Str& s) { s.getBuffer(0)[0] = 'S'; }},
        {"releaseBuffer", [](Str& s) { s.releaseBuffer(2); }},
        {"lockBuffer",
         [](Str& s) {
             s.lockBuffer()[0] = 'S';
             s.unlockBuffer();
         }},
        {"assign", [](Str& s) { s.assign("other"); }},
    };
    for (const auto& [name, write] : writers) {
        Str copy(source);
        EXPECT_EQ(copy.constStr(), source.constStr()) << name;
        EXPECT_EQ(refs(source), 2) << name;
        write(copy);
        EXPECT_NE(copy.header(), source.header()) << name;
        EXPECT_EQ(refs(source), 1) << name;
        EXPECT_EQ(bytes(source), "shared text") << name;
        EXPECT_NE(bytes(copy), "shared text") << name;
    }

    // Assignment shares as well, and a string assigned its own value keeps it.
    Str other;
    other = source;
    EXPECT_EQ(other.header(), source.header());
    other = other;
    EXPECT_EQ(bytes(other), "shared text");
    EXPECT_EQ(refs(source), 2);
}

TEST(XoStringT, SetNumOfChars) {
    Str text("abcdef");
    Str holder(text);
    text.setNumOfChars(0);
    EXPECT_TRUE(text.isEmptyData());
    EXPECT_EQ(bytes(holder), "abcdef") << "the other holder keeps its text";
    EXPECT_EQ(refs(holder), 1);

    const char* before = holder.constStr();
    holder.setNumOfChars(6);
    EXPECT_EQ(holder.constStr(), before) << "the present length changes nothing";
    holder.setNumOfChars(3);
    EXPECT_EQ(bytes(holder), "abc");
    EXPECT_EQ(holder.constStr(), before) << "shrinking never reallocates";
    holder.setNumOfChars(20);
    EXPECT_EQ(holder.numOfChars(), 20);
    EXPECT_EQ(holder.constStr()[20], '\0');
    EXPECT_STREQ(holder.constStr(), "abc") << "bytes beyond the old text are not set";
    holder.setNumOfChars(-1);
    EXPECT_TRUE(holder.isEmptyData());
}

TEST_F(CodePage932, FindCountsCharacters) {
    const Str text(kMixed);
    EXPECT_EQ(text.numOfChars(), 4);
    EXPECT_EQ(text.find("b", 0), 2);
    EXPECT_EQ(text.find('b', 0), 2);
    EXPECT_EQ(text.find("b", 2), 2) << "start is a character index too";
    EXPECT_EQ(text.find("\x82\xA0", 1), 1);
    EXPECT_EQ(text.find("b", 3), -1) << "start at the character length";
    EXPECT_EQ(text.find("a", -1), -1);
    EXPECT_EQ(text.find("", 1), 1);
    EXPECT_EQ(text.find(static_cast<const char*>(nullptr), 0), -1);
    EXPECT_EQ(Str().find("", 0), -1);
    EXPECT_EQ(text.findRev('b'), 2);
    EXPECT_EQ(text.findRev('a'), 0);
    EXPECT_EQ(text.findRev('\x82'), 1) << "the first byte of a double-byte character";
    EXPECT_EQ(text.findRev("\x82\xA0"), 1);
    EXPECT_EQ(Str("abab").findRev("ab"), 2);
    EXPECT_EQ(text.findRev("c"), -1);

    // A trail byte is never a match of its own.
    const Str trail("a\x82\xA0"
                    "b\xA0");
    EXPECT_EQ(trail.find("\xA0", 0), 3);
    EXPECT_EQ(trail.find('\xA0', 0), 3);
    EXPECT_EQ(trail.findOneOf("\xA0"
                              "b"),
              2);
    EXPECT_EQ(trail.findOneOfRev("\xA0"
                                 "b"),
              3);
    EXPECT_EQ(trail.findOneOfRev("a"), 0);
    EXPECT_EQ(trail.findOneOf("xyz"), -1);
    EXPECT_EQ(trail.findOneOf(""), -1);
    EXPECT_EQ(trail.findOneOf(nullptr), -1);
    EXPECT_EQ(Str().findOneOfRev("a"), -1);
}

TEST_F(CodePage932, TheProcessCodePageDecidesNotTheStringsOwn) {
    const Str text(kMixed);
    ASSERT_EQ(xo::platform::setMultiByteCodePage(1252), 0);
    EXPECT_EQ(text.find("b", 0), 3);
    EXPECT_EQ(text.findRev('\xA0'), 2);
}

TEST_F(CodePage932, ReverseKeepsDoubleByteCharactersInOrder) {
    Str text(kMixed);
    text.makeReverse();
    EXPECT_EQ(bytes(text), "b\x82\xA0"
                           "a");
    Str empty;
    EXPECT_TRUE(empty.makeReverse().isEmptyData());
}

TEST_F(CodePage932, ComparisonsFollowTheMultibyteCodePage) {
    EXPECT_EQ(Str("\x82\x81x").compareNoCase("\x82\x60X"), 0) << "full-width a and A";
    EXPECT_NE(Str("\x82\x81x").compare("\x82\x60X"), 0);
    EXPECT_GT(Str("\x82\xA0").compare("\x82\x9F"), 0);
}

TEST(XoStringT, CompareWithEmptyAndNull) {
    const Str empty;
    const Str text("abc");
    EXPECT_EQ(empty.compare(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(text.compare(static_cast<const char*>(nullptr)), 1);
    EXPECT_EQ(text.compare(""), 1);
    EXPECT_EQ(text.compare(empty), 1);
    EXPECT_EQ(empty.compare("abc"), -1);
    EXPECT_EQ(empty.compare(text), -1);
    EXPECT_EQ(text.compare("abc"), 0);
    EXPECT_LT(text.compare("abd"), 0);
    EXPECT_GT(text.compare("ab"), 0);
    EXPECT_EQ(text.compareNoCase("ABC"), 0);
    EXPECT_EQ(text.compareNoCase(Str("aBc")), 0);
    EXPECT_LT(text.compareNoCase("ABD"), 0);
    EXPECT_EQ(empty.compareNoCase(static_cast<const char*>(nullptr)), 0);
    EXPECT_EQ(text.compareNoCase(static_cast<const char*>(nullptr)), 1);
    EXPECT_EQ(empty.compareNoCase("x"), -1);
}

TEST(XoStringT, MidLeftAndRightWorkInBytes) {
    const Str text("abcdef");
    const Str whole = text.mid(0, 6);
    EXPECT_EQ(whole.constStr(), text.constStr()) << "the whole text shares the block";
    EXPECT_EQ(refs(text), 2);
    EXPECT_EQ(bytes(text.mid(1, 6)), "bcdef");
    EXPECT_EQ(bytes(text.mid(1)), "bcdef");
    EXPECT_EQ(bytes(text.mid(-3, 2)), "ab");
    EXPECT_EQ(text.mid(-3).constStr(), text.constStr());
    EXPECT_EQ(bytes(text.mid(4, 100)), "ef");
    EXPECT_TRUE(text.mid(6, 1).isEmptyData());
    EXPECT_TRUE(text.mid(2, 0).isEmptyData());
    EXPECT_TRUE(Str().mid(0, 1).isEmptyData());

    EXPECT_EQ(bytes(text.left(2)), "ab");
    EXPECT_TRUE(text.left(0).isEmptyData());
    EXPECT_TRUE(text.left(-1).isEmptyData());
    EXPECT_EQ(text.left(6).constStr(), text.constStr());
    EXPECT_EQ(text.left(60).constStr(), text.constStr());

    EXPECT_EQ(bytes(text.right(2)), "ef");
    EXPECT_TRUE(text.right(0).isEmptyData());
    EXPECT_EQ(text.right(6).constStr(), text.constStr());
    EXPECT_EQ(text.right(60).constStr(), text.constStr());
    EXPECT_EQ(refs(text), 2) << "temporaries are gone, the copy remains";

    const Str mixed(kMixed);
    EXPECT_EQ(bytes(mixed.mid(1, 2)), "\x82\xA0");
}

TEST(XoStringT, ConcatAppendsWithTheBufferGrowth) {
    Str text("abc");
    ASSERT_EQ(text.capacity(), 7u) << "4 elements rounded to the growth 8";
    text.concat("defgh");
    EXPECT_EQ(bytes(text), "abcdefgh");
    EXPECT_EQ(text.capacity(), 15u) << "8 + max(min(8, 65536), max(5, 8)) less the terminator";

    text.concat("xyz", 2).concat('!').concat(Str("?"));
    EXPECT_EQ(bytes(text), "abcdefghxy!?");
    text.concat("12", 1, "345", 2);
    EXPECT_EQ(bytes(text), "abcdefghxy!?134");
    text.concat(nullptr, 3, "6", 1).concat("7", 0, nullptr, 0).concat("8", -1);
    text.concat(static_cast<const char*>(nullptr));
    text += "9";
    text += Str("0");
    text += '\0';
    EXPECT_EQ(bytes(text), std::string("abcdefghxy!?13469"
                                       "0\0",
                                       19));

    // Pieces that lie in the string itself.
    Str self("ab");
    self += self;
    self.concat(self.constStr(), 1, self.constStr() + 3, 1);
    self.concat(self.constStr());
    EXPECT_EQ(bytes(self), "ababab"
                           "ababab");

    // An empty string shares what it is given.
    Str empty;
    const Str given("given");
    empty += given;
    EXPECT_EQ(empty.header(), given.header());
    empty += Str();
    EXPECT_EQ(bytes(empty), "given");
}

TEST(XoStringT, AssignForms) {
    Str text("old text");
    text.assign("new", 2);
    EXPECT_EQ(bytes(text), "ne");
    text.assign('c');
    EXPECT_EQ(bytes(text), "c");
    text = 'd';
    EXPECT_EQ(bytes(text), "d");
    text = "longer text";
    text.assign(text.constStr() + 7); // a text inside the string itself
    EXPECT_EQ(bytes(text), "text");
    text.assign(text.constStr() + 1, 2);
    EXPECT_EQ(bytes(text), "ex");

    const Str shared(text);
    text.assign(std::size_t(50));
    EXPECT_TRUE(text.isEmpty());
    EXPECT_EQ(text.capacity(), 50u);
    EXPECT_NE(text.header(), shared.header());
    EXPECT_EQ(bytes(shared), "ex");
}

TEST(XoStringT, InsertAndRemoveChars) {
    Str text("ace");
    EXPECT_EQ(text.insert(1, "b"), 4);
    EXPECT_EQ(text.insert(3, 'd'), 5);
    EXPECT_EQ(text.insert(5, "f"), 6);
    EXPECT_EQ(text.insert(99, "g"), 7) << "clamped to the end";
    EXPECT_EQ(text.insert(-5, '>'), 8) << "clamped to the start";
    EXPECT_EQ(bytes(text), ">abcdefg");
    EXPECT_EQ(text.insert(2, ""), 8);
    EXPECT_EQ(text.insert(2, static_cast<const char*>(nullptr)), 8);
    EXPECT_EQ(text.insert(1, text.constStr() + 6), 10) << "its own bytes";
    EXPECT_EQ(bytes(text), ">fgabcdefg");

    Str empty;
    EXPECT_EQ(empty.insert(3, "xy"), 2);
    EXPECT_EQ(bytes(empty), "xy");
    Str one;
    EXPECT_EQ(one.insert(0, 'q'), 1);
    EXPECT_EQ(bytes(one), "q");

    EXPECT_EQ(text.removeChars(0, 3), 7);
    EXPECT_EQ(bytes(text), "abcdefg");
    EXPECT_EQ(text.removeChars(5, 100), 5) << "cut at the end of the text";
    EXPECT_EQ(bytes(text), "abcde");
    EXPECT_EQ(text.constStr()[5], '\0');
    EXPECT_EQ(text.removeChars(2, 0), 5);
    EXPECT_EQ(text.removeChars(2, -1), 5);
    EXPECT_EQ(text.removeChars(5, 1), 0);
    EXPECT_EQ(text.removeChars(-1, 1), 0);
    EXPECT_EQ(Str().removeChars(0, 1), 0);
    EXPECT_EQ(bytes(text), "abcde");
}

TEST(XoStringT, ReplaceCountsAndRewrites) {
    Str text("ababab");
    EXPECT_EQ(text.replace("ab", "x"), 3);
    EXPECT_EQ(bytes(text), "xxx");
    EXPECT_EQ(text.numOfChars(), 3) << "the string ends with the rewritten text";
    EXPECT_EQ(text.capacity(), 7u) << "the block keeps its room";

    const struct {
        const char *name, *from, *to;
        std::string text, want;
        int count;
    } rows[] = {
        {"grows", "ab", "wxyz", "ab-ab-", "wxyz-wxyz-", 2},
        {"the scan resumes behind a match", "aa", "b", "aaa", "ba", 1},
        {"pieces behind embedded zeros count", "ab", "xyz", "ab\0ab\0c"s, "xyz\0xyz\0c"s, 2},
        {"to nothing", "xyz", "", "xyz\0xyz\0c"s, "\0\0c"s, 2},
        {"null removes", "-", nullptr, "a-b-c", "abc", 2},
        {"empty pattern", "", "y", "abc", "abc", 0},
        {"null pattern", nullptr, "y", "abc", "abc", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Str str = withZeros(row.text);
        EXPECT_EQ(str.replace(row.from, row.to), row.count);
        EXPECT_EQ(bytes(str), row.want);
    }

    Str aliasing("aXa");
    EXPECT_EQ(aliasing.replace("X", aliasing.constStr()), 1);
    EXPECT_EQ(bytes(aliasing), "aaXaa");
    EXPECT_EQ(aliasing.replace(aliasing.constStr() + 2, "-"), 1);
    EXPECT_EQ(bytes(aliasing), "aa-");

    EXPECT_EQ(Str().replace("a", "b"), 0);
    const Str source("abc");
    Str copy(source);
    EXPECT_EQ(copy.replace("z", "y"), 0);
    EXPECT_NE(copy.header(), source.header()) << "made private before counting";
    EXPECT_EQ(bytes(copy), "abc");
}

TEST_F(CodePage932, ReplaceSkipsTrailBytes) {
    Str text("\x82\xA0"
             "\xA0");
    EXPECT_EQ(text.replace("\xA0", "z"), 1);
    EXPECT_EQ(bytes(text), "\x82\xA0"
                           "z");
}

TEST(XoStringT, OperationsKeptAsEntryPointsChangeNothing) {
    const Str source("  Mixed Case  ");
    Str text(source);
    EXPECT_EQ(&text.makeUpper(), &text);
    EXPECT_EQ(&text.makeLower(), &text);
    EXPECT_EQ(&text.trimLeft(), &text);
    EXPECT_EQ(&text.trimLeft(' '), &text);
    EXPECT_EQ(&text.trimLeft(" M"), &text);
    EXPECT_EQ(&text.trimRight(), &text);
    EXPECT_EQ(&text.trimRight(' '), &text);
    EXPECT_EQ(&text.trimRight(" e"), &text);
    EXPECT_EQ(text.remove(' '), 0);
    EXPECT_EQ(text.remove('z'), 0);
    EXPECT_EQ(text.replace('M', 'm'), -1);
    EXPECT_EQ(text.replace('M', 'M'), 0);
    EXPECT_EQ(bytes(text), "  Mixed Case  ");
    EXPECT_EQ(text.header(), source.header()) << "not even made private";
    EXPECT_EQ(Str().replace('a', 'b'), 0);

    EXPECT_TRUE(text.spanIncluding(" Mixed").isEmptyData());
    EXPECT_TRUE(text.spanExcluding("C").isEmptyData());
    EXPECT_EQ(text.match("*"), -1);
    EXPECT_EQ(text.match("  Mixed Case  "), -1);
    EXPECT_EQ(text.matchNoCase("*case*"), -1);
}

std::string formatted(const char* fmt, ...) {
    Str text("previous");
    va_list args;
    va_start(args, fmt);
    text.formatV(fmt, args);
    va_end(args);
    return bytes(text);
}

TEST(XoStringT, FormatHasTheWindowsMeaning) {
    Str text;
    text.format("%s=%d, %S", "layer", 4, L"wide");
    EXPECT_EQ(bytes(text), "layer=4, wide");
    EXPECT_EQ(formatted("%05.1f|%x|%c", 2.25, 255u, 'z'), "002.3|ff|z");

    text.format("%s and %s", text.constStr(), text.constStr() + 9); // its own text
    EXPECT_EQ(bytes(text), "layer=4, wide and wide");

    // An empty result keeps room for the present length.
    Str long_text("0123456789");
    long_text.format("");
    EXPECT_TRUE(long_text.isEmpty());
    EXPECT_EQ(long_text.header()->m_nCount, 1u);
    EXPECT_GE(long_text.capacity(), 10u);

    const std::string big(3000, 'q');
    text.format("[%s]", big.c_str());
    EXPECT_EQ(bytes(text), "[" + big + "]");
}

TEST(XoStringT, RawBufferProtocol) {
    Str text("abc");
    const Str sharer(text);
    char* raw = text.getBuffer(10);
    ASSERT_NE(raw, nullptr);
    EXPECT_NE(text.header(), sharer.header());
    EXPECT_GE(text.capacity(), 10u);
    std::strcpy(raw, "abcdefgh");
    text.releaseBuffer();
    EXPECT_EQ(bytes(text), "abcdefgh");
    text.getBuffer(0)[1] = 'B';
    text.releaseBuffer(4);
    EXPECT_EQ(bytes(text), "aBcd");
    text.releaseBuffer(1000);
    EXPECT_EQ(std::size_t(text.numOfChars()), text.capacity()) << "at most the room";
    EXPECT_EQ(bytes(sharer), "abc");

    Str empty;
    char* own = empty.rawStr();
    EXPECT_FALSE(empty.isEmptyData());
    EXPECT_EQ(*own, '\0');
    Str fresh;
    char* buffer = fresh.getBuffer(0);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(*buffer, '\0');

    Str locked("lock");
    char* inside = locked.lockBuffer();
    EXPECT_TRUE(locked.isLocked());
    inside[0] = 'L';
    const Str copy(locked);
    EXPECT_NE(copy.header(), locked.header()) << "a locked block is copied";
    EXPECT_EQ(bytes(copy), "Lock");
    locked.unlockBuffer();
    EXPECT_FALSE(locked.isLocked());
    EXPECT_EQ(refs(locked), 1);

    Str lockedEmpty;
    ASSERT_NE(lockedEmpty.lockBuffer(), nullptr);
    EXPECT_STREQ(lockedEmpty.constStr(), "");
    lockedEmpty.unlockBuffer();
}

TEST(XoStringT, BytesAndCapacity) {
    Str text("abc");
    EXPECT_EQ(text.getAt(1), 'b');
    EXPECT_EQ(text[2], 'c');
    EXPECT_EQ(text[3], '\0');
    text.setAt(1, 'B');
    EXPECT_EQ(bytes(text), "aBc");

    text.setCapacity(100);
    EXPECT_EQ(text.capacity(), 100u);
    EXPECT_EQ(bytes(text), "aBc");
    text.setCapacity(1);
    EXPECT_EQ(text.capacity(), 3u) << "never below the text";
    EXPECT_EQ(bytes(text), "aBc");
    Str empty;
    empty.setCapacity(0);
    EXPECT_TRUE(empty.isEmptyData());

    EXPECT_TRUE(Str("plain text ~").isAscii());
    EXPECT_TRUE(Str().isAscii());
    EXPECT_FALSE(Str("tab\there").isAscii());
    EXPECT_FALSE(Str("caf\xE9").isAscii());
    EXPECT_FALSE(Str("\x7F\x80").isAscii());
    EXPECT_FALSE(withZeros(std::string("a\0b", 3)).isAscii());
}

TEST(XoStringT, OutOfMemoryLeavesTheTextAsItWas) {
    Str text("abc");
    const Str sharer(text);
    EXPECT_EQ(text.getBuffer(INT_MAX), nullptr);
    text.setNumOfChars(INT_MAX);
    text.concat("x", INT_MAX);
    EXPECT_EQ(bytes(text), "abc");
    EXPECT_EQ(text.header(), sharer.header());
    Str alone("abc");
    alone.setNumOfChars(INT_MAX);
    EXPECT_EQ(bytes(alone), "abc");
    EXPECT_EQ(bytes(sharer), "abc");
}

// Gives the first `allowed` blocks asked for, then none; counts the blocks not given back.
struct RationedAllocator {
    static inline int allowed = 0;
    static inline int live = 0;
    static void* allocate(std::size_t bytes) {
        if (allowed == 0)
            return nullptr;
        --allowed;
        ++live;
        return ::operator new(bytes);
    }
    static void deallocate(void* block) {
        --live;
        ::operator delete(block);
    }
};

// The index counts characters, so under code page 932 it is not the byte offset.
TEST_F(CodePage932, ReverseFindWithoutMemoryFindsNothingAndKeepsNoCopy) {
    for (int allowed = 0; allowed <= 2; ++allowed) {
        SCOPED_TRACE(allowed);
        RationedAllocator::allowed = allowed;
        EXPECT_EQ(xo::lastTextIndex<RationedAllocator>("a\x82\xA0"
                                                       "ba\x82\xA0",
                                                       "\x82\xA0"),
                  allowed == 2 ? 4 : -1);
        EXPECT_EQ(RationedAllocator::live, 0);
    }
}

} // namespace
