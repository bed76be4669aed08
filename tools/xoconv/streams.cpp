#include "streams.h"

#include <cerrno>
#include <cstring>
#include <limits>

#include <fcntl.h>
#include <sys/stat.h>
#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN // no "byte" type to clash with the library's names
#include <io.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

#include "VeskErrorStatus.h"
#include "XoException.h"
#include "XoFileStreamBuf.h"
#include "codecs.h"

namespace xoconv {

namespace fs = std::filesystem;

namespace {

// The library's failures are thrown pointers; the catcher owns them.
std::string messageOf(XoException* failure) {
    bool diskFull = false;
    for (XoException* e = failure; e != nullptr; e = e->getEmbedException()) {
        const auto* status = dynamic_cast<XoErrorStatus*>(e);
        diskFull = diskFull || (status && status->errorType() == Vesk::eDiskFull);
    }
    delete failure;
    const int error = errno;
    return diskFull ? std::strerror(ENOSPC) : error != 0 ? std::strerror(error) : "write failed";
}

// The UTF-16 form of a path, as the library takes it; false for a POSIX name whose
// bytes are not UTF-8, which the library cannot spell.
bool libraryPath(const fs::path& path, std::wstring& units) {
#if defined(_WIN32)
    units = path.wstring();
    return true;
#else
    Encoding utf8;
    utf8.kind = Encoding::Utf8;
    const bool ok = decodeWhole(utf8, path.native(), units);
    return ok && units.find(L'\0') == std::wstring::npos;
#endif
}

bool sameFile(void* handle, std::FILE* stream) {
#if defined(_WIN32)
    BY_HANDLE_FILE_INFORMATION a, b;
    const auto ours = reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(stream)));
    return ::GetFileInformationByHandle(static_cast<HANDLE>(handle), &a) &&
           ::GetFileInformationByHandle(ours, &b) &&
           a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
           a.nFileIndexHigh == b.nFileIndexHigh && a.nFileIndexLow == b.nFileIndexLow;
#else
    struct stat a, b;
    return ::fstat(int(reinterpret_cast<std::intptr_t>(handle)), &a) == 0 &&
           ::fstat(::fileno(stream), &b) == 0 && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
#endif
}

const void* const kInvalidHandle = reinterpret_cast<void*>(~std::uintptr_t(0));

// The stream a factory of the library opens, or null when the open failed (the status
// says so, or the factory threw).
template <class Factory> XoFileStreamBuf* opened(Factory&& factory) {
    XoFileStreamBuf* stream = nullptr;
    try {
        Vesk::ErrorStatus status = Vesk::eOk;
        stream = factory(&status);
        if (status == Vesk::eOk && stream->handle() != kInvalidHandle)
            return stream;
    } catch (XoException* failure) {
        delete failure;
    }
    destoryFileIOStreamBuf(stream);
    return nullptr;
}

} // namespace

std::unique_ptr<FileStreamSource> FileStreamSource::open(const fs::path& path) {
    std::wstring units;
    std::error_code sizeFailure;
    if (!libraryPath(path, units) || fs::file_size(path, sizeFailure) == 0 || sizeFailure)
        return nullptr;
    // Nobody writes the file through the library while it is converted.
    XoFileStreamBuf* stream = opened([&](Vesk::ErrorStatus* status) {
        return createFileIStreamBuf(units.c_str(), status, XoIO::kAccessRead, XoIO::kShareDenyWrite,
                                    XoIO::kOpenExisting);
    });
    if (!stream)
        return nullptr;
    return std::unique_ptr<FileStreamSource>(new FileStreamSource(stream));
}

FileStreamSource::~FileStreamSource() {
    destoryFileIOStreamBuf(stream_);
}

