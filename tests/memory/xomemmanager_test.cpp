#include "XoHeapDbgDumper.h"
#include "XoMemManager.h"
#include "memory/xomemmanagerimpl.h"
#include "platform/virtualmemory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr std::uintptr_t kRegion = 0x10000;

std::uintptr_t addressOf(const void* p) {
    return reinterpret_cast<std::uintptr_t>(p);
}
std::uintptr_t regionOf(const void* p) {
    return addressOf(p) & ~(kRegion - 1);
}

void fill(void* p, std::size_t n, unsigned seed) {
    auto* bytes = static_cast<unsigned char*>(p);
    for (std::size_t i = 0; i < n; ++i)
        bytes[i] = static_cast<unsigned char>(seed * 31 + i);
}

bool holds(const void* p, std::size_t n, unsigned seed) {
    auto* bytes = static_cast<const unsigned char*>(p);
    for (std::size_t i = 0; i < n; ++i)
        if (bytes[i] != static_cast<unsigned char>(seed * 31 + i))
            return false;
    return true;
}

bool allZero(const void* p, std::size_t n) {
    auto* bytes = static_cast<const unsigned char*>(p);
    for (std::size_t i = 0; i < n; ++i)
        if (bytes[i] != 0)
            return false;
    return true;
}

// True when nothing is mapped at [base, base + size) any more.
bool isFree(std::uintptr_t base, std::size_t size) {
    void* p = reinterpret_cast<void*>(base);
    if (!xo::platform::reserveAt(p, size))
        return false;
    xo::platform::release(p, size);
    return true;
}

class XoMemManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_manager = XoMemManager::sCreate();
        ASSERT_NE(m_manager, nullptr);
        m_impl = static_cast<xo::XoMemManagerImpl*>(m_manager);
    }
    void TearDown() override {
        if (m_manager != nullptr)
            m_manager->release();
    }

    XoMemManager* m_manager = nullptr;
    xo::XoMemManagerImpl* m_impl = nullptr;
};

TEST_F(XoMemManagerTest, SizesUpTo256AndExactly1024AreSmallBlocks) {
    EXPECT_EQ(m_manager->allocate(0), nullptr);
    for (std::size_t size : {1u, 16u, 17u, 200u, 256u, 257u, 1023u, 1024u, 1025u, 4096u}) {
        const bool small = size <= 256 || size == 1024;
        void* p = m_manager->allocate(size);
        ASSERT_NE(p, nullptr) << size;
        EXPECT_EQ(m_impl->isSmallBlock(p), small) << size;
        if (small) {
            EXPECT_GE(xo::XoMemManagerImpl::smallBlockSize(p), size);
            // Blocks stay clear of the region's bookkeeping record.
            EXPECT_LE(addressOf(p) + size, regionOf(p) + kRegion - xo::kSmallRecordSize);
            EXPECT_EQ(addressOf(p) % 16, 0u);
        } else {
            EXPECT_GE(xo::XoPrivateHeap::capacityOf(p), size);
        }
        fill(p, size, 1);
        m_manager->deallocate(p);
    }
    void* heapBlock = m_manager->allocateFromHeap(16);
    ASSERT_NE(heapBlock, nullptr);
    EXPECT_FALSE(m_impl->isSmallBlock(heapBlock));
    m_manager->deallocate(heapBlock);
}

