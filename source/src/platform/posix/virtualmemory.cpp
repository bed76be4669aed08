#include "platform/virtualmemory.h"

#include <cstdint>

#include <sys/mman.h>

#ifndef MAP_FIXED_NOREPLACE
#define MAP_FIXED_NOREPLACE 0x100000
#endif

namespace xo::platform {

namespace {

void* mapNone(void* hint, std::size_t size, int extraFlags) {
    void* p = ::mmap(hint, size, PROT_NONE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | extraFlags, -1, 0);
    return p == MAP_FAILED ? nullptr : p;
}

} // namespace

bool reserveAt(void* address, std::size_t size) {
    void* p = mapNone(address, size, MAP_FIXED_NOREPLACE);
    if (p == nullptr)
        return false;
    if (p != address) { // a kernel without MAP_FIXED_NOREPLACE takes it as a hint
        ::munmap(p, size);
        return false;
    }
    return true;
}

void* reserveAligned(std::size_t size, std::size_t alignment) {
    const std::size_t span = size + alignment;
    auto* p = static_cast<char*>(mapNone(nullptr, span, 0));
    if (p == nullptr)
        return nullptr;
    const auto start = reinterpret_cast<std::uintptr_t>(p);
    const std::uintptr_t aligned = (start + alignment - 1) & ~(std::uintptr_t{alignment} - 1);
    char* base = reinterpret_cast<char*>(aligned);
    if (base > p)
        ::munmap(p, static_cast<std::size_t>(base - p));
    char* end = base + size;
    if (end < p + span)
        ::munmap(end, static_cast<std::size_t>(p + span - end));
    return base;
}

bool commit(void* address, std::size_t size) {
    return ::mprotect(address, size, PROT_READ | PROT_WRITE) == 0;
}

void decommit(void* address, std::size_t size) {
    ::madvise(address, size, MADV_DONTNEED);
    ::mprotect(address, size, PROT_NONE);
}

void release(void* address, std::size_t size) {
    ::munmap(address, size);
}

} // namespace xo::platform
