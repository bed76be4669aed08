// The pool is striped by address so that threads locking different addresses rarely
// meet on one guard. Each stripe has its guard, its map from address to entry and its
// idle stack; a stripe whose stack is empty borrows an idle lock from the others before
// making one, so the locks ever made stay at the most addresses locked at one time.
// Map nodes are recycled too: in steady state a guard allocates nothing.
#include "threads/xolockpool.h"

#include "XoLock.h"
#include "platform/lock.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <new>
#include <vector>

namespace xo {

namespace {

struct Entry {
    XoLock* lock = nullptr;
    std::uint32_t users = 0;
};

// A type of this file's own, so that the stack's template code stays internal.
struct IdleLock {
    XoLock* lock;
};

// Map nodes on cache lines of their own, so that threads on different stripes do not
// share a line through neighbouring nodes.
template <class T> struct CacheLineAllocator {
    using value_type = T;
    static constexpr std::align_val_t kAlignment{64};

    CacheLineAllocator() = default;
    template <class U> CacheLineAllocator(const CacheLineAllocator<U>&) {}

    T* allocate(std::size_t n) {
        return static_cast<T*>(::operator new(n * sizeof(T), kAlignment));
    }
    void deallocate(T* p, std::size_t) { ::operator delete(p, kAlignment); }

    template <class U> bool operator==(const CacheLineAllocator<U>&) const { return true; }
    template <class U> bool operator!=(const CacheLineAllocator<U>&) const { return false; }
};

using EntryMap = std::map<std::uint64_t, Entry, std::less<std::uint64_t>,
                          CacheLineAllocator<std::pair<const std::uint64_t, Entry>>>;

struct alignas(64) Stripe {
    XoLock* guard = createXoLock();
    EntryMap entries;
    std::vector<IdleLock> idle;              // a stack: back is the most recent
    std::vector<EntryMap::node_type> spares; // erased nodes, reused by the next insert

    ~Stripe();
    Stripe() = default;
    Stripe(const Stripe&) = delete;
    Stripe& operator=(const Stripe&) = delete;

    XoLock* popIdle() {
        if (idle.empty())
            return nullptr;
        XoLock* lock = idle.back().lock;
        idle.pop_back();
        return lock;
    }

    Entry& findOrInsert(std::uint64_t key) {
        auto it = entries.lower_bound(key);
        if (it != entries.end() && it->first == key)
            return it->second;
        if (spares.empty())
            return entries.emplace_hint(it, key, Entry{})->second;
        EntryMap::node_type node = std::move(spares.back());
        spares.pop_back();
        node.key() = key;
        node.mapped() = Entry{};
        return entries.insert(it, std::move(node))->second;
    }
};

// Locks of entries still in use at exit belong to live guards and are left alone.
Stripe::~Stripe() {
    for (IdleLock idleLock : idle)
        delete idleLock.lock;
    for (auto& [key, entry] : entries)
        if (entry.users == 0)
            delete entry.lock;
    delete guard;
}

class Guard {
public:
    explicit Guard(XoLock* lock) : m_lock(lock) { platform::lockRecursive(m_lock); }
    ~Guard() { platform::unlockRecursive(m_lock); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    XoLock* m_lock;
};

std::atomic<unsigned long> g_locksMade{0};

constexpr unsigned kStripeBits = 6;
constexpr unsigned kStripes = 1u << kStripeBits;

class Pool {
public:
    XoLock* acquire(std::uint64_t key);
    void release(std::uint64_t key);

private:
    Stripe& stripeOf(std::uint64_t key) {
        // Objects are aligned, so the low bits say little; Fibonacci hashing spreads the rest.
        return m_stripes[((key >> 4) * 0x9E3779B97F4A7C15ull) >> (64 - kStripeBits)];
    }
    XoLock* borrowOrMake(const Stripe& home);

    Stripe m_stripes[kStripes];
};

XoLock* Pool::acquire(std::uint64_t key) {
    Stripe& stripe = stripeOf(key);
    {
        Guard guard(stripe.guard);
        Entry& entry = stripe.findOrInsert(key);
        ++entry.users;
        if (entry.lock == nullptr)
            entry.lock = stripe.popIdle();
        if (entry.lock != nullptr)
            return entry.lock;
    }
    // Borrowing takes other stripes' guards, never while holding this one.
    XoLock* lock = borrowOrMake(stripe);
    Guard guard(stripe.guard);
    Entry& entry = stripe.findOrInsert(key); // still there: this caller counts as a user
    if (entry.lock == nullptr)
        entry.lock = lock;
    else
        stripe.idle.push_back({lock});
    return entry.lock;
}

XoLock* Pool::borrowOrMake(const Stripe& home) {
    for (Stripe& other : m_stripes) {
        if (&other == &home)
            continue;
        Guard guard(other.guard);
        if (XoLock* lock = other.popIdle())
            return lock;
    }
    g_locksMade.fetch_add(1, std::memory_order_relaxed);
    return createXoLock();
}

void Pool::release(std::uint64_t key) {
    Stripe& stripe = stripeOf(key);
    Guard guard(stripe.guard);
    auto it = stripe.entries.find(key);
    if (it == stripe.entries.end())
        return;
    if (--it->second.users != 0)
        return;
    if (it->second.lock != nullptr)
        stripe.idle.push_back({it->second.lock});
    stripe.spares.push_back(stripe.entries.extract(it));
}

std::atomic<Pool*> g_pool{nullptr};

void tearDown() {
    delete g_pool.exchange(nullptr);
}

bool createPool() {
    g_pool.store(new Pool);
    std::atexit(tearDown);
    return true;
}

Pool* pool() {
    [[maybe_unused]] static const bool created = createPool(); // thread-safe, once
    return g_pool.load(std::memory_order_acquire);
}

std::uint64_t keyOf(const void* address) {
    return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(address));
}

} // namespace

XoLock* XoLockPool::acquire(const void* address) {
    Pool* p = pool();
    return p != nullptr ? p->acquire(keyOf(address)) : nullptr;
}

void XoLockPool::release(const void* address) {
    if (Pool* p = pool())
        p->release(keyOf(address));
}

unsigned long XoLockPool::locksMade() {
    return g_locksMade.load();
}

} // namespace xo
