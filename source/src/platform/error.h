// OS failures cross into platform-neutral code as Win32 error numbers.
#pragma once

#include <cstdint>

namespace xo::platform {

// The Win32 error numbers that cross the platform boundary, named as <winerror.h> names
// them (ERROR_FILE_NOT_FOUND is kErrorFileNotFound). The Windows build checks each one
// against the header; the POSIX build reports the same numbers, so neutral code compares
// against these names and never against a bare number.
constexpr std::uint32_t kErrorSuccess = 0;
constexpr std::uint32_t kErrorInvalidFunction = 1;
constexpr std::uint32_t kErrorFileNotFound = 2;
constexpr std::uint32_t kErrorPathNotFound = 3;
constexpr std::uint32_t kErrorTooManyOpenFiles = 4;
constexpr std::uint32_t kErrorAccessDenied = 5;
constexpr std::uint32_t kErrorInvalidHandle = 6;
constexpr std::uint32_t kErrorNotEnoughMemory = 8;
constexpr std::uint32_t kErrorInvalidDrive = 15;
constexpr std::uint32_t kErrorNotSameDevice = 17;
constexpr std::uint32_t kErrorWriteProtect = 19;
constexpr std::uint32_t kErrorGenFailure = 31;
constexpr std::uint32_t kErrorSharingViolation = 32;
constexpr std::uint32_t kErrorLockViolation = 33;
constexpr std::uint32_t kErrorHandleEof = 38;
constexpr std::uint32_t kErrorNotSupported = 50;
constexpr std::uint32_t kErrorNetworkAccessDenied = 65;
constexpr std::uint32_t kErrorFileExists = 80;
constexpr std::uint32_t kErrorInvalidParameter = 87;
constexpr std::uint32_t kErrorBrokenPipe = 109;
constexpr std::uint32_t kErrorDiskFull = 112;
constexpr std::uint32_t kErrorInsufficientBuffer = 122;
constexpr std::uint32_t kErrorModNotFound = 126;
constexpr std::uint32_t kErrorInvalidName = 123;
constexpr std::uint32_t kErrorNegativeSeek = 131;
constexpr std::uint32_t kErrorDirNotEmpty = 145;
constexpr std::uint32_t kErrorBadPathname = 161;
constexpr std::uint32_t kErrorBusy = 170;
constexpr std::uint32_t kErrorAlreadyExists = 183;
constexpr std::uint32_t kErrorFilenameExcedRange = 206;
constexpr std::uint32_t kErrorDirectory = 267;
constexpr std::uint32_t kErrorInvalidAddress = 487;
constexpr std::uint32_t kErrorOperationAborted = 995;
constexpr std::uint32_t kErrorNoAccess = 998;
// The number <winerror.h> calls ERROR_STACK_OVERFLOW: the CIF conversion reports it for
// a code page that does not exist, as the application has always seen it do.
constexpr std::uint32_t kErrorStackOverflow = 1001;
constexpr std::uint32_t kErrorInvalidFlags = 1004;
constexpr std::uint32_t kErrorNoUnicodeTranslation = 1113;
constexpr std::uint32_t kErrorIoDevice = 1117;
constexpr std::uint32_t kErrorTooManyLinks = 1142;
constexpr std::uint32_t kErrorInvalidWindowHandle = 1400;
constexpr std::uint32_t kErrorFileCorrupt = 1392;
constexpr std::uint32_t kErrorDiskQuotaExceeded = 1295;
constexpr std::uint32_t kErrorTimeout = 1460;
constexpr std::uint32_t kErrorCantResolveFilename = 1921;

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
