#include "XoFileSystem.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>

#include "VeskSystemInfo.h"
#include "XoFileStreamBuf.h"
#include "XoOsApi.h"
#include "XoPathMaker.h"
#include "filesystem/xoroutedquery.h"
#include "filesystem/xotaskthread.h"
#include "platform/error.h"
#include "platform/file.h"
#include "platform/filesystem.h"
#include "platform/path.h"

std::int32_t XoFileSystem::m_nTimeout = 500;
std::unique_ptr<XoTaskThread> XoFileSystem::m_pThread;

namespace {

namespace os = xo::platform;

constexpr int kAccessExists = 0;
constexpr int kAccessWrite = 2;
constexpr int kAccessRead = 4;
constexpr int kAccessReadWrite = 6;

bool isEmpty(const wchar_t* path) {
    return path == nullptr || path[0] == 0;
}

// _waccess under the error mode, then the status: a directory is no file, and a file
// whose status overflows the record exists all the same.
bool accessibleFile(const wchar_t* path, int mode) {
    if (!os::accessPath(path, mode))
        return false;
    os::PathStatus status{};
    switch (os::statPath(path, &status)) {
    case os::StatOutcome::kOverflow:
        return true;
    case os::StatOutcome::kFailed:
        return false;
    case os::StatOutcome::kOk:
        break;
    }
    return !status.directory;
}

std::int64_t statTime(const wchar_t* path, bool modification) {
    os::PathStatus status{};
    if (os::statPath(path, &status) != os::StatOutcome::kOk)
        return -1;
    return modification ? status.modificationTime : status.changeTime;
}

// The routed queries' copies: the worker's call reads and writes only these, and the
// caller copies the answers out once it has them (see filesystem/xoroutedquery.h).
// A null path stays null.
struct PathCopy {
    explicit PathCopy(const wchar_t* p) : path(p != nullptr ? p : L""), isNull(p == nullptr) {}
    const wchar_t* pathArgument() const { return isNull ? nullptr : path.c_str(); }
    std::wstring path;
    bool isNull;
};

struct AttributesQuery : PathCopy {
    using PathCopy::PathCopy;
    unsigned long run() const { return os::fileAttributes(pathArgument()); }
    void deliver() const {}
};

struct ExistsQuery : PathCopy {
    using PathCopy::PathCopy;
    int run() const { return os::pathExists(pathArgument()) ? 1 : 0; }
    void deliver() const {}
};

// WIN32_FILE_ATTRIBUTE_DATA's size on both targets.
constexpr std::size_t kAttributeDataSize = 36;

struct AttributeDataQuery : PathCopy {
    AttributeDataQuery(const wchar_t* p, int l, void* i) : PathCopy(p), level(l), info(i) {
        if (info != nullptr)
            std::memcpy(data, info, sizeof data);
    }
    int run() {
        return os::fileAttributeData(pathArgument(), level, info != nullptr ? data : nullptr) ? 1
                                                                                              : 0;
    }
    void deliver() const {
        if (info != nullptr)
            std::memcpy(info, data, sizeof data);
    }
    int level;
    void* info;
    unsigned char data[kAttributeDataSize];
};

// Volume names and file-system names are short; larger buffers are offered as this.
constexpr unsigned long kVolumeTextRoom = os::kMaxPath + 1;

struct VolumeQuery : PathCopy {
    VolumeQuery(const wchar_t* root, wchar_t* nameBuf, unsigned long nameSize,
                unsigned long* serialBuf, unsigned long* maxComponentBuf, unsigned long* flagsBuf,
                wchar_t* fsNameBuf, unsigned long fsNameSize)
        : PathCopy(root), nameOut(nameBuf), fsNameOut(fsNameBuf), serialOut(serialBuf),
          maxComponentOut(maxComponentBuf), flagsOut(flagsBuf),
          nameRoom(nameSize < kVolumeTextRoom ? nameSize : kVolumeTextRoom),
          fsNameRoom(fsNameSize < kVolumeTextRoom ? fsNameSize : kVolumeTextRoom) {
        serial = serialOut != nullptr ? *serialOut : 0;
        maxComponent = maxComponentOut != nullptr ? *maxComponentOut : 0;
        flags = flagsOut != nullptr ? *flagsOut : 0;
        if (nameOut != nullptr)
            std::wmemcpy(name, nameOut, nameRoom);
        if (fsNameOut != nullptr)
            std::wmemcpy(fsName, fsNameOut, fsNameRoom);
    }
    int run() {
        return os::volumeInformation(
                   pathArgument(), nameOut ? name : nullptr, nameRoom,
                   serialOut ? &serial : nullptr, maxComponentOut ? &maxComponent : nullptr,
                   flagsOut ? &flags : nullptr, fsNameOut ? fsName : nullptr, fsNameRoom)
                   ? 1
                   : 0;
    }
    void deliver() const {
        if (nameOut != nullptr)
            std::wmemcpy(nameOut, name, nameRoom);
        if (fsNameOut != nullptr)
            std::wmemcpy(fsNameOut, fsName, fsNameRoom);
        if (serialOut != nullptr)
            *serialOut = serial;
        if (maxComponentOut != nullptr)
            *maxComponentOut = maxComponent;
        if (flagsOut != nullptr)
            *flagsOut = flags;
    }
    wchar_t* nameOut;
    wchar_t* fsNameOut;
    unsigned long* serialOut;
    unsigned long* maxComponentOut;
    unsigned long* flagsOut;
    unsigned long nameRoom, fsNameRoom;
    unsigned long serial = 0, maxComponent = 0, flags = 0;
    wchar_t name[kVolumeTextRoom] = {};
    wchar_t fsName[kVolumeTextRoom] = {};
};

} // namespace

