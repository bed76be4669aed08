#include "platform/faultguard.h"

#include <windows.h>

#include "platform/faultablecopy.h"

// Windows x64: destination, source, count, owned kinds arrive in rcx, rdx, r8, r9; rdi
// and rsi belong to the caller. The routine never moves the stack pointer, so it needs
// no unwind data: the system treats it as a leaf.
asm(".text\n"
    ".globl xo_faultable_copy\n"
    ".globl xo_faultable_copy_end\n"
    ".globl xo_faultable_copy_recover\n"
    ".def xo_faultable_copy; .scl 2; .type 32; .endef\n"
    "xo_faultable_copy:\n"
    "    mov %rdi, %r10\n"
    "    mov %rsi, %r11\n"
    "    cmp $1, %r8\n"
    "    jne 7f\n"
    "    movzbl (%rdx), %eax\n"
    "    mov %al, (%rcx)\n"
    "    mov $1, %eax\n"
    "    ret\n"
    "7:\n"
    "    mov %rcx, %rdi\n"
    "    mov %rdx, %rsi\n"
    "    mov %r8, %rcx\n" XO_FAULTABLE_COPY_BODY);

namespace xo::platform {

namespace {

struct Guard {
    void* jump[5]; // __builtin_setjmp's buffer
    FaultKinds owned;
    volatile FaultKinds caught;
    Guard* outer;
    FaultReport* report;
};

FaultKinds kindOf(DWORD code) {
    switch (code) {
    case EXCEPTION_IN_PAGE_ERROR:
        return kFaultPageNotReadable;
    case EXCEPTION_ACCESS_VIOLATION:
        return kFaultAccessViolation;
    default:
        return kNoFault;
    }
}

// The guards of each thread live in a TLS slot: a vectored handler must not allocate,
// as the runtime's emulated thread_local may on a thread's first use.
class Guards {
public:
    Guards() : slot_(::TlsAlloc()), handler_(::AddVectoredExceptionHandler(1, onException)) {}
    // A handler left registered would outlive the code it points at once the DLL unloads.
    ~Guards() {
        if (handler_ != nullptr)
            ::RemoveVectoredExceptionHandler(handler_);
        if (slot_ != TLS_OUT_OF_INDEXES)
            ::TlsFree(slot_);
    }
    Guards(const Guards&) = delete;
    Guards& operator=(const Guards&) = delete;

    Guard* current() const {
        const DWORD saved = ::GetLastError(); // TlsGetValue clears it
        auto* guard = static_cast<Guard*>(::TlsGetValue(slot_));
        ::SetLastError(saved);
        return guard;
    }
    void setCurrent(Guard* guard) const { ::TlsSetValue(slot_, guard); }

private:
    static LONG CALLBACK onException(EXCEPTION_POINTERS* pointers);

    DWORD slot_;
    void* handler_;
};

Guards& guards() {
    static Guards instance;
    return instance;
}

LONG CALLBACK Guards::onException(EXCEPTION_POINTERS* pointers) {
    const FaultKinds kind = kindOf(pointers->ExceptionRecord->ExceptionCode);
    CONTEXT* registers = pointers->ContextRecord;
    if (kind != kNoFault) {
        if (const std::uintptr_t resume =
                faultableCopyResume(registers->Rip, kind, registers->R9)) {
            registers->Rip = resume;
            return EXCEPTION_CONTINUE_EXECUTION;
        }
    }
    for (Guard* guard = guards().current(); guard != nullptr; guard = guard->outer) {
        if ((guard->owned & kind) == 0)
            continue;
        guard->caught = kind;
        if (guard->report != nullptr) {
            const EXCEPTION_RECORD* record = pointers->ExceptionRecord;
            guard->report->code = record->ExceptionCode;
            guard->report->address = record->ExceptionAddress;
            guard->report->information[0] = record->ExceptionInformation[0];
            guard->report->information[1] = record->ExceptionInformation[1];
        }
        __builtin_longjmp(guard->jump, 1);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

// The body runs in a frame of its own, so nothing it loads is moved above the point
// where the jump buffer is saved (GCC would at -O2 otherwise).
[[gnu::noinline]] void runBody(GuardedBody body, void* context) {
    body(context);
}

} // namespace

FaultKinds runGuarded(FaultKinds owned, GuardedBody body, void* context) {
    return runGuardedReporting(owned, body, context, nullptr);
}

FaultKinds runGuardedReporting(FaultKinds owned, GuardedBody body, void* context,
                               FaultReport* report) {
    const Guards& all = guards();
    Guard guard;
    guard.report = report;
    guard.owned = owned;
    guard.caught = kNoFault;
    guard.outer = all.current();
    if (__builtin_setjmp(guard.jump) == 0) {
        all.setCurrent(&guard);
        runBody(body, context);
    }
    all.setCurrent(guard.outer);
    return guard.caught;
}

std::atomic<bool> detail::g_handlerInstalled{false};

void detail::installHandler() {
    guards();
    g_handlerInstalled.store(true, std::memory_order_release);
}

} // namespace xo::platform
