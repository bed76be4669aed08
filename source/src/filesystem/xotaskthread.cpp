#include "filesystem/xotaskthread.h"

#include "platform/filesystem.h"

namespace {

// Set on a thread whose task outlived its caller's patience and whose place was taken.
thread_local bool t_leftBehind = false;

} // namespace

XoTaskThread::XoTaskThread() {
    start();
}

XoTaskThread::~XoTaskThread() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        __atomic_store_n(&m_bStop, true, __ATOMIC_RELAXED);
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void XoTaskThread::start() {
    bool running = false;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_thread = std::thread([this, &running] {
        {
            const std::lock_guard<std::mutex> started(m_mutex);
            running = true;
        }
        m_wake.notify_all();
        serve();
    });
    m_wake.wait(lock, [&running] { return running; });
}

bool XoTaskThread::post(Task task) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_bStop)
            return false; // the task is destroyed with the argument
        m_tasks.push_back(QueuedTask{std::move(task)});
    }
    m_wake.notify_one();
    return true;
}

void* XoTaskThread::nativeHandle() {
    return xo::platform::threadHandle(m_thread);
}

void XoTaskThread::leaveThisThreadBehind() {
    t_leftBehind = true;
}

void XoTaskThread::replaceStuckThread() {
    // The new thread must not signal the start on m_wake while this one holds the lock
    // it waits with, so the hand-over is its own.
    std::thread stuck;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_bStop)
            return;
        stuck = std::move(m_thread);
        m_thread = std::thread([this] { serve(); });
    }
    stuck.detach();
    m_wake.notify_all(); // the fresh thread may already wait for work that is queued
}

void XoTaskThread::serve() {
    for (;;) {
        Task task;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_wake.wait(lock, [this] { return m_bStop || !m_tasks.empty(); });
            if (m_tasks.empty())
                return; // stopping, and nothing left to run
            task = std::move(m_tasks.front().run);
            m_tasks.pop_front();
        }
        task();
        task = nullptr;
        if (t_leftBehind)
            return; // the worker object belongs to the fresh thread now
    }
}
