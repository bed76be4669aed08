/// \file
/// The library-wide status code carried by XoErrorStatus and returned by the
/// stream and file factories.
#pragma once

#include <cstdint>

/// The namespace of the status codes that the host's modules share.
namespace Vesk {

/// The library-wide status code; the values are part of the interface.
enum ErrorStatus : std::int32_t {
    eOk = 0,                     ///< no failure
    eOutOfMemory = 2,            ///< a container could not get storage
    eInvalidInput = 3,           ///< an open the OS refused as an invalid parameter
    eIndexOutOfRange = 24,       ///< checked access outside a container
    eDiskFull = 27,              ///< a write found no room left on the disk
    eEndOfFile = 41,             ///< an open the OS refused with its end-of-file error
    eFileError = 53,             ///< any file failure without a status of its own
    eFileAccessDenied = 72,      ///< access refused, or a new file that already exists
    eFileNotFound = 76,          ///< missing file or folder, or an empty path
    eWriteProtected = 91,        ///< the medium is write-protected
    eFileCorrupt = 314,          ///< the OS reports the file corrupt and unreadable
    eFileSharingViolation = 433, ///< another open's share mode excludes this one
};

static_assert(sizeof(ErrorStatus) == 4, "ErrorStatus travels as a 32-bit value");

} // namespace Vesk
