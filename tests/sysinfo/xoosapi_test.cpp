// The pass-throughs: the cases with a meaning on both targets against Windows' own
// answers under Wine, and the Linux folders and opener against a made-up home.
#include "VeskSystemInfo.h"
#include "XoMessageQueue.h"
#include "XoOsApi.h"
#include "platform/error.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#if !defined(_WIN32)
#include <unistd.h>
#endif

namespace {

namespace fs = std::filesystem;

constexpr int kAppData = 0x1A;
constexpr int kDesktop = 0x10;
constexpr int kFlagCreate = 0x8000;
constexpr int kFlagDontVerify = 0x4000;
constexpr XoOsApi::Hresult kInvalidArgument = XoOsApi::Hresult(0x80070057u);

bool endsWith(const std::wstring& text, const std::wstring& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

TEST(XoOsApi, ModuleFileNamesWholeAndCutToFit) {
    wchar_t name[1024];
    const XoOsApi::Dword length = XoOsApi::GetModuleFileNameW(nullptr, name, 1024);
    ASSERT_GT(length, 0u);
    EXPECT_EQ(std::wstring(name).size(), length);
#if defined(_WIN32)
    EXPECT_TRUE(endsWith(name, L"xo_sysinfo_tests.exe"));
    HINSTANCE__* beside = veskLoadWindowsSystemLibrary(L"xo_beside.dll");
    const std::wstring besideName = L"xo_beside.dll";
#else
    EXPECT_TRUE(endsWith(name, L"/xo_sysinfo_tests"));
    HINSTANCE__* beside = veskLoadWindowsSystemLibrary(L"xo_beside.so");
    const std::wstring besideName = L"/xo_beside.so";
#endif
    ASSERT_NE(beside, nullptr);
    ASSERT_GT(XoOsApi::GetModuleFileNameW(beside, name, 1024), 0u);
    EXPECT_TRUE(endsWith(name, besideName));

    wchar_t cut[5] = {L'x', L'x', L'x', L'x', L'x'};
    xo::platform::setThreadLastError(0);
    EXPECT_EQ(XoOsApi::GetModuleFileNameW(nullptr, cut, 5), 5u);
    EXPECT_EQ(xo::platform::threadLastError(), xo::platform::kErrorInsufficientBuffer);
    EXPECT_EQ(cut[0], name[0]);
#if !defined(_WIN32)
    // Windows from Vista on ends the cut name; Wine keeps XP's unterminated one.
    EXPECT_EQ(cut[4], L'\0');
#endif
}

TEST(XoOsApi, FoldersKnownAndUnknown) {
    wchar_t path[260] = {};
    EXPECT_EQ(XoOsApi::SHGetFolderPathW(nullptr, kAppData | kFlagCreate, nullptr, 0, path), 0);
    EXPECT_NE(path[0], L'\0');
    EXPECT_EQ(XoOsApi::SHGetFolderPathW(nullptr, 0xFF, nullptr, 0, path), kInvalidArgument);
}

std::atomic<int> g_timerCalls{0};

void countCall(HWND__*, unsigned int, XoOsApi::UintPtr, XoOsApi::Dword) {
    ++g_timerCalls;
}

TEST(XoOsApi, ThreadTimersTickThroughTheQueue) {
    const XoOsApi::UintPtr id = XoOsApi::SetTimer(nullptr, 0, 10, countCall);
    ASSERT_NE(id, 0u);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (g_timerCalls == 0 && std::chrono::steady_clock::now() < end) {
        XoQueuedMessage m;
        if (xoPeekMessage(&m, true))
            xoDispatchMessage(&m);
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_GT(g_timerCalls.load(), 0);
    EXPECT_NE(XoOsApi::KillTimer(nullptr, id), 0);
    EXPECT_EQ(XoOsApi::KillTimer(nullptr, id), 0) << "already gone";
}

TEST(XoOsApi, OpeningAMissingFileIsFileNotFound) {
    const fs::path missing = fs::temp_directory_path() / "xo_no_such_file_to_open.txt";
    const auto result =
        XoOsApi::ShellExecuteW(nullptr, L"open", missing.wstring().c_str(), nullptr, nullptr, 1);
    EXPECT_EQ(reinterpret_cast<std::intptr_t>(result), 2);
}

#if !defined(_WIN32)

// A home of the test's own, with the environment restored afterwards.
class MadeUpHome : public ::testing::Test {
protected:
    void SetUp() override {
        home_ = fs::temp_directory_path() / ("xo_home_" + std::to_string(::getpid()));
        fs::create_directories(home_ / ".config");
        for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "PATH"}) {
            const char* value = std::getenv(name);
            saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
        }
        ::setenv("HOME", home_.c_str(), 1);
        ::unsetenv("XDG_CONFIG_HOME");
        ::unsetenv("XDG_DATA_HOME");
    }
    void TearDown() override {
        for (const auto& [name, value] : saved_) {
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
        }
        fs::remove_all(home_);
    }
    std::wstring folder(int csidl, XoOsApi::Dword type, XoOsApi::Hresult expected = 0) const {
        wchar_t path[260] = {};
        EXPECT_EQ(XoOsApi::SHGetFolderPathW(nullptr, csidl, nullptr, type, path), expected)
            << std::hex << csidl;
        return path;
    }
    fs::path home_;
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST_F(MadeUpHome, FoldersFollowXdgAndTheUsersChoice) {
    std::ofstream(home_ / ".config/user-dirs.dirs") << "# written by xdg-user-dirs-update\n"
                                                    << "XDG_DESKTOP_DIR=\"$HOME/Bureau\"\n";
    const std::wstring home = home_.wstring();
    EXPECT_EQ(folder(kDesktop, 0, XoOsApi::Hresult(0x80070003u)), L"") << "not there yet";
    EXPECT_EQ(folder(kDesktop | kFlagDontVerify, 0), home + L"/Bureau");
    EXPECT_EQ(folder(kDesktop | kFlagDontVerify, 1), home + L"/Desktop") << "the default type";
    EXPECT_EQ(folder(kDesktop | kFlagCreate, 0), home + L"/Bureau");
    EXPECT_TRUE(fs::is_directory(home_ / "Bureau"));
    EXPECT_EQ(folder(kAppData, 0), home + L"/.config");
    ::setenv("XDG_DATA_HOME", (home_ / "data").c_str(), 1);
    EXPECT_EQ(folder(0x1C | kFlagDontVerify, 0), home + L"/data");
}

TEST_F(MadeUpHome, OpenGoesToTheDesktopsOpener) {
    const fs::path bin = home_ / "bin";
    const fs::path log = home_ / "opened";
    const fs::path document = home_ / "drawing.dwg";
    fs::create_directories(bin);
    std::ofstream(document) << "x";
    std::ofstream(bin / "xdg-open")
        << "#!/bin/sh\necho \"$1\" > '" << log.string() << ".part'\n"
        << "mv '" << log.string() << ".part' '" << log.string() << "'\n";
    fs::permissions(bin / "xdg-open", fs::perms::owner_all);
    ::setenv("PATH", (bin.string() + ":/usr/bin:/bin").c_str(), 1);

    const auto open = [&](const wchar_t* verb) {
        return reinterpret_cast<std::intptr_t>(
            XoOsApi::ShellExecuteW(nullptr, verb, document.wstring().c_str(), nullptr, nullptr, 1));
    };
    EXPECT_EQ(open(L"print"), 31) << "no program for that verb";
    EXPECT_GT(open(L"open"), 32);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!fs::exists(log) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::ifstream in(log);
    std::string opened;
    std::getline(in, opened);
    EXPECT_EQ(opened, document.string());

    ::setenv("PATH", home_.c_str(), 1); // no opener at all
    EXPECT_EQ(open(nullptr), 31);
}

#endif

} // namespace
