// Waitable objects on POSIX. One lock guards every object's state and waiter list, as
// the kernel's ntsync driver does for anything a wait-all may see: a wait checks and
// takes its objects in one step under it, and a set hands the object to the first
// waiter it satisfies before anyone else can look. Each waiter sleeps on a futex word of
// its own, with an absolute deadline on the monotonic clock.
#include "platform/waitable.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>
#include <new>

#include "platform/error.h"
#include "platform/posix/waitobject.h"

namespace xo::platform {

namespace {

using posix::Node;
using posix::Object;
using posix::Waiter;

constexpr long kNanosecondsPerMillisecond = 1'000'000;
constexpr long kNanosecondsPerSecond = 1'000'000'000;

timespec deadlineAfter(std::uint32_t milliseconds) {
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    now.tv_sec += time_t(milliseconds / 1000);
    now.tv_nsec += long(milliseconds % 1000) * kNanosecondsPerMillisecond;
    if (now.tv_nsec >= kNanosecondsPerSecond) {
        now.tv_nsec -= kNanosecondsPerSecond;
        ++now.tv_sec;
    }
    return now;
}

// Sleeps while the word is 0; false once the deadline (null: none) has passed.
bool sleepOn(std::atomic<std::uint32_t>& word, const timespec* deadline) {
    while (word.load(std::memory_order_acquire) == 0) {
        const long rc = ::syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&word),
                                  FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, 0, deadline, nullptr,
                                  FUTEX_BITSET_MATCH_ANY);
        if (rc != 0 && errno == ETIMEDOUT)
            return false;
    }
    return true;
}

void wakeOne(std::atomic<std::uint32_t>& word) {
    ::syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&word), FUTEX_WAKE | FUTEX_PRIVATE_FLAG,
              1, nullptr, nullptr, 0);
}

void link(Object* object, Node* node) {
    node->object = object;
    node->next = nullptr;
    node->prev = object->tail;
    (object->tail ? object->tail->next : object->head) = node;
    object->tail = node;
}

void unlink(Node* node) {
    Object* object = node->object;
    (node->prev ? node->prev->next : object->head) = node->next;
    (node->next ? node->next->prev : object->tail) = node->prev;
}

void consume(Object* object) {
    if (!object->manual)
        object->signalled = false;
}

// The answer a wait would give now, taking what it answers with; kWaitTimeout when it
// must go on waiting.
std::uint32_t tryTake(Object* const* objects, std::uint32_t count, bool all) {
    if (!all) {
        for (std::uint32_t i = 0; i < count; ++i) {
            if (objects[i]->signalled) {
                consume(objects[i]);
                return kWaitObject0 + i;
            }
        }
        return kWaitTimeout;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!objects[i]->signalled)
            return kWaitTimeout;
    }
    for (std::uint32_t i = 0; i < count; ++i)
        consume(objects[i]);
    return kWaitObject0;
}

// The waiter may return as soon as its word says done, so nothing of it is touched after.
void finish(Waiter* waiter, std::uint32_t result, posix::Wakes& wakes) {
    for (std::uint32_t i = 0; i < waiter->count; ++i)
        unlink(&waiter->nodes[i]);
    waiter->result = result;
    std::atomic<std::uint32_t>* done = waiter->done;
    done->store(1, std::memory_order_release);
    wakes.add(done);
}

thread_local std::atomic<std::uint32_t> t_waitWord{0};

// An open-addressed set of the objects' addresses, twice as many slots as objects: one
// pass instead of comparing every pair, which a wait-all over 64 objects would feel.
bool hasDuplicates(Object* const* objects, std::uint32_t count) {
    constexpr std::uint32_t kSlotsOnStack = 128;
    std::uint32_t slots = kSlotsOnStack;
    while (slots < 2 * count)
        slots *= 2;
    Object* onStack[kSlotsOnStack];
    std::unique_ptr<Object*[]> onHeap;
    Object** table = onStack;
    if (slots > kSlotsOnStack) {
        onHeap.reset(new (std::nothrow) Object*[slots]);
        if (!onHeap)
            return false; // cannot tell: let the wait go on as Wine's does
        table = onHeap.get();
    }
    std::fill(table, table + slots, nullptr);
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint32_t at = std::uint32_t(reinterpret_cast<std::uintptr_t>(objects[i]) >> 4);
        for (at &= slots - 1; table[at] != nullptr; at = (at + 1) & (slots - 1)) {
            if (table[at] == objects[i])
                return true;
        }
        table[at] = objects[i];
    }
    return false;
}

std::uint32_t failWith(std::uint32_t error) {
    setThreadLastError(error);
    return kWaitFailed;
}

} // namespace

