#include "platform/error.h"

#include <windows.h>

namespace xo::platform {

// Each name of platform/error.h is the number <winerror.h> gives it.
static_assert(kErrorSuccess == ERROR_SUCCESS);
static_assert(kErrorInvalidFunction == ERROR_INVALID_FUNCTION);
static_assert(kErrorFileNotFound == ERROR_FILE_NOT_FOUND);
static_assert(kErrorPathNotFound == ERROR_PATH_NOT_FOUND);
static_assert(kErrorTooManyOpenFiles == ERROR_TOO_MANY_OPEN_FILES);
static_assert(kErrorAccessDenied == ERROR_ACCESS_DENIED);
static_assert(kErrorInvalidHandle == ERROR_INVALID_HANDLE);
static_assert(kErrorNotEnoughMemory == ERROR_NOT_ENOUGH_MEMORY);
static_assert(kErrorInvalidDrive == ERROR_INVALID_DRIVE);
static_assert(kErrorNotSameDevice == ERROR_NOT_SAME_DEVICE);
static_assert(kErrorWriteProtect == ERROR_WRITE_PROTECT);
static_assert(kErrorGenFailure == ERROR_GEN_FAILURE);
static_assert(kErrorSharingViolation == ERROR_SHARING_VIOLATION);
static_assert(kErrorLockViolation == ERROR_LOCK_VIOLATION);
static_assert(kErrorHandleEof == ERROR_HANDLE_EOF);
static_assert(kErrorNotSupported == ERROR_NOT_SUPPORTED);
static_assert(kErrorNetworkAccessDenied == ERROR_NETWORK_ACCESS_DENIED);
static_assert(kErrorFileExists == ERROR_FILE_EXISTS);
static_assert(kErrorInvalidParameter == ERROR_INVALID_PARAMETER);
static_assert(kErrorBrokenPipe == ERROR_BROKEN_PIPE);
static_assert(kErrorDiskFull == ERROR_DISK_FULL);
static_assert(kErrorInsufficientBuffer == ERROR_INSUFFICIENT_BUFFER);
static_assert(kErrorModNotFound == ERROR_MOD_NOT_FOUND);
static_assert(kErrorInvalidWindowHandle == ERROR_INVALID_WINDOW_HANDLE);
static_assert(kErrorInvalidName == ERROR_INVALID_NAME);
static_assert(kErrorNegativeSeek == ERROR_NEGATIVE_SEEK);
static_assert(kErrorDirNotEmpty == ERROR_DIR_NOT_EMPTY);
static_assert(kErrorBusy == ERROR_BUSY);
static_assert(kErrorBadPathname == ERROR_BAD_PATHNAME);
static_assert(kErrorAlreadyExists == ERROR_ALREADY_EXISTS);
static_assert(kErrorDirectory == ERROR_DIRECTORY);
static_assert(kErrorFilenameExcedRange == ERROR_FILENAME_EXCED_RANGE);
static_assert(kErrorInvalidAddress == ERROR_INVALID_ADDRESS);
static_assert(kErrorOperationAborted == ERROR_OPERATION_ABORTED);
static_assert(kErrorNoAccess == ERROR_NOACCESS);
static_assert(kErrorStackOverflow == ERROR_STACK_OVERFLOW);
static_assert(kErrorInvalidFlags == ERROR_INVALID_FLAGS);
static_assert(kErrorNoUnicodeTranslation == ERROR_NO_UNICODE_TRANSLATION);
static_assert(kErrorIoDevice == ERROR_IO_DEVICE);
static_assert(kErrorTooManyLinks == ERROR_TOO_MANY_LINKS);
static_assert(kErrorFileCorrupt == ERROR_FILE_CORRUPT);
// mingw-w64's <winerror.h> lacks ERROR_DISK_QUOTA_EXCEEDED (1295 in the Windows SDK).
static_assert(kErrorTimeout == ERROR_TIMEOUT);
static_assert(kErrorCantResolveFilename == ERROR_CANT_RESOLVE_FILENAME);

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
