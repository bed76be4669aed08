#include "XoException.h"

#include "diagnostics/widetext.h"

namespace {

wchar_t* copyText(const wchar_t* text) {
    return xo::copyWideText(text ? text : L"");
}

} // namespace

XoExceptionWithMsg::XoExceptionWithMsg(const wchar_t* file, int line, const wchar_t* message)
    : XoException(file, line), m_pMessage(copyText(message)) {}

XoExceptionWithMsg::XoExceptionWithMsg(const wchar_t* file, int line, const wchar_t* message,
                                       XoException* embedded)
    : XoException(file, line, embedded), m_pMessage(copyText(message)) {}

XoExceptionWithMsg::XoExceptionWithMsg(const XoExceptionWithMsg& other)
    : XoException(other), m_pMessage(copyText(other.m_pMessage)) {}

XoExceptionWithMsg::~XoExceptionWithMsg() {
    delete[] m_pMessage;
}

const wchar_t* XoExceptionWithMsg::description() const {
    return m_pMessage;
}
