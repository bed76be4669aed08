#include "XoSignalObject.h"

#include "platform/waitable.h"

namespace os = xo::platform;

XoEventImp::XoEventImp(bool autoReset, bool initialState, const wchar_t* name)
    : XoEvent(os::createEvent(!autoReset, initialState)), m_bAutoReset(autoReset),
      m_bInitialState(initialState), m_pName(name) {}

XoEventImp::~XoEventImp() {
    os::closeWaitHandle(m_hHandle);
}

bool XoEventImp::isAutoReset() {
    return m_bAutoReset;
}

bool XoEventImp::setSignaled(bool signaled) {
    return signaled ? os::setEvent(m_hHandle) : os::resetEvent(m_hHandle);
}

const wchar_t* XoEventImp::name() {
    return m_pName;
}

XoEvent* createXoEvent(bool autoReset, bool initialState, const wchar_t* name) {
    return new XoEventImp(autoReset, initialState, name);
}
