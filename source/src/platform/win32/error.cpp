#include "platform/error.h"

#include <windows.h>

namespace xo::platform {

std::uint32_t lastOsError() {
    return ::GetLastError();
}

} // namespace xo::platform

namespace xo::platform {

std::uint32_t threadLastError() {
    return ::GetLastError();
}

void setThreadLastError(std::uint32_t error) {
    ::SetLastError(error);
}

} // namespace xo::platform
