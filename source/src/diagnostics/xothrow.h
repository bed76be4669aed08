// The one way library code throws: allocate the exception, tell the crash recorder,
// throw the pointer. The catcher owns the object.
#pragma once

#include "VeskErrorStatus.h"

class XoException;

namespace xo {

// The source name of every library throw site: two quotation marks.
extern const wchar_t kThrowSiteFile[];

void notifyCrashRecorder(XoException* exception);

template <class E> [[noreturn]] void throwException(E* exception) {
    notifyCrashRecorder(exception);
    throw exception;
}

// An XoExceptionWithMsg with the message ("EMPTY THROW", "Out of stream buffer!", ...).
[[noreturn]] void throwWithMessage(const wchar_t* message);
// Inside a catch block: deletes the exception being handled when it is one of the
// library's (thrown as a pointer the catcher owns); anything else is left alone.
void deleteCaughtException() noexcept;

// An XoErrorStatus with the status and no message.
[[noreturn]] void throwErrorStatus(Vesk::ErrorStatus status);

} // namespace xo
