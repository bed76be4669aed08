// Share modes between opens: Windows' own under Wine, the library's on Linux, measured
// against the one rule both must follow.
#include "platform/error.h"
#include "platform/file.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#if !defined(_WIN32)
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

namespace os = xo::platform;
namespace fs = std::filesystem;

constexpr std::uint32_t kR = os::kGenericRead;
constexpr std::uint32_t kW = os::kGenericWrite;
constexpr std::uint32_t kAccesses[] = {kR, kW, kR | kW};
constexpr std::uint32_t kShares[] = {0, os::kFileShareRead, os::kFileShareWrite,
                                     os::kFileShareRead | os::kFileShareWrite};

struct Open {
    std::uint32_t access;
    std::uint32_t share;
};

// Windows: each side's access must be shared by the other side.
bool windowsAllows(Open first, Open second) {
    const auto shares = [](Open holder, Open other) {
        return ((other.access & kR) == 0 || (holder.share & os::kFileShareRead) != 0) &&
               ((other.access & kW) == 0 || (holder.share & os::kFileShareWrite) != 0);
    };
    return shares(first, second) && shares(second, first);
}

class ShareModes : public ::testing::Test {
protected:
    void SetUp() override {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        path_ = fs::temp_directory_path() / (std::string("xo_share_") + info->name());
        std::ofstream(path_, std::ios::binary) << "held";
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove(path_, ignored);
    }
    os::FileOpenResult open(Open o, std::uint32_t disposition = os::kOpenExisting) const {
        return os::openFile(path_.wstring().c_str(), o.access, o.share, disposition, 0);
    }
    std::string contents() const {
        std::ifstream in(path_, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    fs::path path_;
};

TEST_F(ShareModes, EveryPairOfOpensFollowsTheRule) {
    for (std::uint32_t a1 : kAccesses)
        for (std::uint32_t s1 : kShares) {
            const os::FileOpenResult first = open({a1, s1});
            ASSERT_NE(first.handle, os::invalidFileHandle());
            for (std::uint32_t a2 : kAccesses)
                for (std::uint32_t s2 : kShares) {
                    const os::FileOpenResult second = open({a2, s2});
                    const bool expected = windowsAllows({a1, s1}, {a2, s2});
                    EXPECT_EQ(second.handle != os::invalidFileHandle(), expected)
                        << std::hex << a1 << "/" << s1 << " then " << a2 << "/" << s2;
                    if (second.handle != os::invalidFileHandle())
                        os::closeFile(second.handle);
                    else
                        EXPECT_EQ(second.error, os::kErrorSharingViolation);
                }
            os::closeFile(first.handle);
        }
}

TEST_F(ShareModes, ClosingReleasesAndThreeOpensMeetEachOther) {
    const Open readersOnly{kR, os::kFileShareRead};
    const os::FileOpenResult a = open(readersOnly);
    const os::FileOpenResult b = open(readersOnly);
    ASSERT_NE(a.handle, os::invalidFileHandle());
    ASSERT_NE(b.handle, os::invalidFileHandle());
    const Open writer{kW, os::kFileShareRead | os::kFileShareWrite};
    os::closeFile(a.handle);
    EXPECT_EQ(open(writer).handle, os::invalidFileHandle()) << "the second reader still denies";
    os::closeFile(b.handle);
    const os::FileOpenResult c = open(writer);
    EXPECT_NE(c.handle, os::invalidFileHandle());
    os::closeFile(c.handle);
}

TEST_F(ShareModes, RefusedCreateAlwaysTruncatesNothing) {
    const os::FileOpenResult holder = open({kR, os::kFileShareRead});
    ASSERT_NE(holder.handle, os::invalidFileHandle());
    const os::FileOpenResult refused =
        open({kW, os::kFileShareRead | os::kFileShareWrite}, os::kCreateAlways);
    EXPECT_EQ(refused.error, os::kErrorSharingViolation);
    EXPECT_EQ(contents(), "held");
    os::closeFile(holder.handle);
    const os::FileOpenResult allowed = open({kW, 0}, os::kCreateAlways);
    ASSERT_NE(allowed.handle, os::invalidFileHandle());
    os::closeFile(allowed.handle);
    EXPECT_EQ(contents(), "");
}

#if !defined(_WIN32)
// Another process holds an open until it is killed.
class Holder {
public:
    Holder(const fs::path& path, Open o) {
        int ready[2];
        if (::pipe(ready) != 0)
            return;
        pid_ = ::fork();
        if (pid_ == 0) {
            const os::FileOpenResult r =
                os::openFile(path.wstring().c_str(), o.access, o.share, os::kOpenExisting, 0);
            const char answer = r.handle != os::invalidFileHandle() ? 'y' : 'n';
            (void)!::write(ready[1], &answer, 1);
            ::pause();
            ::_exit(0);
        }
        char answer = 'n';
        opened_ = ::read(ready[0], &answer, 1) == 1 && answer == 'y';
        ::close(ready[0]);
        ::close(ready[1]);
    }
    ~Holder() { kill(); }
    bool opened() const { return opened_; }
    void kill() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
    }

private:
    pid_t pid_ = -1;
    bool opened_ = false;
};

TEST_F(ShareModes, AnotherProcessIsRefusedTooAndReleasedWhenKilled) {
    const std::pair<Open, Open> sample[] = {
        {{kR, 0}, {kR, os::kFileShareRead}},
        {{kW, os::kFileShareRead}, {kR, os::kFileShareRead | os::kFileShareWrite}},
        {{kR | kW, os::kFileShareRead}, {kR, os::kFileShareRead}},
        {{kW, os::kFileShareWrite}, {kW, os::kFileShareWrite}},
    };
    for (const auto& [held, asked] : sample) {
        Holder holder(path_, held);
        ASSERT_TRUE(holder.opened());
        const os::FileOpenResult here = open(asked);
        EXPECT_EQ(here.handle != os::invalidFileHandle(), windowsAllows(held, asked))
            << std::hex << held.access << "/" << held.share << " " << asked.access;
        if (here.handle != os::invalidFileHandle())
            os::closeFile(here.handle);
        holder.kill();
        const os::FileOpenResult after = open({kR | kW, 0});
        EXPECT_NE(after.handle, os::invalidFileHandle()) << "released by the kernel";
        if (after.handle != os::invalidFileHandle())
            os::closeFile(after.handle);
    }
}

// Two processes open exclusively in a tight loop: never both at once.
TEST_F(ShareModes, RacingProcessesNeverBothHoldAnExclusiveOpen) {
    constexpr int kRounds = 300;
    const fs::path log = path_.string() + ".log";
    pid_t children[2];
    for (pid_t& child : children) {
        child = ::fork();
        if (child == 0) {
            const int out = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
            const char self = char('a' + (&child - children));
            for (int i = 0; i < kRounds; ++i) {
                const os::FileOpenResult r =
                    os::openFile(path_.wstring().c_str(), kR | kW, 0, os::kOpenExisting, 0);
                if (r.handle == os::invalidFileHandle())
                    continue;
                const char enter[2] = {self, '<'}, leave[2] = {self, '>'};
                (void)!::write(out, enter, 2);
                ::usleep(50);
                (void)!::write(out, leave, 2);
                os::closeFile(r.handle);
            }
            ::_exit(0);
        }
    }
    for (pid_t child : children)
        ::waitpid(child, nullptr, 0);
    std::ifstream in(log, std::ios::binary);
    const std::string entries(std::istreambuf_iterator<char>(in), {});
    fs::remove(log);
    ASSERT_FALSE(entries.empty());
    for (std::size_t i = 0; i + 3 < entries.size(); i += 4) {
        EXPECT_EQ(entries[i + 1], '<');
        EXPECT_EQ(entries[i + 3], '>');
        ASSERT_EQ(entries[i], entries[i + 2]) << "two holders at once near entry " << i;
    }
}
#endif

} // namespace
