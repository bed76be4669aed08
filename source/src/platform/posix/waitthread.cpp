// Threads as Windows objects: started through a gate that holds a thread created
// suspended until it is resumed, signalled when they end, their exit code kept.
//
// What Linux does not give without privileges or safety, and so fails as Windows'
// "false when it fails" allows: suspending a thread that is already running (it would
// need a signal-based stop that can freeze a thread inside the allocator's locks), and
// terminating one (pthread_cancel unwinds C++ frames unpredictably). Priorities map onto
// nice values of the thread; raising one above normal needs a privilege a user lacks.
#include "platform/waitable.h"

#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <time.h>

#include <climits>
#include <mutex>
#include <new>

#include "platform/error.h"
#include "platform/posix/waitobject.h"
#include "platform/thread.h"

namespace xo::platform {

namespace {

using posix::Object;

constexpr std::uint32_t kSuspendFailed = 0xFFFFFFFFu;

struct Start {
    Object* object;
    ThreadBody body;
    void* argument;
};

void* run(void* context) {
    const Start start = *static_cast<Start*>(context);
    delete static_cast<Start*>(context);
    Object* self = start.object;
    {
        std::unique_lock<std::mutex> lock(posix::objectsLock());
        self->thread.id = currentThreadId();
        self->thread.gate.notify_all(); // the creator waits for the identifier
        self->thread.gate.wait(lock, [self] { return self->thread.suspendCount == 0; });
        self->thread.started = true;
    }
    const unsigned code = start.body(start.argument);
    {
        posix::Wakes wakes;
        const std::lock_guard<std::mutex> lock(posix::objectsLock());
        self->thread.exitCode = code;
        self->signalled = true;
        posix::wakeWaiters(self, wakes);
    }
    posix::release(self);
    return nullptr;
}

// The pseudo-handles: objects that are never signalled and never freed.
struct Permanent : Object {
    Permanent() : Object(posix::Kind::kNever) { permanent = true; }
};
Permanent g_currentThread;
Permanent g_currentProcess;

// Windows' levels and the nice value each stands for.
struct Level {
    int priority;
    int nice;
};
constexpr Level kLevels[] = {{-15, 19}, {-2, 10}, {-1, 5}, {0, 0}, {1, -5}, {2, -10}, {15, -20}};

Object* threadOf(WaitHandle handle) {
    Object* object = posix::objectOf(handle);
    return object != nullptr && object->kind == posix::Kind::kThread ? object : nullptr;
}

// The kernel's thread id for a nice value, or 0 for the calling thread.
int niceTarget(WaitHandle handle) {
    if (handle == static_cast<Object*>(&g_currentThread))
        return 0;
    return threadOf(handle) != nullptr ? int(threadIdOf(handle)) : -1;
}

} // namespace

bool startThread(ThreadBody body, void* argument, bool suspended, unsigned stackSize,
                 StartedThread* started) {
    auto* object = new (std::nothrow) Object(posix::Kind::kThread);
    auto* start = new (std::nothrow) Start{object, body, argument};
    pthread_attr_t attributes;
    if (object == nullptr || start == nullptr || ::pthread_attr_init(&attributes) != 0) {
        delete object;
        delete start;
        setThreadLastError(kErrorNotEnoughMemory);
        return false;
    }
    object->references.store(2); // the handle and the running thread
    object->thread.suspendCount = suspended ? 1 : 0;
    ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (stackSize != 0)
        ::pthread_attr_setstacksize(&attributes,
                                    stackSize < PTHREAD_STACK_MIN ? PTHREAD_STACK_MIN : stackSize);
    pthread_t thread;
    const int rc = ::pthread_create(&thread, &attributes, run, start);
    ::pthread_attr_destroy(&attributes);
    if (rc != 0) {
        delete object;
        delete start;
        setThreadLastError(win32ErrorFromErrno(rc));
        return false;
    }
    // The kernel's id is known once the thread runs; asking for it waits (threadIdOf), so
    // that starting a thread costs no round trip to it.
    *started = {object, 0};
    return true;
}

std::uint32_t threadIdOf(WaitHandle handle) {
    Object* thread = threadOf(handle);
    if (thread == nullptr)
        return 0;
    std::unique_lock<std::mutex> lock(posix::objectsLock());
    thread->thread.gate.wait(lock, [thread] { return thread->thread.id != 0; });
    return thread->thread.id;
}

WaitHandle currentThreadHandle() {
    return static_cast<Object*>(&g_currentThread);
}

WaitHandle currentProcessHandle() {
    return static_cast<Object*>(&g_currentProcess);
}

int threadPriority(WaitHandle thread) {
    const int target = niceTarget(thread);
    if (target < 0)
        return kThreadPriorityError;
    errno = 0;
    const int nice = ::getpriority(PRIO_PROCESS, id_t(target));
    if (errno != 0)
        return kThreadPriorityError;
    int best = 0, distance = INT_MAX;
    for (const Level& level : kLevels) {
        const int d = level.nice > nice ? level.nice - nice : nice - level.nice;
        if (d < distance) {
            distance = d;
            best = level.priority;
        }
    }
    return best;
}

bool setThreadPriority(WaitHandle thread, int priority) {
    const int target = niceTarget(thread);
    for (const Level& level : kLevels) {
        if (level.priority == priority && target >= 0) {
            if (::setpriority(PRIO_PROCESS, id_t(target), level.nice) == 0)
                return true;
            setThreadLastError(kErrorAccessDenied);
            return false;
        }
    }
    setThreadLastError(target < 0 ? kErrorInvalidHandle : kErrorInvalidParameter);
    return false;
}

std::uint32_t suspendThread(WaitHandle handle) {
    Object* thread = threadOf(handle);
    const std::lock_guard<std::mutex> lock(posix::objectsLock());
    if (thread == nullptr || thread->thread.started || thread->signalled) {
        setThreadLastError(thread == nullptr ? kErrorInvalidHandle : kErrorNotSupported);
        return kSuspendFailed;
    }
    return thread->thread.suspendCount++;
}

std::uint32_t resumeThread(WaitHandle handle) {
    Object* thread = threadOf(handle);
    if (thread == nullptr) {
        setThreadLastError(kErrorInvalidHandle);
        return kSuspendFailed;
    }
    const std::lock_guard<std::mutex> lock(posix::objectsLock());
    const std::uint32_t previous = thread->thread.suspendCount;
    if (previous > 0 && --thread->thread.suspendCount == 0)
        thread->thread.gate.notify_all();
    return previous;
}

bool terminateThread(WaitHandle handle, std::uint32_t) {
    setThreadLastError(threadOf(handle) == nullptr ? kErrorInvalidHandle : kErrorNotSupported);
    return false;
}

bool threadExitCode(WaitHandle handle, std::uint32_t* code) {
    Object* thread = threadOf(handle);
    if (thread == nullptr) {
        setThreadLastError(kErrorInvalidHandle);
        return false;
    }
    const std::lock_guard<std::mutex> lock(posix::objectsLock());
    *code = thread->thread.exitCode;
    return true;
}

std::uint32_t tickCount() {
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::uint32_t(std::uint64_t(now.tv_sec) * 1000 + std::uint64_t(now.tv_nsec) / 1000000);
}

bool processAffinityMask(WaitHandle process, std::uint64_t* mask) {
    cpu_set_t set;
    if (process != static_cast<Object*>(&g_currentProcess) ||
        ::sched_getaffinity(0, sizeof set, &set) != 0) {
        setThreadLastError(kErrorInvalidHandle);
        return false;
    }
    *mask = 0;
    for (int cpu = 0; cpu < 64 && cpu < CPU_SETSIZE; ++cpu) {
        if (CPU_ISSET(cpu, &set))
            *mask |= std::uint64_t(1) << cpu;
    }
    return true;
}

} // namespace xo::platform
