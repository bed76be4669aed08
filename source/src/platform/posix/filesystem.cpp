#include "platform/filesystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/error.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/posix/utf8path.h"
#include "platform/shelllink/shelllinkparser.h"

namespace xo::platform {

namespace {

constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
// Seconds from 1601-01-01 (FILETIME's epoch) to 1970-01-01.
constexpr std::int64_t kFileTimeEpochSeconds = 11644473600;

// Windows' volume flags.
constexpr unsigned long kCaseSensitiveSearch = 0x1;
constexpr unsigned long kCasePreservedNames = 0x2;
constexpr unsigned long kUnicodeOnDisk = 0x4;
constexpr unsigned long kSupportsReparsePoints = 0x80;
constexpr unsigned long kReadOnlyVolume = 0x80000;
constexpr unsigned long kSupportsHardLinks = 0x400000;

bool fail(std::uint32_t error) {
    setThreadLastError(error);
    return false;
}

bool failWithErrno() {
    return fail(win32ErrorFromErrno(errno));
}

// The path's bytes, or false with Windows' error for a path it cannot name.
bool narrowPath(const wchar_t* path, std::string& out) {
    if (!pathToUtf8(path, out))
        return fail(kErrorInvalidParameter);
    if (out.empty())
        return fail(kErrorPathNotFound);
    return true;
}

struct FileTime {
    std::uint32_t low, high;
};

FileTime fileTimeOf(const struct timespec& time) {
    const std::uint64_t ticks = std::uint64_t(time.tv_sec + kFileTimeEpochSeconds) * 10000000u +
                                std::uint64_t(time.tv_nsec) / 100u;
    return {std::uint32_t(ticks), std::uint32_t(ticks >> 32)};
}

// WIN32_FILE_ATTRIBUTE_DATA's layout.
struct AttributeData {
    std::uint32_t attributes;
    FileTime creation, access, write;
    std::uint32_t sizeHigh, sizeLow;
};
static_assert(sizeof(AttributeData) == 36);

// Copies text into a buffer of size characters, as the volume query does: false (and
// nothing written) when it does not fit with its terminator.
bool copyOut(const std::wstring& text, wchar_t* out, unsigned long size) {
    if (out == nullptr)
        return true;
    if (text.size() >= size)
        return false;
    text.copy(out, text.size());
    out[text.size()] = 0;
    return true;
}

// The mount table's escapes (\040 for a space) undone.
std::string unescapeMountField(const char* field) {
    std::string out;
    for (const char* p = field; *p; ++p) {
        if (p[0] == '\\' && p[1] >= '0' && p[1] <= '7' && p[2] >= '0' && p[2] <= '7' &&
            p[3] >= '0' && p[3] <= '7') {
            out += char((p[1] - '0') * 64 + (p[2] - '0') * 8 + (p[3] - '0'));
            p += 3;
        } else {
            out += *p;
        }
    }
    return out;
}

bool isUnder(const std::string& path, const std::string& mountPoint) {
    if (mountPoint == "/")
        return true;
    return path.compare(0, mountPoint.size(), mountPoint) == 0 &&
           (path.size() == mountPoint.size() || path[mountPoint.size()] == '/');
}

struct Mount {
    std::string point, type, source;
    unsigned major = 0, minor = 0;
};

// The mount whose point is the longest prefix of the absolute path; reads only the
// kernel's table, never the volume.
bool findMount(const std::string& absolute, Mount* found) {
    FILE* table = std::fopen("/proc/self/mountinfo", "re");
    if (table == nullptr)
        return false;
    char* line = nullptr;
    std::size_t capacity = 0;
    bool any = false;
    while (::getline(&line, &capacity, table) > 0) {
        // id parent major:minor root point options [optional...] - type source options
        unsigned major = 0, minor = 0;
        char point[4096];
        if (std::sscanf(line, "%*u %*u %u:%u %*s %4095s", &major, &minor, point) != 3)
            continue;
        const std::string mountPoint = unescapeMountField(point);
        if (!isUnder(absolute, mountPoint) || (any && mountPoint.size() < found->point.size()))
            continue;
        const char* dash = std::strstr(line, " - ");
        char type[256] = "", source[4096] = "";
        if (dash == nullptr || std::sscanf(dash, " - %255s %4095s", type, source) < 1)
            continue;
        *found = {mountPoint, unescapeMountField(type), unescapeMountField(source), major, minor};
        any = true;
    }
    std::free(line);
    std::fclose(table);
    return any;
}

bool absoluteNarrow(const wchar_t* path, std::string& out) {
    wchar_t full[kMaxPath * 4];
    return path != nullptr && fullPath(full, sizeof full / sizeof full[0], path) &&
           pathToUtf8(full, out) && !out.empty();
}

std::uint32_t countedCopy(const std::wstring& text, wchar_t* out, std::uint32_t size) {
    if (text.size() >= size)
        return std::uint32_t(text.size() + 1);
    text.copy(out, text.size());
    out[text.size()] = 0;
    return std::uint32_t(text.size());
}

bool copyContents(void* source, void* target) {
    char buffer[64 * 1024];
    for (;;) {
        std::uint32_t got = 0, put = 0;
        if (!readFile(source, buffer, sizeof buffer, &got))
            return false;
        if (got == 0)
            return true;
        if (!writeFile(target, buffer, got, &put))
            return false;
    }
}

} // namespace

bool accessPath(const wchar_t* path, int mode) {
    std::string narrow;
    if (!pathToUtf8(path, narrow) || narrow.empty())
        return false;
    struct stat st;
    if (::access(narrow.c_str(), mode & (R_OK | W_OK)) != 0 || ::stat(narrow.c_str(), &st) != 0)
        return false;
    return (mode & W_OK) == 0 || !S_ISREG(st.st_mode) || (st.st_mode & kAnyWrite) != 0;
}

StatOutcome statPath(const wchar_t* path, PathStatus* status) {
    std::string narrow;
    struct stat st;
    if (!pathToUtf8(path, narrow) || narrow.empty() || ::stat(narrow.c_str(), &st) != 0)
        return errno == EOVERFLOW ? StatOutcome::kOverflow : StatOutcome::kFailed;
    if (st.st_size > INT32_MAX) // the record's size field has 32 bits
        return StatOutcome::kOverflow;
    *status = {S_ISDIR(st.st_mode), std::int64_t(st.st_ctim.tv_sec),
               std::int64_t(st.st_mtim.tv_sec)};
    return StatOutcome::kOk;
}

bool fileAttributeData(const wchar_t* path, int level, void* info) {
    if (level != 0)
        return fail(kErrorInvalidParameter);
    std::string narrow;
    if (!narrowPath(path, narrow))
        return false;
    struct stat st;
    if (::stat(narrow.c_str(), &st) != 0 && ::lstat(narrow.c_str(), &st) != 0)
        return fail(errno == ENOENT ? kErrorFileNotFound : win32ErrorFromErrno(errno));
    const std::uint32_t attributes = fileAttributes(path);
    if (attributes == kInvalidFileAttributes)
        return failWithErrno();
    const std::uint64_t size = S_ISDIR(st.st_mode) ? 0 : std::uint64_t(st.st_size);
    const AttributeData data{attributes,
                             fileTimeOf(st.st_ctim),
                             fileTimeOf(st.st_atim),
                             fileTimeOf(st.st_mtim),
                             std::uint32_t(size >> 32),
                             std::uint32_t(size)};
    std::memcpy(info, &data, sizeof data);
    return true;
}

bool pathExists(const wchar_t* path) {
    std::string narrow;
    struct stat st;
    return pathToUtf8(path, narrow) && !narrow.empty() && ::lstat(narrow.c_str(), &st) == 0;
}

bool volumeInformation(const wchar_t* root, wchar_t* name, unsigned long nameSize,
                       unsigned long* serial, unsigned long* maxComponentLength,
                       unsigned long* flags, wchar_t* fsName, unsigned long fsNameSize) {
    std::string narrow, absolute;
    if (root == nullptr) {
        absolute = "/";
    } else if (!narrowPath(root, narrow) || !absoluteNarrow(root, absolute)) {
        return false;
    }
    struct statvfs vfs;
    if (::statvfs(absolute.c_str(), &vfs) != 0)
        return fail(errno == ENOENT ? kErrorPathNotFound : win32ErrorFromErrno(errno));
    struct stat st;
    Mount mount;
    if (::stat(absolute.c_str(), &st) != 0 || !findMount(absolute, &mount))
        return failWithErrno();
    if (!copyOut(pathFromUtf8(mount.source), name, nameSize) ||
        !copyOut(pathFromUtf8(mount.type), fsName, fsNameSize))
        return fail(kErrorInsufficientBuffer); // Windows: ERROR_BAD_LENGTH's neighbour
    if (serial != nullptr)
        *serial = static_cast<std::uint32_t>(vfs.f_fsid);
    if (maxComponentLength != nullptr)
        *maxComponentLength = vfs.f_namemax;
    if (flags != nullptr) {
        *flags = kCaseSensitiveSearch | kCasePreservedNames | kUnicodeOnDisk |
                 kSupportsReparsePoints | kSupportsHardLinks;
        if ((vfs.f_flag & ST_RDONLY) != 0)
            *flags |= kReadOnlyVolume;
    }
    return true;
}

bool volumeKey(const wchar_t* path, std::uint64_t* key) {
    std::string absolute;
    Mount mount;
    if (!absoluteNarrow(path, absolute) || !findMount(absolute, &mount))
        return false;
    *key = std::uint64_t(mount.major) << 32 | mount.minor;
    return true;
}

bool deleteFile(const wchar_t* path) {
    std::string narrow;
    if (!narrowPath(path, narrow))
        return false;
    struct stat st;
    if (::lstat(narrow.c_str(), &st) != 0)
        return failWithErrno();
    if (S_ISDIR(st.st_mode) || (S_ISREG(st.st_mode) && (st.st_mode & kAnyWrite) == 0))
        return fail(kErrorAccessDenied);
    return ::unlink(narrow.c_str()) == 0 || failWithErrno();
}

bool copyFile(const wchar_t* from, const wchar_t* to, bool failIfExists) {
    const FileOpenResult source =
        openFile(from, kGenericRead, kFileShareRead, kOpenExisting, kFileAttributeNormal);
    if (source.handle == invalidFileHandle())
        return fail(source.error);
    const FileOpenResult target = openFile(
        to, kGenericWrite, 0, failIfExists ? kCreateNew : kCreateAlways, kFileAttributeNormal);
    if (target.handle == invalidFileHandle()) {
        closeFile(source.handle);
        return fail(target.error == kErrorFileExists ? kErrorFileExists : target.error);
    }
    const int in = int(reinterpret_cast<std::intptr_t>(source.handle));
    const int out = int(reinterpret_cast<std::intptr_t>(target.handle));
    bool copied = copyContents(source.handle, target.handle);
    const std::uint32_t error = copied ? kErrorSuccess : lastOsError();
    struct stat st;
    if (copied && ::fstat(in, &st) == 0) {
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        ::futimens(out, times);
        ::fchmod(out, st.st_mode & 07777);
    }
    closeFile(source.handle);
    closeFile(target.handle);
    return copied || fail(error);
}

bool createDirectory(const wchar_t* path) {
    std::string narrow;
    if (!narrowPath(path, narrow))
        return false;
    if (::mkdir(narrow.c_str(), 0777) == 0)
        return true;
    return fail(errno == EEXIST   ? kErrorAlreadyExists
                : errno == ENOENT ? kErrorPathNotFound
                                  : win32ErrorFromErrno(errno));
}

std::uint32_t createDirectoryTree(const wchar_t* path) {
    std::string narrow;
    if (!pathToUtf8(path, narrow) || narrow.empty() || narrow[0] != '/')
        return kErrorBadPathname;
    struct stat st;
    if (::lstat(narrow.c_str(), &st) == 0)
        return kErrorAlreadyExists;
    for (std::size_t slash = narrow.find('/', 1);; slash = narrow.find('/', slash + 1)) {
        const std::string level = narrow.substr(0, slash);
        if (::mkdir(level.c_str(), 0777) != 0 && errno != EEXIST)
            return errno == ENOENT ? kErrorPathNotFound : win32ErrorFromErrno(errno);
        if (slash == std::string::npos || slash + 1 == narrow.size())
            break;
    }
    return kErrorSuccess;
}

bool removeDirectory(const wchar_t* path) {
    std::string narrow;
    if (!narrowPath(path, narrow))
        return false;
    if (::rmdir(narrow.c_str()) == 0)
        return true;
    return fail(errno == ENOTDIR  ? kErrorDirectory
                : errno == EEXIST ? kErrorDirNotEmpty
                                  : win32ErrorFromErrno(errno));
}

bool setCurrentDirectory(const wchar_t* path) {
    std::string narrow;
    if (!narrowPath(path, narrow))
        return false;
    return ::chdir(narrow.c_str()) == 0 || failWithErrno();
}

std::uint32_t currentDirectory(wchar_t* out, std::uint32_t size) {
    char* here = ::getcwd(nullptr, 0);
    if (here == nullptr)
        return failWithErrno(), 0;
    const std::wstring wide = pathFromUtf8(here);
    std::free(here);
    return countedCopy(wide, out, size);
}

std::uint32_t tempDirectory(wchar_t* out, std::uint32_t size) {
    const char* variable = std::getenv("TMPDIR");
    std::string folder = variable != nullptr && variable[0] != 0 ? variable : "/tmp";
    if (folder.back() != '/')
        folder += '/';
    return countedCopy(pathFromUtf8(folder), out, size);
}

bool firstFoundFileSize(const wchar_t* path, std::uint64_t* size) {
    std::string narrow;
    struct stat st;
    const bool found = pathToUtf8(path, narrow) && !narrow.empty() &&
                       ::lstat(narrow.c_str(), &st) == 0 && S_ISREG(st.st_mode);
    *size = found ? std::uint64_t(st.st_size) : 0;
    return true;
}

bool resolveShortcut(const wchar_t* shortcut, wchar_t* out) {
    std::string narrow;
    if (!narrowPath(shortcut, narrow))
        return false;
    struct stat st;
    if (::lstat(narrow.c_str(), &st) != 0)
        return failWithErrno();
    std::wstring target;
    if (S_ISLNK(st.st_mode)) {
        char* resolved = ::realpath(narrow.c_str(), nullptr);
        if (resolved == nullptr)
            return failWithErrno();
        target = pathFromUtf8(resolved);
        std::free(resolved);
    } else {
        const FileOpenResult file =
            openFile(shortcut, kGenericRead, kFileShareRead, kOpenExisting, kFileAttributeNormal);
        if (file.handle == invalidFileHandle())
            return fail(file.error);
        std::string bytes(kMaxShellLinkSize, '\0');
        std::uint32_t got = 0;
        const bool read = readFile(file.handle, bytes.data(), std::uint32_t(bytes.size()), &got);
        closeFile(file.handle);
        if (!read)
            return failWithErrno();
        if (!parseShellLinkTarget(reinterpret_cast<const unsigned char*>(bytes.data()), got,
                                  target))
            return fail(kErrorFileCorrupt);
    }
    if (target.empty() || target.size() >= kMaxPath)
        return fail(kErrorInsufficientBuffer);
    target.copy(out, target.size());
    out[target.size()] = 0;
    return true;
}

bool cancelSynchronousIo(void*) {
    return false;
}

void* threadHandle(std::thread&) {
    return nullptr;
}

} // namespace xo::platform
