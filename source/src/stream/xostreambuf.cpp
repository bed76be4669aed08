// The bulk operations every stream inherits. They call only tell, length, seek and the
// raw readBytes and writeBytes of the streams involved, and skip their work silently
// when a precondition fails; whatever a primitive throws passes through.
#include "XoStreamBuf.h"

#include "stream/xostreamcopy.h"

#include <cstdint>

const unsigned int XoStreamBuf::s_bufSizeOnStack = xo::kStreamBufSizeOnStack;
const unsigned int XoStreamBuf::s_maxCopySizePerTime = xo::kStreamMaxCopySizePerTime;

namespace {

// What remains from position to end; nothing when the position lies past the end.
std::size_t remaining(std::size_t end, std::size_t position) {
    return position < end ? end - position : 0;
}

// A range copy in pieces through a fixed stack buffer: no heap, whatever the count.
void copyPieces(XoStreamBuf& src, XoStreamBuf& dest, std::size_t count) {
    unsigned char piece[xo::kStreamRangeCopyPiece];
    for (std::size_t left = count; left != 0;) {
        const unsigned int size = left < sizeof piece ? static_cast<unsigned int>(left)
                                                      : static_cast<unsigned int>(sizeof piece);
        src.readBytes(piece, size);
        dest.writeBytes(static_cast<const unsigned char*>(piece), size);
        left -= size;
    }
}

} // namespace

XoStreamBuf::XoStreamBuf() = default;
XoStreamBuf::XoStreamBuf(const XoStreamBuf&) = default;
XoStreamBuf& XoStreamBuf::operator=(const XoStreamBuf&) = default;
XoStreamBuf::~XoStreamBuf() = default;

bool XoStreamBuf::isEOS() const {
    return tell() >= length();
}

// The defaults below that do nothing are the interface's own: a derived stream that
// does not override them is meant to ignore the call, so they must stay empty.
void XoStreamBuf::setlength(std::size_t) {}

void XoStreamBuf::truncate() {}

void XoStreamBuf::rewind() {
    seek(0, XoIO::kSeekBegin);
}

void XoStreamBuf::readBytes(std::function<void(void*, unsigned int)> sink, unsigned int count) {
    if (!sink || count == 0)
        return;
    // All or nothing: a sink never sees part of a read that could not finish.
    if (remaining(length(), tell()) < count)
        return;
    xo::transferChunked(*this, count, sink);
}

void XoStreamBuf::readBytes(XoStreamBuf* dest, unsigned int count) {
    if (dest == nullptr)
        return;
    const std::size_t destPosition = dest->tell();
    const std::size_t position = tell();
    if (count != 0 && seek(position, XoIO::kSeekBegin) == position &&
        dest->seek(0, XoIO::kSeekBegin) == 0)
        xo::transferChunked(*this, *dest, count);
    dest->seek(destPosition, XoIO::kSeekBegin);
}

void XoStreamBuf::writeBytes(XoStreamBuf* src, unsigned int count) {
    if (src == nullptr)
        return;
    const std::size_t srcPosition = src->tell();
    if (count != 0 && src->seek(0, XoIO::kSeekBegin) == 0) {
        const std::size_t position = tell();
        if (seek(position, XoIO::kSeekBegin) == position)
            xo::transferChunked(*src, *this, count);
    }
    src->seek(srcPosition, XoIO::kSeekBegin);
}

void XoStreamBuf::copyFrom(XoStreamBuf* src, std::size_t from, std::size_t to) {
    if (src == nullptr)
        return;
    const std::size_t srcPosition = src->tell();
    std::size_t count;
    if (from == 0 && to == 0) {
        count = remaining(src->length(), srcPosition);
    } else if (to > from) {
        src->seek(from, XoIO::kSeekBegin);
        count = to - from;
    } else if (from > to) {
        src->seek(to, XoIO::kSeekBegin);
        count = from - to;
    } else {
        return;
    }
    // No clamping to src's length: reading past its end fails in src's own readBytes.
    if (count == 0)
        return;
    copyPieces(*src, *this, count);
    src->seek(srcPosition, XoIO::kSeekBegin);
}

void XoStreamBuf::copyTo(XoStreamBuf* dest, std::size_t from, std::size_t to) {
    if (dest == nullptr)
        return;
    const std::size_t position = tell();
    std::size_t count = 0;
    if (from == 0 && to == 0) {
        // Measured on dest, deliberately: callers fill the rest of a destination.
        count = remaining(dest->length(), dest->tell());
    } else if (from < to) {
        dest->seek(from, XoIO::kSeekBegin);
        count = to - from;
    } else if (from > to) {
        dest->seek(to, XoIO::kSeekBegin);
        count = from - to;
    }
    const std::size_t left = remaining(length(), position);
    if (left < count)
        count = left;
    if (count == 0)
        return;
    copyPieces(*this, *dest, count);
    seek(position, XoIO::kSeekBegin);
}

XoStreamBufPos XoStreamBuf::currentStreamBufPosition() {
    return XoStreamBufPos(this);
}

// The position-addressed operations do nothing by default, deliberately (see setlength).
unsigned char XoStreamBuf::getByteByPos(const XoStreamBufPos&) {
    return 0;
}

void XoStreamBuf::setByteByPos(const XoStreamBufPos&, unsigned char) {}

void XoStreamBuf::getBytesByPos(const XoStreamBufPos&, XoStreamBuf*, unsigned int) {}

void XoStreamBuf::getBytesByPos(const XoStreamBufPos&, unsigned char*, unsigned int) {}

void XoStreamBuf::setBytesByPos(const XoStreamBufPos&, XoStreamBuf*, unsigned int) {}

void XoStreamBuf::setBytesByPos(const XoStreamBufPos&, const unsigned char*, unsigned int) {}

std::size_t XoStreamBuf::getStreamPosition(const XoStreamBufPos*) const {
    return SIZE_MAX;
}

void XoStreamBuf::setStreamPosition(XoStreamBufPos*, std::size_t) const {}

void XoStreamBuf::moveStreamPosition(XoStreamBufPos*, long long) const {}
