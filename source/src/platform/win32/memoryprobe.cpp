#include "platform/memoryprobe.h"

#include <windows.h>

namespace xo::platform {

bool isBadReadPtr(const void* address, std::size_t size) {
    return size != 0 && IsBadReadPtr(address, size) != FALSE;
}

} // namespace xo::platform
