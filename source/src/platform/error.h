// OS failures cross into platform-neutral code as Win32 error numbers.
#pragma once

#include <cstdint>

namespace xo::platform {

// The calling thread's last OS failure: GetLastError on Windows, errno mapped on POSIX.
std::uint32_t lastOsError();

// The Windows last-error value of the calling thread: GetLastError/SetLastError on
// Windows, a thread-local value on POSIX. The emulated Windows services (code pages)
// report through it, as their Windows twins do.
std::uint32_t threadLastError();
void setThreadLastError(std::uint32_t error);

#if !defined(_WIN32)
// The one place where errno values become Win32 error numbers.
std::uint32_t win32ErrorFromErrno(int error);
#endif

} // namespace xo::platform
