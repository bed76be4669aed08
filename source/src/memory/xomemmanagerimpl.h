// The one implementation of XoMemManager, and its small-block table.
#pragma once

#include "XoLock.h"
#include "XoMemManager.h"
#include "memory/xoprivateheap.h"

#include <cstddef>
#include <cstdint>

namespace xo {

// Small blocks: 16 classes of 16..256 bytes in steps of 16, and one of 1024.
constexpr int kSmallClasses = 17;
// A small-block region keeps its bookkeeping record in its last 80 bytes.
constexpr std::size_t kSmallRecordSize = 80;

struct XoSmallRegion;

// Bits for regions at or above 4 GiB: one 8192-byte window of bits per 4 GiB of
// address space, made on demand and chained from the table, so a bit names exactly
// one region and no two regions share a bit.
struct XoBitmapWindow {
    XoBitmapWindow* next;
    std::uintptr_t window; // region number >> 16
    std::uint8_t bits[8192];
};

struct XoSmallBlockHeads {
    XoSmallRegion* partial[kSmallClasses]; // regions of each class with a free block
    XoSmallRegion* all;                    // every small-block region, for destruction
    XoBitmapWindow* windows;
};

struct XoSmallBlockTable {
    XoSmallBlockHeads heads;
    unsigned char headPadding[520 - sizeof(XoSmallBlockHeads)];
    std::uint16_t marker;   // 65535
    std::uint32_t reserved; // 0
    // One bit per 64 KiB region of the lowest 4 GiB; the windows cover the rest.
    std::uint8_t bitmap[8192];
    std::uint32_t tail; // 0
};

class XoMemManagerImpl final : public XoMemManager {
public:
    XoMemManagerImpl();
    XoMemManagerImpl(const XoMemManagerImpl&) = delete;
    XoMemManagerImpl& operator=(const XoMemManagerImpl&) = delete;

    // The object lives in its heap, which goes with it.
    static void operator delete(void* object) noexcept;

    void* allocate(std::size_t size) override;
    void* allocateFromHeap(std::size_t size) override;
    void* allocateArray(std::size_t count, int size) override;
    void* allocateZeroed(std::size_t size) override;
    void* allocateFromHeapZeroed(std::size_t size) override;
    void* reallocate(void* pointer, std::size_t size) override;
    void deallocate(void* pointer) override;

    // Internal access, for the library and its tests.
    XoPrivateHeap* heap() const { return reinterpret_cast<XoPrivateHeap*>(m_heapBase); }
    std::uintptr_t heapBase() const { return m_heapBase; }
    XoSmallBlockTable* table() const { return m_pTable; }
    bool isSmallBlock(const void* pointer) const;
    // The block size of a small block.
    static std::size_t smallBlockSize(const void* pointer);
    void setNoFree(bool noFree) { m_noFree = noFree; }
    bool noFree() const { return m_noFree; }
    // Region numbers are addresses shifted right by 16.
    bool regionMarked(std::uintptr_t region) const;
    bool markRegion(std::uintptr_t region, bool marked);

protected:
    ~XoMemManagerImpl() override;

private:
    void* smallAllocate(std::size_t size);
    void smallFree(void* pointer);
    XoSmallRegion* newSmallRegion(int sizeClass);
    std::uint8_t* bitsFor(std::uintptr_t region, bool make);

    std::uintptr_t m_heapBase;
    XoSmallBlockTable* m_pTable;
    XoLocker m_locker;
    bool m_noFree;
};

} // namespace xo
