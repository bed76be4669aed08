#include "XoExceptionPointers.h"
#include "diagnostics/exceptionpointerscopy.h"

#include <windows.h>

namespace {

// A CONTEXT holds no pointers into itself.
void keepContext(CONTEXT*, const CONTEXT*) {}

} // namespace

XoExceptionPointers* _copyExceptionPointers(XoExceptionPointers* pointers) {
    return xo::copyExceptionPointers<EXCEPTION_POINTERS, EXCEPTION_RECORD, CONTEXT>(pointers,
                                                                                    keepContext);
}

void _freeExceptionPointers(XoExceptionPointers* pointers) {
    xo::freeExceptionPointers(pointers);
}
