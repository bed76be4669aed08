#include "platform/file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/error.h"
#include "platform/posix/sharelock.h"
#include "platform/posix/utf8path.h"

namespace xo::platform {

namespace {

constexpr mode_t kNewFileMode = 0666; // less the umask, as Windows' default security gives
constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;

int fdOf(void* handle) {
    return int(reinterpret_cast<std::intptr_t>(handle));
}

void* handleOf(int fd) {
    return reinterpret_cast<void*>(std::intptr_t(fd));
}

FileOpenResult failed(std::uint32_t error) {
    return {invalidFileHandle(), error};
}

int accessFlags(std::uint32_t access) {
    const bool read = (access & kGenericRead) != 0;
    const bool write = (access & kGenericWrite) != 0;
    return read && write ? O_RDWR : write ? O_WRONLY : O_RDONLY;
}

// -1 for a disposition Windows refuses.
int dispositionFlags(std::uint32_t disposition) {
    switch (disposition) {
    case kCreateNew:
        return O_CREAT | O_EXCL;
    case kCreateAlways:
        return O_CREAT | O_TRUNC;
    case kOpenExisting:
        return 0;
    case kOpenAlways:
        return O_CREAT;
    case kTruncateExisting:
        return O_TRUNC;
    default:
        return -1;
    }
}

// Windows tells a missing folder (3) from a missing file (2).
std::uint32_t missingError(const std::string& path) {
    const std::string::size_type slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return kErrorFileNotFound;
    const std::string parent = slash == 0 ? "/" : path.substr(0, slash);
    struct stat st;
    return ::stat(parent.c_str(), &st) == 0 && S_ISDIR(st.st_mode) ? kErrorFileNotFound
                                                                   : kErrorPathNotFound;
}

// A name starting with a dot is hidden by convention ("." and ".." are not names).
bool isDotName(const std::string& path) {
    const std::string::size_type slash = path.find_last_of('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    return name.size() > 1 && name[0] == '.' && name != "..";
}

std::uint32_t openError(int error, const std::string& path) {
    return error == ENOENT ? missingError(path) : win32ErrorFromErrno(error);
}

// The read-only attribute of Windows is a file without any write permission here; it
// refuses writers even to an administrator, so it is checked, not left to the kernel.
bool refusesWriting(const std::string& path, std::uint32_t access, int disposition) {
    const bool writes = (access & kGenericWrite) != 0 || (disposition & O_TRUNC) != 0;
    struct stat st;
    return writes && ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) &&
           (st.st_mode & kAnyWrite) == 0;
}

// Share modes are settled before anything is changed: a refused open truncates nothing.
std::uint32_t settle(int fd, std::uint32_t access, std::uint32_t share, bool truncates) {
    struct stat st;
    if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode))
        return kErrorAccessDenied; // a folder is not a file, as on Windows
    const ShareRequest request{(access & kGenericRead) != 0, (access & kGenericWrite) != 0, false,
                               share};
    if (const std::uint32_t refused = takeShareLocks(fd, request))
        return refused;
    if (truncates && st.st_size != 0 && ::ftruncate(fd, 0) != 0)
        return win32ErrorFromErrno(errno);
    return kErrorSuccess;
}

} // namespace

FileOpenResult openFile(const wchar_t* path, std::uint32_t access, std::uint32_t share,
                        std::uint32_t disposition, std::uint32_t) {
    std::string narrow;
    if (!pathToUtf8(path, narrow))
        return failed(kErrorInvalidName);
    if (narrow.empty())
        return failed(kErrorPathNotFound);
    const int create = dispositionFlags(disposition);
    if (create < 0 || (disposition == kTruncateExisting && (access & kGenericWrite) == 0))
        return failed(kErrorInvalidParameter);
    if (refusesWriting(narrow, access, create))
        return failed(kErrorAccessDenied);
    int fd;
    do {
        fd = ::open(narrow.c_str(), accessFlags(access) | (create & ~O_TRUNC) | O_CLOEXEC,
                    kNewFileMode);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0)
        return failed(openError(errno, narrow));
    if (const std::uint32_t error = settle(fd, access, share, (create & O_TRUNC) != 0)) {
        ::close(fd);
        return failed(error);
    }
    return {handleOf(fd), kErrorSuccess};
}

