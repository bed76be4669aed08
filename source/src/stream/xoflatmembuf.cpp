#define XO_FLATMEMBUF_EXPORTED_COPY
#include "XoFlatMemBuf.h"

#include "XoMemory.h"
#include "diagnostics/xothrow.h"
#include "stream/xostreamcopy.h"
#include "stream/xostreammessages.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

namespace {

using ByteArray = XoFlatMemBuf::ByteArray;

constexpr int kInitialGrowBy = 8;
// Above this capacity the array grows by this much at a time instead of doubling.
constexpr int kLargeStep = 65536;

void setCapacity(ByteArray& array, int capacity) {
    if (capacity < 0 || capacity == array.m_nCapacity)
        return;
    if (capacity == 0) {
        _xoFree(array.m_pData);
        array.m_pData = nullptr;
        array.m_nCapacity = array.m_nSize = 0;
        return;
    }
    // The same as allocate, copy the first size bytes, free: the allocator may only do
    // it in place.
    auto* data = static_cast<unsigned char*>(_xoRealloc(array.m_pData, std::size_t(capacity)));
    if (data == nullptr) {
        _xoFree(array.m_pData);
        array.m_pData = nullptr;
        array.m_nCapacity = array.m_nSize = 0;
        return;
    }
    array.m_pData = data;
    array.m_nCapacity = capacity;
    array.m_nSize = std::min(array.m_nSize, capacity);
}

void setSize(ByteArray& array, int size) {
    size = std::max(size, 0);
    if (size > array.m_nCapacity) {
        const int counted = array.m_nCapacity > kLargeStep - 1 || array.m_nCapacity < 0
                                ? kLargeStep
                                : array.m_nCapacity;
        const std::int64_t step = std::max(array.m_nGrowBy, counted);
        const std::int64_t grown = std::min<std::int64_t>(array.m_nCapacity + step, INT_MAX);
        setCapacity(array, std::max(size, int(grown)));
        if (array.m_nCapacity < size)
            return; // the allocator had nothing: the array is empty now
    }
    array.m_nSize = size;
}

// Makes the array at least end bytes long; false when it cannot be, which leaves the
// array as an allocation failure does.
bool growTo(ByteArray& array, std::uint64_t end) {
    if (end <= std::uint64_t(array.m_nSize))
        return true;
    if (end > std::uint64_t(INT_MAX)) {
        setCapacity(array, 0);
        return false;
    }
    setSize(array, int(end));
    return std::uint64_t(array.m_nSize) >= end;
}

// A source inside the array's own block must be found again after growth moves it.
bool growKeeping(ByteArray& array, std::uint64_t end, const unsigned char*& src) {
    const unsigned char* begin = array.m_pData;
    const bool inside = begin != nullptr && src >= begin && src < begin + array.m_nCapacity;
    const std::ptrdiff_t offset = inside ? src - begin : 0;
    if (!growTo(array, end))
        return false;
    if (inside)
        src = array.m_pData + offset;
    return true;
}

bool fits(std::uint64_t pos, unsigned int count, int size) {
    return xo::streamEnd(pos, count) <= std::uint64_t(size);
}

} // namespace

XoFlatMemBuf::XoFlatMemBuf(unsigned int initialCapacity)
    : m_array{nullptr, 0, 0, kInitialGrowBy}, m_nPosition(0) {
    if (initialCapacity > 0)
        setCapacity(m_array, int(std::min<unsigned int>(initialCapacity, INT_MAX)));
}

XoFlatMemBuf::~XoFlatMemBuf() {
    m_nPosition = 0;
    m_array.m_nSize = 0;
    setCapacity(m_array, 0);
}

bool XoFlatMemBuf::isEOS() const {
    return m_nPosition >= unsigned(m_array.m_nSize);
}

std::size_t XoFlatMemBuf::tell() const {
    return m_nPosition;
}

std::size_t XoFlatMemBuf::length() const {
    return std::size_t(m_array.m_nSize);
}

void XoFlatMemBuf::setlength(std::size_t length) {
    resize(length);
}

void XoFlatMemBuf::resize(std::size_t length) {
    // The length is a signed 32-bit count: what does not fit counts as negative, so 0.
    setSize(m_array, length > std::size_t(INT_MAX) ? 0 : int(length));
}

void XoFlatMemBuf::truncate() {
    resize(m_nPosition);
}

void XoFlatMemBuf::rewind() {
    m_nPosition = 0;
}

