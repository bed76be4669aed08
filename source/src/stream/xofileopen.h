// What the file streams ask of CreateFileW, and what its failures mean to them.
#pragma once

#include <cstdint>

#include "VeskErrorStatus.h"
#include "XoStreamBuf.h"

namespace xo {

struct FileOpenArguments {
    std::uint32_t access; // the access bits as given
    std::uint32_t share;  // FILE_SHARE_READ and FILE_SHARE_WRITE
    std::uint32_t disposition;
    std::uint32_t flags;
};

FileOpenArguments fileOpenArguments(XoIO::AccessMode access, XoIO::ShareMode share,
                                    XoIO::CreationDisposition disposition);

// The status of a failed open, from its Win32 error.
Vesk::ErrorStatus openFailureStatus(std::uint32_t error);

} // namespace xo
