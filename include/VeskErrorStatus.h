// The library-wide status code carried by XoErrorStatus and returned by the
// stream and file factories.
#pragma once

#include <cstdint>

namespace Vesk {

enum ErrorStatus : std::int32_t {
    eOk = 0,
    eOutOfMemory = 2, // a container could not get storage
    eInvalidInput = 3,
    eIndexOutOfRange = 24, // checked access outside a container
    eDiskFull = 27,
    eEndOfFile = 41,
    eFileError = 53, // any file failure without a status of its own
    eFileAccessDenied = 72,
    eFileNotFound = 76, // missing file or folder, or an empty path
    eWriteProtected = 91,
    eFileCorrupt = 314,
    eFileSharingViolation = 433,
};

static_assert(sizeof(ErrorStatus) == 4, "ErrorStatus travels as a 32-bit value");

} // namespace Vesk
