#include "platform/thread.h"

#include <windows.h>

namespace xo::platform {

std::uint32_t currentThreadId() {
    return ::GetCurrentThreadId();
}

} // namespace xo::platform
