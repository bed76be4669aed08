#include "XoFileStreamBuf.h"

#include <algorithm>
#include <cstring>

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

// Records of a few bytes are copied without a call: two overlapping moves cover any
// length from 4 to 16.
void copyRecord(unsigned char* dest, const unsigned char* src, unsigned int count) {
    constexpr unsigned int kWord = 8;
    constexpr unsigned int kHalf = 4;
    if (count > 2 * kWord) {
        std::memcpy(dest, src, count);
    } else if (count >= kWord) {
        std::memcpy(dest, src, kWord);
        std::memcpy(dest + count - kWord, src + count - kWord, kWord);
    } else if (count >= kHalf) {
        std::memcpy(dest, src, kHalf);
        std::memcpy(dest + count - kHalf, src + count - kHalf, kHalf);
    } else {
        for (unsigned int i = 0; i < count; ++i)
            dest[i] = src[i];
    }
}

// Makes room for size bytes in the buffer, doubling as it goes. A growth the allocator
// refuses leaves the buffer with no storage at all, so what waits is kept aside
// meanwhile and then goes to the file; false when there is no room to be had.
bool makeRoom(XoFileStreamBufImpl& file, XoFlatMemBuf& buffer, unsigned int size) {
    const auto capacity = unsigned(buffer.capacity());
    if (size <= capacity)
        return true;
    unsigned char kept[kBufferedWriteLimit];
    const auto count = unsigned(waiting(buffer));
    if (count > 0) {
        XoBuffer bytes;
        buffer.getBufferAt(0, bytes, count);
        std::memcpy(kept, bytes.data(), count);
    }
    buffer.reserve(std::max(size, std::min(2 * capacity, kBufferedWriteLimit)));
    if (buffer.capacity() >= size)
        return true;
    buffer.rewind();
    file.XoFileStreamBufImpl::writeBytes(kept, count);
    return false;
}

// Everything but a small write into room already there: the flush rules.
[[gnu::noinline]] void writeThroughBuffer(XoFileStreamBufImpl& file, XoFlatMemBuf& buffer,
                                          const unsigned char* src, unsigned int count) {
    if (count > kBufferedWriteLimit) {
        flush(file, buffer);
        file.XoFileStreamBufImpl::writeBytes(src, count);
        return;
    }
    if (waiting(buffer) + count > kBufferedWriteLimit)
        flush(file, buffer);
    if (makeRoom(file, buffer, unsigned(waiting(buffer)) + count))
        buffer.writeBytes(src, count);
    else
        file.XoFileStreamBufImpl::writeBytes(src, count);
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
    // Small records that fit where the buffer already has room are the common case:
    // copied in place, as the buffer's own writeBytes would, without three calls.
    XoFlatMemBuf::ByteArray& bytes = m_writeBuffer.m_array;
    const unsigned int position = m_writeBuffer.m_nPosition;
    const unsigned int end = position + count;
    if (src != nullptr && count <= kBufferedWriteLimit && end <= kBufferedWriteLimit &&
        end <= unsigned(bytes.m_nCapacity)) {
        copyRecord(bytes.m_pData + position, src, count);
        if (end > unsigned(bytes.m_nSize))
            bytes.m_nSize = int(end);
        m_writeBuffer.m_nPosition = end;
        return;
    }
    writeThroughBuffer(*this, m_writeBuffer, src, count);
}

void XoFileOStreamBuf::close() {
    try {
        flush(*this, m_writeBuffer);
    } catch (...) {
        xo::deleteCaughtException(); // closing goes on whatever the flush met
    }
    XoFileStreamBufImpl::close();
}
