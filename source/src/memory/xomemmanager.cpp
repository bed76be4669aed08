#include "XoMemManager.h"

#include "memory/xomemmanagerimpl.h"

#include <new>

XoMemManager::~XoMemManager() = default;

XoMemManager* XoMemManager::sCreate() {
    xo::XoPrivateHeap* heap = xo::XoPrivateHeap::create();
    if (heap == nullptr)
        return nullptr;
    // The first block of a new heap lies in its first region, which names the heap.
    void* place = heap->allocate(sizeof(xo::XoMemManagerImpl));
    if (place == nullptr) {
        heap->destroy();
        return nullptr;
    }
    try {
        return new (place) xo::XoMemManagerImpl();
    } catch (...) { // the lock could not be made
        heap->destroy();
        return nullptr;
    }
}

// The deleting destructor gives the object, and with it the whole heap, back. Read
// through a volatile, since the compiler may otherwise take this as never null.
void XoMemManager::release() {
    XoMemManager* volatile self = this;
    if (self != nullptr)
        delete self;
}
