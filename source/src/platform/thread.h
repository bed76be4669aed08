// Identity of the calling thread.
#pragma once

#include <cstdint>

namespace xo::platform {

// The OS thread id (GetCurrentThreadId on Windows, the kernel tid on Linux); unique
// among live threads, never 0.
std::uint32_t currentThreadId();

} // namespace xo::platform
