#include "platform/faultguard.h"

#include <setjmp.h>
#include <signal.h>
#include <ucontext.h>

#include <atomic>
#include <cstring>
#include <mutex>

#include "platform/faultablecopy.h"

#if XO_HAS_FAULTABLE_COPY
// System V: destination, source, count, owned kinds arrive in rdi, rsi, rdx, rcx.
asm(".text\n"
    ".globl xo_faultable_copy\n"
    ".hidden xo_faultable_copy\n"
    ".globl xo_faultable_copy_end\n"
    ".hidden xo_faultable_copy_end\n"
    ".globl xo_faultable_copy_recover\n"
    ".hidden xo_faultable_copy_recover\n"
    ".type xo_faultable_copy, @function\n"
    "xo_faultable_copy:\n"
    "    mov %rcx, %r9\n"
    "    cmp $1, %rdx\n"
    "    jne 7f\n"
    "    movzbl (%rsi), %eax\n"
    "    mov %al, (%rdi)\n"
    "    mov $1, %eax\n"
    "    ret\n"
    "7:  mov %rdx, %rcx\n"
    "    mov %rdi, %r10\n"
    "    mov %rsi, %r11\n" XO_FAULTABLE_COPY_BODY ".size xo_faultable_copy, .-xo_faultable_copy\n");
#endif

namespace xo::platform {

namespace {

struct Guard {
    sigjmp_buf jump;
    FaultKinds owned;
    volatile FaultKinds caught;
    Guard* volatile owner; // the guard that owns the fault caught here
    Guard* outer;
    FaultReport* report; // filled by the handler for the guard that owns the fault
};

// initial-exec: the handler reads it, and only this model is safe in a signal handler.
__thread Guard* t_guard __attribute__((tls_model("initial-exec"))) = nullptr;

struct Previous {
    struct sigaction bus;
    struct sigaction segv;
};
Previous g_previous;

FaultKinds kindOf(int signal) {
    return signal == SIGBUS ? kFaultPageNotReadable : kFaultAccessViolation;
}

// A fault the guard does not own goes where it would have gone without the library: to
// the host's handler, or, for the default action or an ignored fault, back to that
// disposition, under which the faulting instruction faults again when this returns.
void passOn(int signal, siginfo_t* info, void* context) {
    const struct sigaction& previous = signal == SIGBUS ? g_previous.bus : g_previous.segv;
    if (previous.sa_flags & SA_SIGINFO) {
        previous.sa_sigaction(signal, info, context);
    } else if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN) {
        previous.sa_handler(signal);
    } else {
        ::sigaction(signal, &previous, nullptr);
    }
}

// True when the fault was the faultable copy's, which then returns its failure.
bool repairedCopy(int signal, void* context) {
#if XO_HAS_FAULTABLE_COPY
    auto* registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    const std::uintptr_t resume = faultableCopyResume(
        std::uintptr_t(registers[REG_RIP]), kindOf(signal), std::uint64_t(registers[REG_R9]));
    if (resume == 0)
        return false;
    registers[REG_RIP] = greg_t(resume);
    return true;
#else
    (void)signal;
    (void)context;
    return false;
#endif
}

void onFault(int signal, siginfo_t* info, void* context) {
    if (repairedCopy(signal, context))
        return;
    Guard* innermost = t_guard;
    for (Guard* guard = innermost; guard != nullptr; guard = guard->outer) {
        if ((guard->owned & kindOf(signal)) == 0)
            continue;
        // The handler always leaves to the innermost guard, which passes the fault on
        // outwards from ordinary code. The signal is not blocked in here (SA_NODEFER),
        // so no jump needs to save or restore a signal mask: no system call on the
        // guarded path.
        innermost->caught = kindOf(signal);
        innermost->owner = guard;
        if (guard->report != nullptr) {
            const auto* registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
#if defined(__x86_64__)
            guard->report->address = reinterpret_cast<void*>(registers[REG_RIP]);
#else
            (void)registers;
            guard->report->address = nullptr;
#endif
            guard->report->code = std::uint32_t(signal);
            guard->report->information[0] = std::uintptr_t(info->si_code);
            guard->report->information[1] = reinterpret_cast<std::uintptr_t>(info->si_addr);
        }
        ::siglongjmp(innermost->jump, 1);
    }
    passOn(signal, info, context);
}

// Only after a fault, which is rare: a handler that sits in front of ours (a sanitizer's)
// may have had the signal blocked while it ran, and the jump out does not unblock it.
void unblockFaults() {
    sigset_t faults;
    sigemptyset(&faults);
    sigaddset(&faults, SIGBUS);
    sigaddset(&faults, SIGSEGV);
    ::pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
}

void install() {
    struct sigaction action = {};
    action.sa_sigaction = onFault;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGBUS, &action, &g_previous.bus);
    ::sigaction(SIGSEGV, &action, &g_previous.segv);
}

} // namespace

std::atomic<bool> detail::g_handlerInstalled{false};

void detail::installHandler() {
    static std::mutex installing;
    const std::lock_guard<std::mutex> lock(installing);
    if (!g_handlerInstalled.load(std::memory_order_relaxed)) {
        install();
        g_handlerInstalled.store(true, std::memory_order_release);
    }
}

namespace {

void ensureInstalled() {
    if (!detail::g_handlerInstalled.load(std::memory_order_acquire))
        detail::installHandler();
}

} // namespace

FaultKinds runGuarded(FaultKinds owned, GuardedBody body, void* context) {
    return runGuardedReporting(owned, body, context, nullptr);
}

FaultKinds runGuardedReporting(FaultKinds owned, GuardedBody body, void* context,
                               FaultReport* report) {
    ensureInstalled();
    Guard guard;
    guard.report = report;
    guard.owned = owned;
    guard.caught = kNoFault;
    guard.owner = &guard;
    guard.outer = t_guard;
    if (::sigsetjmp(guard.jump, 0) == 0) {
        t_guard = &guard;
        body(context);
    } else {
        unblockFaults();
    }
    t_guard = guard.outer;
    if (guard.owner != &guard) {
        Guard* outer = guard.outer;
        outer->caught = guard.caught;
        outer->owner = guard.owner;
        ::siglongjmp(outer->jump, 1);
    }
    return guard.caught;
}

namespace {
struct Copy {
    void* dest;
    const void* src;
    std::size_t count;
};
void copy(void* context) {
    const auto* c = static_cast<const Copy*>(context);
    std::memcpy(c->dest, c->src, c->count);
}
} // namespace

// Where there is no faultable copy for the processor.
bool detail::copyUnderGuard(void* dest, const void* src, std::size_t count, FaultKinds owned) {
    Copy c{dest, src, count};
    return runGuarded(owned, copy, &c) == kNoFault;
}

} // namespace xo::platform
