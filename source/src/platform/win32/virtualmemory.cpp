#include "platform/virtualmemory.h"

#include <cstdint>

#include <windows.h>

namespace xo::platform {

bool reserveAt(void* address, std::size_t size) {
    return ::VirtualAlloc(address, size, MEM_RESERVE, PAGE_READWRITE) == address;
}

void* reserveAligned(std::size_t size, std::size_t alignment) {
    // Reservations fall on 64 KiB boundaries; beyond that, reserve more, find the
    // aligned address, free and retake exactly it (another thread may win the race).
    for (int attempt = 0; attempt < 16; ++attempt) {
        void* p = ::VirtualAlloc(nullptr, size + alignment, MEM_RESERVE, PAGE_READWRITE);
        if (p == nullptr)
            return nullptr;
        const auto start = reinterpret_cast<std::uintptr_t>(p);
        const std::uintptr_t aligned = (start + alignment - 1) & ~(std::uintptr_t{alignment} - 1);
        ::VirtualFree(p, 0, MEM_RELEASE);
        void* base = reinterpret_cast<void*>(aligned);
        if (::VirtualAlloc(base, size, MEM_RESERVE, PAGE_READWRITE) == base)
            return base;
    }
    return nullptr;
}

bool commit(void* address, std::size_t size) {
    return ::VirtualAlloc(address, size, MEM_COMMIT, PAGE_READWRITE) == address;
}

void decommit(void* address, std::size_t size) {
    ::VirtualFree(address, size, MEM_DECOMMIT);
}

void release(void* address, std::size_t) {
    ::VirtualFree(address, 0, MEM_RELEASE);
}

} // namespace xo::platform
