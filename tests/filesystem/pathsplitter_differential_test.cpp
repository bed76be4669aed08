// The library's path splitter (what Linux uses) beside msvcrt's _wsplitpath_s and
// _wsplitpath under Wine, on the same generated paths: drives, both separators, dots in
// folders and names, network forms, components at and just beyond the room given to
// them, empty and very long paths. Wine's msvcrt stands in for Windows here. Windows'
// own runtime is documented to call the invalid-parameter handler before it returns 22
// or 34; Wine's only returns, and so does the library's splitter.
#if defined(_WIN32)

#include <gtest/gtest.h>

#include <stdlib.h>

#include <array>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "XoPathMaker.h"
#include "platform/pathsplit/pathsplitter.h"

namespace {

// One buffer of a split: given or null, and its declared size (which may disagree).
struct Slot {
    bool given;
    std::size_t size;
};
using Layout = std::array<Slot, 4>; // drive, directory, name, extension

const Layout kLayouts[] = {
    {{{true, 3}, {true, 256}, {true, 256}, {true, 256}}}, // the runtime's fixed room
    {{{true, 64}, {false, 0}, {false, 0}, {false, 0}}},   // the drive alone
    {{{false, 0}, {true, 260}, {false, 0}, {false, 0}}},  // the directory alone
    {{{false, 0}, {false, 0}, {false, 0}, {true, 8}}},    // the extension alone
    {{{false, 0}, {false, 0}, {true, 260}, {true, 260}}}, // name and extension
    {{{true, 2}, {true, 9}, {true, 8}, {true, 5}}},       // small rooms
    {{{true, 1}, {true, 1}, {true, 1}, {true, 1}}},       // room for the terminator only
    {{{true, 3}, {true, 0}, {false, 0}, {false, 0}}},     // a buffer without a size
    {{{false, 64}, {true, 260}, {false, 0}, {false, 0}}}, // a size without a buffer
    {{{false, 0}, {false, 0}, {false, 0}, {false, 0}}},   // nothing wanted
};

// Lengths at and around every room above.
const std::size_t kLengths[] = {0,  1,  2,  3,   4,   5,   6,   7,   8,   9,   10,  62,
                                63, 64, 65, 254, 255, 256, 257, 258, 259, 260, 261, 300};

const wchar_t kPrefixes[][12] = {L"",          L"C:",          L"z:",   L"::",
                                 L":",         L"1:",          L"C:\\", L"\\\\srv\\sh\\",
                                 L"//srv/sh/", L"\\\\?\\C:\\", L"\\",   L"\\\\.\\pipe\\"};

// Characters of names: dots, colons, spaces, and units that only look like separators
// or dots (fullwidth forms, a lone surrogate).
const wchar_t kNameChars[] = {L'a', L'Z', L'.', L' ', L':', L'-', 0x3042, 0xFF0E, 0xFF3C, 0xD800};

class Generator {
public:
    std::wstring path() {
        const unsigned kind = random_() % 50;
        if (kind == 0)
            return L"";
        if (kind == 1)
            return text(1000 + random_() % 4000, true);
        std::wstring result = kPrefixes[random_() % std::size(kPrefixes)];
        result += directory(length());
        result += text(length(), false);
        if (random_() % 3 != 0)
            result += L"." + text(length(), false);
        return result;
    }

private:
    std::size_t length() { return kLengths[random_() % std::size(kLengths)]; }

    wchar_t separator() { return random_() % 2 ? L'\\' : L'/'; }

    std::wstring text(std::size_t count, bool withSeparators) {
        std::wstring result;
        for (std::size_t i = 0; i < count; ++i)
            result += withSeparators && random_() % 8 == 0
                          ? separator()
                          : kNameChars[random_() % std::size(kNameChars)];
        return result;
    }

    // count characters ending in a separator, doubled separators among them at times.
    std::wstring directory(std::size_t count) {
        if (count == 0)
            return L"";
        std::wstring result = text(count - 1, true);
        return result + separator();
    }

