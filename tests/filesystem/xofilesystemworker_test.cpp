// The routed queries through the worker: the same answers as the direct calls, the
// switches' rules, and the time-out of a query that does not come back.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "XoFileSystem.h"
#include "filesystem/xoroutedquery.h"
#include "sysinfo/xoplatforminfo.h"
#include "xotestfiles.h"
#include "xotestsync.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr unsigned long kInvalidAttributes = 0xFFFFFFFFul;
// Bounds only for waits that must end; far above what a loaded machine needs.
constexpr auto kGenerous = std::chrono::milliseconds(3000);

// The left-behind threads once those that can end have ended (or kGenerous passed).
int leftBehindAfterWaiting() {
    const auto end = Clock::now() + kGenerous;
    while (xo::filesystem::leftBehindThreads() != 0 && Clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return xo::filesystem::leftBehindThreads();
}

// Leaves the worker off whatever a test did.
class XoFileSystemWorker : public xotest::TempFolder {
protected:
    void SetUp() override {
        TempFolder::SetUp();
        XoFileSystem::stopMultiThread();
        write("file", "12345");
        fs::create_directory(file("folder"));
    }
    void TearDown() override {
        XoFileSystem::stopMultiThread();
        XoFileSystem::m_nTimeout = 500;
        TempFolder::TearDown();
    }

    struct Answers {
        unsigned long attributes;
        int exists, dataOk;
        std::uint32_t dataAttributes, sizeLow;
        bool operator==(const Answers& o) const {
            return attributes == o.attributes && exists == o.exists && dataOk == o.dataOk &&
                   dataAttributes == o.dataAttributes && sizeLow == o.sizeLow;
        }
    };
    static Answers ask(const std::wstring& path) {
        WIN32_FILE_ATTRIBUTE_DATA data;
        std::memset(&data, 0, sizeof data);
        Answers a{XoFileSystem::getFileAttributes(path.c_str()),
                  XoFileSystem::pathFileExists(path.c_str()),
                  XoFileSystem::getFileAttributesEx(path.c_str(), GetFileExInfoStandard, &data), 0,
                  0};
        a.dataAttributes = data.dwFileAttributes;
        a.sizeLow = data.nFileSizeLow;
        return a;
    }
};

TEST_F(XoFileSystemWorker, SwitchesFollowTheirRules) {
    EXPECT_EQ(XoFileSystem::m_pThread, nullptr);
    XoFileSystem::useMultiThread(250);
    XoTaskThread* first = XoFileSystem::m_pThread.get();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(XoFileSystem::m_nTimeout, 250);
    XoFileSystem::useMultiThread(999); // on already: nothing changes, not the time-out either
    EXPECT_EQ(XoFileSystem::m_pThread.get(), first);
    EXPECT_EQ(XoFileSystem::m_nTimeout, 250);
    XoFileSystem::stopMultiThread();
    EXPECT_EQ(XoFileSystem::m_pThread, nullptr);
    EXPECT_EQ(XoFileSystem::m_nTimeout, 250); // kept after stop
    XoFileSystem::stopMultiThread();
    XoFileSystem::useMultiThread(100);
    EXPECT_NE(XoFileSystem::m_pThread, nullptr);
    EXPECT_EQ(XoFileSystem::m_nTimeout, 100);
}

TEST_F(XoFileSystemWorker, RoutedAnswersEqualDirectOnes) {
    const std::wstring paths[] = {wide("file"), wide("folder"), wide("missing"),
                                  wide("missing/deeper")};
    std::vector<Answers> direct;
    for (const auto& path : paths)
        direct.push_back(ask(path));
    EXPECT_EQ(direct[0].sizeLow, 5u);
    XoFileSystem::useMultiThread(5000);
    for (std::size_t i = 0; i < direct.size(); ++i)
        EXPECT_TRUE(ask(paths[i]) == direct[i]) << i;
    EXPECT_EQ(XoFileSystem::pathFileExists(nullptr), 0);

#if defined(_WIN32)
    const std::wstring root = folder_.root_path().wstring();
#else
    const std::wstring root = wide("folder");
#endif
    const auto volume = [&] {
        wchar_t name[300] = {}, fsName[300] = {};
        unsigned long serial = 0, maxComponent = 0, flags = 0;
        const int ok = XoFileSystem::GetVolumeInformationW(root.c_str(), name, 300, &serial,
                                                           &maxComponent, &flags, fsName, 300);
        return std::make_tuple(ok != 0, std::wstring(name), std::wstring(fsName), serial,
                               maxComponent, flags);
    };
    const auto routed = volume();
    XoFileSystem::stopMultiThread();
    EXPECT_TRUE(std::get<0>(routed));
    EXPECT_EQ(routed, volume());
}

// A time-out of 0 gives up at once: each answer is the right one or the failure value,
// never anything else, and nothing is left running afterwards.
TEST_F(XoFileSystemWorker, ZeroTimeOut) {
    const unsigned long right = XoFileSystem::getFileAttributes(wide("file").c_str());
    XoFileSystem::useMultiThread(0);
    for (int i = 0; i < 50; ++i) {
        const unsigned long answer = XoFileSystem::getFileAttributes(wide("file").c_str());
        EXPECT_TRUE(answer == right || answer == kInvalidAttributes) << answer;
    }
    XoFileSystem::stopMultiThread();
    EXPECT_EQ(leftBehindAfterWaiting(), 0);
    EXPECT_EQ(XoFileSystem::getFileAttributes(wide("file").c_str()), right);
}

TEST_F(XoFileSystemWorker, QueriesFromSeveralThreads) {
    const Answers file = ask(wide("file")), folder = ask(wide("folder"));
    XoFileSystem::useMultiThread(10000);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 100; ++i) {
                const bool even = (i + t) % 2 == 0;
                if (!(ask(wide(even ? "file" : "folder")) == (even ? file : folder)))
                    ++wrong;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong.load(), 0);
}

