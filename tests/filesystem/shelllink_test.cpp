// Shortcut files read without the shell: hand-made links in the published layout on both
// targets, and under Wine the links that the shell itself saves, resolved by the shell
// and by the reader alike.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "XoFileSystem.h"
#include "platform/shelllink/shelllinkparser.h"
#include "xotestfiles.h"

#if defined(_WIN32)
#include <windows.h>

#include <objbase.h>
#include <shlobj.h>
#endif

namespace {

using Bytes = std::vector<unsigned char>;

void put32(Bytes& out, std::size_t at, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        out[at + std::size_t(i)] = static_cast<unsigned char>(value >> (8 * i));
}

void append32(Bytes& out, std::uint32_t value) {
    out.resize(out.size() + 4);
    put32(out, out.size() - 4, value);
}

void appendAnsi(Bytes& out, const std::string& text) {
    out.insert(out.end(), text.begin(), text.end());
    out.push_back(0);
}

void appendUtf16(Bytes& out, const std::wstring& text) {
    for (const wchar_t unit : text) {
        out.push_back(static_cast<unsigned char>(unit & 0xFF));
        out.push_back(static_cast<unsigned char>((unit >> 8) & 0xFF));
    }
    out.push_back(0);
    out.push_back(0);
}

struct LinkLayout {
    bool network;       // the share path instead of the local base path
    bool unicode;       // the link information's Unicode offsets
    std::string base;   // local base path or share name (ANSI)
    std::wstring wbase; // the same in UTF-16 when unicode
    std::string suffix;
    std::uint16_t idListSize; // 0: no ID list
};

// A shortcut laid out as the published format describes it.
Bytes makeLink(const LinkLayout& layout) {
    Bytes out(0x4C, 0);
    put32(out, 0, 0x4C);
    const unsigned char clsid[16] = {0x01, 0x14, 0x02, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46};
    std::memcpy(out.data() + 4, clsid, sizeof clsid);
    put32(out, 20, (layout.idListSize != 0 ? 0x1u : 0u) | 0x2u | 0x80u);
    if (layout.idListSize != 0) {
        out.push_back(static_cast<unsigned char>(layout.idListSize & 0xFF));
        out.push_back(static_cast<unsigned char>(layout.idListSize >> 8));
        out.resize(out.size() + layout.idListSize, 0);
    }
    const std::uint32_t headerSize = layout.unicode ? 0x24 : 0x1C;
    Bytes info(headerSize, 0);
    put32(info, 4, headerSize);
    put32(info, 8, layout.network ? 0x2 : 0x1);
    if (layout.network) {
        put32(info, 20, std::uint32_t(info.size()));
        Bytes link(0x14, 0);
        put32(link, 8, 0x14);
        appendAnsi(link, layout.base);
        put32(link, 0, std::uint32_t(link.size()));
        info.insert(info.end(), link.begin(), link.end());
    } else {
        put32(info, 12, std::uint32_t(info.size())); // an empty volume id
        append32(info, 0x10);
        info.resize(info.size() + 12, 0);
        put32(info, 16, std::uint32_t(info.size()));
        appendAnsi(info, layout.base);
    }
    put32(info, 24, std::uint32_t(info.size()));
    appendAnsi(info, layout.suffix);
    if (layout.unicode) {
        if (!layout.network) {
            put32(info, 28, std::uint32_t(info.size()));
            appendUtf16(info, layout.wbase);
        }
        put32(info, 32, std::uint32_t(info.size()));
        appendUtf16(info, std::wstring(layout.suffix.begin(), layout.suffix.end()));
    }
    put32(info, 0, std::uint32_t(info.size()));
    out.insert(out.end(), info.begin(), info.end());
    append32(out, 0); // no extra data
    return out;
}

Bytes bytesOf(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes{std::istreambuf_iterator<char>(in), {}};
}

bool parse(const Bytes& bytes, std::wstring& target) {
    return xo::platform::parseShellLinkTarget(bytes.data(), bytes.size(), target);
}

TEST(ShellLinkReader, TargetsOfWellFormedLinks) {
    const struct {
        LinkLayout layout;
        const wchar_t* target;
    } cases[] = {
        {{false, false, "C:\\dir\\file.txt", L"", "", 0}, L"C:\\dir\\file.txt"},
        {{false, false, "C:\\dir", L"", "file.txt", 0}, L"C:\\dir\\file.txt"},
        {{false, false, "C:\\", L"", "file.txt", 20}, L"C:\\file.txt"},
        {{false, true, "C:\\?\\f.txt", L"C:\\\x65e5\x672c\\f.txt", "", 0},
         L"C:\\\x65e5\x672c\\f.txt"},
        {{true, false, "\\\\server\\share", L"", "dir\\f.txt", 0},
         L"\\\\server\\share\\dir\\f.txt"},
        {{true, true, "\\\\server\\share", L"", "", 8}, L"\\\\server\\share"},
    };
    for (const auto& c : cases) {
        std::wstring target = L"unset";
        EXPECT_TRUE(parse(makeLink(c.layout), target)) << c.target;
        EXPECT_EQ(target, c.target);
    }
}

TEST(ShellLinkReader, RefusesDamagedLinks) {
    const Bytes good = makeLink({false, true, "C:\\a", L"C:\\a", "b.txt", 12});
    std::wstring target;
    ASSERT_TRUE(parse(good, target));
    // Every cut before the last byte of the link information loses a terminator or a
    // whole structure; none may be read past.
    for (std::size_t size = 0; size + 4 < good.size(); ++size) {
        const Bytes cut(good.begin(), good.begin() + std::ptrdiff_t(size));
        EXPECT_FALSE(parse(cut, target)) << size;
    }
    const struct {
        std::size_t at;
        std::uint32_t value;
        const char* what;
    } damages[] = {
        {0, 0x4D, "header size"},
        {4, 0x01140200, "class id"},
        {20, 0x80, "no link information"},
        {20, 0x183, "link information forced off"},
        {76, 0xFFFF, "ID list larger than the file"},
        {78 + 12 + 0, 0xFFFFFFFF, "link information larger than the file"},
        {78 + 12 + 28, 0x7FFFFFF0, "Unicode base path offset past the end"},
    };
    for (const auto& d : damages) {
        Bytes bad = good;
        if (d.at == 76) {
            bad[76] = static_cast<unsigned char>(d.value & 0xFF);
            bad[77] = static_cast<unsigned char>(d.value >> 8);
        } else {
            put32(bad, d.at, d.value);
        }
        EXPECT_FALSE(parse(bad, target)) << d.what;
    }
    Bytes ansi = makeLink({false, false, "C:\\a", L"", "b.txt", 0});
    ASSERT_TRUE(parse(ansi, target));
    put32(ansi, 78 + 16 - 2, 0x7FFFFFF0); // the ANSI base path's offset, no ID list here
    EXPECT_FALSE(parse(ansi, target));
}

// Links that Wine's IShellLinkW saved, with the paths its shell resolved them to then
// (the share: the path it was given, which Windows' shell answers): the reader finds the
// same on both targets.
TEST(ShellLinkReader, LinksSavedByWine) {
    const std::wstring folder = L"C:\\users\\root\\Temp\\xo_files_0_ReaderAgreesWithTheShell\\";
    const struct {
        const char* file;
        std::wstring target;
    } cases[] = {
        {"wine-local-file.lnk", folder + L"local.txt"},
        {"wine-folder.lnk", folder + L"folder"},
        {"wine-non-ascii.lnk", folder + L"folder\\\x65e5\x672c.txt"},
        {"wine-network.lnk", L"\\\\server\\share\\dir\\file.txt"}, // Wine's shell: the desktop
    };
    for (const auto& c : cases) {
        const Bytes bytes = bytesOf(std::string(XO_WINE_SHORTCUTS) + "/" + c.file);
        ASSERT_FALSE(bytes.empty()) << c.file;
        std::wstring target;
        EXPECT_TRUE(parse(bytes, target)) << c.file;
        EXPECT_EQ(target, c.target);
    }
}

class XoFileSystemLinks : public xotest::TempFolder {};

#if !defined(_WIN32)
TEST_F(XoFileSystemLinks, LinuxResolvesLinkFilesAndSymbolicLinks) {
    const Bytes link = makeLink({true, false, "\\\\server\\share", L"", "dir\\f.txt", 0});
    std::ofstream(file("share.lnk"), std::ios::binary)
        .write(reinterpret_cast<const char*>(link.data()), std::streamsize(link.size()));
    write("target.txt", "x");
    std::filesystem::create_symlink(file("target.txt"), file("symbolic"));
    write("notalink.lnk", "plain text");
    const struct {
        const char* name;
        int resolved;
        std::wstring target;
    } cases[] = {
        {"share.lnk", 1, L"\\\\server\\share\\dir\\f.txt"},
        {"symbolic", 1, std::filesystem::canonical(file("target.txt")).wstring()},
        {"notalink.lnk", 0, L""},
        {"missing.lnk", 0, L""},
    };
    for (const auto& c : cases) {
        wchar_t out[300] = L"";
        EXPECT_EQ(XoFileSystem::getLinkedPathName(wide(c.name).c_str(), out), c.resolved) << c.name;
        if (c.resolved != 0) {
            EXPECT_EQ(std::wstring(out), c.target);
        }
    }
}
#else
// Saves a shortcut to target through the shell's own link object.
bool saveShellLink(const std::wstring& target, const std::wstring& at) {
    ::CoInitialize(nullptr);
    IShellLinkW* link = nullptr;
    if (FAILED(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                  reinterpret_cast<void**>(&link))))
        return false;
    IPersistFile* persist = nullptr;
    bool saved =
        SUCCEEDED(link->SetPath(target.c_str())) &&
        SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&persist))) &&
        SUCCEEDED(persist->Save(at.c_str(), TRUE));
    if (persist != nullptr)
        persist->Release();
    link->Release();
    return saved;
}

