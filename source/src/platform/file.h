// Files by handle, as CreateFileW and its companions answer: the Windows calls on
// Windows; on POSIX a file descriptor carried in the handle word, with the same
// dispositions, the same refusals (a folder opened as a file is access denied) and the
// same Win32 error numbers through the one errno mapping. Failures return false (or an
// invalid handle) and leave the error in the result or in lastOsError().
#pragma once

#include <cstdint>

namespace xo::platform {

// CreateFileW's values.
constexpr std::uint32_t kGenericRead = 0x80000000u;
constexpr std::uint32_t kGenericWrite = 0x40000000u;
constexpr std::uint32_t kFileShareRead = 0x1;
constexpr std::uint32_t kFileShareWrite = 0x2;
constexpr std::uint32_t kFileShareDelete = 0x4;
constexpr std::uint32_t kCreateNew = 1;
constexpr std::uint32_t kCreateAlways = 2;
constexpr std::uint32_t kOpenExisting = 3;
constexpr std::uint32_t kOpenAlways = 4;
constexpr std::uint32_t kTruncateExisting = 5;
constexpr std::uint32_t kFileAttributeNormal = 0x80;
constexpr std::uint32_t kFileFlagRandomAccess = 0x10000000u;

// The invalid handle of both targets: all ones.
inline void* invalidFileHandle() {
    return reinterpret_cast<void*>(~std::uintptr_t(0));
}

struct FileOpenResult {
    void* handle; // invalidFileHandle() on failure
    std::uint32_t error;
};

// CreateFileW without security attributes or template. On POSIX the share mode is
// enforced between every open made through the library, in any process (see
// posix/sharelock.h), and refused opens fail with kErrorSharingViolation; the flags are
// hints there.
FileOpenResult openFile(const wchar_t* path, std::uint32_t access, std::uint32_t share,
                        std::uint32_t disposition, std::uint32_t flags);

// SetFilePointerEx: method 0 from the start, 1 from the current position, 2 from the end.
bool seekFile(void* handle, std::int64_t distance, int method, std::uint64_t* position);
// ReadFile/WriteFile of count bytes; done gets what was moved. A write goes on until
// every byte is written or one call fails, so a full disk reports its error.
bool readFile(void* handle, void* buffer, std::uint32_t count, std::uint32_t* done);
bool writeFile(void* handle, const void* buffer, std::uint32_t count, std::uint32_t* done);
bool fileSize(void* handle, std::uint64_t* size); // GetFileSizeEx
bool truncateFileHere(void* handle);              // SetEndOfFile at the file pointer
bool flushFile(void* handle);                     // FlushFileBuffers
void closeFile(void* handle);                     // CloseHandle

// A read-only view of the whole file (CreateFileMappingW + MapViewOfFile); an empty
// file cannot be mapped, on either target.
struct FileView {
    void* mapping; // the mapping object on Windows; the view itself on POSIX
    const unsigned char* bytes;
    std::uint64_t size;
};
bool mapWholeFile(void* handle, FileView* view);
void unmapFile(const FileView& view);
// Lets the system take back the view's pages in [offset, offset + length), whole pages
// inside the view: they leave the process's resident set and fault in again from the
// file when read. Best effort, nothing to report.
void releaseViewPages(const FileView& view, std::uint64_t offset, std::uint64_t length);

// GetFileAttributesW: 0xFFFFFFFF when the path cannot be asked about.
constexpr std::uint32_t kInvalidFileAttributes = 0xFFFFFFFFu;
constexpr std::uint32_t kFileAttributeReadOnly = 0x1;
constexpr std::uint32_t kFileAttributeHidden = 0x2;
constexpr std::uint32_t kFileAttributeDirectory = 0x10;
constexpr std::uint32_t kFileAttributeReparsePoint = 0x400;
std::uint32_t fileAttributes(const wchar_t* path);

} // namespace xo::platform
