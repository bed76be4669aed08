#include "XoSignalObject.h"

#include "platform/thread.h"
#include "platform/waitable.h"

namespace os = xo::platform;

namespace {
constexpr unsigned int kFailed = 0xFFFFFFFFu;
}

XoThreadImp::XoThreadImp(void* handle, unsigned int threadId, bool attached)
    : XoThread(handle), m_nThreadId(threadId), m_bAttached(attached) {}

// An owned thread is waited for: its object must not be destroyed by the thread itself.
XoThreadImp::~XoThreadImp() {
    if (m_bAttached || m_hHandle == nullptr)
        return;
    xoWaitForSingleObject(this, os::kInfinite);
    os::closeWaitHandle(m_hHandle);
}

// A thread just started may not have told its identifier yet; it is asked for once.
unsigned int XoThreadImp::threadId() {
    if (m_nThreadId == 0 && m_hHandle != nullptr)
        m_nThreadId = os::threadIdOf(m_hHandle);
    return m_nThreadId;
}

int XoThreadImp::getPriority() {
    return os::threadPriority(m_hHandle);
}

bool XoThreadImp::setPriority(int priority) {
    return os::setThreadPriority(m_hHandle, priority);
}

unsigned int XoThreadImp::suspend() {
    return m_hHandle != nullptr ? os::suspendThread(m_hHandle) : kFailed;
}

unsigned int XoThreadImp::resume() {
    return m_hHandle != nullptr ? os::resumeThread(m_hHandle) : kFailed;
}

bool XoThreadImp::terminate(unsigned int exitCode) {
    return m_hHandle != nullptr && os::terminateThread(m_hHandle, exitCode);
}

unsigned int XoThreadImp::waitForExit() {
    return xoWaitForSingleObject(this, os::kInfinite);
}

bool XoThreadImp::isCurrentThread() {
    return threadId() == os::currentThreadId();
}

XoThread* createXoThread(unsigned int (*function)(void*), void* argument, bool startSuspended,
                         unsigned int stackSize) {
    os::StartedThread started{nullptr, 0};
    if (!os::startThread(function, argument, startSuspended, stackSize, &started))
        started = {nullptr, 0};
    return new XoThreadImp(started.handle, started.id, false);
}

XoThread* getXoThreadCurrent() {
    return new XoThreadImp(os::currentThreadHandle(), os::currentThreadId(), true);
}