    std::mt19937 random_{20261122};
};

std::string shown(const std::wstring& text) {
    std::string out;
    for (wchar_t c : text.substr(0, 60)) {
        char unit[8];
        std::snprintf(unit, sizeof unit, c >= 0x20 && c < 0x7F ? "%c" : "<%04X>", unsigned(c));
        out += unit;
    }
    return text.size() > 60 ? out + "... (" + std::to_string(text.size()) + ")" : out;
}

struct Outcome {
    int result = 0;
    std::array<std::wstring, 4> parts;
    bool operator==(const Outcome& other) const {
        return result == other.result && parts == other.parts;
    }
};

using Splitter = int (*)(const wchar_t*, wchar_t*, std::size_t, wchar_t*, std::size_t, wchar_t*,
                         std::size_t, wchar_t*, std::size_t);

// Buffers start as a marker, so that left alone and emptied differ.
Outcome splitWith(Splitter split, const std::wstring& path, const Layout& layout) {
    std::array<std::array<wchar_t, 400>, 4> buffers;
    std::array<wchar_t*, 4> given;
    for (int i = 0; i < 4; ++i) {
        std::wcscpy(buffers[i].data(), L"marker");
        given[i] = layout[i].given ? buffers[i].data() : nullptr;
    }
    Outcome outcome;
    outcome.result = split(path.c_str(), given[0], layout[0].size, given[1], layout[1].size,
                           given[2], layout[2].size, given[3], layout[3].size);
    for (int i = 0; i < 4; ++i)
        outcome.parts[i] = buffers[i].data();
    return outcome;
}

int runtimeSplit(const wchar_t* path, wchar_t* drive, std::size_t driveSize, wchar_t* dir,
                 std::size_t dirSize, wchar_t* name, std::size_t nameSize, wchar_t* ext,
                 std::size_t extSize) {
    return _wsplitpath_s(path, drive, driveSize, dir, dirSize, name, nameSize, ext, extSize);
}

// The unchecked forms through the same signature; the sizes only say which are given.
int runtimeSplitUnchecked(const wchar_t* path, wchar_t* drive, std::size_t, wchar_t* dir,
                          std::size_t, wchar_t* name, std::size_t, wchar_t* ext, std::size_t) {
    _wsplitpath(path, drive, dir, name, ext);
    return 0;
}

int librarySplitUnchecked(const wchar_t* path, wchar_t* drive, std::size_t, wchar_t* dir,
                          std::size_t, wchar_t* name, std::size_t, wchar_t* ext, std::size_t) {
    xo::pathsplit::splitUnchecked(path, drive, dir, name, ext);
    return 0;
}

std::string described(const Outcome& outcome) {
    std::string text = std::to_string(outcome.result);
    for (const std::wstring& part : outcome.parts)
        text += " [" + shown(part) + "]";
    return text;
}

class PathSplitDifferential : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        Generator generator;
        paths_.push_back(L"");
        for (int i = 0; i < 4000; ++i)
            paths_.push_back(generator.path());
    }

    void compare(Splitter expected, Splitter actual, const Layout& layout) {
        for (const std::wstring& path : paths_) {
            const Outcome want = splitWith(expected, path, layout);
            const Outcome got = splitWith(actual, path, layout);
            ++results_[want.result];
            if (!(want == got) && ++differences_ <= 5)
                ADD_FAILURE() << shown(path) << "\n runtime: " << described(want)
                              << "\n library: " << described(got);
        }
    }

    static inline std::vector<std::wstring> paths_;
    int differences_ = 0;
    std::map<int, int> results_; // how often the runtime gave each answer
};

TEST_F(PathSplitDifferential, CheckedSplitInEveryLayout) {
    for (const Layout& layout : kLayouts)
        compare(runtimeSplit, xo::pathsplit::split, layout);
    EXPECT_EQ(differences_, 0);
    // The paths reach every answer often: success, no room, bad arguments.
    for (const int result : {0, 34, 22})
        EXPECT_GT(results_[result], 1000) << result;
}

TEST_F(PathSplitDifferential, UncheckedSplit) {
    const Layout layouts[] = {
        {{{true, 0}, {true, 0}, {true, 0}, {true, 0}}},
        {{{true, 0}, {true, 0}, {false, 0}, {false, 0}}},
        {{{false, 0}, {false, 0}, {true, 0}, {false, 0}}},
    };
    for (const Layout& layout : layouts)
        compare(runtimeSplitUnchecked, librarySplitUnchecked, layout);
    EXPECT_EQ(differences_, 0);
}

// getFileDir on Windows splits with the runtime; on Linux it joins what the library's
// splitter gives, which must fit with its terminator.
TEST_F(PathSplitDifferential, GetFileDir) {
    for (const std::wstring& path : paths_) {
        wchar_t drive[260], dir[260], name[260], ext[260];
        xo::pathsplit::splitUnchecked(path.c_str(), drive, dir, name, ext);
        const std::wstring joined = std::wstring(drive) + dir;
        for (const std::size_t size : {joined.size(), joined.size() + 1, std::size_t(260)}) {
            if (path.empty() || size == 0)
                continue;
            wchar_t out[400] = L"marker";
            const bool fits = joined.size() < size;
            const bool done = XoPathMaker::getFileDir(path.c_str(), out, unsigned(size));
            if ((done != fits || out != (fits ? joined : L"")) && ++differences_ <= 5)
                ADD_FAILURE() << shown(path) << " size " << size << ": " << shown(out);
        }
    }
    EXPECT_EQ(differences_, 0);
}

} // namespace

#endif