bool XoFileSystem::isDirectory(const wchar_t* path) {
    const std::uint32_t attributes = os::fileAttributes(path);
    return attributes != os::kInvalidFileAttributes &&
           (attributes & os::kFileAttributeDirectory) != 0;
}

bool XoFileSystem::isFileExisting(const wchar_t* path) {
    if (isEmpty(path) || pathFileExists(path) == 0)
        return false;
    return accessibleFile(path, kAccessExists);
}

bool XoFileSystem::accessFile(const wchar_t* path, XoIO::AccessMode mode) {
    if (isEmpty(path))
        return false;
    int test = kAccessExists;
    switch (static_cast<unsigned int>(mode)) {
    case XoIO::kAccessRead:
        test = kAccessRead;
        break;
    case XoIO::kAccessWrite:
        test = kAccessWrite;
        break;
    case XoIO::kAccessRead | XoIO::kAccessWrite:
        test = kAccessReadWrite;
        break;
    default:
        break;
    }
    return accessibleFile(path, test);
}

bool XoFileSystem::createFile(const wchar_t* path) {
    if (isEmpty(path))
        return false;
    if (isFileExisting(path))
        return true;
    const os::FileOpenResult opened =
        os::openFile(path, os::kGenericWrite, os::kFileShareWrite, os::kCreateAlways, 0);
    if (opened.handle == os::invalidFileHandle())
        return false;
    os::closeFile(opened.handle);
    return true;
}

XoFileStreamBuf* XoFileSystem::createFileBuf(const wchar_t* path, XoIO::AccessMode access,
                                             XoIO::ShareMode share,
                                             XoIO::CreationDisposition disposition) {
    Vesk::ErrorStatus status = Vesk::ErrorStatus(0);
    XoFileStreamBuf* stream = createFileStreamBuf(path, &status, access, share, disposition);
    if (status != 0 && stream != nullptr) {
        delete stream;
        return nullptr;
    }
    return stream;
}

bool XoFileSystem::deleteFile(const wchar_t* path) {
    return os::deleteFile(path);
}

bool XoFileSystem::renameFile(const wchar_t*, const wchar_t*) {
    return false;
}

bool XoFileSystem::copyFile(const wchar_t* from, const wchar_t* to, bool failIfExists) {
    if (isEmpty(from) || isEmpty(to) || !isFileExisting(from))
        return false;
    return os::copyFile(from, to, failIfExists);
}

std::int64_t XoFileSystem::getCreationTime(const wchar_t* path) {
    return statTime(path, false);
}

std::int64_t XoFileSystem::getAccessingTime(const wchar_t*) {
    return 0;
}

std::int64_t XoFileSystem::getModificationTime(const wchar_t* path) {
    return statTime(path, true);
}