unsigned char XoFlatMemBuf::readByte() {
    if (m_nPosition >= unsigned(m_array.m_nSize))
        xo::throwWithMessage(xo::kEndOfStreamBuffer);
    return m_array.m_pData[m_nPosition++];
}

void XoFlatMemBuf::readBytes(std::function<void(void*, unsigned int)> sink, unsigned int count) {
    if (!sink)
        return;
    if (!fits(m_nPosition, count, m_array.m_nSize))
        xo::throwWithMessage(xo::kOutOfStreamBuffer);
    sink(m_array.m_pData + m_nPosition, count);
    m_nPosition += count;
}

void XoFlatMemBuf::readBytes(XoStreamBuf* dest, unsigned int count) {
    if (!fits(m_nPosition, count, m_array.m_nSize))
        xo::throwWithMessage(xo::kOutOfStreamBuffer);
    if (dest == nullptr)
        return;
    const std::size_t destPosition = dest->tell();
    dest->writeBytes(static_cast<const unsigned char*>(m_array.m_pData + m_nPosition), count);
    m_nPosition += count;
    dest->seek(destPosition, XoIO::kSeekBegin);
}

void XoFlatMemBuf::readBytes(unsigned char* dest, unsigned int count) {
    if (!fits(m_nPosition, count, m_array.m_nSize))
        xo::throwWithMessage(xo::kOutOfStreamBuffer);
    if (dest == nullptr)
        return;
    xo::copyStreamBytes(dest, m_array.m_pData + m_nPosition, count);
    m_nPosition += count;
}

void XoFlatMemBuf::writeBytes(XoStreamBuf* src, unsigned int count) {
    if (src == nullptr || count == 0)
        return;
    const int oldSize = m_array.m_nSize;
    if (!growTo(m_array, std::uint64_t(m_nPosition) + count))
        return;
    const std::size_t srcPosition = src->tell();
    try {
        src->readBytes(m_array.m_pData + m_nPosition, count);
    } catch (...) {
        m_array.m_nSize = std::min(oldSize, m_array.m_nSize);
        throw;
    }
    m_nPosition += count;
    src->seek(srcPosition, XoIO::kSeekBegin);
}

void XoFlatMemBuf::writeBytes(const unsigned char* src, unsigned int count) {
    if (src == nullptr || count == 0)
        return;
    if (!growKeeping(m_array, std::uint64_t(m_nPosition) + count, src))
        return;
    xo::copyStreamBytes(m_array.m_pData + m_nPosition, src, count);
    m_nPosition += count;
}

XoStreamBufPos XoFlatMemBuf::currentStreamBufPosition() {
    XoStreamBufPos pos(this);
    pos.m_nPosition = m_nPosition;
    return pos;
}

unsigned char XoFlatMemBuf::getByteByPos(const XoStreamBufPos& pos) {
    if (pos.m_nPosition >= std::uint64_t(m_array.m_nSize))
        xo::throwWithMessage(xo::kOutOfStreamBufferByPos);
    return m_array.m_pData[pos.m_nPosition];
}

void XoFlatMemBuf::setByteByPos(const XoStreamBufPos& pos, unsigned char byte) {
    if (pos.m_nPosition < std::uint64_t(m_array.m_nSize)) {
        m_array.m_pData[pos.m_nPosition] = byte;
        return;
    }
    // Past the end the byte is appended, whatever the position: callers build records
    // this way.
    const int end = m_array.m_nSize;
    if (growTo(m_array, std::uint64_t(end) + 1))
        m_array.m_pData[end] = byte;
}

void XoFlatMemBuf::getBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* dest, unsigned int count) {
    if (!fits(pos.m_nPosition, count, m_array.m_nSize))
        xo::throwWithMessage(xo::kOutOfStreamBufferByPos);
    if (dest != nullptr)
        dest->writeBytes(static_cast<const unsigned char*>(m_array.m_pData + pos.m_nPosition),
                         count);
}

void XoFlatMemBuf::getBytesByPos(const XoStreamBufPos& pos, unsigned char* dest,
                                 unsigned int count) {
    if (!fits(pos.m_nPosition, count, m_array.m_nSize))
        xo::throwWithMessage(xo::kOutOfStreamBufferByPos);
    if (dest != nullptr)
        xo::copyStreamBytes(dest, m_array.m_pData + pos.m_nPosition, count);
}

void XoFlatMemBuf::setBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* src, unsigned int count) {
    if (src == nullptr || count == 0)
        return;
    const int oldSize = m_array.m_nSize;
    if (!growTo(m_array, xo::streamEnd(pos.m_nPosition, count)))
        return;
    try {
        src->readBytes(m_array.m_pData + pos.m_nPosition, count);
    } catch (...) {
        m_array.m_nSize = std::min(oldSize, m_array.m_nSize);
        throw;
    }
}

