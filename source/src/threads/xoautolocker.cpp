#include "XoLock.h"

XoAutoLocker::XoAutoLocker(const XoLocker* locker) : m_pLocker(locker) {
    if (m_pLocker != nullptr)
        m_pLocker->lock();
}

XoAutoLocker::~XoAutoLocker() {
    if (m_pLocker != nullptr)
        m_pLocker->unlock();
}