#if defined(_WIN32)
// A query that blocks in a synchronous read of a pipe nobody writes to: the worker's
// cancellation ends it (Wine cancels such a read, see docs).
struct BlockedQuery {
    std::wstring path;
    HANDLE pipe;
    int run() const {
        char byte;
        DWORD got = 0;
        return ::ReadFile(pipe, &byte, 1, &got, nullptr) ? 1 : 0;
    }
    void deliver() const {}
};

TEST_F(XoFileSystemWorker, TimeOutCancelsTheWorkersRead) {
    HANDLE readEnd = nullptr, writeEnd = nullptr;
    ASSERT_TRUE(::CreatePipe(&readEnd, &writeEnd, nullptr, 0));
    XoFileSystem::useMultiThread(300);
    const auto start = Clock::now();
    const int answer = xo::filesystem::routeQuery<int>(BlockedQuery{wide("file"), readEnd}, -1);
    const auto took = Clock::now() - start;
    EXPECT_EQ(answer, 0); // ReadFile's failure, aborted
    EXPECT_LT(took, kGenerous);
    EXPECT_EQ(ask(wide("file")).sizeLow, 5u); // the worker serves on
    XoFileSystem::stopMultiThread();
    ::CloseHandle(readEnd);
    ::CloseHandle(writeEnd);
}
#else
// A query that blocks until the test lets it go, as a call on a dead volume would.
struct BlockedQuery {
    std::wstring path;
    std::atomic<bool>* entered;
    std::atomic<bool>* release;
    int run() const {
        *entered = true;
        while (!*release)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return 1;
    }
    void deliver() const {}
};

