#include "XoExceptionPointers.h"
#include "diagnostics/exceptionpointerscopy.h"

#include <ucontext.h>

namespace {

// uc_mcontext.fpregs points at the context's own floating-point area; the copy's must
// point at its own.
void rebaseContext(ucontext_t* copy, const ucontext_t* source) {
#if defined(__x86_64__)
    const auto* begin = reinterpret_cast<const char*>(source);
    const auto* fpregs = reinterpret_cast<const char*>(source->uc_mcontext.fpregs);
    if (fpregs >= begin && fpregs < begin + sizeof(ucontext_t))
        copy->uc_mcontext.fpregs = reinterpret_cast<decltype(copy->uc_mcontext.fpregs)>(
            reinterpret_cast<char*>(copy) + (fpregs - begin));
#else
    (void)copy;
    (void)source;
#endif
}

} // namespace

XoExceptionPointers* _copyExceptionPointers(XoExceptionPointers* pointers) {
    return xo::copyExceptionPointers<XoExceptionPointers, XoExceptionRecord, ucontext_t>(
        pointers, rebaseContext);
}

void _freeExceptionPointers(XoExceptionPointers* pointers) {
    xo::freeExceptionPointers(pointers);
}
