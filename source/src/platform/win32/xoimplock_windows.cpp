#include "XoLock.h"
#include "platform/lock.h"

#include <windows.h>

namespace {

// A critical section is recursive for its owning thread.
class XoImpLock_windows final : public XoLock {
public:
    XoImpLock_windows() { ::InitializeCriticalSection(&m_section); }
    ~XoImpLock_windows() override { ::DeleteCriticalSection(&m_section); }
    XoImpLock_windows(const XoImpLock_windows&) = delete;
    XoImpLock_windows& operator=(const XoImpLock_windows&) = delete;

    void lock() override { ::EnterCriticalSection(&m_section); }
    void unlock() override { ::LeaveCriticalSection(&m_section); }

private:
    CRITICAL_SECTION m_section;
};

} // namespace

namespace xo::platform {

XoLock* newRecursiveLock() {
    return new XoImpLock_windows;
}

void lockRecursive(XoLock* lock) {
    static_cast<XoImpLock_windows*>(lock)->lock();
}

void unlockRecursive(XoLock* lock) {
    static_cast<XoImpLock_windows*>(lock)->unlock();
}

} // namespace xo::platform
