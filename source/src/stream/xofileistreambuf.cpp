#include "XoFileStreamBuf.h"

#include <cstdint>

#include "XoFileSystem.h"
#include "diagnostics/xothrow.h"
#include "platform/faultguard.h"
#include "platform/file.h"
#include "stream/xostreamcopy.h"
#include "stream/xostreammessages.h"

namespace {

namespace os = xo::platform;

// Folder, sparse, reparse point, compressed, offline, encrypted: files whose bytes a
// view may not show as they are, so they are read through the handle.
constexpr std::uint32_t kUnmappableAttributes = 0x5E10;

bool mappable(const wchar_t* path) {
    const auto attributes = std::uint32_t(XoFileSystem::getFileAttributes(path));
    return attributes != os::kInvalidFileAttributes && (attributes & kUnmappableAttributes) == 0;
}

// A reader that moves on lets go of what lies a window or more behind it, so reading a
// file of any size from start to end keeps about two windows resident, not the file.
// Windows are whole pages on every system, and those released end before the read
// position, inside the view.
constexpr std::uint64_t kReleaseWindow = 8u << 20;

// No state is kept: a read from window j into window k > j frees windows j - 1 to k - 2,
// those the reads before it left behind and those it passed itself (a read may span
// many); a read that stays in its window frees nothing, and a reader that seeks back
// faults the pages in again from the file.
void releasePassedPages(const os::FileView& view, std::uint64_t from, std::uint64_t to) {
    const std::uint64_t startWindow = from / kReleaseWindow;
    const std::uint64_t endWindow = to / kReleaseWindow;
    if (endWindow == startWindow)
        return;
    const std::uint64_t first = startWindow == 0 ? 0 : (startWindow - 1) * kReleaseWindow;
    const std::uint64_t last = (endWindow - 1) * kReleaseWindow;
    if (first < last)
        os::releaseViewPages(view, first, last - first);
}

// The memory streams' rule; a target past the end is refused by the caller.
std::uint64_t viewTarget(std::uint64_t position, std::uint64_t size, std::size_t offset,
                         XoIO::SeekType kind) {
    switch (kind) {
    case XoIO::kSeekBegin:
        return offset;
    case XoIO::kSeekForward:
        return xo::streamEnd(position, offset);
    case XoIO::kSeekBackward:
        return position - offset;
    case XoIO::kSeekFromEnd:
        return size - offset;
    default:
        return 0;
    }
}

} // namespace

XoFileIStreamBuf::XoFileIStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                   XoIO::AccessMode access, XoIO::ShareMode share,
                                   XoIO::CreationDisposition disposition)
    : XoFileStreamBufImpl(path, status, access, share, disposition),
      m_hMapping(os::invalidFileHandle()), m_pView(nullptr), m_nMappedSize(0), m_nViewPosition(0) {
    if (handle() == os::invalidFileHandle() || !mappable(path))
        return;
    os::FileView view{};
    if (!os::mapWholeFile(handle(), &view))
        xo::throwWithMessage(xo::kCannotOpenFileForWrite);
    m_hMapping = view.mapping;
    m_pView = view.bytes;
    m_nMappedSize = view.size;
}

XoFileIStreamBuf::~XoFileIStreamBuf() {
    XoFileIStreamBuf::close();
}

std::size_t XoFileIStreamBuf::tell() const {
    return m_pView ? std::size_t(m_nViewPosition) : XoFileStreamBufImpl::tell();
}

std::size_t XoFileIStreamBuf::length() const {
    return m_pView ? std::size_t(m_nMappedSize) : XoFileStreamBufImpl::length();
}

void XoFileIStreamBuf::truncate() {
    xo::throwWithMessage(xo::kFileInternalError);
}

std::size_t XoFileIStreamBuf::seek(std::size_t offset, XoIO::SeekType kind) {
    if (!m_pView)
        return XoFileStreamBufImpl::seek(offset, kind);
    const std::uint64_t target = viewTarget(m_nViewPosition, m_nMappedSize, offset, kind);
    if (target > m_nMappedSize)
        xo::throwWithMessage(xo::kOutOfFileStreamBuffer);
    m_nViewPosition = target;
    return std::size_t(target);
}

void XoFileIStreamBuf::readBytes(unsigned char* dest, unsigned int count) {
    if (!m_pView) {
        XoFileStreamBufImpl::readBytes(dest, count);
        return;
    }
    if (xo::streamEnd(m_nViewPosition, count) > m_nMappedSize)
        xo::throwWithMessage(xo::kEndOfFile);
    // A file truncated under the view, or a device gone, fails the page in: reported, not
    // a crash. Any other fault is the caller's and stays one.
    if (!xo::platform::copyGuarded(dest, m_pView + m_nViewPosition, count,
                                   xo::platform::kFaultPageNotReadable))
        xo::throwWithMessage(xo::kInPageError);
    releasePassedPages({m_hMapping, m_pView, m_nMappedSize}, m_nViewPosition,
                       m_nViewPosition + count);
    m_nViewPosition += count;
}

void XoFileIStreamBuf::writeBytes(const unsigned char*, unsigned int) {
    xo::throwWithMessage(xo::kWriteFileError);
}

void XoFileIStreamBuf::close() {
    if (m_pView) {
        os::unmapFile({m_hMapping, m_pView, m_nMappedSize});
        m_pView = nullptr;
        m_hMapping = os::invalidFileHandle();
    }
    m_nMappedSize = 0;
    m_nViewPosition = 0;
    XoFileStreamBufImpl::close();
}