TEST_F(XoFileSystemWorker, StuckWorkerIsLeftBehind) {
    std::atomic<bool> entered{false}, release{false};
    const std::wstring healthy = L"/proc"; // another volume than the temporary folder's
    const unsigned long healthyAnswer = XoFileSystem::getFileAttributes(healthy.c_str());
    ASSERT_NE(healthyAnswer, kInvalidAttributes);
    XoFileSystem::useMultiThread(300);

    // A query queued behind the stuck one is bounded by its own time-out.
    unsigned long queuedAnswer = 0;
    auto queuedTook = Clock::duration::zero();
    std::thread queued([&] {
        while (!entered)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const auto start = Clock::now();
        queuedAnswer = XoFileSystem::getFileAttributes(healthy.c_str());
        queuedTook = Clock::now() - start;
    });
    const auto start = Clock::now();
    const int answer =
        xo::filesystem::routeQuery<int>(BlockedQuery{wide("file"), &entered, &release}, -1);
    const auto took = Clock::now() - start;
    queued.join();
    EXPECT_EQ(answer, -1);
    EXPECT_LT(took, kGenerous);
    EXPECT_LT(queuedTook, kGenerous);
    EXPECT_TRUE(queuedAnswer == healthyAnswer || queuedAnswer == kInvalidAttributes)
        << queuedAnswer;
    EXPECT_EQ(xo::filesystem::leftBehindThreads(), 1);

    // The volume of the stuck call fails at once; another volume is served by the
    // fresh worker.
    EXPECT_EQ(XoFileSystem::getFileAttributes(wide("folder").c_str()), kInvalidAttributes);
    EXPECT_EQ(XoFileSystem::pathFileExists(wide("file").c_str()), 0);
    EXPECT_EQ(XoFileSystem::getFileAttributes(healthy.c_str()), healthyAnswer);

    release = true; // the stuck call returns: its thread ends, its volume answers again
    EXPECT_EQ(leftBehindAfterWaiting(), 0);
    EXPECT_EQ(XoFileSystem::getFileAttributes(wide("folder").c_str()), 0x10ul);
    XoFileSystem::stopMultiThread();
    EXPECT_EQ(XoFileSystem::m_pThread, nullptr);
}

// Past the bound no thread is added: the stuck worker is kept, the queries behind it fail
// at their time-outs, and it serves them again once its call returns.
TEST_F(XoFileSystemWorker, LeftBehindThreadsAreBounded) {
    std::atomic<bool> entered{false}, release{false};
    const std::wstring healthy = wide("folder");
    const unsigned long healthyAnswer = XoFileSystem::getFileAttributes(healthy.c_str());
    XoFileSystem::useMultiThread(100);
    // A path too long to tell its volume, so none is remembered and every stuck query
    // reaches a worker.
    const std::wstring unknownVolume(2000, L'x');
    for (int i = 0; i < xo::filesystem::kMaxLeftBehind + 1; ++i) {
        EXPECT_EQ(
            xo::filesystem::routeQuery<int>(BlockedQuery{unknownVolume, &entered, &release}, -1),
            -1);
        EXPECT_EQ(xo::filesystem::leftBehindThreads(),
                  std::min(i + 1, xo::filesystem::kMaxLeftBehind));
    }
    EXPECT_EQ(XoFileSystem::getFileAttributes(healthy.c_str()), kInvalidAttributes);
    release = true;
    EXPECT_EQ(leftBehindAfterWaiting(), 0);
    XoFileSystem::m_nTimeout = 10000; // the kept worker is answering again
    EXPECT_EQ(XoFileSystem::getFileAttributes(healthy.c_str()), healthyAnswer);
}
#endif

} // namespace

namespace {

bool windowsXp(std::uint32_t* major, std::uint32_t* minor, std::uint32_t* build) {
    *major = 5; // code 7: below Windows Vista, which cannot cancel a stuck call
    *minor = 1;
    *build = 2600;
    return true;
}

// Below code 8 the worker is passed over: the query runs on the caller's thread even
// while the worker is busy; from 8 on it waits behind the busy worker.
TEST_F(XoFileSystemWorker, OlderWindowsRunsTheQueryDirectly) {
    const std::wstring path = wide("file");
    const unsigned long right = XoFileSystem::getFileAttributes(path.c_str());
    XoFileSystem::useMultiThread(900);
    const auto timed = [&] {
        // Shared with the busy task, which may still look at it after this returns.
        const auto open = std::make_shared<std::atomic<bool>>(false);
        XoFileSystem::m_pThread->post([open] {
            while (!*open)
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
        });
        std::thread opener([open] {
            std::this_thread::sleep_for(std::chrono::milliseconds(1000));
            *open = true;
        });
        const auto start = Clock::now();
        const unsigned long answer = XoFileSystem::getFileAttributes(path.c_str());
        const auto took = Clock::now() - start;
        opener.join();
        return std::make_pair(answer, took);
    };
    const auto previous = xo::sysinfo::replaceVersionSourceForTests(windowsXp);
    const auto [direct, directTook] = timed();
    xo::sysinfo::replaceVersionSourceForTests(previous);
    EXPECT_EQ(direct, right);
    EXPECT_LT(directTook, std::chrono::milliseconds(700)) << "not behind the busy worker";
    const auto routedTook = timed().second;
    EXPECT_GE(routedTook, std::chrono::milliseconds(800)) << "behind the busy worker";
}

} // namespace
