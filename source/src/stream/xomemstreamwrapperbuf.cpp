#include "XoMemStreamWrapperBuf.h"

#include "diagnostics/xothrow.h"
#include "stream/xostreamcopy.h"
#include "stream/xostreammessages.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

[[noreturn]] void outOfBuffer() {
    xo::throwWithMessage(xo::kOutOfStreamBuffer);
}
[[noreturn]] void outOfBufferByPos() {
    xo::throwWithMessage(xo::kOutOfStreamBufferByPos);
}

// Extends the length to end, or throws without changing anything: the block is the
// caller's and never grows.
void growTo(std::uint64_t end, unsigned int capacity, unsigned int& length) {
    if (end <= length)
        return;
    if (end > capacity)
        xo::throwWithMessage(xo::kResizeFailed);
    length = unsigned(end);
}

} // namespace

XoMemStreamWrapperBuf::XoMemStreamWrapperBuf(unsigned char* data, unsigned int size)
    : m_pData(data), m_nCapacity(size), m_nPosition(0), m_nLength(size) {}

XoMemStreamWrapperBuf::XoMemStreamWrapperBuf(const XoMemStreamWrapperBuf& other) = default;

XoMemStreamWrapperBuf&
XoMemStreamWrapperBuf::operator=(const XoMemStreamWrapperBuf& other) = default;

XoMemStreamWrapperBuf::~XoMemStreamWrapperBuf() {
    close();
}

void XoMemStreamWrapperBuf::open(unsigned char* data, unsigned int size) {
    m_pData = data;
    m_nCapacity = m_nLength = size;
    m_nPosition = 0;
}

void XoMemStreamWrapperBuf::close() {
    m_pData = nullptr;
    m_nCapacity = m_nPosition = m_nLength = 0;
}

unsigned char* XoMemStreamWrapperBuf::buffer() {
    return m_pData;
}

const unsigned char* XoMemStreamWrapperBuf::buffer() const {
    return m_pData;
}

// The work, shared with classes built on the wrapper.

bool XoMemStreamWrapperBuf::_isEOS() const {
    return m_nPosition >= m_nLength;
}

std::size_t XoMemStreamWrapperBuf::_tell() const {
    return m_nPosition;
}

std::size_t XoMemStreamWrapperBuf::_length() const {
    return m_nLength;
}

std::size_t XoMemStreamWrapperBuf::_seek(std::size_t offset, XoIO::SeekType kind) {
    std::size_t target = 0;
    switch (kind) {
    case XoIO::kSeekBegin:
        target = offset;
        break;
    case XoIO::kSeekForward:
        target = offset > SIZE_MAX - m_nPosition ? SIZE_MAX : m_nPosition + offset;
        break;
    case XoIO::kSeekBackward:
        if (offset > m_nPosition)
            outOfBuffer();
        target = m_nPosition - offset;
        break;
    case XoIO::kSeekFromEnd:
        if (offset > m_nLength)
            outOfBuffer();
        target = m_nLength - offset;
        break;
    default:
        break; // an unknown kind goes to the start
    }
    if (target > m_nLength)
        outOfBuffer();
    m_nPosition = unsigned(target);
    return target;
}

bool XoMemStreamWrapperBuf::_resize(std::size_t length) {
    if (length > m_nCapacity)
        return false;
    m_nLength = unsigned(length);
    m_nPosition = std::min(m_nPosition, m_nLength);
    return true;
}

bool XoMemStreamWrapperBuf::_getBuffer(XoBuffer& view, unsigned int count) {
    view.clear();
    if (m_nPosition >= m_nLength)
        return true;
    view.set(m_pData + m_nPosition, std::min(count, m_nLength - m_nPosition));
    return false;
}

bool XoMemStreamWrapperBuf::_readBuffer(XoBuffer& view, unsigned int count) {
    const bool atEnd = _getBuffer(view, count);
    m_nPosition += view.size();
    return atEnd;
}

bool XoMemStreamWrapperBuf::_setBuffer(XoBuffer& view, unsigned int count) {
    view.clear();
    const std::uint64_t end = xo::streamEnd(m_nPosition, count);
    if (end > m_nLength && !_resize(end))
        return false;
    if (m_nPosition < m_nLength)
        view.set(m_pData + m_nPosition, std::min(count, m_nLength - m_nPosition));
    return true;
}