std::int64_t XoFileSystem::getFileSize(const wchar_t* path) {
    std::uint64_t size = 0;
    if (!os::firstFoundFileSize(path, &size))
        return -1;
    return std::int64_t(size);
}

std::int64_t XoFileSystem::getFileSize(void*) {
    return 0;
}

bool XoFileSystem::createDirectory(const wchar_t* path) {
    return os::createDirectory(path);
}

bool XoFileSystem::createDirectoryEx(const wchar_t* path) {
    const std::uint32_t result = os::createDirectoryTree(path);
    return result == os::kErrorSuccess || result == os::kErrorFileExists ||
           result == os::kErrorAlreadyExists;
}

bool XoFileSystem::deleteDirectory(const wchar_t* path) {
    return os::removeDirectory(path);
}

bool XoFileSystem::setCurrentDirectory(const wchar_t* path) {
    return os::setCurrentDirectory(path);
}

int XoFileSystem::getCurrentDirectory(wchar_t* out) {
    return int(os::currentDirectory(out, std::uint32_t(os::kMaxPath)));
}

int XoFileSystem::getTempDirectory(wchar_t* out) {
    return int(os::tempDirectory(out, std::uint32_t(os::kMaxPath)));
}

int XoFileSystem::getRunDirectory(wchar_t* out) {
    wchar_t program[os::kMaxPath] = {};
    XoOsApi::GetModuleFileNameW(nullptr, program, XoOsApi::Dword(os::kMaxPath));
    return XoPathMaker::getParentDir(out, program);
}

int XoFileSystem::getOSDirectory(wchar_t*) {
    return 0;
}

int XoFileSystem::getSystemDirectory(wchar_t*) {
    return 0;
}

std::size_t XoFileSystem::getDiskAvailableSpace(const wchar_t*) {
    return 0;
}

std::size_t XoFileSystem::getDiskFreeSpace(const wchar_t*) {
    return 0;
}

std::size_t XoFileSystem::getDiskTotalSpace(const wchar_t*) {
    return 0;
}

int XoFileSystem::getLinkedPathName(const wchar_t* shortcut, wchar_t* out) {
    return os::resolveShortcut(shortcut, out) ? 1 : 0;
}

int XoFileSystem::GetVolumeInformationW(const wchar_t* root, wchar_t* nameBuf,
                                        unsigned long nameSize, unsigned long* serial,
                                        unsigned long* maxComponentLen, unsigned long* fsFlags,
                                        wchar_t* fsNameBuf, unsigned long fsNameSize) {
    return xo::filesystem::routed(
        [=] {
            return os::volumeInformation(root, nameBuf, nameSize, serial, maxComponentLen, fsFlags,
                                         fsNameBuf, fsNameSize)
                       ? 1
                       : 0;
        },
        [=] {
            return VolumeQuery(root, nameBuf, nameSize, serial, maxComponentLen, fsFlags, fsNameBuf,
                               fsNameSize);
        },
        0);
}

int XoFileSystem::getFileAttributesEx(const wchar_t* path, GET_FILEEX_INFO_LEVELS level,
                                      void* info) {
    return xo::filesystem::routed(
        [=] { return os::fileAttributeData(path, int(level), info) ? 1 : 0; },
        [=] { return AttributeDataQuery(path, int(level), info); }, 0);
}

unsigned long XoFileSystem::getFileAttributes(const wchar_t* path) {
    return xo::filesystem::routed(
        [=] { return static_cast<unsigned long>(os::fileAttributes(path)); },
        [=] { return AttributesQuery(path); },
        static_cast<unsigned long>(os::kInvalidFileAttributes));
}

int XoFileSystem::pathFileExists(const wchar_t* path) {
    if (path == nullptr)
        return 0;
    return xo::filesystem::routed([=] { return os::pathExists(path) ? 1 : 0; },
                                  [=] { return ExistsQuery(path); }, 0);
}

void XoFileSystem::useMultiThread(int timeoutMs) {
    if (m_pThread)
        return;
    m_nTimeout = timeoutMs;
    m_pThread.reset(new XoTaskThread());
}

void XoFileSystem::stopMultiThread() {
    if (!m_pThread)
        return;
    std::unique_ptr<XoTaskThread> worker = std::move(m_pThread);
    worker.reset();
}