// The shell resolves what it saved; the reader must find the same path in the file.
TEST_F(XoFileSystemLinks, ReaderAgreesWithTheShell) {
    write("local.txt", "x");
    std::filesystem::create_directory(file("folder"));
    std::ofstream(file("folder") / L"\x65e5\x672c.txt") << "x";
    const std::wstring targets[] = {
        file("local.txt").make_preferred().wstring(),
        file("folder").make_preferred().wstring(),
        (file("folder") / L"\x65e5\x672c.txt").make_preferred().wstring(),
    };
    int index = 0;
    for (const auto& target : targets) {
        SCOPED_TRACE(index);
        const std::wstring at = wide("link" + std::to_string(index++) + ".lnk");
        ASSERT_TRUE(saveShellLink(target, at));
        wchar_t shell[300] = L"";
        ASSERT_EQ(XoFileSystem::getLinkedPathName(at.c_str(), shell), 1);
        std::wstring read;
        EXPECT_TRUE(parse(bytesOf(at), read));
        EXPECT_EQ(read, std::wstring(shell));
        EXPECT_EQ(_wcsicmp(shell, target.c_str()), 0) << std::wstring(shell);
    }
    wchar_t out[300];
    EXPECT_EQ(XoFileSystem::getLinkedPathName(wide("missing.lnk").c_str(), out), 0);
}

// A share Wine cannot reach gets no ID list: Wine's shell then names the desktop (Windows
// names the share), while the reader finds the share path in the link information.
TEST_F(XoFileSystemLinks, NetworkTargetUnderWine) {
    const std::wstring share = L"\\\\server\\share\\dir\\file.txt";
    const std::wstring at = wide("share.lnk");
    ASSERT_TRUE(saveShellLink(share, at));
    std::wstring read;
    EXPECT_TRUE(parse(bytesOf(at), read));
    EXPECT_EQ(read, share);
    wchar_t shell[300] = L"";
    ASSERT_EQ(XoFileSystem::getLinkedPathName(at.c_str(), shell), 1);
    EXPECT_NE(std::wstring(shell), share) << "Wine's shell resolves shares now: compare it";
}
#endif

} // namespace
