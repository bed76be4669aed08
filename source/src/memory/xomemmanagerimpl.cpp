#include "memory/xomemmanagerimpl.h"

#include "platform/virtualmemory.h"

#include <cstddef>
#include <cstring>
#include <new>

namespace xo {

namespace {

constexpr std::size_t kRegionSize = XoPrivateHeap::kRegionSize;
constexpr std::size_t kBlockArea = kRegionSize - kSmallRecordSize;
constexpr int kLargeSmallClass = kSmallClasses - 1; // the 1024-byte class

std::uintptr_t addressOf(const void* p) {
    return reinterpret_cast<std::uintptr_t>(p);
}

int smallClassFor(std::size_t size) {
    return size == 1024 ? kLargeSmallClass : static_cast<int>((size + 15) / 16) - 1;
}

std::size_t smallClassSize(int sizeClass) {
    return sizeClass == kLargeSmallClass ? 1024 : 16 * static_cast<std::size_t>(sizeClass + 1);
}

bool isSmallSize(std::size_t size) {
    return size <= 256 || size == 1024;
}

} // namespace

struct XoSmallRegion {
    XoSmallRegion* nextAll;
    XoSmallRegion* nextPartial;
    void* freeList; // freed blocks; the link sits in the block
    std::uint32_t blockSize;
    std::uint32_t capacity; // blocks that fit below the record
    std::uint32_t used;     // blocks handed out and not freed
    std::uint32_t carved;   // blocks taken from the untouched start so far
    std::uint16_t sizeClass;
    bool partial; // on its class's list of regions with a free block
};
static_assert(sizeof(XoSmallRegion) <= kSmallRecordSize);

namespace {

XoSmallRegion* recordOf(const void* p) {
    const std::uintptr_t base = addressOf(p) & ~std::uintptr_t{kRegionSize - 1};
    return reinterpret_cast<XoSmallRegion*>(base + kBlockArea);
}

unsigned char* regionBaseOf(XoSmallRegion* record) {
    return reinterpret_cast<unsigned char*>(record) - kBlockArea;
}

} // namespace

XoMemManagerImpl::XoMemManagerImpl()
    : m_heapBase(addressOf(this) & ~std::uintptr_t{kRegionSize - 1}), m_pTable(nullptr),
      m_noFree(false) {
    void* table = heap()->allocate(sizeof(XoSmallBlockTable));
    if (table == nullptr)
        return; // small requests then go to the heap
    std::memset(table, 0, sizeof(XoSmallBlockTable));
    m_pTable = static_cast<XoSmallBlockTable*>(table);
    m_pTable->marker = 65535;
}

XoMemManagerImpl::~XoMemManagerImpl() {
    // The heap's own regions go in operator delete, after the object is done with.
    if (m_pTable == nullptr)
        return;
    for (XoSmallRegion* region = m_pTable->heads.all; region != nullptr;) {
        XoSmallRegion* next = region->nextAll;
        platform::release(regionBaseOf(region), kRegionSize);
        region = next;
    }
}

void XoMemManagerImpl::operator delete(void* object) noexcept {
    auto* heap =
        reinterpret_cast<XoPrivateHeap*>(addressOf(object) & ~std::uintptr_t{kRegionSize - 1});
    heap->free(object);
    heap->destroy();
}

std::uint8_t* XoMemManagerImpl::bitsFor(std::uintptr_t region, bool make) {
    const std::uintptr_t window = region >> 16;
    if (window == 0)
        return m_pTable->bitmap;
    for (XoBitmapWindow* w = m_pTable->heads.windows; w != nullptr; w = w->next)
        if (w->window == window)
            return w->bits;
    if (!make)
        return nullptr;
    auto* w = static_cast<XoBitmapWindow*>(heap()->allocate(sizeof(XoBitmapWindow)));
    if (w == nullptr)
        return nullptr;
    std::memset(w, 0, sizeof(XoBitmapWindow));
    w->window = window;
    w->next = m_pTable->heads.windows;
    m_pTable->heads.windows = w;
    return w->bits;
}

bool XoMemManagerImpl::regionMarked(std::uintptr_t region) const {
    if (m_pTable == nullptr)
        return false;
    const std::uint8_t* bits = const_cast<XoMemManagerImpl*>(this)->bitsFor(region, false);
    const std::uintptr_t bit = region & 0xFFFF;
    return bits != nullptr && (bits[bit >> 3] & (1u << (bit & 7))) != 0;
}

bool XoMemManagerImpl::markRegion(std::uintptr_t region, bool marked) {
    if (m_pTable == nullptr)
        return false;
    std::uint8_t* bits = bitsFor(region, marked);
    if (bits == nullptr)
        return !marked;
    const std::uintptr_t bit = region & 0xFFFF;
    const auto mask = static_cast<std::uint8_t>(1u << (bit & 7));
    if (marked)
        bits[bit >> 3] = static_cast<std::uint8_t>(bits[bit >> 3] | mask);
    else
        bits[bit >> 3] = static_cast<std::uint8_t>(bits[bit >> 3] & ~mask);
    return true;
}

bool XoMemManagerImpl::isSmallBlock(const void* pointer) const {
    return regionMarked(addressOf(pointer) >> 16);
}

std::size_t XoMemManagerImpl::smallBlockSize(const void* pointer) {
    return recordOf(pointer)->blockSize;
}

XoSmallRegion* XoMemManagerImpl::newSmallRegion(int sizeClass) {
    void* base = platform::reserveAligned(kRegionSize, kRegionSize);
    if (base == nullptr)
        return nullptr;
    if (!platform::commit(base, kRegionSize) || !markRegion(addressOf(base) >> 16, true)) {
        platform::release(base, kRegionSize);
        return nullptr;
    }
    XoSmallRegion* region = recordOf(base);
    const std::size_t blockSize = smallClassSize(sizeClass);
    region->blockSize = static_cast<std::uint32_t>(blockSize);
    region->capacity = static_cast<std::uint32_t>(kBlockArea / blockSize);
    region->sizeClass = static_cast<std::uint16_t>(sizeClass);
    region->nextAll = m_pTable->heads.all;
    m_pTable->heads.all = region;
    region->partial = true;
    region->nextPartial = m_pTable->heads.partial[sizeClass];
    m_pTable->heads.partial[sizeClass] = region;
    return region;
}

void* XoMemManagerImpl::smallAllocate(std::size_t size) {
    const int sizeClass = smallClassFor(size);
    XoSmallRegion* region = m_pTable->heads.partial[sizeClass];
    if (region == nullptr && (region = newSmallRegion(sizeClass)) == nullptr)
        return nullptr;
    void* block = region->freeList;
    if (block != nullptr)
        region->freeList = *static_cast<void**>(block);
    else
        block = regionBaseOf(region) + std::size_t{region->carved++} * region->blockSize;
    if (++region->used == region->capacity) {
        m_pTable->heads.partial[sizeClass] = region->nextPartial;
        region->partial = false;
    }
    return block;
}

void XoMemManagerImpl::smallFree(void* pointer) {
    XoSmallRegion* region = recordOf(pointer);
    *static_cast<void**>(pointer) = region->freeList;
    region->freeList = pointer;
    --region->used;
    if (!region->partial) {
        region->partial = true;
        region->nextPartial = m_pTable->heads.partial[region->sizeClass];
        m_pTable->heads.partial[region->sizeClass] = region;
    }
}

void* XoMemManagerImpl::allocate(std::size_t size) {
    XoAutoLocker guard(&m_locker);
    if (size == 0)
        return nullptr;
    if (isSmallSize(size) && m_pTable != nullptr)
        return smallAllocate(size);
    return heap()->allocate(size);
}

void* XoMemManagerImpl::allocateFromHeap(std::size_t size) {
    XoAutoLocker guard(&m_locker);
    return heap()->allocate(size);
}

void* XoMemManagerImpl::allocateArray(std::size_t count, int size) {
    if (size < 0)
        return nullptr; // sign-extended, it asks for more than any address space
    const auto each = static_cast<std::size_t>(size);
    if (each != 0 && count > ~std::size_t{0} / each)
        return nullptr;
    return allocate(count * each);
}

void* XoMemManagerImpl::allocateZeroed(std::size_t size) {
    void* block = allocate(size);
    if (block != nullptr)
        std::memset(block, 0, size);
    return block;
}

void* XoMemManagerImpl::allocateFromHeapZeroed(std::size_t size) {
    void* block = allocateFromHeap(size);
    if (block != nullptr)
        std::memset(block, 0, size);
    return block;
}

void* XoMemManagerImpl::reallocate(void* pointer, std::size_t size) {
    if (pointer == nullptr)
        return allocate(size);
    if (size == 0) {
        deallocate(pointer);
        return nullptr;
    }
    XoAutoLocker guard(&m_locker);
    if (!isSmallBlock(pointer))
        return heap()->reallocate(pointer, size);
    void* moved = allocate(size); // the lock is recursive
    if (moved == nullptr)
        return nullptr;
    const std::size_t old = smallBlockSize(pointer);
    std::memcpy(moved, pointer, old < size ? old : size);
    if (!m_noFree)
        smallFree(pointer);
    return moved;
}

void XoMemManagerImpl::deallocate(void* pointer) {
    XoAutoLocker guard(&m_locker);
    if (m_noFree || pointer == nullptr)
        return;
    if (isSmallBlock(pointer))
        smallFree(pointer);
    else
        heap()->free(pointer);
}

} // namespace xo