namespace posix {

Wakes::~Wakes() {
    for (int i = 0; i < count_; ++i)
        wakeOne(*words_[i]);
}

void Wakes::add(std::atomic<std::uint32_t>* word) {
    if (count_ < kCapacity)
        words_[count_++] = word;
    else
        wakeOne(*word); // the word outlives any wait, so this is safe under the lock too
}

std::mutex& objectsLock() {
    static std::mutex lock;
    return lock;
}

// Hands a newly signalled object to its waiters in the order they came, as long as it
// stays signalled: an auto-reset event goes to one of them, a manual one to all.
void wakeWaiters(Object* object, Wakes& wakes) {
    for (Node* node = object->head; node != nullptr && object->signalled;) {
        Node* next = node->next;
        Waiter* waiter = node->waiter;
        const std::uint32_t result = tryTake(waiter->objects, waiter->count, waiter->all);
        if (result != kWaitTimeout) {
            // finish unlinks every node of this waiter, and next may be one of them only
            // when the same object is named twice, which a wait-any allows.
            while (next != nullptr && next->waiter == waiter)
                next = next->next;
            finish(waiter, result, wakes);
        }
        node = next;
    }
}

Object* objectOf(WaitHandle handle) {
    return static_cast<Object*>(handle);
}

void release(Object* object) {
    if (object->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete object;
}

} // namespace posix

WaitHandle createEvent(bool manualReset, bool initiallySignalled) {
    auto* event = new (std::nothrow) Object(posix::Kind::kEvent);
    if (event == nullptr) {
        setThreadLastError(kErrorNotEnoughMemory);
        return nullptr;
    }
    event->manual = manualReset;
    event->signalled = initiallySignalled;
    return event;
}

bool setEvent(WaitHandle handle) {
    Object* event = posix::objectOf(handle);
    if (event == nullptr || event->kind != posix::Kind::kEvent) {
        setThreadLastError(kErrorInvalidHandle);
        return false;
    }
    posix::Wakes wakes; // destroyed after the lock below is released
    const std::lock_guard<std::mutex> lock(posix::objectsLock());
    event->signalled = true;
    posix::wakeWaiters(event, wakes);
    return true;
}

bool resetEvent(WaitHandle handle) {
    Object* event = posix::objectOf(handle);
    if (event == nullptr || event->kind != posix::Kind::kEvent) {
        setThreadLastError(kErrorInvalidHandle);
        return false;
    }
    const std::lock_guard<std::mutex> lock(posix::objectsLock());
    event->signalled = false;
    return true;
}

void closeWaitHandle(WaitHandle handle) {
    Object* object = posix::objectOf(handle);
    if (object != nullptr && !object->permanent)
        posix::release(object);
}

std::uint32_t waitForObjects(std::uint32_t count, const WaitHandle* handles, bool waitAll,
                             std::uint32_t timeoutMs) {
    if (count == 0 || count > kMaxWaitObjects || handles == nullptr)
        return failWith(kErrorInvalidParameter);
    Object* const* objects = reinterpret_cast<Object* const*>(handles);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (objects[i] == nullptr)
            return failWith(kErrorInvalidHandle);
    }
    if (waitAll && hasDuplicates(objects, count))
        return failWith(kErrorInvalidParameter);
    const timespec deadline = deadlineAfter(timeoutMs);
    std::unique_ptr<Node[]> nodes;
    Waiter waiter{objects, count, waitAll};
    waiter.done = &t_waitWord;
    t_waitWord.store(0, std::memory_order_relaxed);
    {
        const std::lock_guard<std::mutex> lock(posix::objectsLock());
        const std::uint32_t now = tryTake(objects, count, waitAll);
        if (now != kWaitTimeout || timeoutMs == 0)
            return now;
        nodes.reset(new (std::nothrow) Node[count]);
        if (!nodes)
            return failWith(kErrorNotEnoughMemory);
        waiter.nodes = nodes.get();
        for (std::uint32_t i = 0; i < count; ++i) {
            nodes[i].waiter = &waiter;
            link(objects[i], &nodes[i]);
        }
    }
    if (!sleepOn(t_waitWord, timeoutMs == kInfinite ? nullptr : &deadline)) {
        const std::lock_guard<std::mutex> lock(posix::objectsLock());
        if (t_waitWord.load(std::memory_order_acquire) == 0) {
            for (std::uint32_t i = 0; i < count; ++i)
                unlink(&nodes[i]);
            return kWaitTimeout;
        }
    }
    return waiter.result; // written before the word said done
}

} // namespace xo::platform
