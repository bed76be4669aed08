/// \file
/// The file-system services: static operations over the OS's files and folders, and four
/// metadata queries that can be served by a worker thread so that a path on a volume that
/// does not answer (a dead network share) cannot block the caller beyond a time-out.
///
/// Paths are zero-terminated UTF-16 strings; output buffers hold at least 260 wide
/// characters (MAX_PATH). Linux: paths are the UTF-16 form of POSIX paths, converted to
/// UTF-8 at the system call, and the Windows records and constants that the signatures
/// name are declared here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "XoOsBaseExport.h"
#include "XoStreamBuf.h"

#if defined(_WIN32)
#include <windef.h>

#include <minwinbase.h> // GET_FILEEX_INFO_LEVELS

#include <fileapi.h> // WIN32_FILE_ATTRIBUTE_DATA
#else
/// GetFileAttributesExW's information levels; only the standard one is answered.
enum GET_FILEEX_INFO_LEVELS { GetFileExInfoStandard, GetFileExMaxInfoLevel };

/// FILETIME of Windows: 100-nanosecond ticks since 1601-01-01 00:00 UTC, in two halves.
struct _FILETIME {
    std::uint32_t dwLowDateTime;  ///< low 32 bits of the ticks
    std::uint32_t dwHighDateTime; ///< high 32 bits of the ticks
};

/// WIN32_FILE_ATTRIBUTE_DATA of Windows (DWORD is 32 bits there), laid out as there.
struct _WIN32_FILE_ATTRIBUTE_DATA {
    std::uint32_t dwFileAttributes; ///< the attribute bits, as getFileAttributes gives them
    _FILETIME ftCreationTime;       ///< Linux: the status change time
    _FILETIME ftLastAccessTime;     ///< the last access
    _FILETIME ftLastWriteTime;      ///< the last modification
    std::uint32_t nFileSizeHigh;    ///< high 32 bits of the size in bytes
    std::uint32_t nFileSizeLow;     ///< low 32 bits of the size in bytes
};
/// The record's usual name on Windows.
using WIN32_FILE_ATTRIBUTE_DATA = _WIN32_FILE_ATTRIBUTE_DATA;
static_assert(sizeof(_WIN32_FILE_ATTRIBUTE_DATA) == 36, "the Windows record's size");
static_assert(offsetof(_WIN32_FILE_ATTRIBUTE_DATA, nFileSizeLow) == 32,
              "the Windows record's layout");
#endif

class XoFileStreamBuf;
class XoTaskThread;