TEST_F(XoMemManagerTest, TableLiesInTheFirstRegionAndItsBitsNameOneRegionEach) {
    EXPECT_EQ(m_impl->heapBase(), regionOf(m_impl));
    EXPECT_EQ(addressOf(m_impl->heap()), m_impl->heapBase());
    const xo::XoSmallBlockTable* table = m_impl->table();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(regionOf(table), m_impl->heapBase());
    EXPECT_EQ(table->marker, 65535);

    const std::uintptr_t low = 0x1234;                           // below 4 GiB
    const std::uintptr_t high = (std::uintptr_t{5} << 16) + low; // same bit, 20 GiB up
    ASSERT_TRUE(m_impl->markRegion(low, true));
    EXPECT_NE(table->bitmap[low >> 3] & (1u << (low & 7)), 0u);
    EXPECT_FALSE(m_impl->regionMarked(high));
    ASSERT_TRUE(m_impl->markRegion(high, true));
    EXPECT_TRUE(m_impl->regionMarked(high));
    EXPECT_FALSE(m_impl->regionMarked(high + 1));
    EXPECT_FALSE(m_impl->regionMarked(high + (std::uintptr_t{1} << 16)));
    ASSERT_TRUE(m_impl->markRegion(low, false));
    EXPECT_FALSE(m_impl->regionMarked(low));
    EXPECT_TRUE(m_impl->regionMarked(high));
    ASSERT_TRUE(m_impl->markRegion(high, false));
    EXPECT_FALSE(m_impl->regionMarked(high));

    // Each manager has its own table.
    XoMemManager* other = XoMemManager::sCreate();
    ASSERT_NE(other, nullptr);
    void* small = m_manager->allocate(32);
    EXPECT_FALSE(static_cast<xo::XoMemManagerImpl*>(other)->isSmallBlock(small));
    other->release();
}

TEST_F(XoMemManagerTest, ReallocateKeepsContentsAcrossKindsAndSizes) {
    void* p = m_manager->reallocate(nullptr, 10);
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(m_impl->isSmallBlock(p));
    fill(p, 10, 3);

    struct Step {
        std::size_t size;
        bool small;
    } steps[] = {{200, true},    {1024, true},  {5000, false}, {300000, false},
                 {70000, false}, {3000, false}, {600, false}};
    std::size_t kept = 10;
    for (const Step& step : steps) {
        void* q = m_manager->reallocate(p, step.size);
        ASSERT_NE(q, nullptr) << step.size;
        EXPECT_EQ(m_impl->isSmallBlock(q), step.small) << step.size;
        EXPECT_TRUE(holds(q, kept < step.size ? kept : step.size, 3)) << step.size;
        fill(q, step.size, 3);
        kept = step.size;
        p = q;
    }

    // A small block shrinks into a smaller class and moves.
    void* s = m_manager->allocate(256);
    fill(s, 256, 4);
    void* t = m_manager->reallocate(s, 16);
    ASSERT_NE(t, nullptr);
    EXPECT_NE(t, s);
    EXPECT_EQ(xo::XoMemManagerImpl::smallBlockSize(t), 16u);
    EXPECT_TRUE(holds(t, 16, 4));

    // Size 0 frees: the block is the next one handed out again.
    EXPECT_EQ(m_manager->reallocate(t, 0), nullptr);
    EXPECT_EQ(m_manager->allocate(16), t);
    m_manager->deallocate(p);
}

TEST_F(XoMemManagerTest, ZeroedVariantsClearReusedBlocks) {
    for (int fromHeap = 0; fromHeap < 2; ++fromHeap) {
        for (std::size_t size : {48u, 1024u, 3000u, 100000u}) {
            void* dirty = fromHeap ? m_manager->allocateFromHeap(size) : m_manager->allocate(size);
            ASSERT_NE(dirty, nullptr);
            std::memset(dirty, 0xAB, size);
            m_manager->deallocate(dirty);
            void* p = fromHeap ? m_manager->allocateFromHeapZeroed(size)
                               : m_manager->allocateZeroed(size);
            ASSERT_NE(p, nullptr);
            EXPECT_TRUE(allZero(p, size)) << size;
            m_manager->deallocate(p);
        }
    }
    EXPECT_EQ(m_manager->allocateZeroed(0), nullptr);
}

