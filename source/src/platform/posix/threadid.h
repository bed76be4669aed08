// The calling thread's id, cached per thread, for inline use on the lock path.
#pragma once

#include <cstdint>

namespace xo::platform {

std::uint32_t queryThreadId();

// __thread: no dynamic-initialisation wrapper; initial-exec: one fs-relative load
// instead of a __tls_get_addr call.
extern __thread std::uint32_t t_threadId __attribute__((tls_model("initial-exec")));

inline std::uint32_t cachedThreadId() {
    const std::uint32_t id = t_threadId;
    return id != 0 ? id : queryThreadId();
}

} // namespace xo::platform
