// Per-thread message queues. A queue lives as long as its thread; posters find it by
// thread identifier in a short list under the objects' lock, which also guards its
// messages, so that a post and a message wait see one state. Its timers belong to its
// thread alone and need no lock. The descriptor a host polls is an epoll set of an
// eventfd (messages waiting) and a timerfd (armed at the next timer's due time).
#include "platform/messagequeue.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <mutex>
#include <new>

#include "platform/error.h"
#include "platform/posix/waitobject.h"
#include "platform/thread.h"

namespace xo::platform {

namespace {

constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

struct Entry {
    QueuedMessage message;
    Entry* next;
};

// A tick is due at start + n × interval: a late dispatch does not move the next one, and
// a thread that missed several gets one tick, as Windows coalesces WM_TIMER.
struct Timer {
    std::uintptr_t id;
    std::int64_t start;
    std::int64_t interval;
    std::int64_t due;
    TimerProcedure procedure;
    bool inProcedure;
    Timer* next;
};

struct Queue {
    Queue() : object(posix::Kind::kEvent) { object.permanent = true; }
    std::uint32_t threadId = 0;
    posix::Object object; // manual reset: signalled while new posted input waits
    Entry* head = nullptr;
    Entry* tail = nullptr;
    Timer* timers = nullptr;
    int pending = -1; // eventfd: readable while a message waits
    int ticking = -1; // timerfd: readable once the next timer is due
    int descriptor = -1;
    Queue* next = nullptr;
};

Queue* g_queues = nullptr; // under objectsLock()
std::atomic<std::uintptr_t> g_nextTimerId{1};

std::int64_t now() {
    timespec t;
    ::clock_gettime(CLOCK_MONOTONIC, &t);
    return std::int64_t(t.tv_sec) * kNanosecondsPerSecond + t.tv_nsec;
}

void signalDescriptor(int descriptor) {
    const std::uint64_t one = 1;
    (void)!::write(descriptor, &one, sizeof one);
}

void drainDescriptor(int descriptor) {
    std::uint64_t count;
    (void)!::read(descriptor, &count, sizeof count);
}

Timer* earliest(const Queue* queue) {
    Timer* first = nullptr;
    for (Timer* t = queue->timers; t != nullptr; t = t->next) {
        if (first == nullptr || t->due < first->due)
            first = t;
    }
    return first;
}

// The timerfd goes off at the earliest due time; disarmed when no timer runs.
void arm(Queue* queue) {
    drainDescriptor(queue->ticking);
    itimerspec when = {};
    if (const Timer* first = earliest(queue)) {
        const std::int64_t due = first->due > 0 ? first->due : 1;
        when.it_value.tv_sec = time_t(due / kNanosecondsPerSecond);
        when.it_value.tv_nsec = long(due % kNanosecondsPerSecond);
    }
    ::timerfd_settime(queue->ticking, TFD_TIMER_ABSTIME, &when, nullptr);
}

void closeAll(Queue* queue) {
    for (int fd : {queue->pending, queue->ticking, queue->descriptor}) {
        if (fd >= 0)
            ::close(fd);
    }
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
        for (Timer* t = queue->timers; t != nullptr;) {
            Timer* next = t->next;
            delete t;
            t = next;
        }
        closeAll(queue);
        delete queue;
    }
};

thread_local Owner t_queue;

bool openDescriptors(Queue* queue) {
    queue->pending = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    queue->ticking = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    queue->descriptor = ::epoll_create1(EPOLL_CLOEXEC);
    if (queue->pending < 0 || queue->ticking < 0 || queue->descriptor < 0)
        return false;
    for (int fd : {queue->pending, queue->ticking}) {
        epoll_event watch = {};
        watch.events = EPOLLIN;
        watch.data.fd = fd;
        if (::epoll_ctl(queue->descriptor, EPOLL_CTL_ADD, fd, &watch) != 0)
            return false;
    }
    return true;
}

Queue* ownQueue() {
    if (t_queue.queue != nullptr)
        return t_queue.queue;
    auto* queue = new (std::nothrow) Queue;
    if (queue == nullptr)
        return nullptr;
    if (!openDescriptors(queue)) {
        closeAll(queue);
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

Timer* timerOf(Queue* queue, std::uintptr_t id) {
    for (Timer* t = queue->timers; t != nullptr; t = t->next) {
        if (t->id == id)
            return t;
    }
    return nullptr;
}

std::uint32_t milliseconds(std::int64_t nanoseconds) {
    return std::uint32_t(nanoseconds / kNanosecondsPerMillisecond);
}

// The due timer's tick as WM_TIMER; taking it moves the timer to its next due time after
// now, however many it missed.
bool dueTick(Queue* queue, QueuedMessage* out, bool remove) {
    Timer* first = earliest(queue);
    const std::int64_t at = now();
    if (first == nullptr || first->due > at)
        return false;
    *out = {nullptr, kWmTimer, first->id, reinterpret_cast<std::intptr_t>(first->procedure),
            milliseconds(at)};
    if (remove) {
        const std::int64_t missed = (at - first->start) / first->interval;
        first->due = first->start + (missed + 1) * first->interval;
        arm(queue);
    }
    return true;
}

} // namespace

bool postThreadMessage(std::uint32_t threadId, std::uint32_t message, std::uintptr_t wParam,
                       std::intptr_t lParam) {
    auto* entry = new (std::nothrow) Entry{{nullptr, message, wParam, lParam, 0}, nullptr};
    if (entry == nullptr) {
        setThreadLastError(kErrorNotEnoughMemory);
        return false;
    }
    entry->message.time = milliseconds(now());
    posix::Wakes wakes;
    const std::lock_guard<std::mutex> lock(posix::objectsLock());
    Queue* queue = queueOf(threadId);
    if (queue == nullptr) {
        delete entry;
        setThreadLastError(kErrorInvalidThreadId);
        return false;
    }
    if (queue->head == nullptr)
        signalDescriptor(queue->pending);
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
        if (queue->head != nullptr) {
            *out = queue->head->message;
            if (remove) {
                taken = queue->head;
                queue->head = taken->next;
                if (queue->head == nullptr) {
                    queue->tail = nullptr;
                    drainDescriptor(queue->pending);
                }
            }
            delete taken;
            return true;
        }
    }
    return dueTick(queue, out, remove); // timers come after posted messages
}

bool dispatchMessage(const QueuedMessage& message) {
    Queue* queue = ownQueue();
    if (queue == nullptr || message.message != kWmTimer || message.lParam == 0)
        return false;
    Timer* timer = timerOf(queue, message.wParam);
    if (timer == nullptr || timer->inProcedure)
        return false; // killed meanwhile, or a dispatch from inside its own procedure
    timer->inProcedure = true;
    const std::uintptr_t id = timer->id;
    reinterpret_cast<TimerProcedure>(message.lParam)(nullptr, kWmTimer, id, message.time);
    if (Timer* still = timerOf(queue, id)) // the procedure may have killed it
        still->inProcedure = false;
    return true;
}

std::uintptr_t setThreadTimer(std::uint32_t intervalMs, TimerProcedure procedure) {
    Queue* queue = ownQueue();
    auto* timer = queue != nullptr ? new (std::nothrow) Timer{} : nullptr;
    if (timer == nullptr) {
        setThreadLastError(kErrorNotEnoughMemory);
        return 0;
    }
    const std::int64_t interval =
        std::int64_t(intervalMs == 0 ? 1 : intervalMs) * kNanosecondsPerMillisecond;
    timer->id = g_nextTimerId.fetch_add(1, std::memory_order_relaxed);
    timer->start = now();
    timer->interval = interval;
    timer->due = timer->start + interval;
    timer->procedure = procedure;
    timer->next = queue->timers;
    queue->timers = timer;
    arm(queue);
    return timer->id;
}

bool killThreadTimer(std::uintptr_t id) {
    Queue* queue = t_queue.queue;
    for (Timer** at = queue != nullptr ? &queue->timers : nullptr; at != nullptr && *at != nullptr;
         at = &(*at)->next) {
        if ((*at)->id == id) {
            Timer* dead = *at;
            *at = dead->next;
            delete dead;
            arm(queue);
            return true;
        }
    }
    setThreadLastError(kErrorInvalidParameter);
    return false;
}

int messageQueueDescriptor() {
    Queue* queue = ownQueue();
    return queue != nullptr ? queue->descriptor : -1;
}

WaitHandle messageQueueObject() {
    Queue* queue = ownQueue();
    return queue != nullptr ? &queue->object : nullptr;
}

namespace {

// When the calling thread's next timer is due; 0 when none runs.
std::int64_t nextTick() {
    Queue* queue = t_queue.queue;
    const Timer* first = queue != nullptr ? earliest(queue) : nullptr;
    return first != nullptr ? first->due : 0;
}

std::uint32_t millisecondsUntil(std::int64_t at) {
    const std::int64_t left = at - now();
    return left <= 0 ? 0
                     : std::uint32_t((left + kNanosecondsPerMillisecond - 1) /
                                     kNanosecondsPerMillisecond);
}

void sleepUntil(std::int64_t at) {
    const timespec until = {time_t(at / kNanosecondsPerSecond), long(at % kNanosecondsPerSecond)};
    while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

} // namespace

std::uint32_t msgWaitForObjects(std::uint32_t count, const WaitHandle* handles, bool waitAll,
                                std::uint32_t timeoutMs, std::uint32_t wakeMask) {
    const bool posted = (wakeMask & (kWakePostMessage | kWakeAllPostMessage)) != 0;
    const bool timers = (wakeMask & kWakeTimer) != 0;
    WaitHandle queue = posted ? messageQueueObject() : nullptr;
    if ((posted && queue == nullptr) || count >= kMaxWaitObjects ||
        (count != 0 && handles == nullptr)) {
        setThreadLastError(posted && queue == nullptr ? kErrorNotEnoughMemory
                                                      : kErrorInvalidParameter);
        return kWaitFailed;
    }
    WaitHandle all[kMaxWaitObjects];
    for (std::uint32_t i = 0; i < count; ++i)
        all[i] = handles[i];
    if (posted)
        all[count] = queue;
    const std::uint32_t objects = count + (posted ? 1 : 0);
    const bool forever = timeoutMs == kInfinite;
    const std::int64_t deadline = now() + std::int64_t(timeoutMs) * kNanosecondsPerMillisecond;
    for (;;) {
        const std::int64_t tick = timers ? nextTick() : 0;
        if (tick != 0 && tick <= now())
            return count; // a timer is due: input of the masked kind
        const bool tickFirst = tick != 0 && (forever || tick < deadline);
        if (objects == 0) {
            // Nothing to wait on but the clock: sleep to the exact moment.
            if (!tickFirst) {
                if (forever) {
                    setThreadLastError(kErrorInvalidParameter);
                    return kWaitFailed;
                }
                sleepUntil(deadline);
                return kWaitTimeout;
            }
            sleepUntil(tick);
            continue;
        }
        const std::uint32_t wait = tickFirst ? millisecondsUntil(tick)
                                   : forever ? kInfinite
                                             : millisecondsUntil(deadline);
        const std::uint32_t answer = waitForObjects(objects, all, waitAll, wait);
        if (answer != kWaitTimeout || !tickFirst)
            return answer;
    }
}

} // namespace xo::platform
