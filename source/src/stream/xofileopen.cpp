#include "stream/xofileopen.h"

#include "platform/error.h"
#include "platform/file.h"

namespace xo {

namespace os = platform;

namespace {

std::uint32_t shareBits(XoIO::ShareMode share) {
    switch (share) {
    case XoIO::kShareDenyReadWrite:
        return 0;
    case XoIO::kShareDenyWrite:
        return os::kFileShareRead;
    case XoIO::kShareDenyRead:
        return os::kFileShareWrite;
    default:
        return os::kFileShareRead | os::kFileShareWrite;
    }
}

} // namespace

FileOpenArguments fileOpenArguments(XoIO::AccessMode access, XoIO::ShareMode share,
                                    XoIO::CreationDisposition disposition) {
    const auto bits = std::uint32_t(access);
    const bool valid = disposition >= XoIO::kCreateNew && disposition <= XoIO::kTruncateExisting;
    std::uint32_t flags = 0;
    if (bits & XoIO::kAccessRead)
        flags |= os::kFileFlagRandomAccess;
    if (bits & XoIO::kAccessWrite)
        flags |= os::kFileAttributeNormal;
    return {bits, shareBits(share), valid ? std::uint32_t(disposition) : 0, flags};
}

Vesk::ErrorStatus openFailureStatus(std::uint32_t error) {
    switch (error) {
    case os::kErrorFileNotFound:
    case os::kErrorPathNotFound:
        return Vesk::eFileNotFound;
    case os::kErrorAccessDenied:
    case os::kErrorNetworkAccessDenied:
    case os::kErrorAlreadyExists:
        return Vesk::eFileAccessDenied;
    case os::kErrorWriteProtect:
        return Vesk::eWriteProtected;
    case os::kErrorSharingViolation:
        return Vesk::eFileSharingViolation;
    case os::kErrorHandleEof:
        return Vesk::eEndOfFile;
    case os::kErrorInvalidParameter:
        return Vesk::eInvalidInput;
    case os::kErrorFileCorrupt:
        return Vesk::eFileCorrupt;
    default:
        return Vesk::eFileError;
    }
}

} // namespace xo
