#include "memory/xothreadcache.h"

#include <cstring>

namespace xo {

// The blocks come out of the stack in the order the class handed them over, lowest
// address first while the class is still advancing through a page.
void* XoThreadCache::refill(XoSmallBlockPool& pool, int sizeClass) {
    const std::uint32_t want = kDepths[static_cast<std::size_t>(sizeClass)] / 2 + 1;
    void* taken[kMaxDepth / 2 + 1];
    const int got = pool.takeMany(sizeClass, taken, static_cast<int>(want));
    if (got == 0)
        return nullptr;
    std::uint32_t& count = m_counts[sizeClass];
    void** stack = m_blocks[sizeClass];
    const std::size_t size = XoSmallBlockPool::kBlockSizes[sizeClass];
    for (int i = got - 1; i >= 1; --i) {
        poisonFree(taken[i], size);
        stack[count++] = taken[i];
    }
    return taken[0];
}

void XoThreadCache::giveBack(XoSmallBlockPool& pool, int sizeClass, std::uint32_t count) {
    void** stack = m_blocks[sizeClass];
    // The class threads its free lists through the blocks.
    for (std::uint32_t i = 0; i < count; ++i)
        unpoisonInUse(stack[i], XoSmallBlockPool::kBlockSizes[sizeClass]);
    pool.giveMany(sizeClass, stack, static_cast<int>(count));
}

void XoThreadCache::makeRoom(XoSmallBlockPool& pool, int sizeClass) {
    std::uint32_t& count = m_counts[sizeClass];
    const std::uint32_t older = (count + 1) / 2;
    giveBack(pool, sizeClass, older);
    void** stack = m_blocks[sizeClass];
    std::memmove(stack, stack + older, (count - older) * sizeof(void*));
    count -= older;
}

void XoThreadCache::flush(XoSmallBlockPool& pool) {
    for (int c = 1; c <= XoSmallBlockPool::kClasses; ++c) {
        if (m_counts[c] != 0)
            giveBack(pool, c, m_counts[c]);
        m_counts[c] = 0;
    }
}

} // namespace xo
