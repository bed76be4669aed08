#include "XoMemory.h"
#include "memory/xopools.h"

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <pthread.h>
#endif

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace {

xo::XoPools& pools() {
    return xo::XoPools::instance();
}
bool pooled(const void* p) {
    return pools().segments.owns(p);
}
std::size_t blockSize(const void* p) {
    return pools().small.sizeOf(p);
}

void fill(void* p, std::size_t n, unsigned char seed) {
    auto* bytes = static_cast<unsigned char*>(p);
    for (std::size_t i = 0; i < n; ++i)
        bytes[i] = static_cast<unsigned char>(seed + i);
}

bool holds(const void* p, std::size_t n, unsigned char seed) {
    auto* bytes = static_cast<const unsigned char*>(p);
    for (std::size_t i = 0; i < n; ++i)
        if (bytes[i] != static_cast<unsigned char>(seed + i))
            return false;
    return true;
}

TEST(XoMemory, SizesPickTheSmallestClassAndOnlyNearPowersOfTwoAbove256) {
    struct Case {
        std::size_t request, block;
    } cases[] = {{0, 8},       {1, 8},       {8, 8},       {9, 16},      {24, 24},
                 {200, 200},   {201, 208},   {208, 208},   {209, 224},   {241, 256},
                 {256, 256},   {500, 512},   {510, 512},   {512, 512},   {1000, 1024},
                 {1024, 1024}, {2000, 2048}, {2048, 2048}, {4000, 4096}, {4096, 4096}};
    for (const Case& c : cases) {
        void* p = _xoMalloc(c.request);
        ASSERT_TRUE(pooled(p)) << c.request;
        EXPECT_EQ(blockSize(p), c.block) << c.request;
        fill(p, c.block, 1);
        _xoFree(p);
    }
    for (std::size_t request :
         {257u, 300u, 499u, 513u, 600u, 999u, 1025u, 1999u, 2049u, 3999u, 4097u, 100000u}) {
        void* p = _xoMalloc(request);
        ASSERT_NE(p, nullptr);
        EXPECT_FALSE(pooled(p)) << request;
        fill(p, request, 2);
        _xoFree(p);
    }
}

TEST(XoMemory, MallocRefusesAbove2GiB) {
    EXPECT_EQ(_xoMalloc(0x80000001u), nullptr);
    void* limit = _xoMalloc(0x80000000u); // attempted: the runtime heap may refuse
    _xoFree(limit);
}

TEST(XoMemory, PooledBlocksAreDistinctAndKeepTheirContents) {
    std::vector<void*> blocks;
    for (int i = 0; i < 3000; ++i) {
        const std::size_t size = 1 + (i * 37) % 256;
        void* p = _xoMalloc(size);
        fill(p, size, static_cast<unsigned char>(i));
        blocks.push_back(p);
    }
    EXPECT_EQ(std::set<void*>(blocks.begin(), blocks.end()).size(), blocks.size());
    // Free every other block, out of order, and allocate again into the holes.
    for (std::size_t i = 0; i < blocks.size(); i += 2) {
        _xoFree(blocks[i]);
        blocks[i] = nullptr;
    }
    for (std::size_t i = 0; i < blocks.size(); i += 2) {
        const std::size_t size = 1 + (i * 37) % 256;
        blocks[i] = _xoMalloc(size);
        fill(blocks[i], size, static_cast<unsigned char>(i));
    }
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_TRUE(holds(blocks[i], 1 + (i * 37) % 256, static_cast<unsigned char>(i))) << i;
        _xoFree(blocks[i]);
    }
}

TEST(XoMemory, ReallocZeroKeepsTheBlockAndNullBehavesAsTheRuntime) {
    void* p = _xoMalloc(40);
    fill(p, 40, 3);
    EXPECT_EQ(_xoRealloc(p, 0), p);
    EXPECT_TRUE(holds(p, 40, 3));
    _xoFree(p);

    void* fromNull = _xoRealloc(nullptr, 24);
    ASSERT_NE(fromNull, nullptr);
    EXPECT_FALSE(pooled(fromNull)) << "realloc(nullptr) is the runtime's";
    fill(fromNull, 24, 4);
    _xoFree(fromNull);
}

