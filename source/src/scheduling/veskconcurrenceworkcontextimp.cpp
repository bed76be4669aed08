#include "VeskConcurrenceWorkflowManager.h"

#include "XoLock.h"

VeskConcurrenceWorkContext::VeskConcurrenceWorkContext() = default;

VeskConcurrenceWorkContext::~VeskConcurrenceWorkContext() = default;

VeskConcurrenceWorkContextImp::VeskConcurrenceWorkContextImp() : m_nActiveCount(0) {}

VeskConcurrenceWorkContextImp::~VeskConcurrenceWorkContextImp() {
    for (int i = 0; i < m_locks.size(); ++i)
        delete m_locks[i];
}

int VeskConcurrenceWorkContextImp::getLockCount() {
    return m_locks.size();
}

void VeskConcurrenceWorkContextImp::lockAt(int index, bool acquire) {
    if (index < 0 || index >= m_locks.size())
        return;
    if (acquire)
        m_locks[index]->lock();
    else
        m_locks[index]->unlock();
}
