#include "XoException.h"

#include "diagnostics/widetext.h"
#include "runtime/xoformatter.h"

namespace {
const wchar_t kEmpty[] = L"";
constexpr std::size_t kDescriptionCapacity = 512;
} // namespace

XoErrorStatus::XoErrorStatus(Vesk::ErrorStatus errorType)
    : XoErrorStatus(errorType, nullptr, nullptr, 0) {}

XoErrorStatus::XoErrorStatus(Vesk::ErrorStatus errorType, const wchar_t* message,
                             const wchar_t* file, int line)
    : XoException(file, line), m_pMessage(message ? message : kEmpty),
      m_pCachedDescription(nullptr), m_eErrorType(errorType) {}

XoErrorStatus::XoErrorStatus(Vesk::ErrorStatus errorType, const wchar_t* file, int line)
    : XoErrorStatus(errorType, nullptr, file, line) {}

XoErrorStatus::XoErrorStatus(const XoErrorStatus& other)
    : XoException(other), m_pMessage(other.m_pMessage),
      m_pCachedDescription(other.m_pCachedDescription ? xo::copyWideText(other.m_pCachedDescription)
                                                      : nullptr),
      m_eErrorType(other.m_eErrorType) {}

XoErrorStatus::~XoErrorStatus() {
    delete[] m_pCachedDescription;
}

// Texts longer than the buffer are cut, not overrun.
const wchar_t* XoErrorStatus::description() const {
    if (m_pCachedDescription == nullptr) {
        wchar_t text[kDescriptionCapacity] = {};
        xo::XoFormatter::format(text, kDescriptionCapacity, L"error type: %d\tmessage:%s",
                                static_cast<int>(m_eErrorType), m_pMessage);
        m_pCachedDescription = xo::copyWideText(text);
    }
    return m_pCachedDescription;
}
