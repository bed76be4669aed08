#include "memory/xosmallblockpool.h"

#include "platform/check.h"

namespace xo {

namespace {

constexpr int kPagesPerSegment = static_cast<int>(kSegmentSize / kPageSize);
constexpr int kHeaderPages =
    static_cast<int>((kPagesPerSegment * sizeof(XoUnit) + kPageSize - 1) / kPageSize);
constexpr int kBlockPages = kPagesPerSegment - kHeaderPages;

XoUnit* recordsOf(const void* p) {
    return reinterpret_cast<XoUnit*>(addressOf(p) & ~std::uintptr_t{kSegmentSize - 1});
}

} // namespace

// A class keeps its last empty page, so that a block allocated and freed in a loop does
// not move a page in and out of its segment each time.
XoSmallBlockPool::XoSmallBlockPool(XoSegmentTable& segments) : m_segments(segments) {
    for (int c = 1; c <= kClasses; ++c)
        m_classes[c].init(static_cast<std::uint16_t>(c), XoSmallBlockPool::kBlockSizes[c],
                          kPageSize, true);
}

void XoSmallBlockPool::give(void* block) {
    XoUnit* unit = recordOf(block);
    const int sizeClass = unit->sizeClass;
    if (sizeClass != 0)
        m_classes[sizeClass].give(unit, block, m_source);
}

void XoSmallBlockPool::giveMany(int sizeClass, void* const* blocks, int count) {
    m_classes[sizeClass].giveMany(
        blocks, count, [](const void* block) { return recordOf(block); }, m_source);
}

// Record 0 of a segment describes the segment: its free page count and its links on
// the list of segments with free pages.
XoUnit* XoSmallBlockPool::addSegment() {
    char* base = m_segments.acquire();
    if (base == nullptr)
        return nullptr;
    auto* records = reinterpret_cast<XoUnit*>(base);
    const auto number = static_cast<std::int16_t>(addressOf(base) >> 20);
    for (int i = 0; i < kPagesPerSegment; ++i)
        records[i] = XoUnit{0, 0, number, 0, nullptr, nullptr, nullptr, base + i * kPageSize};
    records[0].available = kBlockPages;
    m_withFreePages.pushFront(&records[0]);
    return &records[0];
}

XoUnit* XoSmallBlockPool::newUnit(std::uint16_t sizeClass) {
    XoAutoLocker guard(&m_pageLock);
    XoUnit* header = m_withFreePages.head;
    if (header == nullptr && (header = addSegment()) == nullptr)
        return nullptr;
    for (int i = kHeaderPages; i < kPagesPerSegment; ++i) {
        XoUnit* page = header + i;
        if (page->sizeClass != 0)
            continue;
        page->sizeClass = sizeClass;
        if (--header->available == 0)
            m_withFreePages.remove(header);
        return page;
    }
    // A segment on the list has a free page by its count, so this is reached only when
    // the count is wrong, and the records can no longer be trusted to hand out pages.
    XO_CHECK(false, "a pool segment counts free pages it does not have");
    return nullptr;
}

XoUnit* XoSmallBlockPool::returnPage(XoUnit* unit) {
    XoUnit* header = recordsOf(unit->base);
    unit->sizeClass = 0;
    if (header->available++ == 0)
        m_withFreePages.pushFront(header);
    return header;
}

// A fully free segment is given back unless it is the only one with free pages, so
// that one block allocated and freed in a loop does not map and unmap a segment.
void XoSmallBlockPool::emptyUnit(XoUnit* unit) {
    XoAutoLocker guard(&m_pageLock);
    XoUnit* header = returnPage(unit);
    if (header->available == kBlockPages && (header->after != nullptr || header->before != nullptr))
        giveBackSegment(header);
}

void XoSmallBlockPool::giveBackSegment(XoUnit* header) {
    m_withFreePages.remove(header);
    m_segments.giveBack(header->base);
}

// Every page goes back to its segment, so every segment ends on the list.
void XoSmallBlockPool::tearDown() {
    for (int c = 1; c <= kClasses; ++c)
        m_classes[c].drain([this](XoUnit* unit) {
            XoAutoLocker guard(&m_pageLock);
            returnPage(unit);
        });
    XoAutoLocker guard(&m_pageLock);
    while (XoUnit* header = m_withFreePages.head)
        retireSegment(header);
}

void XoSmallBlockPool::retireSegment(XoUnit* header) {
    m_withFreePages.remove(header);
    m_segments.retire(header->base);
}

} // namespace xo
