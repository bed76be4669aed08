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
    {EPERM, kErrorAccessDenied},
    {EACCES, kErrorAccessDenied},
    {EISDIR, kErrorAccessDenied}, // opening a folder as a file
    {ENOENT, kErrorFileNotFound},
    {ENXIO, kErrorFileNotFound},
    {ESRCH, kErrorFileNotFound},
    {ENOTDIR, kErrorPathNotFound},
    {EMFILE, kErrorTooManyOpenFiles},
    {ENFILE, kErrorTooManyOpenFiles},
    {EBADF, kErrorInvalidHandle},
    {ENOMEM, kErrorNotEnoughMemory},
    {ENODEV, kErrorInvalidDrive},
    {EXDEV, kErrorNotSameDevice},
    {EROFS, kErrorWriteProtect},
    {ETXTBSY, kErrorSharingViolation},
    {EDEADLK, kErrorLockViolation},
    {EOPNOTSUPP, kErrorNotSupported},
    {EEXIST, kErrorFileExists},
    {EINVAL, kErrorInvalidParameter},
    {E2BIG, kErrorInvalidParameter},
    {EFAULT, kErrorInvalidAddress},
    {EPIPE, kErrorBrokenPipe},
    {ENOSPC, kErrorDiskFull},
    {EFBIG, kErrorDiskFull},
    {ESPIPE, kErrorNegativeSeek},
    {ENOTEMPTY, kErrorDirNotEmpty},
    {EBUSY, kErrorBusy},
    {EAGAIN, kErrorBusy},
    {ENAMETOOLONG, kErrorFilenameExcedRange},
    {EINTR, kErrorOperationAborted},
    {ECANCELED, kErrorOperationAborted},
    {EILSEQ, kErrorNoUnicodeTranslation},
    {EIO, kErrorIoDevice},
    {EMLINK, kErrorTooManyLinks},
    {EDQUOT, kErrorDiskQuotaExceeded},
    {ETIMEDOUT, kErrorTimeout},
    {ELOOP, kErrorCantResolveFilename},
    {ENOSYS, kErrorInvalidFunction},
};

} // namespace

std::uint32_t win32ErrorFromErrno(int error) {
    if (error == 0)
        return kErrorSuccess;
    for (const ErrnoMapping& m : kMappings)
        if (m.error == error)
            return m.win32;
    return kErrorGenFailure;
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