/// The file-system services; only a scope for static members, callable from any thread.
///
/// Routed queries (GetVolumeInformationW, getFileAttributesEx, getFileAttributes,
/// pathFileExists) run on the caller's thread until useMultiThread turns the worker on;
/// then each is handed to the one worker and the caller waits m_nTimeout milliseconds
/// for it. Windows then cancels the worker's synchronous I/O and waits for the answer.
/// Linux cannot end a call stuck on a dead volume: the caller returns the query's failure
/// value at once, the stuck worker is left behind and a fresh one serves the queue, and
/// further routed queries on that volume fail at once until the stuck call returns.
class XOOSBASE_API XoFileSystem {
public:
    /// Win32 GetFileAttributesW called directly (never routed): true for a folder, false
    /// for anything else and when the path cannot be asked about.
    static bool isDirectory(const wchar_t* path);
    /// True for an existing file that is not a folder; false for null or empty paths. A
    /// file whose status does not fit the runtime's record (EOVERFLOW) counts as existing.
    static bool isFileExisting(const wchar_t* path);
    /// True when the path is an existing file (not a folder) that allows mode: read,
    /// write, or both; any other value tests existence only.
    static bool accessFile(const wchar_t* path, XoIO::AccessMode mode);
    /// Creates an empty file; true also when the file exists already, which is then left
    /// untouched. False for a null or empty path or when the file cannot be made.
    static bool createFile(const wchar_t* path);
    /// A new stream from createFileStreamBuf, owned by the caller, or null when the open
    /// failed (the failed stream is destroyed here).
    static XoFileStreamBuf* createFileBuf(const wchar_t* path, XoIO::AccessMode access,
                                          XoIO::ShareMode share,
                                          XoIO::CreationDisposition disposition);
    /// DeleteFileW: true when the file was deleted.
    static bool deleteFile(const wchar_t* path);
    /// Not provided: always false, and nothing is touched (deliberately).
    static bool renameFile(const wchar_t* from, const wchar_t* to);
    /// CopyFileW; false without copying when either path is null or empty or from is not
    /// an existing file.
    static bool copyFile(const wchar_t* from, const wchar_t* to, bool failIfExists);
    /// The status change time (Windows: creation) in seconds since 1970 UTC; -1 when the
    /// path has no status.
    static std::int64_t getCreationTime(const wchar_t* path);
    /// Not provided: always 0 (deliberately).
    static std::int64_t getAccessingTime(const wchar_t* path);
    /// The modification time in seconds since 1970 UTC; -1 when the path has no status.
    static std::int64_t getModificationTime(const wchar_t* path);
    /// The size of the first file FindFirstFileW finds for path. Only a null search
    /// handle counts as failure (-1); a missing file is not detected (it gives 0), so
    /// callers test existence first.
    static std::int64_t getFileSize(const wchar_t* path);
    /// Not provided: always 0.
    static std::int64_t getFileSize(void* handle);
    /// CreateDirectoryW: one level; true when it was made.
    static bool createDirectory(const wchar_t* path);
    /// Makes the folder and every missing folder above it; true also when it exists.
    static bool createDirectoryEx(const wchar_t* path);
    /// RemoveDirectoryW: true when the (empty) folder was removed.
    static bool deleteDirectory(const wchar_t* path);
    /// SetCurrentDirectoryW: true when it is now the current folder.
    static bool setCurrentDirectory(const wchar_t* path);
    /// GetCurrentDirectoryW into out (260 characters): the characters written, the size
    /// needed when 260 is too small, or 0 on failure.
    static int getCurrentDirectory(wchar_t* out);
    /// GetTempPathW into out, counted as getCurrentDirectory counts; the path ends in the
    /// separator. Linux: TMPDIR, else /tmp/.
    static int getTempDirectory(wchar_t* out);
    /// The folder of the program's executable with its trailing separator and without
    /// the drive letter (deliberately); returns its length, 0 on failure.
    static int getRunDirectory(wchar_t* out);
    /// Not provided: 0, out untouched.
    static int getOSDirectory(wchar_t* out);
    /// Not provided: 0, out untouched.
    static int getSystemDirectory(wchar_t* out);
    /// Not provided: always 0.
    static std::size_t getDiskAvailableSpace(const wchar_t* path);
    /// Not provided: always 0.
    static std::size_t getDiskFreeSpace(const wchar_t* path);
    /// Not provided: always 0.
    static std::size_t getDiskTotalSpace(const wchar_t* path);
    /// The path that a shell shortcut (.lnk) points at, into out (260 characters); 1 on
    /// success, 0 on failure. Windows asks the shell; Linux reads the shortcut file itself
    /// (local or network target) and follows a symbolic link to its target.
    static int getLinkedPathName(const wchar_t* shortcut, wchar_t* out);
    /// Routed GetVolumeInformationW: non-zero on success. Linux: root is any path on the
    /// volume; the answers come from the mounted file system that holds it.
    static int GetVolumeInformationW(const wchar_t* root, wchar_t* nameBuf, unsigned long nameSize,
                                     unsigned long* serial, unsigned long* maxComponentLen,
                                     unsigned long* fsFlags, wchar_t* fsNameBuf,
                                     unsigned long fsNameSize);
    /// Routed GetFileAttributesExW into info (a WIN32_FILE_ATTRIBUTE_DATA for the standard
    /// level): non-zero on success.
    static int getFileAttributesEx(const wchar_t* path, GET_FILEEX_INFO_LEVELS level, void* info);
    /// Routed GetFileAttributesW: the attribute bits, or 0xFFFFFFFF (INVALID_FILE_ATTRIBUTES)
    /// when the path cannot be asked about (null, empty, not found, not convertible or not
    /// reachable). Linux: a folder 0x10, no write permission at all 0x1 (read-only), a
    /// name starting with a dot 0x2 (hidden), a symbolic link 0x400 (a reparse point) with
    /// its target's bits, else 0x80.
    static unsigned long getFileAttributes(const wchar_t* path);
    /// Routed PathFileExistsW: non-zero when the file or folder exists; 0 for null.
    static int pathFileExists(const wchar_t* path);
    /// Turns the worker on with a time-out of timeoutMs milliseconds (0 or less: none,
    /// the caller gives up at once). Does nothing while it is on, not even setting the
    /// time-out. Not synchronised with routed queries or stopMultiThread: call it while
    /// none is in flight.
    static void useMultiThread(int timeoutMs);
    /// Turns the worker off once it has run every query queued; the time-out is kept.
    static void stopMultiThread();

    /// The routed queries' time-out in milliseconds; 500 at first.
    static std::int32_t m_nTimeout;
    /// The worker while the worker mode is on, else empty.
    static std::unique_ptr<XoTaskThread> m_pThread;
};
