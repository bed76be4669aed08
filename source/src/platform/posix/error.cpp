#include "platform/error.h"

#include <cerrno>

namespace xo::platform {

namespace {

struct ErrnoMapping {
    int error;
    std::uint32_t win32;
};

// Each errno to the Win32 error a Windows call would report for the same failure.
constexpr ErrnoMapping kMappings[] = {
    {EPERM, 5},          // ERROR_ACCESS_DENIED
    {EACCES, 5},         // ERROR_ACCESS_DENIED
    {EISDIR, 5},         // ERROR_ACCESS_DENIED: opening a folder as a file
    {ENOENT, 2},         // ERROR_FILE_NOT_FOUND
    {ENXIO, 2},          // ERROR_FILE_NOT_FOUND
    {ESRCH, 2},          // ERROR_FILE_NOT_FOUND
    {ENOTDIR, 3},        // ERROR_PATH_NOT_FOUND
    {EMFILE, 4},         // ERROR_TOO_MANY_OPEN_FILES
    {ENFILE, 4},         // ERROR_TOO_MANY_OPEN_FILES
    {EBADF, 6},          // ERROR_INVALID_HANDLE
    {ENOMEM, 8},         // ERROR_NOT_ENOUGH_MEMORY
    {ENODEV, 15},        // ERROR_INVALID_DRIVE
    {EXDEV, 17},         // ERROR_NOT_SAME_DEVICE
    {EROFS, 19},         // ERROR_WRITE_PROTECT
    {ETXTBSY, 32},       // ERROR_SHARING_VIOLATION
    {EDEADLK, 33},       // ERROR_LOCK_VIOLATION
    {EOPNOTSUPP, 50},    // ERROR_NOT_SUPPORTED
    {EEXIST, 80},        // ERROR_FILE_EXISTS
    {EINVAL, 87},        // ERROR_INVALID_PARAMETER
    {E2BIG, 87},         // ERROR_INVALID_PARAMETER
    {EFAULT, 487},       // ERROR_INVALID_ADDRESS
    {EPIPE, 109},        // ERROR_BROKEN_PIPE
    {ENOSPC, 112},       // ERROR_DISK_FULL
    {EFBIG, 112},        // ERROR_DISK_FULL
    {ESPIPE, 131},       // ERROR_NEGATIVE_SEEK
    {ENOTEMPTY, 145},    // ERROR_DIR_NOT_EMPTY
    {EBUSY, 170},        // ERROR_BUSY
    {EAGAIN, 170},       // ERROR_BUSY
    {ENAMETOOLONG, 206}, // ERROR_FILENAME_EXCED_RANGE
    {EINTR, 995},        // ERROR_OPERATION_ABORTED
    {ECANCELED, 995},    // ERROR_OPERATION_ABORTED
    {EILSEQ, 1113},      // ERROR_NO_UNICODE_TRANSLATION
    {EIO, 1117},         // ERROR_IO_DEVICE
    {EMLINK, 1142},      // ERROR_TOO_MANY_LINKS
    {EDQUOT, 1295},      // ERROR_DISK_QUOTA_EXCEEDED
    {ETIMEDOUT, 1460},   // ERROR_TIMEOUT
    {ELOOP, 1921},       // ERROR_CANT_RESOLVE_FILENAME
    {ENOSYS, 1},         // ERROR_INVALID_FUNCTION
};

} // namespace

std::uint32_t win32ErrorFromErrno(int error) {
    if (error == 0)
        return 0;
    for (const ErrnoMapping& m : kMappings)
        if (m.error == error)
            return m.win32;
    return 31; // ERROR_GEN_FAILURE
}

std::uint32_t lastOsError() {
    return win32ErrorFromErrno(errno);
}

} // namespace xo::platform

namespace xo::platform {

namespace {
thread_local std::uint32_t tLastError = 0;
}

std::uint32_t threadLastError() {
    return tLastError;
}

void setThreadLastError(std::uint32_t error) {
    tLastError = error;
}

} // namespace xo::platform
