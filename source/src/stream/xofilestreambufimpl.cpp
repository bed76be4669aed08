#include "XoFileStreamBuf.h"

#include <cstdint>
#include <cstring>
#include <cwchar>

#include "XoException.h"
#include "diagnostics/xothrow.h"
#include "platform/error.h"
#include "platform/file.h"
#include "stream/xofileopen.h"
#include "stream/xostreammessages.h"

namespace {

namespace os = xo::platform;

constexpr std::uint32_t kAllOnesLow = 0xFFFFFFFFu;

void report(Vesk::ErrorStatus* status, Vesk::ErrorStatus value) {
    if (status != nullptr)
        *status = value;
}

wchar_t* copyOf(const wchar_t* path) {
    const std::size_t length = std::wcslen(path);
    auto* copy = new wchar_t[length + 1];
    std::memcpy(copy, path, (length + 1) * sizeof(wchar_t));
    return copy;
}

// Where a seek of kind moves the file pointer: a distance and CreateFile's move method.
struct FileMove {
    std::int64_t distance;
    int method;
};

FileMove moveFor(const XoFileStreamBufImpl& stream, std::size_t offset, XoIO::SeekType kind) {
    constexpr int kFromStart = 0;
    constexpr int kFromCurrent = 1;
    constexpr int kFromEnd = 2;
    switch (kind) {
    case XoIO::kSeekForward:
        return {std::int64_t(offset), kFromCurrent};
    case XoIO::kSeekBackward:
        return {std::int64_t(stream.tell() - offset), kFromStart};
    case XoIO::kSeekFromEnd:
        return {std::int64_t(offset), kFromEnd}; // +offset, deliberately
    default:
        return {std::int64_t(offset), kFromStart};
    }
}

[[noreturn]] void throwWriteError(std::uint32_t error) {
    if (error == os::kErrorDiskFull)
        xo::throwException(new XoExceptionWithMsg(xo::kThrowSiteFile, 0, xo::kWriteFileError,
                                                  new XoErrorStatus(Vesk::eDiskFull)));
    xo::throwWithMessage(xo::kWriteFileError);
}

} // namespace

XoFileStreamBufImpl::XoFileStreamBufImpl(const wchar_t* path, Vesk::ErrorStatus* status,
                                         XoIO::AccessMode access, XoIO::ShareMode share,
                                         XoIO::CreationDisposition disposition)
    : m_hFile(os::invalidFileHandle()), m_pName(nullptr), m_nShare(0), m_bWritten(false) {
    if (path == nullptr || *path == 0) {
        report(status, Vesk::eFileNotFound);
        return;
    }
    try {
        const xo::FileOpenArguments args = xo::fileOpenArguments(access, share, disposition);
        const os::FileOpenResult opened =
            os::openFile(path, args.access, args.share, args.disposition, args.flags);
        if (opened.handle == os::invalidFileHandle()) {
            report(status, xo::openFailureStatus(opened.error));
            return;
        }
        m_hFile = opened.handle;
        m_pName = copyOf(path);
        m_nShare = unsigned(share);
        report(status, Vesk::eOk);
    } catch (...) {
        // Whatever escaped becomes the library's own exception; the destructor will
        // not run for this object, so the handle is closed here.
        if (m_hFile != os::invalidFileHandle())
            os::closeFile(m_hFile);
        xo::deleteCaughtException();
        xo::throwWithMessage(xo::kReleaseThrow);
    }
}

XoFileStreamBufImpl::XoFileStreamBufImpl(void* handle)
    : m_hFile(handle), m_pName(nullptr), m_nShare(0), m_bWritten(false) {}

XoFileStreamBufImpl::~XoFileStreamBufImpl() {
    XoFileStreamBufImpl::close();
}

std::size_t XoFileStreamBufImpl::tell() const {
    std::uint64_t position = 0;
    return os::seekFile(m_hFile, 0, 1, &position) ? std::size_t(position) : 0;
}

std::size_t XoFileStreamBufImpl::length() const {
    std::uint64_t size = 0;
    return os::fileSize(m_hFile, &size) ? std::size_t(size) : 0;
}

void XoFileStreamBufImpl::truncate() {
    os::truncateFileHere(m_hFile);
}

std::size_t XoFileStreamBufImpl::seek(std::size_t offset, XoIO::SeekType kind) {
    const FileMove move = moveFor(*this, offset, kind);
    std::uint64_t position = 0;
    if (os::seekFile(m_hFile, move.distance, move.method, &position))
        return std::size_t(position);
    if (std::uint32_t(move.distance) == kAllOnesLow)
        return SIZE_MAX;
    xo::throwWithMessage(xo::kFileInternalError);
}

unsigned char XoFileStreamBufImpl::readByte() {
    unsigned char byte = 0;
    readBytes(&byte, 1);
    return byte;
}

void XoFileStreamBufImpl::writeByte(unsigned char byte) {
    writeBytes(&byte, 1);
}

void XoFileStreamBufImpl::readBytes(unsigned char* dest, unsigned int count) {
    std::uint32_t done = 0;
    os::readFile(m_hFile, dest, count, &done);
}

void XoFileStreamBufImpl::writeBytes(const unsigned char* src, unsigned int count) {
    std::uint32_t done = 0;
    if (os::writeFile(m_hFile, src, count, &done) && done == count) {
        m_bWritten = true;
        return;
    }
    throwWriteError(os::lastOsError());
}

void XoFileStreamBufImpl::resize(std::size_t) {}

const wchar_t* XoFileStreamBufImpl::fileName() const {
    return m_pName;
}

XoIO::ShareMode XoFileStreamBufImpl::shareMode() const {
    return XoIO::ShareMode(m_nShare);
}

void* XoFileStreamBufImpl::handle() const {
    return m_hFile;
}

void XoFileStreamBufImpl::close() {
    if (m_hFile != os::invalidFileHandle()) {
        if (m_bWritten)
            os::flushFile(m_hFile);
        os::closeFile(m_hFile);
        m_hFile = os::invalidFileHandle();
    }
    delete[] m_pName;
    m_pName = nullptr;
    m_nShare = 0;
    m_bWritten = false;
}
