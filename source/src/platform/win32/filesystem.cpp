#include "platform/filesystem.h"

#include <windows.h>

#include <objbase.h>
#include <pthread.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <io.h>

#include "platform/path.h"

namespace xo::platform {

namespace {

// The error mode that fails at once on a drive without a medium instead of asking.
class FailCriticalErrors {
public:
    FailCriticalErrors() : previous_(::SetErrorMode(SEM_FAILCRITICALERRORS)) {}
    ~FailCriticalErrors() { ::SetErrorMode(previous_); }
    FailCriticalErrors(const FailCriticalErrors&) = delete;
    FailCriticalErrors& operator=(const FailCriticalErrors&) = delete;

private:
    UINT previous_;
};

// The interfaces' ids, spelled out so that no id library is needed.
constexpr CLSID kShellLinkClsid = {
    0x00021401, 0, 0, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr IID kPersistFileIid = {
    0x0000010B, 0, 0, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr IID kShellLinkWIid = {0x000214F9, 0, 0, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

} // namespace

bool accessPath(const wchar_t* path, int mode) {
    if (path == nullptr)
        return false;
    const FailCriticalErrors errorMode;
    return ::_waccess(path, mode) == 0;
}

StatOutcome statPath(const wchar_t* path, PathStatus* status) {
    struct _stat64i32 st;
    if (path == nullptr)
        return StatOutcome::kFailed;
    if (::_wstat64i32(path, &st) != 0)
        return errno == EOVERFLOW ? StatOutcome::kOverflow : StatOutcome::kFailed;
    *status = {(st.st_mode & _S_IFDIR) != 0, std::int64_t(st.st_ctime), std::int64_t(st.st_mtime)};
    return StatOutcome::kOk;
}

bool fileAttributeData(const wchar_t* path, int level, void* info) {
    return ::GetFileAttributesExW(path, GET_FILEEX_INFO_LEVELS(level), info) != FALSE;
}

bool pathExists(const wchar_t* path) {
    return ::PathFileExistsW(path) != FALSE;
}

bool volumeInformation(const wchar_t* root, wchar_t* name, unsigned long nameSize,
                       unsigned long* serial, unsigned long* maxComponentLength,
                       unsigned long* flags, wchar_t* fsName, unsigned long fsNameSize) {
    return ::GetVolumeInformationW(root, name, nameSize, serial, maxComponentLength, flags, fsName,
                                   fsNameSize) != FALSE;
}

bool volumeKey(const wchar_t*, std::uint64_t*) {
    return false;
}

bool deleteFile(const wchar_t* path) {
    return ::DeleteFileW(path) != FALSE;
}

bool copyFile(const wchar_t* from, const wchar_t* to, bool failIfExists) {
    return ::CopyFileW(from, to, failIfExists) != FALSE;
}

bool createDirectory(const wchar_t* path) {
    return ::CreateDirectoryW(path, nullptr) != FALSE;
}

std::uint32_t createDirectoryTree(const wchar_t* path) {
    return std::uint32_t(::SHCreateDirectory(nullptr, path));
}

bool removeDirectory(const wchar_t* path) {
    return ::RemoveDirectoryW(path) != FALSE;
}

bool setCurrentDirectory(const wchar_t* path) {
    return ::SetCurrentDirectoryW(path) != FALSE;
}

std::uint32_t currentDirectory(wchar_t* out, std::uint32_t size) {
    return ::GetCurrentDirectoryW(size, out);
}

std::uint32_t tempDirectory(wchar_t* out, std::uint32_t size) {
    return ::GetTempPathW(size, out);
}

bool firstFoundFileSize(const wchar_t* path, std::uint64_t* size) {
    WIN32_FIND_DATAW found;
    std::memset(&found, 0, sizeof found);
    HANDLE search = path != nullptr ? ::FindFirstFileW(path, &found) : INVALID_HANDLE_VALUE;
    if (search == nullptr)
        return false;
    if (search != INVALID_HANDLE_VALUE)
        ::FindClose(search);
    *size = std::uint64_t(found.nFileSizeHigh) << 32 | found.nFileSizeLow;
    return true;
}

bool resolveShortcut(const wchar_t* shortcut, wchar_t* out) {
    ::CoInitialize(nullptr); // never balanced, as the application always had it
    IPersistFile* persist = nullptr;
    if (FAILED(::CoCreateInstance(kShellLinkClsid, nullptr, CLSCTX_INPROC_SERVER, kPersistFileIid,
                                  reinterpret_cast<void**>(&persist))))
        return false;
    IShellFolder* desktop = nullptr;
    if (FAILED(::SHGetDesktopFolder(&desktop))) {
        persist->Release();
        return false;
    }
    IShellLinkW* link = nullptr;
    HRESULT status = persist->QueryInterface(kShellLinkWIid, reinterpret_cast<void**>(&link));
    if (SUCCEEDED(status))
        status = persist->Load(shortcut, STGM_READ);
    PIDLIST_ABSOLUTE idList = nullptr;
    if (SUCCEEDED(status))
        status = link->GetIDList(&idList);
    STRRET name;
    if (SUCCEEDED(status))
        status = desktop->GetDisplayNameOf(idList, SHGDN_FORPARSING, &name);
    if (SUCCEEDED(status)) {
        status = ::StrRetToBufW(&name, idList, out, UINT(kMaxPath));
        ::ILFree(idList);
    } else if (idList != nullptr) {
        ::ILFree(idList);
    }
    if (link != nullptr)
        link->Release();
    desktop->Release();
    persist->Release();
    return status == S_OK;
}

bool cancelSynchronousIo(void* threadHandle) {
    ::CancelSynchronousIo(static_cast<HANDLE>(threadHandle));
    return true;
}

void* threadHandle(std::thread& thread) {
    return ::pthread_gethandle(thread.native_handle());
}

} // namespace xo::platform
