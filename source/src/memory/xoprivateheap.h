// A heap of its own 64 KiB regions, whose state sits at the start of its first region,
// so the base of that region identifies the heap. Blocks of up to 32 KiB (header
// included) are power-of-two slots carved from shared regions and recycled through one
// free list per slot size; their regions are kept until the heap is destroyed. Bigger
// blocks get a span of whole regions of their own, given back when the block is freed.
// Not thread-safe: its owner locks.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xo {

class XoPrivateHeap {
public:
    static constexpr std::size_t kRegionSize = 0x10000;

    // Null when the first region cannot be reserved and committed.
    static XoPrivateHeap* create();
    // Gives back every region, the heap's own included; the heap is gone afterwards.
    void destroy();

    // Size 0 yields a distinct block; null when memory runs out or the size is absurd.
    void* allocate(std::size_t size);
    // Keeps the block when the new size needs the same slot (or, for a span, between
    // half and all of it); otherwise moves to a new heap block. Null on failure, with
    // the old block untouched.
    void* reallocate(void* block, std::size_t size);
    void free(void* block);
    // The usable size of a block of this heap.
    static std::size_t capacityOf(const void* block);
    // True for a block with a span of its own.
    static bool isSpan(const void* block);

    XoPrivateHeap(const XoPrivateHeap&) = delete;
    XoPrivateHeap& operator=(const XoPrivateHeap&) = delete;

private:
    static constexpr int kSlotClasses = 10; // slots of 64 B .. 32 KiB

    struct RegionLink;
    struct SpanLink;

    XoPrivateHeap() = default;
    void* carveSlot(int slotClass);
    bool addRegion();
    void* allocateSpan(std::size_t size);
    void freeSpan(void* block);

    unsigned char* m_carve = nullptr; // untouched space of the newest region
    std::size_t m_carveLeft = 0;
    void* m_free[kSlotClasses] = {}; // freed slots; the link sits in the slot's payload
    RegionLink* m_regions = nullptr; // regions after the first
    SpanLink* m_spans = nullptr;
};

} // namespace xo
