#include "XoLock.h"

#include "platform/lock.h"

XoLock::~XoLock() = default;

XoLock* createXoLock() {
    return xo::platform::newRecursiveLock();
}