TEST_F(XoMemManagerTest, AllocateArrayMultipliesAndRejectsNegativeOrOverflowingSizes) {
    void* small = m_manager->allocateArray(4, 64);
    ASSERT_NE(small, nullptr);
    EXPECT_TRUE(m_impl->isSmallBlock(small));
    EXPECT_EQ(xo::XoMemManagerImpl::smallBlockSize(small), 256u);
    void* heap = m_manager->allocateArray(10, 30);
    ASSERT_NE(heap, nullptr);
    EXPECT_FALSE(m_impl->isSmallBlock(heap));
    EXPECT_GE(xo::XoPrivateHeap::capacityOf(heap), 300u);
    EXPECT_EQ(m_manager->allocateArray(3, -1), nullptr);
    EXPECT_EQ(m_manager->allocateArray(1, -2147483647 - 1), nullptr);
    EXPECT_EQ(m_manager->allocateArray(0, 8), nullptr);
    EXPECT_EQ(m_manager->allocateArray(std::size_t{1} << 62, 8), nullptr);
    m_manager->deallocate(small);
    m_manager->deallocate(heap);
}

TEST_F(XoMemManagerTest, ManyBlocksOfManySizesKeepTheirContents) {
    struct Block {
        void* p;
        std::size_t size;
        unsigned seed;
    };
    std::vector<Block> blocks;
    std::uint32_t rng = 12345;
    auto next = [&rng] { return rng = rng * 1103515245u + 12345u, rng >> 8; };
    for (unsigned i = 0; i < 6000; ++i) {
        const unsigned pick = next() % 8;
        const std::size_t size = pick == 0  ? 1024
                                 : pick < 5 ? 1 + next() % 256
                                            : 1 + next() % 40000;
        void* p = m_manager->allocate(size);
        ASSERT_NE(p, nullptr);
        fill(p, size, i);
        blocks.push_back({p, size, i});
        if (next() % 3 != 0)
            continue;
        // Free or resize an earlier block, so that freed blocks get reused.
        Block& old = blocks[next() % blocks.size()];
        const std::size_t resized = next() % 2 ? 0 : 1 + next() % 3000;
        ASSERT_TRUE(holds(old.p, old.size, old.seed));
        void* q = m_manager->reallocate(old.p, resized);
        if (resized == 0) {
            old = blocks.back();
            blocks.pop_back();
            continue;
        }
        ASSERT_NE(q, nullptr);
        ASSERT_TRUE(holds(q, old.size < resized ? old.size : resized, old.seed));
        old = {q, resized, old.seed + 1};
        fill(q, resized, old.seed);
    }
    for (const Block& b : blocks) {
        ASSERT_TRUE(holds(b.p, b.size, b.seed));
        m_manager->deallocate(b.p);
    }
}

TEST_F(XoMemManagerTest, LargeBlocksGetTheirOwnRegionsAndGoBackWhenFreed) {
    const std::size_t mib = std::size_t{1} << 20;
    void* p = m_manager->allocate(mib);
    ASSERT_NE(p, nullptr);
    EXPECT_FALSE(m_impl->isSmallBlock(p));
    EXPECT_TRUE(xo::XoPrivateHeap::isSpan(p));
    fill(p, mib, 5);
    void* q = m_manager->reallocate(p, 3 * mib);
    ASSERT_NE(q, nullptr);
    EXPECT_TRUE(holds(q, mib, 5));
    const std::uintptr_t first = regionOf(q);
    m_manager->deallocate(q);
    EXPECT_TRUE(isFree(first, 3 * mib));
}

TEST_F(XoMemManagerTest, NoFreeFlagKeepsBlocksAlive) {
    void* p = m_manager->allocate(64);
    void* h = m_manager->allocate(2000);
    fill(p, 64, 6);
    fill(h, 2000, 7);
    m_impl->setNoFree(true);
    m_manager->deallocate(p);
    m_manager->deallocate(h);
    EXPECT_NE(m_manager->allocate(64), p);
    EXPECT_NE(m_manager->allocate(2000), h);
    void* moved = m_manager->reallocate(p, 48);
    ASSERT_NE(moved, nullptr);
    EXPECT_NE(moved, p);
    EXPECT_EQ(m_manager->reallocate(moved, 0), nullptr);
    EXPECT_TRUE(holds(p, 64, 6));
    EXPECT_TRUE(holds(h, 2000, 7));
    EXPECT_TRUE(holds(moved, 48, 6));

    m_impl->setNoFree(false);
    m_manager->deallocate(p);
    EXPECT_EQ(m_manager->allocate(64), p);
}

