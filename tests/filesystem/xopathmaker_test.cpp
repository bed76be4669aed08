// Paths checked and taken apart. The same tables pass on both targets: on Windows the
// runtime splits, on Linux the library's own splitter.
#include <gtest/gtest.h>

#include <cwchar>
#include <filesystem>
#include <string>

#include "XoPathMaker.h"

namespace {

const wchar_t kSentinel[] = L"untouched";

struct Buffer {
    Buffer() { std::wcscpy(text, kSentinel); }
    wchar_t text[300];
    std::wstring str() const { return text; }
};

std::wstring repeated(std::size_t count, wchar_t c) {
    return std::wstring(count, c);
}

TEST(XoPathMaker, IsValidPath) {
    const struct {
        const wchar_t* path;
        bool valid;
    } cases[] = {
        {L"C:\\dir\\file.txt", true},
        {L"dir/sub/file", true},
        {L"\\dir\\", true},
        {L"C:", true},
        {L"a\x01\x7f\x3042", true},
        {L"C::x", true}, // colons are not counted, so a second one still follows one character
        {nullptr, false},
        {L"", false},
        {L"C:\\dir\\\\file", false},
        {L"\\\\server\\share", false},
        {L"//server/share", false},
        {L"a\\/b", false},
        {L"ab:c", false},
        {L":x", false},
        {L"C:\\x:", false},
        {L"a|b", false},
        {L"a?b", false},
        {L"a\"b", false},
        {L"a*b", false},
        {L"a<b", false},
        {L"a>b", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(XoPathMaker::isValidPath(c.path), c.valid) << (c.path ? c.path : L"(null)");
}

// The components as a splitter of the runtime's rules gives them, with room to spare.
TEST(XoPathMaker, SplitPathComponents) {
    const struct {
        const wchar_t* path;
        const wchar_t *drive, *dir, *name, *ext;
    } cases[] = {
        {L"C:\\a\\b.txt", L"C:", L"\\a\\", L"b", L".txt"},
        {L"d.x/e.y\\f", L"", L"d.x/e.y\\", L"f", L""},
        {L".hidden", L"", L"", L"", L".hidden"},
        {L"a.b.c", L"", L"", L"a.b", L".c"},
        {L"a\\..", L"", L"a\\", L".", L"."},
        {L"\\\\server\\share\\f", L"", L"\\\\server\\share\\", L"f", L""},
        {L"::x", L"::", L"", L"x", L""},
        {L":", L"", L"", L":", L""},
        {L"abc:d\\e.f", L"", L"abc:d\\", L"e", L".f"},
        {L"C:", L"C:", L"", L"", L""},
    };
    for (const auto& c : cases) {
        Buffer drive, dir, name, ext;
        EXPECT_TRUE(XoPathMaker::splitPath(c.path, drive.text, 3, dir.text, 260, name.text, 260,
                                           ext.text, 260))
            << c.path;
        EXPECT_EQ(drive.str() + L"|" + dir.str() + L"|" + name.str() + L"|" + ext.str(),
                  std::wstring(c.drive) + L"|" + c.dir + L"|" + c.name + L"|" + c.ext);
    }
}

TEST(XoPathMaker, SplitPathFailures) {
    Buffer drive, dir, name, ext;
    // The name does not fit four characters: every buffer given is emptied.
    EXPECT_FALSE(XoPathMaker::splitPath(L"C:\\a\\name.x", drive.text, 3, dir.text, 260, name.text,
                                        4, ext.text, 260));
    EXPECT_EQ(drive.str() + dir.str() + name.str() + ext.str(), L"");
    Buffer untouched;
    EXPECT_FALSE(
        XoPathMaker::splitPath(L"", untouched.text, 3, nullptr, 0, nullptr, 0, nullptr, 0));
    EXPECT_FALSE(
        XoPathMaker::splitPath(nullptr, untouched.text, 3, nullptr, 0, nullptr, 0, nullptr, 0));
    EXPECT_FALSE(
        XoPathMaker::splitPath(L"a", untouched.text, 0, nullptr, 0, nullptr, 0, nullptr, 0));
    EXPECT_FALSE(XoPathMaker::splitPath(L"a", nullptr, 3, nullptr, 0, nullptr, 0, nullptr, 0));
    EXPECT_EQ(untouched.str(), kSentinel);
    // Only what is wanted is written.
    EXPECT_TRUE(XoPathMaker::splitPath(L"C:\\a\\b.txt", nullptr, 0, nullptr, 0, untouched.text, 2,
                                       nullptr, 0));
    EXPECT_EQ(untouched.str(), L"b");
}

TEST(XoPathMaker, SingleComponents) {
    const std::wstring dir259 = L"C:\\" + repeated(257, L'd') + L"\\f";
    const std::wstring dir260 = L"C:\\" + repeated(258, L'd') + L"\\f";
    const std::wstring parent259 = dir259.substr(2, 259);
    const std::wstring tooLongTogether = repeated(200, L'n') + L"." + repeated(100, L'e');
    const auto fullName = +[](wchar_t* out, const wchar_t* path) {
        return int(XoPathMaker::getFullFileName(path, out));
    };
    const struct {
        int (*get)(wchar_t*, const wchar_t*);
        const wchar_t* path;
        const wchar_t* out;
        int result;
    } cases[] = {
        {XoPathMaker::getParentDir, L"C:\\a\\b.txt", L"\\a\\", 3}, // the drive left out
        {XoPathMaker::getParentDir, dir259.c_str(), parent259.c_str(), 259},
        {XoPathMaker::getParentDir, dir260.c_str(), L"", 0},
        {XoPathMaker::getParentDir, nullptr, L"", 0},
        {XoPathMaker::getDriverName, L"C:\\a", L"C:", 2},
        {XoPathMaker::getDriverName, L"\\\\server\\share\\f", L"", 0},
        {XoPathMaker::getDriverName, nullptr, L"", 0},
        {XoPathMaker::getExtFileName, L"x.tar", L".tar", 4},
        {XoPathMaker::getExtFileName, L"x.abcdef", L".abcdef", 7},
        {XoPathMaker::getExtFileName, L"x.abcdefg", L"", 0},
        {XoPathMaker::getExtFileName, L"x.toolongext", L"", 0},
        {XoPathMaker::getExtFileName, L"C:\\ver.2\\readme", L"", 0},
        {XoPathMaker::getExtFileName, nullptr, L"", 0},
        {fullName, L"C:\\a\\b.txt", L"b.txt", 1},
        {fullName, L"C:\\a\\", L"", 1},
        {fullName, L"a.", L"a.", 1},
        {fullName, tooLongTogether.c_str(), L"", 1}, // each fits alone, not both
        {fullName, L"", L"", 0},
        {fullName, nullptr, L"", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("row " + std::to_string(&c - cases));
        Buffer out;
        EXPECT_EQ(c.get(out.text, c.path), c.result) << (c.path ? c.path : L"(null)");
        EXPECT_EQ(out.str(), c.out);
    }
}

TEST(XoPathMaker, GetFileNameFindsTheLastDotAnywhere) {
    const wchar_t path[] = L"C:\\ver.2\\readme";
    Buffer out;
    const wchar_t* extPos = nullptr;
    EXPECT_TRUE(XoPathMaker::getFileName(path, out.text, &extPos));
    EXPECT_EQ(out.str(), L"readme");
    EXPECT_EQ(extPos, path + 6);
    EXPECT_TRUE(XoPathMaker::getFileName(L"a.b.c", out.text, nullptr));
    EXPECT_EQ(out.str(), L"a.b");

    extPos = path;
    EXPECT_FALSE(XoPathMaker::getFileName(L"", out.text, &extPos));
    EXPECT_EQ(extPos, nullptr);
    EXPECT_EQ(out.str(), L"");
    const std::wstring longName = repeated(260, L'n') + L".x";
    EXPECT_FALSE(XoPathMaker::getFileName(longName.c_str(), out.text, &extPos));
    EXPECT_EQ(extPos, longName.c_str() + 260); // set before the split fails
}

TEST(XoPathMaker, GetFileDirNeedsRoomForTheTerminator) {
    const struct {
        const wchar_t* path;
        unsigned size;
        const wchar_t* out;
        bool result;
    } cases[] = {
        {L"C:\\a\\b.txt", 260, L"C:\\a\\", true},
        {L"C:\\a\\b.txt", 6, L"C:\\a\\", true},
        {L"C:\\a\\b.txt", 5, L"", false},
        {L"C:\\a\\b.txt", 2, L"", false},
        {L"b.txt", 1, L"", true},
        {L"C:\\a\\b.txt", 0, kSentinel, false},
        {L"", 260, kSentinel, false},
        {nullptr, 260, kSentinel, false},
    };
    for (const auto& c : cases) {
        Buffer out;
        EXPECT_EQ(XoPathMaker::getFileDir(c.path, out.text, c.size), c.result) << c.size;
        EXPECT_EQ(out.str(), c.out) << c.size;
    }
}

// The test runs in a folder whose path is ASCII, so its wide form is its UTF-16 form.
std::wstring currentDirectory() {
    return std::filesystem::current_path().wstring();
}

#if defined(_WIN32)
const wchar_t kSeparator = L'\\';
const wchar_t kFoldable[] = L"C:\\a\\.\\b\\..\\c\\";
const wchar_t kFolded[] = L"C:\\a\\c\\";
const wchar_t kNoTrailingDot[] = L"C:\\a\\.";
#else
const wchar_t kSeparator = L'/';
// A backslash is part of a POSIX name; `//` is one separator.
const wchar_t kFoldable[] = L"/a/./b\\x/..//c/";
const wchar_t kFolded[] = L"/a/c/";
const wchar_t kNoTrailingDot[] = L"/a/.";
#endif

TEST(XoPathMaker, GetAbsolutePathAnswersTheSizeNeeded) {
    const std::wstring expected = currentDirectory() + kSeparator + L"x";
    const int needed = int(expected.size()) + 1;
    EXPECT_EQ(XoPathMaker::getAbsolutePath(nullptr, 0, L"x"), needed);
    Buffer out;
    EXPECT_EQ(XoPathMaker::getAbsolutePath(out.text, unsigned(needed - 1), L"x"), needed);
    EXPECT_EQ(out.str(), kSentinel);
    EXPECT_EQ(XoPathMaker::getAbsolutePath(out.text, unsigned(needed), L"x"), needed);
    EXPECT_EQ(out.str(), expected);
}

TEST(XoPathMaker, GetAbsolutePathFolds) {
    Buffer out;
    EXPECT_EQ(XoPathMaker::getAbsolutePath(out.text, 300, kFoldable),
              int(std::wcslen(kFolded)) + 1);
    EXPECT_EQ(out.str(), kFolded);
    XoPathMaker::getAbsolutePath(out.text, 300, kNoTrailingDot);
    EXPECT_EQ(out.str(), std::wstring(kNoTrailingDot, std::wcslen(kNoTrailingDot) - 2));

    const std::wstring tooLong = std::wstring(kFolded) + repeated(260, L'n');
    Buffer untouched;
    EXPECT_EQ(XoPathMaker::getAbsolutePath(untouched.text, 300, tooLong.c_str()), 0);
    EXPECT_EQ(XoPathMaker::getAbsolutePath(untouched.text, 300, L""), 0);
    EXPECT_EQ(XoPathMaker::getAbsolutePath(untouched.text, 300, nullptr), 0);
    EXPECT_EQ(untouched.str(), kSentinel);
}

} // namespace