bool XoMemStreamWrapperBuf::_writeBuffer(XoBuffer& view, unsigned int count) {
    if (!_setBuffer(view, count))
        return false;
    m_nPosition += view.size();
    return true;
}

std::size_t XoMemStreamWrapperBuf::_getStreamPosition(const XoStreamBufPos* pos) const {
    return pos != nullptr ? std::size_t(pos->m_nPosition) : SIZE_MAX;
}

void XoMemStreamWrapperBuf::_setStreamPosition(XoStreamBufPos* pos, std::size_t position) const {
    if (pos != nullptr)
        pos->m_nPosition = position;
}

// The stream interface.

bool XoMemStreamWrapperBuf::isEOS() const {
    return _isEOS();
}

std::size_t XoMemStreamWrapperBuf::tell() const {
    return _tell();
}

std::size_t XoMemStreamWrapperBuf::length() const {
    return _length();
}

void XoMemStreamWrapperBuf::setlength(std::size_t length) {
    resize(length);
}

void XoMemStreamWrapperBuf::resize(std::size_t length) {
    if (!_resize(length))
        xo::throwWithMessage(xo::kResizeFailed);
}

void XoMemStreamWrapperBuf::truncate() {
    m_nLength = m_nPosition;
}

void XoMemStreamWrapperBuf::rewind() {
    m_nPosition = 0;
}

std::size_t XoMemStreamWrapperBuf::seek(std::size_t offset, XoIO::SeekType kind) {
    return _seek(offset, kind);
}

unsigned char XoMemStreamWrapperBuf::readByte() {
    if (m_nPosition >= m_nLength)
        outOfBuffer();
    return m_pData[m_nPosition++];
}

void XoMemStreamWrapperBuf::writeByte(unsigned char byte) {
    growTo(m_nPosition + 1ull, m_nCapacity, m_nLength);
    m_pData[m_nPosition++] = byte;
}

void XoMemStreamWrapperBuf::readBytes(XoStreamBuf* dest, unsigned int count) {
    if (dest == nullptr || count == 0)
        return;
    if (xo::streamEnd(m_nPosition, count) > m_nLength)
        outOfBuffer();
    dest->writeBytes(static_cast<const unsigned char*>(m_pData + m_nPosition), count);
    m_nPosition += count;
}

void XoMemStreamWrapperBuf::readBytes(unsigned char* dest, unsigned int count) {
    if (dest == nullptr || count == 0)
        return;
    if (xo::streamEnd(m_nPosition, count) > m_nLength)
        outOfBuffer();
    xo::copyStreamBytes(dest, m_pData + m_nPosition, count);
    m_nPosition += count;
}

void XoMemStreamWrapperBuf::writeBytes(XoStreamBuf* src, unsigned int count) {
    if (src == nullptr || count == 0)
        return;
    const unsigned int oldLength = m_nLength;
    growTo(xo::streamEnd(m_nPosition, count), m_nCapacity, m_nLength);
    try {
        src->readBytes(m_pData + m_nPosition, count);
    } catch (...) {
        m_nLength = oldLength;
        throw;
    }
    m_nPosition += count;
}

void XoMemStreamWrapperBuf::writeBytes(const unsigned char* src, unsigned int count) {
    if (src == nullptr || count == 0)
        return;
    growTo(xo::streamEnd(m_nPosition, count), m_nCapacity, m_nLength);
    xo::copyStreamBytes(m_pData + m_nPosition, src, count);
    m_nPosition += count;
}

void XoMemStreamWrapperBuf::copyFrom(XoStreamBuf* src, std::size_t from, std::size_t to) {
    if (src == nullptr || to <= from || to - from > UINT32_MAX)
        return;
    const auto count = unsigned(to - from);
    const std::size_t srcPosition = src->tell();
    if (src->seek(from, XoIO::kSeekBegin) != from)
        return;
    const unsigned int oldLength = m_nLength;
    try {
        growTo(xo::streamEnd(m_nPosition, count), m_nCapacity, m_nLength);
        src->readBytes(m_pData + m_nPosition, count);
    } catch (...) {
        // Nothing of ours changed, and src is where it was.
        m_nLength = oldLength;
        src->seek(srcPosition, XoIO::kSeekBegin);
        throw;
    }
    src->seek(srcPosition, XoIO::kSeekBegin);
}

