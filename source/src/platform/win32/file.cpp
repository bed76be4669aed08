#include "platform/file.h"

#include <windows.h>

namespace xo::platform {

static_assert(kGenericRead == GENERIC_READ && kGenericWrite == GENERIC_WRITE);
static_assert(kFileShareRead == FILE_SHARE_READ && kFileShareWrite == FILE_SHARE_WRITE);
static_assert(kCreateNew == CREATE_NEW && kCreateAlways == CREATE_ALWAYS &&
              kOpenExisting == OPEN_EXISTING && kOpenAlways == OPEN_ALWAYS &&
              kTruncateExisting == TRUNCATE_EXISTING);
static_assert(kFileAttributeNormal == FILE_ATTRIBUTE_NORMAL &&
              kFileFlagRandomAccess == FILE_FLAG_RANDOM_ACCESS);
static_assert(kInvalidFileAttributes == INVALID_FILE_ATTRIBUTES &&
              kFileAttributeReadOnly == FILE_ATTRIBUTE_READONLY &&
              kFileAttributeDirectory == FILE_ATTRIBUTE_DIRECTORY &&
              kFileAttributeReparsePoint == FILE_ATTRIBUTE_REPARSE_POINT);

FileOpenResult openFile(const wchar_t* path, std::uint32_t access, std::uint32_t share,
                        std::uint32_t disposition, std::uint32_t flags) {
    HANDLE handle = ::CreateFileW(path, access, share, nullptr, disposition, flags, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return {invalidFileHandle(), ::GetLastError()};
    return {handle, 0};
}

bool seekFile(void* handle, std::int64_t distance, int method, std::uint64_t* position) {
    LARGE_INTEGER move;
    move.QuadPart = distance;
    LARGE_INTEGER moved;
    if (!::SetFilePointerEx(handle, move, &moved, DWORD(method)))
        return false;
    *position = std::uint64_t(moved.QuadPart);
    return true;
}

bool readFile(void* handle, void* buffer, std::uint32_t count, std::uint32_t* done) {
    DWORD read = 0;
    const BOOL ok = ::ReadFile(handle, buffer, count, &read, nullptr);
    *done = read;
    return ok != FALSE;
}

// A write that only partly fits returns TRUE with the bytes that fitted; the next one
// reports why the rest does not.
bool writeFile(void* handle, const void* buffer, std::uint32_t count, std::uint32_t* done) {
    const auto* bytes = static_cast<const char*>(buffer);
    *done = 0;
    while (*done < count) {
        DWORD written = 0;
        if (!::WriteFile(handle, bytes + *done, count - *done, &written, nullptr))
            return false;
        *done += written;
        if (written == 0)
            return false;
    }
    return true;
}

bool fileSize(void* handle, std::uint64_t* size) {
    LARGE_INTEGER value;
    if (!::GetFileSizeEx(handle, &value))
        return false;
    *size = std::uint64_t(value.QuadPart);
    return true;
}

bool truncateFileHere(void* handle) {
    return ::SetEndOfFile(handle) != FALSE;
}

bool flushFile(void* handle) {
    return ::FlushFileBuffers(handle) != FALSE;
}

void closeFile(void* handle) {
    ::CloseHandle(handle);
}

bool mapWholeFile(void* handle, FileView* view) {
    std::uint64_t size = 0;
    if (!fileSize(handle, &size))
        return false;
    HANDLE mapping = ::CreateFileMappingW(handle, nullptr, PAGE_READONLY, 0, 0, nullptr);
    if (mapping == nullptr)
        return false;
    void* bytes = ::MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
    if (bytes == nullptr) {
        const DWORD error = ::GetLastError();
        ::CloseHandle(mapping);
        ::SetLastError(error);
        return false;
    }
    *view = {mapping, static_cast<const unsigned char*>(bytes), size};
    return true;
}

void unmapFile(const FileView& view) {
    if (view.bytes != nullptr)
        ::UnmapViewOfFile(view.bytes);
    if (view.mapping != nullptr)
        ::CloseHandle(view.mapping);
}

void releaseViewPages(const FileView& view, std::uint64_t offset, std::uint64_t length) {
    // VirtualUnlock is the one call that takes pages of a view out of the working set
    // without unmapping it: for pages that were never locked, as none of ours are, it
    // removes them and then fails with ERROR_NOT_LOCKED, which is the expected answer
    // here. The view is read-only, so the pages come back from the file when read.
    ::VirtualUnlock(const_cast<unsigned char*>(view.bytes) + offset, SIZE_T(length));
}

std::uint32_t fileAttributes(const wchar_t* path) {
    return ::GetFileAttributesW(path);
}

} // namespace xo::platform
