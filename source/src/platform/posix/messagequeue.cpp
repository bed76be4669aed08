// Per-thread message queues. A queue lives as long as its thread; posters find it by
// thread identifier in a short list under the objects' lock, which also guards its
// messages, so that a post and a message wait see one state.
#include "platform/messagequeue.h"

#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <mutex>
#include <new>

#include "platform/error.h"
#include "platform/posix/waitobject.h"
#include "platform/thread.h"

namespace xo::platform {

namespace {

struct Entry {
    QueuedMessage message;
    Entry* next;
};

struct Queue {
    Queue() : object(posix::Kind::kEvent) { object.permanent = true; }
    std::uint32_t threadId = 0;
    posix::Object object; // manual reset: signalled while new input waits
    Entry* head = nullptr;
    Entry* tail = nullptr;
    int descriptor = -1;
    Queue* next = nullptr;
};

Queue* g_queues = nullptr; // under objectsLock()

std::uint32_t monotonicMilliseconds() {
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::uint32_t(std::uint64_t(now.tv_sec) * 1000 + std::uint64_t(now.tv_nsec) / 1000000);
}

void signalDescriptor(int descriptor) {
    const std::uint64_t one = 1;
    (void)!::write(descriptor, &one, sizeof one);
}

void drainDescriptor(int descriptor) {
    std::uint64_t count;
    (void)!::read(descriptor, &count, sizeof count);
}

// Takes the queue out of the list and frees what it still holds when its thread ends.
struct Owner {
    Queue* queue = nullptr;
    ~Owner() {
        if (queue == nullptr)
            return;
        {
            const std::lock_guard<std::mutex> lock(posix::objectsLock());
            for (Queue** at = &g_queues; *at != nullptr; at = &(*at)->next) {
                if (*at == queue) {
                    *at = queue->next;
                    break;
                }
            }
        }
        for (Entry* e = queue->head; e != nullptr;) {
            Entry* next = e->next;
            delete e;
            e = next;
        }
        if (queue->descriptor >= 0)
            ::close(queue->descriptor);
        delete queue;
    }
};

thread_local Owner t_queue;

Queue* ownQueue() {
    if (t_queue.queue != nullptr)
        return t_queue.queue;
    auto* queue = new (std::nothrow) Queue;
    if (queue == nullptr)
        return nullptr;
    queue->descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (queue->descriptor < 0) {
        delete queue;
        return nullptr;
    }
    queue->threadId = currentThreadId();
    {
        const std::lock_guard<std::mutex> lock(posix::objectsLock());
        queue->next = g_queues;
        g_queues = queue;
    }
    t_queue.queue = queue;
    return queue;
}

Queue* queueOf(std::uint32_t threadId) {
    for (Queue* q = g_queues; q != nullptr; q = q->next) {
        if (q->threadId == threadId)
            return q;
    }
    return nullptr;
}

} // namespace

bool postThreadMessage(std::uint32_t threadId, std::uint32_t message, std::uintptr_t wParam,
                       std::intptr_t lParam) {
    auto* entry = new (std::nothrow) Entry{{nullptr, message, wParam, lParam, 0}, nullptr};
    if (entry == nullptr) {
        setThreadLastError(kErrorNotEnoughMemory);
        return false;
    }
    entry->message.time = monotonicMilliseconds();
    posix::Wakes wakes;
    const std::lock_guard<std::mutex> lock(posix::objectsLock());
    Queue* queue = queueOf(threadId);
    if (queue == nullptr) {
        delete entry;
        setThreadLastError(kErrorInvalidThreadId);
        return false;
    }
    if (queue->head == nullptr)
        signalDescriptor(queue->descriptor);
    (queue->tail ? queue->tail->next : queue->head) = entry;
    queue->tail = entry;
    queue->object.signalled = true;
    posix::wakeWaiters(&queue->object, wakes);
    return true;
}

bool peekMessage(QueuedMessage* out, bool remove) {
    Queue* queue = ownQueue();
    if (queue == nullptr)
        return false;
    Entry* taken = nullptr;
    {
        const std::lock_guard<std::mutex> lock(posix::objectsLock());
        queue->object.signalled = false; // what waits now is no longer new
        if (queue->head == nullptr)
            return false;
        *out = queue->head->message;
        if (remove) {
            taken = queue->head;
            queue->head = taken->next;
            if (queue->head == nullptr) {
                queue->tail = nullptr;
                drainDescriptor(queue->descriptor);
            }
        }
    }
    delete taken;
    return true;
}

int messageQueueDescriptor() {
    Queue* queue = ownQueue();
    return queue != nullptr ? queue->descriptor : -1;
}

WaitHandle messageQueueObject() {
    Queue* queue = ownQueue();
    return queue != nullptr ? &queue->object : nullptr;
}

std::uint32_t msgWaitForObjects(std::uint32_t count, const WaitHandle* handles, bool waitAll,
                                std::uint32_t timeoutMs, std::uint32_t wakeMask) {
    if ((wakeMask & (kWakePostMessage | kWakeAllPostMessage)) == 0)
        return waitForObjects(count, handles, waitAll, timeoutMs);
    WaitHandle queue = messageQueueObject();
    if (queue == nullptr || count >= kMaxWaitObjects || (count != 0 && handles == nullptr)) {
        setThreadLastError(queue == nullptr ? kErrorNotEnoughMemory : kErrorInvalidParameter);
        return kWaitFailed;
    }
    WaitHandle all[kMaxWaitObjects];
    for (std::uint32_t i = 0; i < count; ++i)
        all[i] = handles[i];
    all[count] = queue;
    return waitForObjects(count + 1, all, waitAll, timeoutMs);
}

} // namespace xo::platform