void XoMemStreamWrapperBuf::copyTo(XoStreamBuf* dest, std::size_t from, std::size_t to) {
    if (dest == nullptr || to <= from || to - from > UINT32_MAX)
        return;
    const auto count = unsigned(to - from);
    const std::size_t destPosition = dest->tell();
    if (dest->seek(from, XoIO::kSeekBegin) != from ||
        xo::streamEnd(m_nPosition, count) > m_nLength) {
        dest->seek(destPosition, XoIO::kSeekBegin);
        outOfBuffer();
    }
    dest->writeBytes(static_cast<const unsigned char*>(m_pData + m_nPosition), count);
    dest->seek(destPosition, XoIO::kSeekBegin);
}

XoStreamBufPos XoMemStreamWrapperBuf::currentStreamBufPosition() {
    XoStreamBufPos pos(this);
    pos.m_nPosition = m_nPosition;
    return pos;
}

unsigned char XoMemStreamWrapperBuf::getByteByPos(const XoStreamBufPos& pos) {
    if (pos.m_nPosition >= m_nLength)
        outOfBufferByPos();
    return m_pData[pos.m_nPosition];
}

void XoMemStreamWrapperBuf::setByteByPos(const XoStreamBufPos& pos, unsigned char byte) {
    growTo(xo::streamEnd(pos.m_nPosition, 1), m_nCapacity, m_nLength);
    m_pData[pos.m_nPosition] = byte;
}

void XoMemStreamWrapperBuf::getBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* dest,
                                          unsigned int count) {
    if (xo::streamEnd(pos.m_nPosition, count) > m_nLength)
        outOfBufferByPos();
    if (dest != nullptr)
        dest->writeBytes(static_cast<const unsigned char*>(m_pData + pos.m_nPosition), count);
}

void XoMemStreamWrapperBuf::getBytesByPos(const XoStreamBufPos& pos, unsigned char* dest,
                                          unsigned int count) {
    if (xo::streamEnd(pos.m_nPosition, count) > m_nLength)
        outOfBufferByPos();
    if (dest != nullptr)
        xo::copyStreamBytes(dest, m_pData + pos.m_nPosition, count);
}

void XoMemStreamWrapperBuf::setBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* src,
                                          unsigned int count) {
    if (src == nullptr || count == 0)
        return;
    const unsigned int oldLength = m_nLength;
    growTo(xo::streamEnd(pos.m_nPosition, count), m_nCapacity, m_nLength);
    try {
        src->readBytes(m_pData + pos.m_nPosition, count);
    } catch (...) {
        m_nLength = oldLength;
        throw;
    }
}

void XoMemStreamWrapperBuf::setBytesByPos(const XoStreamBufPos& pos, const unsigned char* src,
                                          unsigned int count) {
    if (src == nullptr || count == 0)
        return;
    growTo(xo::streamEnd(pos.m_nPosition, count), m_nCapacity, m_nLength);
    xo::copyStreamBytes(m_pData + pos.m_nPosition, src, count);
}

std::size_t XoMemStreamWrapperBuf::getStreamPosition(const XoStreamBufPos* pos) const {
    return _getStreamPosition(pos);
}

void XoMemStreamWrapperBuf::setStreamPosition(XoStreamBufPos* pos, std::size_t position) const {
    _setStreamPosition(pos, position);
}

void XoMemStreamWrapperBuf::moveStreamPosition(XoStreamBufPos* pos, long long delta) const {
    if (pos != nullptr)
        pos->m_nPosition = std::uint32_t(pos->m_nPosition + std::uint64_t(delta));
}

bool XoMemStreamWrapperBuf::getBuffer(XoBuffer& view, unsigned int count) {
    return _getBuffer(view, count);
}

bool XoMemStreamWrapperBuf::readBuffer(XoBuffer& view, unsigned int count) {
    return _readBuffer(view, count);
}

void XoMemStreamWrapperBuf::setBuffer(XoBuffer& view, unsigned int count) {
    if (!_setBuffer(view, count))
        xo::throwWithMessage(xo::kResizeFailed);
}

void XoMemStreamWrapperBuf::writeBuffer(XoBuffer& view, unsigned int count) {
    if (!_writeBuffer(view, count))
        xo::throwWithMessage(xo::kResizeFailed);
}
