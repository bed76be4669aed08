#include "memory/xopools.h"

#include <cstdlib>
#include <new>

namespace xo {

namespace pools {

namespace {

// Closes the pools at exit in the place of a destructor: the tables and locks stay, so
// that frees and allocations made by destructors that run later are safe.
union Holder {
    XoPools pools;
    Holder() : pools() { pools.openThreadCaches(); }
    ~Holder() { pools.close(); }
};

} // namespace

std::atomic<XoPools*> g_built{nullptr};

XoPools& build() {
    static Holder holder;
    g_built.store(&holder.pools, std::memory_order_release);
    return holder.pools;
}

namespace {
// Builds the tables while the library loads, before any client call.
[[maybe_unused]] const XoPools& g_builtAtLoad = XoPools::instance();
} // namespace

} // namespace pools

XoPools::~XoPools() = default;

void XoPools::openThreadCaches() {
    m_slotOpen = platform::openThreadSlot(threadExited);
}

// A cache holds addresses only: the closing thread's is dropped, and those of other
// threads are only freed when their threads exit (or, on Windows, when the slot closes).
void XoPools::close() {
    if (closed.exchange(true))
        return;
    m_serving.store(false);
    if (XoThreadCache* mine = cacheOfThisThread()) {
        platform::setThreadSlot(reinterpret_cast<void*>(kRetired));
        std::free(mine);
    }
    small.tearDown();
    pages.tearDown();
    if (m_slotOpen)
        platform::closeThreadSlot();
}

XoThreadCache* XoPools::newCacheOfThisThread() {
    if (!m_slotOpen || platform::threadSlot() != nullptr)
        return nullptr; // no slot, or this thread is past its exit call
    void* place = std::calloc(1, sizeof(XoThreadCache));
    if (place == nullptr)
        return nullptr;
    auto* cache = new (place) XoThreadCache();
    platform::setThreadSlot(cache);
    return cache;
}

void* XoPools::takeSmallSlow(int sizeClass) {
    if (!serving())
        return nullptr;
    XoThreadCache* cache = cacheOfThisThread();
    if (cache == nullptr && (cache = newCacheOfThisThread()) == nullptr)
        return small.take(sizeClass);
    return cache->refill(small, sizeClass);
}

void XoPools::giveSmallSlow(int sizeClass, void* block) {
    XoThreadCache* cache = cacheOfThisThread();
    if (cache == nullptr && (cache = newCacheOfThisThread()) == nullptr) {
        small.give(block);
        return;
    }
    cache->makeRoom(small, sizeClass);
    cache->give(sizeClass, block);
}

// On the exiting thread, after its C++ thread_local destructors; frees made after this
// go straight to the classes. Once the pools have closed the blocks are gone with their
// segments, and only the cache itself is freed (on Windows the closing thread does it
// for every thread when the slot closes).
void XoPools::threadExited(void* value) {
    if (addressOf(value) <= kRetired)
        return;
    auto* cache = static_cast<XoThreadCache*>(value);
    XoPools& pools = instance();
    if (!pools.closed.load()) {
        platform::setThreadSlot(reinterpret_cast<void*>(kRetired));
        cache->flush(pools.small);
    }
    std::free(cache);
}

} // namespace xo
