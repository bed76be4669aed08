// An array of (thread, identifier, timer) entries sorted by thread and identifier,
// searched by halving: the running timers of a process are few, and no standard container
// is instantiated here (it would be exported from the shared library). The thread is part
// of the key because a timer without a window is numbered by its thread's queue: Wine
// gives two threads' first timers the same number.
#include "scheduling/xotimertable.h"

#include <cstring>
#include <mutex>
#include <new>

#include "platform/thread.h"

namespace xo::scheduling {

namespace {

struct Slot {
    std::uint32_t thread;
    std::uintptr_t id;
    VeskWindowsTimer* timer;
};

bool before(const Slot& slot, std::uint32_t thread, std::uintptr_t id) {
    return slot.thread < thread || (slot.thread == thread && slot.id < id);
}

bool names(const Slot& slot, std::uint32_t thread, std::uintptr_t id) {
    return slot.thread == thread && slot.id == id;
}

struct Table {
    std::mutex lock;
    Slot* slots = nullptr;
    std::size_t count = 0;
    std::size_t capacity = 0;
};

Table& table() {
    static Table* const t = new Table; // never freed: timers may stop at exit
    return *t;
}

// The first slot not below (thread, id).
std::size_t lowerBound(const Table& t, std::uint32_t thread, std::uintptr_t id) {
    std::size_t low = 0, high = t.count;
    while (low < high) {
        const std::size_t mid = low + (high - low) / 2;
        if (before(t.slots[mid], thread, id))
            low = mid + 1;
        else
            high = mid;
    }
    return low;
}

bool grow(Table& t) {
    const std::size_t capacity = t.capacity == 0 ? 16 : t.capacity * 2;
    auto* slots = new (std::nothrow) Slot[capacity];
    if (slots == nullptr)
        return false;
    if (t.count != 0)
        std::memcpy(slots, t.slots, t.count * sizeof(Slot));
    delete[] t.slots;
    t.slots = slots;
    t.capacity = capacity;
    return true;
}

} // namespace

bool addTimer(std::uintptr_t id, VeskWindowsTimer* timer) {
    Table& t = table();
    const std::lock_guard<std::mutex> guard(t.lock);
    const std::uint32_t thread = platform::currentThreadId();
    const std::size_t at = lowerBound(t, thread, id);
    if (at < t.count && names(t.slots[at], thread, id)) {
        t.slots[at].timer = timer;
        return true;
    }
    if (t.count == t.capacity && !grow(t))
        return false;
    std::memmove(t.slots + at + 1, t.slots + at, (t.count - at) * sizeof(Slot));
    t.slots[at] = {thread, id, timer};
    ++t.count;
    return true;
}

void removeTimer(std::uintptr_t id) {
    Table& t = table();
    const std::lock_guard<std::mutex> guard(t.lock);
    const std::uint32_t thread = platform::currentThreadId();
    const std::size_t at = lowerBound(t, thread, id);
    if (at < t.count && names(t.slots[at], thread, id)) {
        std::memmove(t.slots + at, t.slots + at + 1, (t.count - at - 1) * sizeof(Slot));
        --t.count;
    }
}

VeskWindowsTimer* findTimer(std::uintptr_t id) {
    Table& t = table();
    const std::lock_guard<std::mutex> guard(t.lock);
    const std::uint32_t thread = platform::currentThreadId();
    const std::size_t at = lowerBound(t, thread, id);
    return at < t.count && names(t.slots[at], thread, id) ? t.slots[at].timer : nullptr;
}

} // namespace xo::scheduling
