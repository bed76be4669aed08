// Blocks of 1 to 256 pages (class k: k * 4096 bytes) carved from whole segments; each
// segment's record lives in a table indexed by segment number.
#pragma once

#include "memory/xosegmenttable.h"
#include "memory/xounitpool.h"

namespace xo {

class XoPagePool {
public:
    static constexpr int kClasses = 256;

    explicit XoPagePool(XoSegmentTable& segments);
    XoPagePool(const XoPagePool&) = delete;
    XoPagePool& operator=(const XoPagePool&) = delete;

    // The page class for a size: a whole multiple of 4096 up to 1 MiB, else 0.
    static int classFor(std::size_t size);
    void* take(int pageClass) { return m_classes[pageClass].take(m_source); }
    void give(void* block);
    // At exit: every segment goes, still marked as the pools' (see XoSegmentTable::retire).
    void tearDown();

    XoUnit* newUnit(std::uint16_t sizeClass);
    void emptyUnit(XoUnit* unit);

private:
    const XoUnitSource m_source = unitSourceOf(this);
    XoSegmentTable& m_segments;
    XoLocker m_descriptorLock; // guards m_records
    XoUnit m_records[kSegmentCount];
    XoUnitClass m_classes[kClasses + 1];
};

} // namespace xo