TEST_F(XoMemManagerTest, SharedByFourThreads) {
    constexpr int kThreads = 4;
    std::vector<std::vector<void*>> kept(kThreads);
    std::vector<int> damaged(kThreads, 0);
    auto run = [&](auto work) {
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back(work, t);
        for (std::thread& thread : threads)
            thread.join();
    };
    run([&](int t) {
        for (int i = 0; i < 2000; ++i) {
            const std::size_t size = 1 + static_cast<std::size_t>(i * 37 + t) % 1500;
            void* p = m_manager->reallocate(m_manager->allocate(size), size + 300);
            if (p == nullptr)
                continue;
            fill(p, size + 300, static_cast<unsigned>(t));
            if (i % 2 == 0)
                m_manager->deallocate(p);
            else
                kept[static_cast<std::size_t>(t)].push_back(p);
        }
    });
    // Each thread checks and frees what another made.
    run([&](int t) {
        const int owner = (t + 1) % kThreads;
        for (void* p : kept[static_cast<std::size_t>(owner)]) {
            if (!holds(p, 301, static_cast<unsigned>(owner)))
                ++damaged[static_cast<std::size_t>(t)];
            m_manager->deallocate(p);
        }
    });
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(kept[static_cast<std::size_t>(t)].size(), 1000u);
        EXPECT_EQ(damaged[static_cast<std::size_t>(t)], 0);
    }
}

TEST(XoMemManager, ReleaseGivesEveryRegionBack) {
    XoMemManager* manager = XoMemManager::sCreate();
    ASSERT_NE(manager, nullptr);
    auto* impl = static_cast<xo::XoMemManagerImpl*>(manager);
    std::vector<std::uintptr_t> regions = {impl->heapBase()};
    for (int i = 0; i < 200; ++i) {
        void* small = manager->allocate(1024);
        void* medium = manager->allocate(30000);
        ASSERT_NE(small, nullptr);
        ASSERT_NE(medium, nullptr);
        regions.push_back(regionOf(small));
        regions.push_back(regionOf(medium));
    }
    void* large = manager->allocate(std::size_t{1} << 20);
    ASSERT_NE(large, nullptr);
    const std::uintptr_t largeBase = regionOf(large);
    manager->release();
    EXPECT_TRUE(isFree(largeBase, std::size_t{1} << 20));
    std::size_t stillMapped = 0;
    for (std::uintptr_t region : regions)
        if (!isFree(region, kRegion))
            ++stillMapped;
    EXPECT_EQ(stillMapped, 0u);
}

// A virtual call needs an object, so a null manager reaches release() only through a
// direct call; the sanitizer's check of that call is off here.
#if defined(__GNUC__)
__attribute__((no_sanitize("undefined")))
#endif
void releaseDirectly(XoMemManager* manager) {
    manager->XoMemManager::release();
}

TEST(XoMemManager, ReleaseIgnoresANullManager) {
    XoMemManager* volatile none = nullptr;
    releaseDirectly(none);

    XoMemManager* manager = XoMemManager::sCreate();
    ASSERT_NE(manager, nullptr);
    const std::uintptr_t base = static_cast<xo::XoMemManagerImpl*>(manager)->heapBase();
    releaseDirectly(manager);
    EXPECT_TRUE(isFree(base, kRegion)) << "a real manager is destroyed all the same";
}

TEST(XoHeapDbgDumper, DoesNothing) {
    unsigned char bytes[16];
    std::memset(bytes, 0x5A, sizeof bytes);
    XoHeapDbgDumper::init();
    XoHeapDbgDumper::dump(nullptr);
    XoHeapDbgDumper::dump(bytes);
    XoHeapDbgDumper::uninit();
    for (unsigned char b : bytes)
        EXPECT_EQ(b, 0x5A);
}

} // namespace
