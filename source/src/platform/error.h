// OS failures cross into platform-neutral code as Win32 error numbers.
#pragma once

#include <cstdint>

namespace xo::platform {

// The calling thread's last OS failure: GetLastError on Windows, errno mapped on POSIX.
std::uint32_t lastOsError();

#if !defined(_WIN32)
// The one place where errno values become Win32 error numbers.
std::uint32_t win32ErrorFromErrno(int error);
#endif

} // namespace xo::platform