TEST(XoMemory, ReallocAlwaysMovesPoolBlocksAndCopiesTheSmallerSize) {
    const struct {
        const char* name;
        std::size_t from, to, block; // block 0: the runtime heap's
    } rows[] = {{"grown", 24, 100, 104},
                {"shrunk", 256, 10, 16},
                {"moved even at the same size", 64, 64, 64},
                {"to the heap", 64, 5000, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        void* p = _xoMalloc(row.from);
        fill(p, row.from, 5);
        void* q = _xoRealloc(p, row.to);
        EXPECT_NE(q, p);
        EXPECT_EQ(pooled(q), row.block != 0);
        if (row.block != 0) {
            EXPECT_EQ(blockSize(q), row.block);
        }
        EXPECT_TRUE(holds(q, row.from < row.to ? row.from : row.to, 5));
        _xoFree(q);
    }
}

TEST(XoMemory, StrdupCopiesUnitsWithTheTerminator) {
    const wchar_t text[] = {L'a', 0x4E2D, L'z', 0};
    wchar_t* copy = _xoStrdup(text);
    EXPECT_EQ(std::memcmp(copy, text, sizeof text), 0);
    _xoStrdupFree(copy);
    _xoStrdupFree(nullptr);
    _xoFree(nullptr);
}

TEST(XoMemory, DebugAllocationIsNotProvidedButDebugFreeFrees) {
    EXPECT_EQ(_xoMallocDbg(8, "f", 1), nullptr);
    EXPECT_EQ(_xoAllocateDbg(8, "f", 1), nullptr);
    void* p = _xoMalloc(8);
    EXPECT_EQ(_xoReallocDbg(p, 16, "f", 1), nullptr);
    EXPECT_EQ(_xoReallocateDbg(p, 16, "f", 1), nullptr);
    _xoFreeDbg(p);
    _xoDeallocateDbg(_xoMalloc(100));
    _xoDeallocateDbg(nullptr);
}

TEST(XoMemory, PagesComeInWholeMultiplesOf4096) {
    void* megabyte = xoAllocPage(5);
    ASSERT_TRUE(pooled(megabyte));
    EXPECT_EQ(xo::addressOf(megabyte) % xo::kSegmentSize, 0u) << "a whole segment";
    fill(megabyte, xo::kSegmentSize, 8);

    void* two = xoAllocPageHeap(8192);
    void* twoMore = xoAllocPageHeap(8192);
    ASSERT_TRUE(pooled(two));
    EXPECT_EQ(xo::addressOf(twoMore) - xo::addressOf(two), 8192u) << "carved from one segment";
    fill(two, 8192, 9);

    void* odd = xoAllocPageHeap(5000);
    EXPECT_FALSE(pooled(odd));
    void* tooBig = xoAllocPageHeap(xo::kSegmentSize + 4096);
    EXPECT_FALSE(pooled(tooBig));

    EXPECT_TRUE(holds(megabyte, xo::kSegmentSize, 8));
    for (void* p : {megabyte, two, twoMore, odd, tooBig})
        xoFreePage(p);
    xoFreePageHeap(xoAllocPageHeap(0));
}

TEST(XoMemory, AnEmptyPageSegmentIsGivenBackAndReusedFromTheCandidate) {
    void* first = xoAllocPageHeap(0x80000); // half a segment: two blocks per segment
    void* second = xoAllocPageHeap(0x80000);
    const int number = static_cast<int>(xo::addressOf(first) >> 20);
    ASSERT_EQ(xo::addressOf(second) >> 20, static_cast<std::uintptr_t>(number));
    xoFreePage(first);
    EXPECT_EQ(pools().segments.state(number) & 1, 1) << "still one block in use";
    xoFreePage(second);
    EXPECT_EQ(pools().segments.state(number) & 1, 0) << "given back";
    EXPECT_GE(pools().segments.nextCandidate(), number);
    void* again = xoAllocPageHeap(0x80000);
    EXPECT_EQ(xo::addressOf(again) >> 20, static_cast<std::uintptr_t>(number))
        << "the search resumes from the candidate, so the highest free segment is reused";
    xoFreePage(again);
}

TEST(XoMemory, RawPagesAreWholeCommittedSegments) {
    void* raw = xoAllocRawPage();
    ASSERT_NE(raw, nullptr);
    const int number = static_cast<int>(xo::addressOf(raw) >> 20);
    EXPECT_EQ(pools().segments.state(number), 3);
    fill(raw, xo::kSegmentSize, 10);
    EXPECT_TRUE(holds(raw, xo::kSegmentSize, 10));
    xoFreeRawPage(raw);
    EXPECT_EQ(pools().segments.state(number), 2);
    EXPECT_FALSE(pooled(raw));
    xoFreeRawPage(nullptr);
}

TEST(XoMemory, InitialSegmentStates) {
    const xo::XoSegmentTable& table = pools().segments;
    for (int n : {0, 11, 32767})
        EXPECT_EQ(table.state(n), 0) << n;
    for (int n : {816, 863, 1536, 1663, 2032, 2047})
        EXPECT_EQ(table.state(n) & ~1, 4) << n;
    for (int n : {12, 815, 864, 1535, 1664, 2031, 2048, 32766})
        EXPECT_EQ(table.state(n) & ~1, 2) << n;
}

TEST(XoMemory, ThreadsAllocatingTogetherGetDistinctBlocks) {
    constexpr int kThreads = 4;
    constexpr int kBlocks = 2000;
    std::vector<std::vector<void*>> perThread(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&perThread, t] {
            for (int round = 0; round < 3; ++round) {
                std::vector<void*>& mine = perThread[t];
                for (int i = 0; i < kBlocks; ++i) {
                    void* p = _xoMalloc(16 + (i % 5) * 8);
                    std::memset(p, t, 16);
                    mine.push_back(p);
                }
                for (std::size_t i = 0; i < mine.size(); ++i) {
                    if (static_cast<const unsigned char*>(mine[i])[15] != t)
                        ADD_FAILURE() << "block shared between threads";
                    if (round < 2)
                        _xoFree(mine[i]);
                }
                if (round < 2)
                    mine.clear();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    std::set<void*> all;
    for (auto& blocks : perThread)
        all.insert(blocks.begin(), blocks.end());
    EXPECT_EQ(all.size(), std::size_t{kThreads} * kBlocks);
    for (void* p : all)
        _xoFree(p);
}

TEST(XoMemory, BlocksFreedOnAnotherThreadKeepTheirPatternsUntilThen) {
    struct Block {
        void* p;
        std::size_t size;
        unsigned char seed;
    };
    std::mutex mutex;
    std::deque<Block> handed;
    std::atomic<int> producing{2};
    std::atomic<int> bad{0};
    auto produce = [&](int id) {
        for (int i = 0; i < 20000; ++i) {
            const std::size_t size = 1 + (i * 53 + id * 7) % 1024;
            const auto seed = static_cast<unsigned char>(i + id);
            void* p = _xoMalloc(size);
            fill(p, size, seed);
            std::lock_guard<std::mutex> guard(mutex);
            handed.push_back({p, size, seed});
        }
        --producing;
    };
    auto consume = [&] {
        for (;;) {
            Block block{};
            {
                std::lock_guard<std::mutex> guard(mutex);
                if (handed.empty()) {
                    if (producing == 0)
                        return;
                    continue;
                }
                block = handed.front();
                handed.pop_front();
            }
            if (!holds(block.p, block.size, block.seed))
                ++bad;
            _xoFree(block.p);
        }
    };
    std::thread threads[] = {std::thread(produce, 0), std::thread(produce, 1), std::thread(consume),
                             std::thread(consume)};
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(bad.load(), 0);
}

TEST(XoMemory, TheLastFreedBlockIsHandedOutFirst) {
    void* first = _xoMalloc(40);
    _xoFree(first);
    void* again = _xoMalloc(40);
    EXPECT_EQ(again, first) << "the thread cache is last in, first out";
    _xoFree(again);
}

// Runs the armed function on the armed thread while it exits, after the library's own
// exit call for it, as a client's late thread-exit code would: a pthread key made after
// the library's (glibc runs key destructors in the order the keys were made), or a TLS
// callback, which Windows runs after the fiber-local callbacks (and before the thread
// handle is signalled).
std::atomic<void (*)()> g_lateExit{nullptr};
#if defined(_WIN32)
std::atomic<DWORD> g_lateThread{0};

void NTAPI runLateExit(PVOID, DWORD reason, PVOID) {
    if (reason == DLL_THREAD_DETACH && g_lateThread.load() == ::GetCurrentThreadId()) {
        g_lateThread = 0;
        g_lateExit.load()();
    }
}

void armLateExit(void (*fn)()) {
    g_lateExit = fn;
    g_lateThread = ::GetCurrentThreadId();
}
#else
void armLateExit(void (*fn)()) {
    static pthread_key_t key;
    static const bool made = ::pthread_key_create(&key, [](void*) { g_lateExit.load()(); }) == 0;
    ASSERT_TRUE(made);
    g_lateExit = fn;
    ::pthread_setspecific(key, &key);
}
#endif

// Frees a block it kept, and allocates and frees another, past the thread's exit call.
void* g_keptForLateExit = nullptr;
void useThePoolsLate() {
    _xoFree(g_keptForLateExit);
    void* late = _xoMalloc(136);
    std::memset(late, 3, 136);
    _xoFree(late);
}

// Blocks in a thread's cache count as in use until they go back to their class, at the
// latest when the thread exits; blocks freed on another thread than their own go back
// the same way.
TEST(XoMemory, ThreadsHandTheirCachedBlocksBackWhenTheyExit) {
    const int sizeClass = xo::XoSmallBlockPool::classFor(136);
    const auto inUse = [sizeClass] { return pools().small.blocksInUse(sizeClass); };
    const std::size_t before = inUse();

    std::vector<void*> blocks;
    std::thread([&blocks] {
        for (int i = 0; i < 40; ++i) {
            blocks.push_back(_xoMalloc(136));
            fill(blocks.back(), 136, static_cast<unsigned char>(i));
        }
    }).join();
    EXPECT_EQ(inUse(), before + 40) << "the allocating thread's spare blocks went back";

    std::size_t whileAlive = 0;
    int damaged = 0;
    std::size_t distinct = 0;
    std::thread([&] {
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            damaged += holds(blocks[i], 136, static_cast<unsigned char>(i)) ? 0 : 1;
            _xoFree(blocks[i]);
        }
        whileAlive = inUse();
        std::vector<void*> again;
        for (int i = 0; i < 40; ++i) {
            again.push_back(_xoMalloc(130));
            fill(again.back(), 130, static_cast<unsigned char>(i + 7));
        }
        for (std::size_t i = 0; i < again.size(); ++i)
            damaged += holds(again[i], 130, static_cast<unsigned char>(i + 7)) ? 0 : 1;
        distinct = std::set<void*>(again.begin(), again.end()).size();
        for (void* p : again)
            _xoFree(p);
    }).join();
    EXPECT_EQ(damaged, 0);
    EXPECT_EQ(distinct, 40u);
    EXPECT_GT(whileAlive, before) << "freed blocks waited in the freeing thread's cache";
    EXPECT_EQ(inUse(), before) << "and went back when it exited";

    std::thread([] {
        g_keptForLateExit = _xoMalloc(136);
        armLateExit(useThePoolsLate);
    }).join();
    EXPECT_EQ(inUse(), before) << "also what is freed and allocated late in the exit";
}

// The pools close at exit (here by hand, in a child process) while this thread and
// another hold blocks in use and in their caches. No cached block, whose segment is
// gone, may be handed out again; frees of pool blocks must be ignored rather than reach
// the runtime heap; a thread that exits afterwards must not touch the released memory.
[[noreturn]] void closeWithCachedBlocks() {
    void* inUse = _xoMalloc(48);
    void* cached = _xoMalloc(48);
    _xoFree(cached);
    void* page = xoAllocPageHeap(8192);
    std::atomic<int> stage{0};
    bool otherFine = false;
    std::thread other([&stage, &otherFine] {
        void* otherCached = _xoMalloc(48);
        _xoFree(otherCached);
        stage = 1;
        while (stage.load() != 2)
            std::this_thread::yield();
        void* after = _xoMalloc(48);
        std::memset(after, 1, 48); // faults in a released segment
        otherFine = after != otherCached;
        _xoFree(after);
    });
    while (stage.load() != 1)
        std::this_thread::yield();
    pools().close();
    stage = 2;
    other.join();
    void* after = _xoMalloc(48);
    std::memset(after, 2, 48);
    const bool fine = otherFine && after != cached;
    _xoFree(after);
    _xoFree(inUse);
    xoFreePage(page);
    std::fputs("closed\n", stderr);
    std::exit(fine ? 0 : 1);
}

TEST(XoMemoryDeathTest, AfterThePoolsCloseCachedBlocksAreDroppedAndFreesIgnored) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(closeWithCachedBlocks(), ::testing::ExitedWithCode(0), "closed");
}

} // namespace

#if defined(__SANITIZE_ADDRESS__)
namespace {

// The pool tells AddressSanitizer which of its memory is free.
TEST(XoMemoryDeathTest, UseAfterFreeOfAPoolBlockIsReported) {
    EXPECT_DEATH(
        {
            auto* p = static_cast<volatile char*>(_xoMalloc(32));
            _xoFree(const_cast<char*>(p));
            p[3] = 1;
        },
        "use-after-poison|use-after-free");
}

TEST(XoMemoryDeathTest, OverflowIntoTheNeighbouringBlockIsReported) {
    EXPECT_DEATH(
        {
            auto* p = static_cast<volatile char*>(_xoMalloc(64));
            auto* q = static_cast<volatile char*>(_xoMalloc(64));
            volatile char* low = p < q ? p : q;
            _xoFree(const_cast<char*>(p < q ? q : p)); // the upper block is free again
            low[64] = 1;
        },
        "use-after-poison");
}

} // namespace
#endif

#if defined(_WIN32)
extern "C" __attribute__((section(".CRT$XLY"), used)) const PIMAGE_TLS_CALLBACK g_xoTestLateExit =
    runLateExit;
#endif
