#include "memory/xoprivateheap.h"

#include "platform/virtualmemory.h"

#include <cstring>
#include <new>

namespace xo {

namespace {

constexpr std::uint32_t kSpanKind = 0xFFFF;
constexpr std::size_t kMinSlot = 64;
constexpr std::size_t kMaxSlot = 0x8000;
// Far beyond any address space, yet small enough that rounding cannot overflow.
constexpr std::size_t kMaxRequest = ~std::size_t{0} >> 2;

// Right before every block; 16 bytes keep the payload 16-byte aligned.
struct BlockHeader {
    std::uint64_t capacity;
    std::uint32_t kind; // slot class, or kSpanKind
    std::uint32_t unused;
};
static_assert(sizeof(BlockHeader) == 16);

BlockHeader* headerOf(const void* block) {
    return reinterpret_cast<BlockHeader*>(
        const_cast<unsigned char*>(static_cast<const unsigned char*>(block)) - sizeof(BlockHeader));
}

std::size_t slotSize(int slotClass) {
    return kMinSlot << slotClass;
}

// -1 when the request needs a span.
int slotClassFor(std::size_t size) {
    if (size > kMaxSlot - sizeof(BlockHeader))
        return -1;
    int c = 0;
    while (slotSize(c) < size + sizeof(BlockHeader))
        ++c;
    return c;
}

void* reserveCommitted(std::size_t size) {
    void* base = platform::reserveAligned(size, XoPrivateHeap::kRegionSize);
    if (base != nullptr && !platform::commit(base, size)) {
        platform::release(base, size);
        base = nullptr;
    }
    return base;
}

} // namespace

struct XoPrivateHeap::RegionLink {
    RegionLink* next;
    std::uint64_t unused;
};

struct XoPrivateHeap::SpanLink {
    SpanLink* prev;
    SpanLink* next;
    std::size_t reserved; // bytes of the whole span, which is one reservation
    std::uint64_t unused;
};

namespace {
constexpr std::size_t kHeapHeader = 16 * ((sizeof(void*) * 16 + 15) / 16);
}

XoPrivateHeap* XoPrivateHeap::create() {
    static_assert(sizeof(XoPrivateHeap) <= kHeapHeader);
    void* base = reserveCommitted(kRegionSize);
    if (base == nullptr)
        return nullptr;
    auto* heap = new (base) XoPrivateHeap();
    heap->m_carve = static_cast<unsigned char*>(base) + kHeapHeader;
    heap->m_carveLeft = kRegionSize - kHeapHeader;
    return heap;
}

void XoPrivateHeap::destroy() {
    // Every link is read before the memory holding it goes.
    for (SpanLink* span = m_spans; span != nullptr;) {
        SpanLink* next = span->next;
        platform::release(span, span->reserved);
        span = next;
    }
    for (RegionLink* region = m_regions; region != nullptr;) {
        RegionLink* next = region->next;
        platform::release(region, kRegionSize);
        region = next;
    }
    platform::release(this, kRegionSize);
}

bool XoPrivateHeap::addRegion() {
    // The tail of the old region becomes free slots rather than waste.
    while (m_carveLeft >= kMinSlot) {
        int c = kSlotClasses - 1;
        while (slotSize(c) > m_carveLeft)
            --c;
        void* slot = carveSlot(c);
        *static_cast<void**>(slot) = m_free[c];
        m_free[c] = slot;
    }
    void* base = reserveCommitted(kRegionSize);
    if (base == nullptr)
        return false;
    auto* link = static_cast<RegionLink*>(base);
    link->next = m_regions;
    m_regions = link;
    m_carve = static_cast<unsigned char*>(base) + sizeof(RegionLink);
    m_carveLeft = kRegionSize - sizeof(RegionLink);
    return true;
}

void* XoPrivateHeap::carveSlot(int slotClass) {
    auto* header = reinterpret_cast<BlockHeader*>(m_carve);
    m_carve += slotSize(slotClass);
    m_carveLeft -= slotSize(slotClass);
    header->capacity = slotSize(slotClass) - sizeof(BlockHeader);
    header->kind = static_cast<std::uint32_t>(slotClass);
    return header + 1;
}

void* XoPrivateHeap::allocateSpan(std::size_t size) {
    const std::size_t head = sizeof(SpanLink) + sizeof(BlockHeader);
    const std::size_t reserved =
        (head + size + platform::kPageSize - 1) & ~(platform::kPageSize - 1);
    void* base = reserveCommitted(reserved);
    if (base == nullptr)
        return nullptr;
    auto* span = static_cast<SpanLink*>(base);
    span->prev = nullptr;
    span->next = m_spans;
    span->reserved = reserved;
    if (m_spans != nullptr)
        m_spans->prev = span;
    m_spans = span;
    auto* header = reinterpret_cast<BlockHeader*>(span + 1);
    header->capacity = reserved - head;
    header->kind = kSpanKind;
    return header + 1;
}

void XoPrivateHeap::freeSpan(void* block) {
    SpanLink* span = reinterpret_cast<SpanLink*>(headerOf(block)) - 1;
    if (span->prev != nullptr)
        span->prev->next = span->next;
    else
        m_spans = span->next;
    if (span->next != nullptr)
        span->next->prev = span->prev;
    platform::release(span, span->reserved);
}

void* XoPrivateHeap::allocate(std::size_t size) {
    if (size > kMaxRequest)
        return nullptr;
    const int c = slotClassFor(size);
    if (c < 0)
        return allocateSpan(size);
    if (void* slot = m_free[c]) {
        m_free[c] = *static_cast<void**>(slot);
        return slot;
    }
    if (m_carveLeft < slotSize(c) && !addRegion())
        return nullptr;
    return carveSlot(c);
}

void XoPrivateHeap::free(void* block) {
    if (block == nullptr)
        return;
    const std::uint32_t kind = headerOf(block)->kind;
    if (kind == kSpanKind) {
        freeSpan(block);
        return;
    }
    *static_cast<void**>(block) = m_free[kind];
    m_free[kind] = block;
}

void* XoPrivateHeap::reallocate(void* block, std::size_t size) {
    if (block == nullptr)
        return allocate(size);
    const BlockHeader* header = headerOf(block);
    const std::size_t capacity = header->capacity;
    if (header->kind == kSpanKind) {
        if (size <= capacity && size > capacity / 2)
            return block;
    } else if (static_cast<std::uint32_t>(slotClassFor(size)) == header->kind) {
        return block;
    }
    void* moved = allocate(size);
    if (moved == nullptr)
        return nullptr;
    std::memcpy(moved, block, size < capacity ? size : capacity);
    free(block);
    return moved;
}

std::size_t XoPrivateHeap::capacityOf(const void* block) {
    return static_cast<std::size_t>(headerOf(block)->capacity);
}

bool XoPrivateHeap::isSpan(const void* block) {
    return headerOf(block)->kind == kSpanKind;
}

} // namespace xo
