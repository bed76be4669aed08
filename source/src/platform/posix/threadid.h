// The calling thread's id, cached per thread, for inline use on the lock path.
#pragma once

#include <cstdint>

namespace xo::platform {

std::uint32_t queryThreadId();

// initial-exec: one fs-relative load instead of a __tls_get_addr call.
extern __attribute__((tls_model("initial-exec"))) thread_local std::uint32_t t_threadId;

inline std::uint32_t cachedThreadId() {
    const std::uint32_t id = t_threadId;
    return id != 0 ? id : queryThreadId();
}

} // namespace xo::platform
