#include "XoException.h"

namespace {
const wchar_t kEmpty[] = L"";
const wchar_t kClassName[] = L"XoException";
} // namespace

XoException::XoException() : XoException(nullptr, 0, nullptr) {}

XoException::XoException(const wchar_t* file, int line) : XoException(file, line, nullptr) {}

XoException::XoException(XoException* embedded) : XoException(nullptr, 0, embedded) {}

XoException::XoException(const wchar_t* file, int line, XoException* embedded)
    : m_pEmbedException(embedded), m_bHandled(false), m_pFile(file ? file : kEmpty), m_nLine(line) {
}

XoException::XoException(const XoException& other)
    : m_pEmbedException(nullptr), m_bHandled(other.m_bHandled), m_pFile(other.m_pFile),
      m_nLine(other.m_nLine) {}

XoException::~XoException() {
    delete m_pEmbedException;
}

const wchar_t* XoException::description() const {
    return kClassName;
}

int XoException::code() const {
    return 0;
}

const wchar_t* XoException::className() const {
    return kClassName;
}
