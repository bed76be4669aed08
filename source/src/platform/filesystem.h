// Files and folders by path, as the Windows calls answer: the Windows calls (and the
// runtime's _waccess and _wstat64i32) on Windows; on POSIX twins that give the same
// results and the same Win32 error numbers, left in threadLastError(). Paths on POSIX
// are the UTF-16 form of POSIX paths, converted to UTF-8 at the system call.
#pragma once

#include <cstdint>
#include <thread>

namespace xo::platform {

// _waccess under the error mode SEM_FAILCRITICALERRORS (restored afterwards), so that
// a drive without a medium fails instead of asking the user. mode: 0 existence, 2 write,
// 4 read, 6 both. POSIX: a file without any write permission refuses writing, as a
// read-only file does on Windows, whoever asks.
bool accessPath(const wchar_t* path, int mode);

// _wstat64i32: the status record with 64-bit times and a 32-bit size. A file larger than
// the size field fails with kStatOverflow (the runtime's EOVERFLOW), as there.
enum class StatOutcome { kOk, kOverflow, kFailed };
struct PathStatus {
    bool directory;
    std::int64_t changeTime;       // st_ctime: creation on Windows, status change on POSIX
    std::int64_t modificationTime; // st_mtime; both in seconds since 1970 UTC
};
StatOutcome statPath(const wchar_t* path, PathStatus* status);

// GetFileAttributesExW; only level 0 (GetFileExInfoStandard) is answered, into a
// WIN32_FILE_ATTRIBUTE_DATA (36 bytes). POSIX: the attributes of fileAttributes, the
// status change, access and modification times, the size (0 for a folder).
bool fileAttributeData(const wchar_t* path, int level, void* info);

// PathFileExistsW: a file or folder by that name (a symbolic link counts, even dangling).
bool pathExists(const wchar_t* path);

// GetVolumeInformationW. POSIX: root is any path on the volume; the mounted file system
// holding it answers: its mount source as the name, the file-system id's low 32 bits as
// the serial, the longest name it allows, case-sensitive and case-preserving flags (and
// read-only), and its type ("ext4", "tmpfs", "fuse.x"...) as the file-system name.
bool volumeInformation(const wchar_t* root, wchar_t* name, unsigned long nameSize,
                       unsigned long* serial, unsigned long* maxComponentLength,
                       unsigned long* flags, wchar_t* fsName, unsigned long fsNameSize);

// A key of the volume that holds path, found without asking that volume anything (a
// dead one would not answer): POSIX, the device numbers of the longest mount point in
// the mount table that the absolute path starts with. Windows: false, never needed.
bool volumeKey(const wchar_t* path, std::uint64_t* key);

// DeleteFileW: POSIX refuses a folder and a read-only file (access denied), as Windows.
bool deleteFile(const wchar_t* path);
// CopyFileW: contents, permission bits and modification time; the share modes of the
// two opens apply.
bool copyFile(const wchar_t* from, const wchar_t* to, bool failIfExists);
// CreateDirectoryW (one level; an existing name gives kErrorAlreadyExists).
bool createDirectory(const wchar_t* path);
// SHCreateDirectory: every missing level; answers 0, kErrorAlreadyExists when the name
// exists already (as a folder or not), kErrorBadPathname for a relative path, else the
// error of the level that could not be made.
std::uint32_t createDirectoryTree(const wchar_t* path);
bool removeDirectory(const wchar_t* path);     // RemoveDirectoryW
bool setCurrentDirectory(const wchar_t* path); // SetCurrentDirectoryW
// GetCurrentDirectoryW and GetTempPathW: characters written without the terminator, or
// the size needed with it when size is too small, or 0 on failure. POSIX: the temporary
// folder is TMPDIR, else /tmp, ending in the separator.
std::uint32_t currentDirectory(wchar_t* out, std::uint32_t size);
std::uint32_t tempDirectory(wchar_t* out, std::uint32_t size);

// FindFirstFileW's first match, then FindClose: false only for a null search handle.
// The record is zeroed first, so a missing file (an invalid, not a null, handle) gives
// size 0. POSIX: the path is taken literally; the size of a regular file, else 0.
bool firstFoundFileSize(const wchar_t* path, std::uint64_t* size);

// The target of a shell shortcut into out (kMaxPath characters). Windows: the shell's
// parsing name of the link's ID list, through IShellLinkW (COM initialised on every call
// and never uninitialised, as the application always did). POSIX: a symbolic link's
// target, else the target path stored in a .lnk file (platform/shelllink/).
bool resolveShortcut(const wchar_t* shortcut, wchar_t* out);

// Windows can end a thread's pending synchronous I/O (CancelSynchronousIo); POSIX
// cannot end a thread's system call, and answers false without doing anything.
bool cancelSynchronousIo(void* threadHandle);
// The OS handle of a running std::thread, for cancelSynchronousIo (Windows: the thread
// handle behind the runtime's thread; POSIX: null).
void* threadHandle(std::thread& thread);

} // namespace xo::platform
