// A thread's own stacks of free small blocks, one per size class, in front of the class
// locks: the common allocation and free touch only the calling thread's stack, with no
// lock and no atomic operation. A stack is refilled, or half emptied, in one batch under
// its class lock.
//
// Cached blocks count as in use for their pages and segments, so a segment whose other
// blocks are all free stays until they come back. The stacks are small (at most 32
// blocks and 16 KiB per class) and go back to their classes when the thread exits.
//
// The stacks hold addresses only and never touch the blocks, so a cache whose segments
// have been released at exit can simply be dropped. Cached blocks stay poisoned for
// AddressSanitizer.
#pragma once

#include "memory/xoasanpoison.h"
#include "memory/xosmallblockpool.h"

#include <array>
#include <cstdint>

namespace xo {

namespace threadcache {

constexpr std::uint32_t kMaxDepth = 32;

// At most 16 KiB of blocks per class: 32 blocks up to 512 bytes, 4 of 4096.
constexpr std::array<std::uint32_t, XoSmallBlockPool::kClasses + 1> makeDepths() {
    std::array<std::uint32_t, XoSmallBlockPool::kClasses + 1> depths{};
    for (int c = 1; c <= XoSmallBlockPool::kClasses; ++c) {
        const std::size_t depth = 16384 / XoSmallBlockPool::kBlockSizes[c];
        depths[static_cast<std::size_t>(c)] =
            depth < kMaxDepth ? static_cast<std::uint32_t>(depth) : kMaxDepth;
    }
    return depths;
}

} // namespace threadcache

class XoThreadCache {
public:
    static constexpr std::uint32_t kMaxDepth = threadcache::kMaxDepth;
    static constexpr std::array<std::uint32_t, XoSmallBlockPool::kClasses + 1> kDepths =
        threadcache::makeDepths();

    bool holds(int sizeClass) const { return m_counts[sizeClass] != 0; }

    // A block of a class the cache holds.
    void* take(int sizeClass) {
        void* block = m_blocks[sizeClass][--m_counts[sizeClass]];
        unpoisonInUse(block, XoSmallBlockPool::kBlockSizes[sizeClass]);
        return block;
    }

    bool give(int sizeClass, void* block) {
        std::uint32_t& count = m_counts[sizeClass];
        if (count == kDepths[static_cast<std::size_t>(sizeClass)])
            return false;
        poisonFree(block, XoSmallBlockPool::kBlockSizes[sizeClass]);
        m_blocks[sizeClass][count++] = block;
        return true;
    }

    // With the class's stack empty: takes half a stack from the class and hands out one
    // block; null when the class has none.
    void* refill(XoSmallBlockPool& pool, int sizeClass);
    // Returns the older half of a full stack to its class.
    void makeRoom(XoSmallBlockPool& pool, int sizeClass);
    // Every cached block back to its class.
    void flush(XoSmallBlockPool& pool);

private:
    void giveBack(XoSmallBlockPool& pool, int sizeClass, std::uint32_t count);

    std::uint32_t m_counts[XoSmallBlockPool::kClasses + 1] = {};
    void* m_blocks[XoSmallBlockPool::kClasses + 1][kMaxDepth];
};

} // namespace xo
