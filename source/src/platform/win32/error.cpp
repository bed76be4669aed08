#include "platform/error.h"

#include <windows.h>

namespace xo::platform {

std::uint32_t lastOsError() { return ::GetLastError(); }

} // namespace xo::platform
