/// \file
/// An allocator object that a client creates for itself. It lives in a private heap of
/// 64 KiB regions; small requests come from a table of small blocks, the rest from that
/// heap. release() gives every region back at once, so all blocks still held by the
/// client go with it.
#pragma once

#include "XoOsBaseExport.h"

#include <cstddef>

/// An allocator on a private heap. Sizes are in bytes. Failures return null, never
/// throw. Blocks are 16-byte aligned. One manager may be shared by threads: every
/// operation takes the manager's own lock.
class XOOSBASE_API XoMemManager {
protected:
    /// Destroys the manager with its heap; clients call release() instead. Declared
    /// first: the destructor and release() take the first two slots.
    virtual ~XoMemManager();

public:
    /// A new manager, or null when no address space or memory can be had.
    static XoMemManager* sCreate();

    /// Destroys the manager and gives back every block and region it ever handed out.
    /// A null object is ignored; that can only arrive through a direct call
    /// (manager->XoMemManager::release()), since a virtual call through a null pointer
    /// faults in the caller before reaching the library: a caller whose pointer may be
    /// null tests it first. The exported interface is fixed, so there is no static form.
    /// Cannot fail.
    virtual void release();

    /// A block of size bytes; null for size 0 and when memory runs out. Sizes up to 256,
    /// and exactly 1024, come from the small-block table; every other size from the
    /// private heap.
    virtual void* allocate(std::size_t size) = 0;
    /// A block of size bytes, always from the private heap; size 0 still yields a
    /// distinct block. Null when memory runs out.
    virtual void* allocateFromHeap(std::size_t size) = 0;
    /// allocate(count * size); a negative size, or a product that overflows, gives null,
    /// and so does memory running out.
    virtual void* allocateArray(std::size_t count, int size) = 0;
    /// allocate(size) with the block cleared to zeros; null as allocate gives it.
    virtual void* allocateZeroed(std::size_t size) = 0;
    /// allocateFromHeap(size) with the block cleared to zeros; null when memory runs out.
    virtual void* allocateFromHeapZeroed(std::size_t size) = 0;
    /// Resizes a block. Null pointer: allocate(size). Size 0: deallocate(pointer), returns
    /// null. Otherwise the contents up to the smaller size are kept; a small block always
    /// moves, a heap block stays a heap block. On failure null is returned and the old
    /// block stays.
    virtual void* reallocate(void* pointer, std::size_t size) = 0;
    /// Frees any block of this manager; null is ignored. Cannot fail.
    virtual void deallocate(void* pointer) = 0;

protected:
    /// For the one implementation inside the library; clients call sCreate().
    XoMemManager() = default;
    /// For the one implementation inside the library; copies no state.
    XoMemManager(const XoMemManager&) = default;
    /// For the one implementation inside the library; copies no state.
    XoMemManager& operator=(const XoMemManager&) = default;
};
