#include "XoLock.h"

#include "platform/lock.h"

XoLocker::XoLocker() : m_pLock(createXoLock()) {}

XoLocker::~XoLocker() {
    delete m_pLock;
}

void XoLocker::lock() const {
    xo::platform::lockRecursive(m_pLock);
}

void XoLocker::unlock() const {
    xo::platform::unlockRecursive(m_pLock);
}
