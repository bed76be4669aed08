#include "diagnostics/xothrow.h"

#include "VeskCrashRecorder.h"
#include "XoException.h"

namespace xo {

const wchar_t kThrowSiteFile[] = L"\"\"";

void throwWithMessage(const wchar_t* message) {
    throwException(new XoExceptionWithMsg(kThrowSiteFile, 0, message));
}

void deleteCaughtException() noexcept {
    try {
        throw;
    } catch (XoException* exception) {
        delete exception;
    } catch (...) {
    }
}

void throwErrorStatus(Vesk::ErrorStatus status) {
    throwException(new XoErrorStatus(status, kThrowSiteFile, 0));
}

} // namespace xo
