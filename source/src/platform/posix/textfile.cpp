#include "platform/textfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/error.h"
#include "platform/posix/sharelock.h"
#include "platform/posix/utf8path.h"

namespace xo::platform {

namespace {

// The letters POSIX knows; Windows-only ones (text mode, commit flags, hints) drop out.
bool posixMode(const wchar_t* mode, std::string& out) {
    out.clear();
    if (!mode || (*mode != L'r' && *mode != L'w' && *mode != L'a'))
        return false;
    for (const wchar_t* m = mode; *m; ++m) {
        switch (*m) {
        case L'r':
        case L'w':
        case L'a':
        case L'+':
        case L'b':
        case L'x':
            out += char(*m);
            break;
        case L't':
        case L'c':
        case L'n':
        case L'S':
        case L'R':
        case L'T':
        case L'D':
        case L'N':
        case L' ':
            break;
        default:
            return false; // "ccs=" and unknown letters
        }
    }
    return true;
}

// What the runtime asks of CreateFileW for a share flag: the share it grants.
std::uint32_t sharedBy(int shareFlag) {
    constexpr std::uint32_t kRead = 0x1, kWrite = 0x2;
    switch (shareFlag) {
    case kShareDenyReadWrite:
        return 0;
    case kShareDenyWrite:
        return kRead;
    case kShareDenyRead:
        return kWrite;
    default:
        return kRead | kWrite;
    }
}

struct OpenFlags {
    int flags;
    bool truncates; // only once the share modes allow the open
    std::string fdopenMode;
};

OpenFlags openFlags(const std::string& mode) {
    const bool update = mode.find('+') != std::string::npos;
    OpenFlags o{update ? O_RDWR : mode[0] == 'r' ? O_RDONLY : O_WRONLY, mode[0] == 'w', {}};
    if (mode[0] != 'r')
        o.flags |= O_CREAT;
    if (mode[0] == 'a')
        o.flags |= O_APPEND;
    if (mode.find('x') != std::string::npos)
        o.flags |= O_EXCL;
    for (char c : mode) {
        if (c != 'x')
            o.fdopenMode += c;
    }
    return o;
}

std::FILE* streamOver(int fd, const OpenFlags& o, const ShareRequest& request) {
    int error = 0;
    if (takeShareLocks(fd, request) != kErrorSuccess)
        error = EACCES; // the runtime's errno for a sharing violation
    else if (o.truncates && ::ftruncate(fd, 0) != 0)
        error = errno;
    std::FILE* stream = error == 0 ? ::fdopen(fd, o.fdopenMode.c_str()) : nullptr;
    if (stream == nullptr) {
        if (error == 0)
            error = errno;
        ::close(fd);
        errno = error;
    }
    return stream;
}

} // namespace

std::FILE* openStream(const wchar_t* path, const wchar_t* mode) {
    std::string narrowPath, narrowMode;
    if (!pathToUtf8(path, narrowPath) || !posixMode(mode, narrowMode)) {
        errno = EINVAL;
        return nullptr;
    }
    return std::fopen(narrowPath.c_str(), narrowMode.c_str());
}

std::FILE* openSharedStream(const wchar_t* path, const wchar_t* mode, int shareFlag) {
    if (shareFlag != kShareDenyReadWrite && shareFlag != kShareDenyWrite &&
        shareFlag != kShareDenyRead && shareFlag != kShareDenyNone) {
        errno = EINVAL;
        return nullptr;
    }
    std::string narrowPath, narrowMode;
    if (!pathToUtf8(path, narrowPath) || !posixMode(mode, narrowMode)) {
        errno = EINVAL;
        return nullptr;
    }
    const OpenFlags o = openFlags(narrowMode);
    int fd;
    do {
        fd = ::open(narrowPath.c_str(), o.flags | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0)
        return nullptr;
    const int access = o.flags & O_ACCMODE;
    return streamOver(fd, o, {access != O_WRONLY, access != O_RDONLY, false, sharedBy(shareFlag)});
}

} // namespace xo::platform
