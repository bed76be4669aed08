// Pool blocks are invisible to AddressSanitizer unless the pool tells it: free pool
// memory is poisoned, and a block is unpoisoned while it is handed out, so a
// use-after-free or an overflow into the neighbouring block is reported.
#pragma once

#include <cstddef>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define XO_POOL_POISONING 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define XO_POOL_POISONING 1
#endif

#if defined(XO_POOL_POISONING)
#include <sanitizer/asan_interface.h>
#endif

namespace xo {

inline void poisonFree(const void* p, std::size_t size) {
#if defined(XO_POOL_POISONING)
    ASAN_POISON_MEMORY_REGION(p, size);
#else
    (void)p;
    (void)size;
#endif
}

inline void unpoisonInUse(const void* p, std::size_t size) {
#if defined(XO_POOL_POISONING)
    ASAN_UNPOISON_MEMORY_REGION(p, size);
#else
    (void)p;
    (void)size;
#endif
}

} // namespace xo
