#include "platform/thread.h"
#include "platform/posix/threadid.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace xo::platform {

__thread std::uint32_t t_threadId __attribute__((tls_model("initial-exec"))) = 0;

std::uint32_t queryThreadId() {
    t_threadId = static_cast<std::uint32_t>(::syscall(SYS_gettid));
    return t_threadId;
}

std::uint32_t currentThreadId() {
    return cachedThreadId();
}

} // namespace xo::platform
