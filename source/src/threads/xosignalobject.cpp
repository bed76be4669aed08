// The abstract kinds: they hold the handle, and the common operations go through the
// wait functions.
#include "XoSignalObject.h"

XoSignalObject::XoSignalObject(void* handle) : m_hHandle(handle) {}

XoSignalObject::~XoSignalObject() = default;

void XoSignalObject::release() {
    delete this;
}

unsigned int XoSignalObject::wait(unsigned int timeout) {
    return xoWaitForSingleObject(this, timeout);
}

unsigned int XoSignalObject::msgWait(unsigned int wakeMask, unsigned int timeout) {
    XoSignalObject* self = this;
    return xoMsgWaitForMultipleObject(&self, 1, wakeMask, false, timeout);
}

XoEvent::XoEvent(void* handle) : XoSignalObject(handle) {}

XoThread::XoThread(void* handle) : XoSignalObject(handle) {}

XoProcess::XoProcess(void* handle) : XoSignalObject(handle) {}
