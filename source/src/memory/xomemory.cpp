#include "XoMemory.h"

#include "memory/xopools.h"

#include <cstdlib>
#include <cstring>

using xo::XoPools;

namespace {

constexpr std::size_t kMallocLimit = 0x80000000u;

void* allocateFromClass(XoPools& pools, std::size_t size) {
    const int sizeClass = xo::XoSmallBlockPool::classFor(size);
    void* block = sizeClass != 0 ? pools.takeSmall(sizeClass) : nullptr;
    return block != nullptr ? block : std::malloc(size);
}

} // namespace

void* _xoMalloc(std::size_t size) {
    return size > kMallocLimit ? nullptr : _xoAllocate(size);
}

void* _xoAllocate(std::size_t size) {
    return allocateFromClass(XoPools::instance(), size == 0 ? 1 : size);
}

void* _xoRealloc(void* pointer, std::size_t size) {
    return size == 0 ? pointer : _xoReallocate(pointer, size);
}

void* _xoReallocate(void* pointer, std::size_t size) {
    XoPools& pools = XoPools::instance();
    if (!pools.segments.owns(pointer))
        return std::realloc(pointer, size);
    void* block = allocateFromClass(pools, size == 0 ? 1 : size);
    if (block == nullptr)
        return nullptr;
    const std::size_t old = pools.small.sizeOf(pointer);
    std::memcpy(block, pointer, size < old ? size : old);
    _xoDeallocate(pointer);
    return block;
}

void _xoFree(void* pointer) {
    if (pointer != nullptr)
        _xoDeallocate(pointer);
}

// Pool blocks go back to their pool (nothing happens once the pools have closed);
// anything else is the runtime's.
void _xoDeallocate(void* pointer) {
    XoPools& pools = XoPools::instance();
    if (!pools.segments.owns(pointer))
        std::free(pointer);
    else
        pools.giveSmall(pointer);
}

wchar_t* _xoStrdup(const wchar_t* text) {
    std::size_t count = 0;
    while (text[count] != 0)
        ++count;
    auto* copy = static_cast<wchar_t*>(_xoMalloc((count + 1) * sizeof(wchar_t)));
    std::memcpy(copy, text, (count + 1) * sizeof(wchar_t));
    return copy;
}

void _xoStrdupFree(void* pointer) {
    _xoFree(pointer);
}

void* _xoMallocDbg(std::size_t size, const char* file, int line) {
    return _xoAllocateDbg(size, file, line);
}

void* _xoAllocateDbg(std::size_t, const char*, int) {
    return nullptr;
}

void* _xoReallocDbg(void* pointer, std::size_t size, const char* file, int line) {
    return _xoReallocateDbg(pointer, size, file, line);
}

void* _xoReallocateDbg(void*, std::size_t, const char*, int) {
    return nullptr;
}

void _xoFreeDbg(void* pointer) {
    _xoFree(pointer);
}

void _xoDeallocateDbg(void* pointer) {
    _xoFree(pointer);
}

void* xoAllocPage(std::size_t) {
    return xoAllocPageHeap(xo::kSegmentSize);
}

void* xoAllocPageHeap(std::size_t size) {
    if (size == 0)
        size = 1;
    XoPools& pools = XoPools::instance();
    const int pageClass = xo::XoPagePool::classFor(size);
    void* block = pageClass != 0 && pools.serving() ? pools.pages.take(pageClass) : nullptr;
    return block != nullptr ? block : std::malloc(size);
}

void xoFreePage(void* pointer) {
    XoPools& pools = XoPools::instance();
    if (!pools.segments.owns(pointer))
        std::free(pointer);
    else if (!pools.closed.load(std::memory_order_relaxed))
        pools.pages.give(pointer);
}

void xoFreePageHeap(void* pointer) {
    xoFreePage(pointer);
}

void* xoAllocRawPage() {
    return XoPools::instance().segments.acquire();
}

void xoFreeRawPage(void* pointer) {
    if (pointer != nullptr)
        XoPools::instance().segments.giveBack(static_cast<char*>(pointer));
}