bool FileStreamSource::read(unsigned char* into, std::size_t room, std::size_t& got,
                            std::string& error) {
    got = 0;
    try {
        const std::size_t at = stream_->tell();
        const std::size_t left = stream_->length() - std::min(at, stream_->length());
        const std::size_t count =
            std::min({room, left, std::size_t(std::numeric_limits<unsigned int>::max())});
        if (count == 0)
            return true;
        stream_->readBytes(into, static_cast<unsigned int>(count));
        got = stream_->tell() - at; // an unmapped read may be short, unreported
        return true;
    } catch (XoException* failure) {
        delete failure;
        error = "the file could no longer be read (shortened or its device gone)";
        return false;
    }
}

bool FileStreamSource::rewind(std::string& error) {
    try {
        stream_->seek(0, XoIO::kSeekBegin);
        return true;
    } catch (XoException* failure) {
        delete failure;
        error = "cannot go back to the start of the file";
        return false;
    }
}

long long FileStreamSource::size() const {
    return static_cast<long long>(stream_->length());
}

std::unique_ptr<FileStreamSink> FileStreamSink::open(const fs::path& path, std::FILE* created) {
    constexpr unsigned int kBufferCapacity = 64 * 1024;
    std::wstring units;
    if (!libraryPath(path, units))
        return nullptr;
    XoFileStreamBuf* stream = opened([&](Vesk::ErrorStatus* status) {
        return createFileOStreamBuf(units.c_str(), status, XoIO::kAccessWrite, XoIO::kShareDenyRead,
                                    XoIO::kOpenExisting, kBufferCapacity);
    });
    if (!stream)
        return nullptr;
    if (!sameFile(stream->handle(), created)) {
        destoryFileIOStreamBuf(stream);
        return nullptr;
    }
    return std::unique_ptr<FileStreamSink>(new FileStreamSink(stream));
}

FileStreamSink::~FileStreamSink() {
    destoryFileIOStreamBuf(stream_);
}

bool FileStreamSink::write(const char* bytes, std::size_t size, std::string& error) {
    try {
        while (size > 0) {
            const auto count = static_cast<unsigned int>(
                std::min(size, std::size_t(std::numeric_limits<unsigned int>::max())));
            errno = 0;
            stream_->writeBytes(reinterpret_cast<const unsigned char*>(bytes), count);
            bytes += count;
            size -= count;
        }
        return true;
    } catch (XoException* failure) {
        error = messageOf(failure);
        return false;
    }
}

bool FileStreamSink::close(std::string& error) {
    try {
        errno = 0;
        stream_->seek(0, XoIO::kSeekForward); // writes what waits, reporting a failure
    } catch (XoException* failure) {
        error = messageOf(failure);
        return false;
    }
    stream_->close();
    return true;
}

StandardOutputMark::StandardOutputMark() {
    std::fflush(stdout);
#if defined(_WIN32)
    struct _stat64 facts;
    const int fd = ::_fileno(stdout);
    if (::_fstat64(fd, &facts) != 0 || (facts.st_mode & _S_IFREG) == 0)
        return;
    const long long at = ::_lseeki64(fd, 0, SEEK_CUR);
#else
    struct stat facts;
    const int fd = ::fileno(stdout);
    if (::fstat(fd, &facts) != 0 || !S_ISREG(facts.st_mode))
        return;
    // Appending, the offset says nothing until the first write: the end is where it
    // will be.
    const int flags = ::fcntl(fd, F_GETFL);
    const long long at = flags >= 0 && (flags & O_APPEND) ? static_cast<long long>(facts.st_size)
                                                          : ::lseek(fd, 0, SEEK_CUR);
#endif
    // Written in the middle of a file, cutting it would take what follows too.
    if (at == static_cast<long long>(facts.st_size))
        at_ = at;
}

void StandardOutputMark::takeBack() const {
    if (at_ < 0)
        return;
    std::fflush(stdout);
#if defined(_WIN32)
    const int fd = ::_fileno(stdout);
    ::_chsize_s(fd, at_);
    ::_lseeki64(fd, at_, SEEK_SET);
#else
    const int fd = ::fileno(stdout);
    if (::ftruncate(fd, static_cast<off_t>(at_)) == 0)
        ::lseek(fd, static_cast<off_t>(at_), SEEK_SET);
#endif
}

} // namespace xoconv
