#include "XoFileStreamBuf.h"

#include <algorithm>

#include "diagnostics/xothrow.h"

namespace {

// Writes up to this size wait in the buffer, whatever capacity the caller reserved.
constexpr unsigned int kBufferedWriteLimit = 16384;
constexpr unsigned int kNoStorage = 0;

} // namespace

XoFileOStreamBuf::XoFileOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                   XoIO::AccessMode access, XoIO::ShareMode share,
                                   XoIO::CreationDisposition disposition,
                                   unsigned int bufferCapacity)
    : XoFileStreamBufImpl(path, status, access, share, disposition), m_writeBuffer(kNoStorage) {
    if (bufferCapacity > m_writeBuffer.capacity())
        m_writeBuffer.reserve(bufferCapacity);
}

XoFileOStreamBuf::~XoFileOStreamBuf() {
    XoFileOStreamBuf::close();
}

// The waiting bytes are the buffer's position, not its length: a flush rewinds it and
// keeps the storage.
namespace {

std::size_t waiting(const XoFlatMemBuf& buffer) {
    return buffer.tell();
}

void flush(XoFileStreamBufImpl& file, XoFlatMemBuf& buffer) {
    const auto count = unsigned(waiting(buffer));
    if (count == 0)
        return;
    XoBuffer bytes;
    buffer.getBufferAt(0, bytes, count);
    file.XoFileStreamBufImpl::writeBytes(bytes.data(), count);
    buffer.rewind();
}

} // namespace

std::size_t XoFileOStreamBuf::tell() const {
    return XoFileStreamBufImpl::tell() + waiting(m_writeBuffer);
}

std::size_t XoFileOStreamBuf::length() const {
    return std::max(XoFileStreamBufImpl::length(), tell());
}

std::size_t XoFileOStreamBuf::seek(std::size_t offset, XoIO::SeekType kind) {
    flush(*this, m_writeBuffer);
    return XoFileStreamBufImpl::seek(offset, kind);
}

void XoFileOStreamBuf::readBytes(unsigned char* dest, unsigned int count) {
    flush(*this, m_writeBuffer);
    XoFileStreamBufImpl::readBytes(dest, count);
}

void XoFileOStreamBuf::writeBytes(const unsigned char* src, unsigned int count) {
    if (count > kBufferedWriteLimit) {
        flush(*this, m_writeBuffer);
        XoFileStreamBufImpl::writeBytes(src, count);
        return;
    }
    if (waiting(m_writeBuffer) + count > kBufferedWriteLimit)
        flush(*this, m_writeBuffer);
    m_writeBuffer.writeBytes(src, count);
}

void XoFileOStreamBuf::close() {
    try {
        flush(*this, m_writeBuffer);
    } catch (...) {
        xo::deleteCaughtException(); // closing goes on whatever the flush met
    }
    XoFileStreamBufImpl::close();
}
