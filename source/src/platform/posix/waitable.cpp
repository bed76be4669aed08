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

void finish(Waiter* waiter, std::uint32_t result) {
    for (std::uint32_t i = 0; i < waiter->count; ++i)
        unlink(&waiter->nodes[i]);
    waiter->result = result;
    waiter->done.store(1, std::memory_order_release);
    wakeOne(waiter->done); // under the lock: the waiter cannot have gone yet
}

bool hasDuplicates(Object* const* objects, std::uint32_t count) {
    for (std::uint32_t i = 1; i < count; ++i) {
        for (std::uint32_t j = 0; j < i; ++j) {
            if (objects[i] == objects[j])
                return true;
        }
    }
    return false;
}

std::uint32_t failWith(std::uint32_t error) {
    setThreadLastError(error);
    return kWaitFailed;
}

} // namespace

namespace posix {

std::mutex& objectsLock() {
    static std::mutex lock;
    return lock;
}

// Hands a newly signalled object to its waiters in the order they came, as long as it
// stays signalled: an auto-reset event goes to one of them, a manual one to all.
void wakeWaiters(Object* object) {
    for (Node* node = object->head; node != nullptr && object->signalled;) {
        Node* next = node->next;
        Waiter* waiter = node->waiter;
        const std::uint32_t result = tryTake(waiter->objects, waiter->count, waiter->all);
        if (result != kWaitTimeout) {
            // finish unlinks every node of this waiter, and next may be one of them only
            // when the same object is named twice, which a wait-any allows.
            while (next != nullptr && next->waiter == waiter)
                next = next->next;
            finish(waiter, result);
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
    const std::lock_guard<std::mutex> lock(posix::objectsLock());
    event->signalled = true;
    posix::wakeWaiters(event);
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
    if (!sleepOn(waiter.done, timeoutMs == kInfinite ? nullptr : &deadline)) {
        const std::lock_guard<std::mutex> lock(posix::objectsLock());
        if (waiter.done.load(std::memory_order_acquire) == 0) {
            for (std::uint32_t i = 0; i < count; ++i)
                unlink(&nodes[i]);
            return kWaitTimeout;
        }
    }
    // The waker finished under the lock; taking it once more lets its wake-up end before
    // this frame, which holds the futex word, goes away.
    const std::lock_guard<std::mutex> lock(posix::objectsLock());
    return waiter.result;
}

} // namespace xo::platform
