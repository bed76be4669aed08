// Blocks of 8 to 512, 1024, 2048 and 4096 bytes (33 classes) carved from 4 KiB pages of
// pool segments. A segment's first pages hold the records of its 256 pages, so the
// class of any block is found from its address: segment base, then page index.
#pragma once

#include "memory/xosegmenttable.h"
#include "memory/xounitpool.h"

namespace xo {

class XoSmallBlockPool {
public:
    static constexpr int kClasses = 33;

    explicit XoSmallBlockPool(XoSegmentTable& segments);
    XoSmallBlockPool(const XoSmallBlockPool&) = delete;
    XoSmallBlockPool& operator=(const XoSmallBlockPool&) = delete;

    // The class for a request size (0 counts as 1): 0 when no class serves it.
    static int classFor(std::size_t size);
    static std::size_t blockSizeOf(int sizeClass);

    void* take(int sizeClass) { return m_classes[sizeClass].take(m_source); }
    void give(void* block);
    // The block size of a pool block.
    std::size_t sizeOf(const void* block) const;
    void tearDown();

    XoUnit* newUnit(std::uint16_t sizeClass);
    void emptyUnit(XoUnit* unit);

private:
    const XoUnitSource m_source = unitSourceOf(this);
    XoUnit* addSegment();
    XoUnit* returnPage(XoUnit* unit);
    void giveBackSegment(XoUnit* header);

    XoSegmentTable& m_segments;
    XoLocker m_pageLock;  // guards page allocation inside segments and m_withFreePages
    XoUnitList m_withFreePages; // segment headers (page record 0) of segments with free pages
    XoUnitClass m_classes[kClasses + 1];
};

} // namespace xo
