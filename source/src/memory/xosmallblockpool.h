// Blocks of 8 to 512, 1024, 2048 and 4096 bytes (33 classes) carved from 4 KiB pages of
// pool segments. A segment's first pages hold the records of its 256 pages, so the
// class of any block is found from its address: segment base, then page index.
#pragma once

#include "memory/xosegmenttable.h"
#include "memory/xounitpool.h"

#include <array>

namespace xo {

namespace smallblocks {

constexpr int kClasses = 33;
constexpr std::size_t kBlockSizes[kClasses + 1] = {
    0,   512, 1024, 2048, 4096, 256, 240, 224, 208, 200, 192, 184, 176, 168, 160, 152, 144,
    136, 128, 120,  112,  104,  96,  88,  80,  72,  64,  56,  48,  40,  32,  24,  16,  8};

// Requests of 0 to 256 bytes: steps of 8 up to 208, then of 16.
constexpr std::array<std::uint8_t, 257> makeClassTable() {
    std::array<std::uint8_t, 257> table{};
    for (int size = 0; size <= 256; ++size) {
        const int request = size == 0 ? 1 : size;
        int best = 0;
        for (int c = 5; c <= kClasses; ++c)
            if (kBlockSizes[c] >= static_cast<std::size_t>(request) &&
                (best == 0 || kBlockSizes[c] < kBlockSizes[best]))
                best = c;
        table[static_cast<std::size_t>(size)] = static_cast<std::uint8_t>(best);
    }
    return table;
}

} // namespace smallblocks

class XoSmallBlockPool {
public:
    static constexpr int kClasses = smallblocks::kClasses;
    static constexpr const std::size_t* kBlockSizes = smallblocks::kBlockSizes;

    explicit XoSmallBlockPool(XoSegmentTable& segments);
    XoSmallBlockPool(const XoSmallBlockPool&) = delete;
    XoSmallBlockPool& operator=(const XoSmallBlockPool&) = delete;

    // The class for a request size (0 counts as 1): 0 when no class serves it. Above 256
    // bytes only sizes close to a power of two are pooled, to bound the waste.
    static int classFor(std::size_t size) {
        if (size <= 256)
            return kClassTable[size];
        if (size >= 500 && size <= 512)
            return 1;
        if (size >= 1000 && size <= 1024)
            return 2;
        if (size >= 2000 && size <= 2048)
            return 3;
        if (size >= 4000 && size <= 4096)
            return 4;
        return 0;
    }
    static std::size_t blockSizeOf(int sizeClass) { return kBlockSizes[sizeClass]; }
    // The record of the page holding a pool block: segment base, then page index.
    static XoUnit* recordOf(const void* block) {
        const std::uintptr_t address = addressOf(block);
        return reinterpret_cast<XoUnit*>(address & ~std::uintptr_t{kSegmentSize - 1}) +
               ((address & (kSegmentSize - 1)) >> 12);
    }
    // The class of a pool block; 0 for an address in a page that serves no class.
    static int classOf(const void* block) { return recordOf(block)->sizeClass; }

    void* take(int sizeClass) { return m_classes[sizeClass].take(m_source); }
    int takeMany(int sizeClass, void** blocks, int count) {
        return m_classes[sizeClass].takeMany(blocks, count, m_source);
    }
    void give(void* block);
    // Blocks that are all of the one class.
    void giveMany(int sizeClass, void* const* blocks, int count);
    // The block size of a pool block.
    std::size_t sizeOf(const void* block) const { return kBlockSizes[classOf(block)]; }
    std::size_t blocksInUse(int sizeClass) const { return m_classes[sizeClass].blocksInUse(); }
    // At exit: every segment goes, still marked as the pools', so that blocks freed later
    // are recognised and ignored.
    void tearDown();

    XoUnit* newUnit(std::uint16_t sizeClass);
    void emptyUnit(XoUnit* unit);

private:
    static constexpr std::array<std::uint8_t, 257> kClassTable = smallblocks::makeClassTable();

    const XoUnitSource m_source = unitSourceOf(this);
    XoUnit* addSegment();
    XoUnit* returnPage(XoUnit* unit);
    void giveBackSegment(XoUnit* header);
    void retireSegment(XoUnit* header);

    XoSegmentTable& m_segments;
    XoLocker m_pageLock;        // guards page allocation inside segments and m_withFreePages
    XoUnitList m_withFreePages; // segment headers (page record 0) of segments with free pages
    XoUnitClass m_classes[kClasses + 1];
};

} // namespace xo
