// A real volume that stops answering (Linux, a FUSE file system of the test suite): the
// routed queries return their failure value within the time-out, the queries behind
// them too, a healthy volume is served meanwhile, and the stuck call ends once released.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "XoFileSystem.h"
#include "filesystem/xoroutedquery.h"
#include "xotestfiles.h"

#if !defined(_WIN32)
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#endif

namespace {

#if defined(_WIN32) || !defined(XO_HUNGFS)
TEST(HungVolume, RoutedQueriesAreBounded) {
    GTEST_SKIP() << "needs Linux and libfuse3-dev at build time";
}
#else
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr unsigned long kInvalidAttributes = 0xFFFFFFFFul;
// The bound for a time-out of 500 ms: the time-out plus room for a loaded machine.
constexpr auto kBound = milliseconds(1500);

bool mounted(const std::string& point) {
    std::ifstream table("/proc/self/mountinfo");
    std::string line;
    while (std::getline(table, line)) {
        if (line.find(" " + point + " ") != std::string::npos)
            return true;
    }
    return false;
}

class HungVolume : public xotest::TempFolder {
protected:
    void SetUp() override {
        TempFolder::SetUp();
        XoFileSystem::stopMultiThread();
        const int fuse = ::open("/dev/fuse", O_RDWR);
        if (fuse < 0)
            GTEST_SKIP() << "/dev/fuse cannot be opened here: no FUSE volume to hang";
        ::close(fuse);
        std::filesystem::create_directory(file("mnt"));
        point_ = file("mnt").string();
        release_ = file("release").string();
        server_ = ::fork();
        if (server_ == 0) {
            ::execl(XO_HUNGFS, XO_HUNGFS, release_.c_str(), point_.c_str(), "-f", nullptr);
            ::_exit(127);
        }
        const auto end = Clock::now() + milliseconds(10000);
        while (!mounted(point_) && Clock::now() < end) {
            int status = 0;
            if (::waitpid(server_, &status, WNOHANG) == server_) {
                server_ = -1;
                break;
            }
            std::this_thread::sleep_for(milliseconds(10));
        }
        if (!mounted(point_))
            GTEST_SKIP() << "the FUSE volume could not be mounted here (no permission?)";
    }
    void TearDown() override {
        XoFileSystem::stopMultiThread();
        XoFileSystem::m_nTimeout = 500;
        std::ofstream(release_) << "go"; // no call stays stuck after the test
        if (server_ > 0) {
            if (std::system(("fusermount3 -u " + point_ + " 2>/dev/null").c_str()) != 0)
                std::system(("umount -l " + point_ + " 2>/dev/null").c_str());
            ::kill(server_, SIGTERM);
            ::waitpid(server_, nullptr, 0);
        }
        TempFolder::TearDown();
    }
    std::wstring inside(const std::string& name) const {
        return std::filesystem::path(point_ + "/" + name).wstring();
    }

    std::string point_, release_;
    pid_t server_ = -1;
};

TEST_F(HungVolume, WithoutTheWorkerAQueryBlocks) {
    const pid_t child = ::fork();
    if (child == 0) {
        XoFileSystem::getFileAttributes(inside("stuck").c_str());
        ::_exit(0);
    }
    std::this_thread::sleep_for(milliseconds(1000));
    int status = 0;
    const pid_t ended = ::waitpid(child, &status, WNOHANG);
    // A request the volume has taken cannot be interrupted, not even by SIGKILL: the
    // child ends only once the volume answers.
    ::kill(child, SIGKILL);
    std::ofstream(release_) << "go";
    ::waitpid(child, &status, 0);
    EXPECT_EQ(ended, 0) << "the query came back although the volume does not answer";
}

TEST_F(HungVolume, RoutedQueriesAreBounded) {
    const std::wstring healthy = wide("release-not-yet");
    write("healthy", "x");
    const unsigned long healthyAnswer = XoFileSystem::getFileAttributes(wide("healthy").c_str());
    ASSERT_NE(healthyAnswer, kInvalidAttributes);
    ASSERT_EQ(XoFileSystem::getFileAttributes(inside("healthy").c_str()), 0x80ul);
    XoFileSystem::useMultiThread(500);

    Clock::duration queuedTook{};
    unsigned long queuedAnswer = 0;
    std::thread queued([&] {
        std::this_thread::sleep_for(milliseconds(100)); // behind the stuck query
        const auto start = Clock::now();
        queuedAnswer = XoFileSystem::getFileAttributes(wide("healthy").c_str());
        queuedTook = Clock::now() - start;
    });
    const auto start = Clock::now();
    const unsigned long answer = XoFileSystem::getFileAttributes(inside("stuck").c_str());
    const auto took = Clock::now() - start;
    queued.join();
    std::printf(
        "stuck query %lld ms, the query behind it %lld ms\n",
        static_cast<long long>(std::chrono::duration_cast<milliseconds>(took).count()),
        static_cast<long long>(std::chrono::duration_cast<milliseconds>(queuedTook).count()));
    EXPECT_EQ(answer, kInvalidAttributes);
    EXPECT_LT(took, kBound);
    EXPECT_LT(queuedTook, kBound);
    EXPECT_TRUE(queuedAnswer == healthyAnswer || queuedAnswer == kInvalidAttributes);
    EXPECT_EQ(xo::filesystem::leftBehindThreads(), 1);

    // Each routed query on the dead volume fails at once now, the others are answered.
    WIN32_FILE_ATTRIBUTE_DATA data{};
    const auto again = Clock::now();
    EXPECT_EQ(XoFileSystem::getFileAttributes(inside("stuck").c_str()), kInvalidAttributes);
    EXPECT_EQ(XoFileSystem::pathFileExists(inside("stuck").c_str()), 0);
    EXPECT_EQ(
        XoFileSystem::getFileAttributesEx(inside("stuck").c_str(), GetFileExInfoStandard, &data),
        0);
    EXPECT_LT(Clock::now() - again, kBound);
    EXPECT_EQ(XoFileSystem::getFileAttributes(wide("healthy").c_str()), healthyAnswer);

    std::ofstream(release_) << "go";
    const auto end = Clock::now() + milliseconds(10000);
    while (xo::filesystem::leftBehindThreads() != 0 && Clock::now() < end)
        std::this_thread::sleep_for(milliseconds(10));
    EXPECT_EQ(xo::filesystem::leftBehindThreads(), 0);
    EXPECT_EQ(XoFileSystem::getFileAttributes(inside("stuck").c_str()), 0x80ul);
    XoFileSystem::stopMultiThread(); // returns: nothing is stuck in the worker
    EXPECT_EQ(XoFileSystem::m_pThread, nullptr);
}
#endif

} // namespace
