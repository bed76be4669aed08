#include "platform/exceptionrecords.h"

#include <cstddef>

#include <ucontext.h>

#include "XoExceptionPointers.h"

namespace xo::platform {

// The neutral copy reads the pointers record as two pointers in this order.
static_assert(offsetof(XoExceptionPointers, ExceptionRecord) == 0);
static_assert(offsetof(XoExceptionPointers, ContextRecord) == sizeof(void*));

ExceptionRecordShape exceptionRecordShape() {
    return {sizeof(XoExceptionPointers), sizeof(XoExceptionRecord),
            offsetof(XoExceptionRecord, ExceptionRecord), sizeof(ucontext_t)};
}

// uc_mcontext.fpregs points at the context's own floating-point area; the copy's must
// point at its own.
void rebaseContextCopy(void* copyBytes, const void* sourceBytes) {
#if defined(__x86_64__)
    auto* copy = static_cast<ucontext_t*>(copyBytes);
    const auto* source = static_cast<const ucontext_t*>(sourceBytes);
    const auto* begin = reinterpret_cast<const char*>(source);
    const auto* fpregs = reinterpret_cast<const char*>(source->uc_mcontext.fpregs);
    if (fpregs >= begin && fpregs < begin + sizeof(ucontext_t))
        copy->uc_mcontext.fpregs = reinterpret_cast<decltype(copy->uc_mcontext.fpregs)>(
            reinterpret_cast<char*>(copy) + (fpregs - begin));
#else
    (void)copyBytes;
    (void)sourceBytes;
#endif
}

} // namespace xo::platform