void XoFlatMemBuf::setBytesByPos(const XoStreamBufPos& pos, const unsigned char* src,
                                 unsigned int count) {
    if (src == nullptr || count == 0)
        return;
    if (growKeeping(m_array, xo::streamEnd(pos.m_nPosition, count), src))
        xo::copyStreamBytes(m_array.m_pData + pos.m_nPosition, src, count);
}

std::size_t XoFlatMemBuf::getStreamPosition(const XoStreamBufPos* pos) const {
    return pos != nullptr ? std::size_t(pos->m_nPosition) : SIZE_MAX;
}

void XoFlatMemBuf::setStreamPosition(XoStreamBufPos* pos, std::size_t position) const {
    if (pos != nullptr)
        pos->m_nPosition = position;
}

void XoFlatMemBuf::moveStreamPosition(XoStreamBufPos* pos, long long delta) const {
    // The words are 32-bit offsets: moving wraps there, not at 64 bits.
    if (pos != nullptr)
        pos->m_nPosition = std::uint32_t(pos->m_nPosition + std::uint64_t(delta));
}

std::size_t XoFlatMemBuf::capacity() {
    return std::size_t(m_array.m_nCapacity);
}

void XoFlatMemBuf::reserve(unsigned int capacity) {
    if (capacity > unsigned(m_array.m_nCapacity) && capacity <= unsigned(INT_MAX))
        setCapacity(m_array, int(capacity));
}

void XoFlatMemBuf::setPosition(unsigned int position) {
    if (position > unsigned(m_array.m_nSize))
        xo::throwWithMessage(xo::kOutOfStreamBuffer);
    m_nPosition = position;
}

namespace {

// The stored bytes at pos, at most count of them; no view at or past the end.
void viewAt(const ByteArray& array, std::size_t pos, XoBuffer& view, unsigned int count) {
    view.clear();
    if (pos >= std::size_t(array.m_nSize))
        return;
    const std::size_t available = std::size_t(array.m_nSize) - pos;
    view.set(array.m_pData + pos, unsigned(std::min<std::size_t>(count, available)));
}

} // namespace

bool XoFlatMemBuf::getBufferAt(std::size_t pos, XoBuffer& view, unsigned int count) {
    viewAt(m_array, pos, view, count);
    return pos >= std::size_t(m_array.m_nSize);
}

bool XoFlatMemBuf::getBuffer(XoBuffer& view, unsigned int count) {
    return getBufferAt(m_nPosition, view, count);
}

bool XoFlatMemBuf::readBuffer(XoBuffer& view, unsigned int count) {
    const bool atEnd = getBufferAt(m_nPosition, view, count);
    if (!atEnd)
        setPosition(m_nPosition + view.size());
    return atEnd;
}

void XoFlatMemBuf::setBufferAt(std::size_t pos, XoBuffer& view, unsigned int count) {
    view.clear();
    const std::uint64_t end = xo::streamEnd(pos, count);
    if (end > std::uint64_t(INT_MAX))
        return; // beyond any flat array
    if (end >= std::uint64_t(m_array.m_nSize))
        resize(std::size_t(end));
    viewAt(m_array, pos, view, count);
}

void XoFlatMemBuf::setBuffer(XoBuffer& view, unsigned int count) {
    growTo(m_array, std::uint64_t(m_nPosition) + count);
    viewAt(m_array, m_nPosition, view, count);
}

void XoFlatMemBuf::writeBuffer(XoBuffer& view, unsigned int count) {
    setBuffer(view, count);
    setPosition(m_nPosition + view.size());
}

void XoFlatMemBuf::loadFrom(XoStreamBuf* src, unsigned int count, std::size_t position) {
    clear();
    if (!growTo(m_array, xo::streamEnd(position, count)))
        return;
    if (src != nullptr && count != 0)
        src->readBytes(m_array.m_pData, count);
    m_nPosition = unsigned(position);
}

void XoFlatMemBuf::loadFrom(const unsigned char* src, unsigned int count, std::size_t position) {
    clear();
    if (!growTo(m_array, xo::streamEnd(position, count)))
        return;
    if (src != nullptr)
        xo::copyStreamBytes(m_array.m_pData, src, count);
    m_nPosition = unsigned(position);
}

void XoFlatMemBuf::clear() {
    m_nPosition = 0;
    m_array.m_nSize = 0;
}
