// Runs a piece of code with the synchronous faults its caller owns turned into a return
// value on the faulting thread only; every other fault goes where it would have gone.
// The mapped file streams own "the page could not be brought in" around each copy from
// a view; the strings own both kinds while they measure a C string they were handed.
//
// Linux: SIGBUS and SIGSEGV, through a handler installed on first use that hands every
// fault it does not own to the handler the host had installed before (or to the default
// action). Windows: EXCEPTION_IN_PAGE_ERROR and EXCEPTION_ACCESS_VIOLATION, through a
// vectored handler that lets every other exception search on. The work the body did up
// to the fault stays done; the body must own no resource a jump out of it would leak.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "platform/faultablecopy.h"

namespace xo::platform {

using FaultKinds = unsigned;
constexpr FaultKinds kNoFault = 0;
constexpr FaultKinds kFaultPageNotReadable = 0x1; // SIGBUS / EXCEPTION_IN_PAGE_ERROR
constexpr FaultKinds kFaultAccessViolation = 0x2; // SIGSEGV / EXCEPTION_ACCESS_VIOLATION

using GuardedBody = void (*)(void* context);

// Calls body(context); returns kNoFault when it ended normally, else the one kind among
// owned that stopped it. Guards nest: a fault ends the innermost guard that owns its kind.
FaultKinds runGuarded(FaultKinds owned, GuardedBody body, void* context);

// What a caught fault was, for a crash record: the exception code (the signal number on
// POSIX), the address of the faulting instruction, and the access (Windows' two
// ExceptionInformation words for an access violation; si_code and the data address on
// POSIX).
struct FaultReport {
    std::uint32_t code;
    void* address;
    std::uintptr_t information[2];
};

// As runGuarded, filling report when it returns a fault.
FaultKinds runGuardedReporting(FaultKinds owned, GuardedBody body, void* context,
                               FaultReport* report);

namespace detail {
// The handler is installed on first use, by whichever guard comes first.
extern std::atomic<bool> g_handlerInstalled;
void installHandler();
bool copyUnderGuard(void* dest, const void* src, std::size_t count, FaultKinds owned);
} // namespace detail

// memcpy of count bytes from memory that may fault with a kind in owned; false when one
// did, with the destination partly written. Cheaper than a copy under runGuarded (a
// call, nothing saved), for the mapped streams' copy of every read, down to one byte.
inline bool copyGuarded(void* dest, const void* src, std::size_t count, FaultKinds owned) {
#if XO_HAS_FAULTABLE_COPY
    if (!detail::g_handlerInstalled.load(std::memory_order_acquire))
        detail::installHandler();
    return xo_faultable_copy(dest, src, count, owned) != 0;
#else
    return detail::copyUnderGuard(dest, src, count, owned);
#endif
}

} // namespace xo::platform
