#include "XoMemory.h"
#include "platform/debugoutput.h"
#include "platform/error.h"
#include "platform/memoryprobe.h"
#include "platform/thread.h"
#include "platform/threadslot.h"
#include "platform/version.h"
#include "platform/virtualmemory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

TEST(PlatformThread, IdIsStablePerThreadAndDistinctAcrossLiveThreads) {
    const std::uint32_t mine = xo::platform::currentThreadId();
    EXPECT_NE(mine, 0u);
    EXPECT_EQ(xo::platform::currentThreadId(), mine);
    std::uint32_t others[2] = {};
    std::thread a([&] { others[0] = xo::platform::currentThreadId(); });
    std::thread b([&] { others[1] = xo::platform::currentThreadId(); });
    a.join();
    b.join();
    const std::set<std::uint32_t> ids{mine, others[0], others[1]};
    EXPECT_EQ(ids.size(), 3u);
    EXPECT_EQ(ids.count(0u), 0u);
}

TEST(PlatformError, LastFailureOfOpeningAMissingFileIsFileNotFound) {
    std::FILE* file = std::fopen("no-such-file-here.xo", "rb");
    ASSERT_EQ(file, nullptr);
    EXPECT_EQ(xo::platform::lastOsError(), 2u);
}

#if !defined(_WIN32)
TEST(PlatformError, ErrnoMapsToTheWindowsNumbers) {
    EXPECT_EQ(xo::platform::win32ErrorFromErrno(0), 0u);
    EXPECT_EQ(xo::platform::win32ErrorFromErrno(ENOENT), 2u);
    EXPECT_EQ(xo::platform::win32ErrorFromErrno(ENOTDIR), 3u);
    EXPECT_EQ(xo::platform::win32ErrorFromErrno(EACCES), 5u);
    EXPECT_EQ(xo::platform::win32ErrorFromErrno(EISDIR), 5u);
    EXPECT_EQ(xo::platform::win32ErrorFromErrno(EEXIST), 80u);
    EXPECT_EQ(xo::platform::win32ErrorFromErrno(ENOSPC), 112u);
    EXPECT_EQ(xo::platform::win32ErrorFromErrno(EROFS), 19u);
    EXPECT_EQ(xo::platform::win32ErrorFromErrno(EILSEQ), 1113u);
    EXPECT_EQ(xo::platform::win32ErrorFromErrno(ECANCELED), 995u);
    EXPECT_EQ(xo::platform::win32ErrorFromErrno(EHOSTDOWN), 31u) << "unmapped errors";
}
#endif

TEST(PlatformDebugOutput, QuietWithoutADebugger) {
    EXPECT_FALSE(xo::platform::debuggerAttached());
    xo::platform::debugOutputW(nullptr);
    xo::platform::debugOutputA(nullptr);
    xo::platform::debugOutputW(L"surrogates \xD83D\xDE00 and a lone \xDC00\n");
}

TEST(PlatformVersion, LoadTimeWordIsTheSystemsAndCanBeReplacedForTests) {
    const std::uint32_t word = xo::platform::loadTimeVersionWord();
#if defined(_WIN32)
    EXPECT_EQ(word, std::uint32_t(::GetVersion()));
#else
    EXPECT_EQ(word & 0xFF, 10u); // Windows 10
    EXPECT_EQ(word >> 16, 19045u);
#endif
    EXPECT_EQ(xo::platform::replaceLoadTimeVersionWord(0x05650004), word);
    EXPECT_EQ(xo::platform::loadTimeVersionWord(), 0x05650004u);
    EXPECT_EQ(xo::platform::replaceLoadTimeVersionWord(word), 0x05650004u);
    EXPECT_EQ(xo::platform::loadTimeVersionWord(), word);
}

// Two pages: the first readable, the second reserved without access.
class HalfReadablePages : public ::testing::Test {
protected:
    static constexpr std::size_t kPage = xo::platform::kPageSize;
    void SetUp() override {
        pages_ = static_cast<char*>(xo::platform::reserveAligned(2 * kPage, 65536));
        ASSERT_NE(pages_, nullptr);
        ASSERT_TRUE(xo::platform::commit(pages_, kPage));
    }
    void TearDown() override { xo::platform::release(pages_, 2 * kPage); }
    char* pages_ = nullptr;
};

