// The process-wide pools behind the allocation entry points.
#pragma once

#include "memory/xopagepool.h"
#include "memory/xosegmenttable.h"
#include "memory/xosmallblockpool.h"
#include "memory/xothreadcache.h"
#include "platform/threadslot.h"

#include <atomic>

namespace xo {

struct XoPools {
    XoSegmentTable segments;
    XoSmallBlockPool small{segments};
    XoPagePool pages{segments};
    // The pool-closed flag, set at exit: freeing a pool block then does nothing.
    std::atomic<bool> closed{false};

    XoPools() = default;
    // Never run (see instance), but defined out of line: clang 14 calls it on the
    // unwinding path of the holder's constructor without emitting the implicit one.
    ~XoPools();
    XoPools(const XoPools&) = delete;
    XoPools& operator=(const XoPools&) = delete;

    // Built on first use, which is before any allocation whatever the order of static
    // initialisers; closed at exit in reverse order of construction, but never
    // destroyed, so that calls made after that still find it.
    static XoPools& instance();

    // Gives each thread a cache in front of the small-block classes (the process-wide
    // pools only: there is one slot per thread).
    void openThreadCaches();

    bool serving() const { return m_serving.load(std::memory_order_relaxed); }

    // A small block through the calling thread's cache; null once the pools have closed
    // or when the class has no block left.
    void* takeSmall(int sizeClass) {
        XoThreadCache* cache = serving() ? cacheOfThisThread() : nullptr;
        if (cache != nullptr && cache->holds(sizeClass))
            return cache->take(sizeClass);
        return takeSmallSlow(sizeClass);
    }

    // A block of the small-block pool back, through the calling thread's cache.
    void giveSmall(void* block) {
        if (closed.load(std::memory_order_relaxed))
            return;
        const int sizeClass = XoSmallBlockPool::classOf(block);
        if (sizeClass == 0)
            return;
        if (XoThreadCache* cache = cacheOfThisThread())
            if (cache->give(sizeClass, block))
                return;
        giveSmallSlow(sizeClass, block);
    }

    // At exit: closes the pools and gives every segment back; idempotent.
    void close();

private:
    // The calling thread's cache; null before the thread's first slow call and after its
    // cache went back at thread exit. Callers first make sure the pools are open.
    static XoThreadCache* cacheOfThisThread() {
        void* value = platform::threadSlot();
        return addressOf(value) > kRetired ? static_cast<XoThreadCache*>(value) : nullptr;
    }
    XoThreadCache* newCacheOfThisThread();
    void* takeSmallSlow(int sizeClass);
    void giveSmallSlow(int sizeClass, void* block);
    static void threadExited(void* value);

    // The slot value of a thread whose cache went back: it has none from then on.
    static constexpr std::uintptr_t kRetired = 1;
    bool m_slotOpen = false;
    // Cleared at exit: the pools then hand out nothing, and callers fall back to the
    // runtime heap.
    std::atomic<bool> m_serving{true};
};

namespace pools {
extern std::atomic<XoPools*> g_built;
XoPools& build();
} // namespace pools

// Inline: every allocation and free asks for it, and only the first one builds it.
inline XoPools& XoPools::instance() {
    XoPools* built = pools::g_built.load(std::memory_order_acquire);
    return built != nullptr ? *built : pools::build();
}

} // namespace xo
