// The file system's worker: one thread serving a first-in-first-out queue of tasks.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

class XoTaskThread {
public:
    using Task = std::function<void()>;

    // A queue entry: a type of the library's own, so that the queue's code stays inside
    // the library instead of being exported with the standard library's types.
    struct QueuedTask {
        Task run;
    };

    // Returns once the thread runs; failures to start are std::system_error.
    XoTaskThread();
    // Stops taking tasks, runs those still queued, and joins the thread.
    ~XoTaskThread();
    XoTaskThread(const XoTaskThread&) = delete;
    XoTaskThread& operator=(const XoTaskThread&) = delete;

    // Queues task behind the others; false (and the task destroyed) while stopping.
    bool post(Task task);
    // The OS handle of the serving thread (null where the platform has none).
    void* nativeHandle();
    // Read without the lock by a caller deciding whether to cancel; the flag is written
    // under the lock and read atomically, so the unlocked read is no data race.
    bool stopping() const { return __atomic_load_n(&m_bStop, __ATOMIC_RELAXED); }

    // For a task: the thread running it is stuck and has been replaced, so when the task
    // returns the thread ends without touching the worker, which may be gone by then.
    static void leaveThisThreadBehind();
    // Replaces the serving thread, which is stuck in the task it runs, by a fresh one
    // that serves the queue; the stuck one is detached. Not while stopping.
    void replaceStuckThread();

private:
    void serve();
    void start();

    std::thread m_thread;
    std::deque<QueuedTask> m_tasks;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_bStop = false;
};