bool seekFile(void* handle, std::int64_t distance, int method, std::uint64_t* position) {
    static_assert(SEEK_SET == 0 && SEEK_CUR == 1 && SEEK_END == 2);
    const off_t moved = ::lseek(fdOf(handle), off_t(distance), method);
    if (moved < 0) {
        if (errno == EINVAL)
            errno = ESPIPE; // Windows reports a move before the start as a negative seek
        return false;
    }
    *position = std::uint64_t(moved);
    return true;
}

bool readFile(void* handle, void* buffer, std::uint32_t count, std::uint32_t* done) {
    auto* bytes = static_cast<char*>(buffer);
    *done = 0;
    while (*done < count) {
        const ssize_t n = ::read(fdOf(handle), bytes + *done, count - *done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        if (n == 0)
            break;
        *done += std::uint32_t(n);
    }
    return true;
}

bool writeFile(void* handle, const void* buffer, std::uint32_t count, std::uint32_t* done) {
    const auto* bytes = static_cast<const char*>(buffer);
    *done = 0;
    while (*done < count) {
        const ssize_t n = ::write(fdOf(handle), bytes + *done, count - *done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        *done += std::uint32_t(n);
    }
    return true;
}

bool fileSize(void* handle, std::uint64_t* size) {
    struct stat st;
    if (::fstat(fdOf(handle), &st) != 0)
        return false;
    *size = std::uint64_t(st.st_size);
    return true;
}

bool truncateFileHere(void* handle) {
    const off_t here = ::lseek(fdOf(handle), 0, SEEK_CUR);
    return here >= 0 && ::ftruncate(fdOf(handle), here) == 0;
}

bool flushFile(void* handle) {
    return ::fsync(fdOf(handle)) == 0;
}

void closeFile(void* handle) {
    ::close(fdOf(handle));
}

bool mapWholeFile(void* handle, FileView* view) {
    std::uint64_t size = 0;
    if (!fileSize(handle, &size))
        return false;
    if (size == 0 || size > std::uint64_t(SIZE_MAX)) {
        errno = EINVAL;
        return false;
    }
    void* bytes = ::mmap(nullptr, std::size_t(size), PROT_READ, MAP_SHARED, fdOf(handle), 0);
    if (bytes == MAP_FAILED)
        return false;
    *view = {bytes, static_cast<const unsigned char*>(bytes), size};
    return true;
}

void unmapFile(const FileView& view) {
    if (view.bytes != nullptr)
        ::munmap(const_cast<unsigned char*>(view.bytes), std::size_t(view.size));
}

void releaseViewPages(const FileView& view, std::uint64_t offset, std::uint64_t length) {
    // The view is a shared read-only mapping of the file: dropping its pages loses
    // nothing, the next read faults them in again from the page cache or the disk.
    ::madvise(const_cast<unsigned char*>(view.bytes) + offset, std::size_t(length), MADV_DONTNEED);
}

std::uint32_t fileAttributes(const wchar_t* path) {
    std::string narrow;
    struct stat st;
    if (!pathToUtf8(path, narrow) || narrow.empty() || ::lstat(narrow.c_str(), &st) != 0)
        return kInvalidFileAttributes;
    std::uint32_t attributes = 0;
    if (S_ISLNK(st.st_mode)) {
        attributes |= kFileAttributeReparsePoint;
        struct stat target;
        if (::stat(narrow.c_str(), &target) == 0)
            st = target;
    }
    if (S_ISDIR(st.st_mode))
        attributes |= kFileAttributeDirectory;
    if ((st.st_mode & kAnyWrite) == 0)
        attributes |= kFileAttributeReadOnly;
    if (isDotName(narrow))
        attributes |= kFileAttributeHidden;
    return attributes != 0 ? attributes : kFileAttributeNormal;
}

} // namespace xo::platform
