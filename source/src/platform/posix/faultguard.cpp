#include "platform/faultguard.h"

#include <setjmp.h>
#include <signal.h>

#include <atomic>
#include <mutex>

namespace xo::platform {

namespace {

struct Guard {
    sigjmp_buf jump;
    FaultKinds owned;
    volatile FaultKinds caught;
    Guard* volatile owner; // the guard that owns the fault caught here
    Guard* outer;
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

void onFault(int signal, siginfo_t* info, void* context) {
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

namespace {

// Installed once, on first use: a load and a test afterwards.
std::atomic<bool> g_installed{false};
std::mutex g_installing;

void ensureInstalled() {
    if (g_installed.load(std::memory_order_acquire))
        return;
    const std::lock_guard<std::mutex> lock(g_installing);
    if (!g_installed.load(std::memory_order_relaxed)) {
        install();
        g_installed.store(true, std::memory_order_release);
    }
}

} // namespace

FaultKinds runGuarded(FaultKinds owned, GuardedBody body, void* context) {
    ensureInstalled();
    Guard guard;
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

} // namespace xo::platform
