#include "XoLock.h"

#include "platform/lock.h"
#include "threads/xolockpool.h"

XoAutoLockInPool::XoAutoLockInPool(const void* address) : m_pAddress(address), m_pLock(nullptr) {
    if (m_pAddress == nullptr)
        return;
    m_pLock = xo::XoLockPool::acquire(m_pAddress);
    if (m_pLock != nullptr)
        xo::platform::lockRecursive(m_pLock); // outside the pool's guard: waiters never block it
}

XoAutoLockInPool::~XoAutoLockInPool() {
    if (m_pLock == nullptr)
        return;
    xo::platform::unlockRecursive(m_pLock);
    xo::XoLockPool::release(m_pAddress);
}