TEST_F(HalfReadablePages, BadReadPointersAreToldWithoutFaulting) {
    EXPECT_FALSE(xo::platform::isBadReadPtr(pages_, kPage));
    EXPECT_FALSE(xo::platform::isBadReadPtr(pages_ + kPage - 1, 1));
    EXPECT_TRUE(xo::platform::isBadReadPtr(pages_ + kPage - 1, 2));
    EXPECT_TRUE(xo::platform::isBadReadPtr(pages_ + kPage, 1));
    EXPECT_TRUE(xo::platform::isBadReadPtr(pages_, 2 * kPage));
    EXPECT_FALSE(xo::platform::isBadReadPtr(pages_ + kPage, 0)) << "nothing to read";
    EXPECT_TRUE(xo::platform::isBadReadPtr(nullptr, 1));
    static const char kText[] = "static text";
    EXPECT_FALSE(xo::platform::isBadReadPtr(kText, sizeof kText));
}

TEST_F(HalfReadablePages, ManyProbesNeverBlock) {
    // POSIX probes fill a pipe that must be emptied on the way (64 KiB by default).
    for (int i = 0; i < 70000; ++i)
        ASSERT_FALSE(xo::platform::isBadReadPtr(pages_ + (i % kPage), 1));
}

TEST_F(HalfReadablePages, ReservingOverAMappingFailsAndLeavesItAlone) {
    pages_[0] = 'x';
    EXPECT_FALSE(xo::platform::reserveAt(pages_, kPage)) << "the readable page is taken";
    EXPECT_FALSE(xo::platform::reserveAt(pages_ + kPage, kPage)) << "so is the reserved one";
    EXPECT_EQ(pages_[0], 'x');
    EXPECT_FALSE(xo::platform::isBadReadPtr(pages_, kPage));
}

TEST_F(HalfReadablePages, DecommittedPagesGoBackAndReturnZeroed) {
    std::memset(pages_, 0x5A, kPage);
    xo::platform::decommit(pages_, kPage);
    EXPECT_TRUE(xo::platform::isBadReadPtr(pages_, 1)) << "no access once given back";
    ASSERT_TRUE(xo::platform::commit(pages_, 2 * kPage));
    for (std::size_t i = 0; i < 2 * kPage; ++i)
        ASSERT_EQ(pages_[i], 0) << "at " << i;
}

TEST(PlatformVirtualMemory, ReserveAtAFreeAddressTakesExactlyIt) {
    const std::size_t size = 16 * xo::platform::kPageSize;
    char* probe = static_cast<char*>(xo::platform::reserveAligned(size, 65536));
    ASSERT_NE(probe, nullptr);
    xo::platform::release(probe, size);
    ASSERT_TRUE(xo::platform::reserveAt(probe, size)) << "the range was just freed";
    EXPECT_TRUE(xo::platform::isBadReadPtr(probe, 1)) << "reserved without access";
    ASSERT_TRUE(xo::platform::commit(probe + size - xo::platform::kPageSize, 1));
    probe[size - 1] = 1;
    xo::platform::release(probe, size);
}

// The thread slot belongs to the allocator's caches; the tests borrow its exit call for
// threads that never allocate through the library.
class ThreadSlotExits : public ::testing::Test {
protected:
    void SetUp() override {
        _xoFree(_xoMalloc(16)); // the allocator opens the slot on first use
        s_seen.clear();
        previous_ = xo::platform::replaceThreadSlotExitForTests(record);
    }
    void TearDown() override { xo::platform::replaceThreadSlotExitForTests(previous_); }
    static void record(void* value) { s_seen.push_back(value); }
    static std::vector<void*> s_seen;
    xo::platform::ThreadSlotExit previous_ = nullptr;
};
std::vector<void*> ThreadSlotExits::s_seen;

TEST_F(ThreadSlotExits, ExitingThreadHandsBackItsLastValueOnly) {
    int first = 0;
    int last = 0;
    void* const mainValue = xo::platform::threadSlot();
    struct Case {
        std::vector<void*> sets;
        std::vector<void*> expected;
    };
    const Case cases[] = {
        {{&first}, {&first}},
        {{&first, &last}, {&last}},
        {{&first, nullptr}, {}},
        {{}, {}},
    };
    for (const Case& c : cases) {
        s_seen.clear();
        void* readBack = &first;
        std::thread([&] {
            for (void* value : c.sets)
                xo::platform::setThreadSlot(value);
            readBack = xo::platform::threadSlot();
        }).join();
        EXPECT_EQ(readBack, c.sets.empty() ? nullptr : c.sets.back());
        EXPECT_EQ(s_seen, c.expected) << c.sets.size() << " values set";
    }
    EXPECT_EQ(xo::platform::threadSlot(), mainValue) << "each thread has its own value";
}

} // namespace
