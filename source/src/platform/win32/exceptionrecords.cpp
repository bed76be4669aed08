#include "platform/exceptionrecords.h"

#include <cstddef>

#include <windows.h>

namespace xo::platform {

// The neutral copy reads the pointers record as two pointers in this order.
static_assert(offsetof(EXCEPTION_POINTERS, ExceptionRecord) == 0);
static_assert(offsetof(EXCEPTION_POINTERS, ContextRecord) == sizeof(void*));

ExceptionRecordShape exceptionRecordShape() {
    return {sizeof(EXCEPTION_POINTERS), sizeof(EXCEPTION_RECORD),
            offsetof(EXCEPTION_RECORD, ExceptionRecord), sizeof(CONTEXT)};
}

// A CONTEXT holds no pointers into itself.
void rebaseContextCopy(void*, const void*) {}

} // namespace xo::platform
