#include "XoMemStreamBuf.h"

#include <cstdint>

XoMemStreamBuf::XoMemStreamBuf() = default;
XoMemStreamBuf::XoMemStreamBuf(const XoMemStreamBuf&) = default;
XoMemStreamBuf& XoMemStreamBuf::operator=(const XoMemStreamBuf&) = default;
XoMemStreamBuf::~XoMemStreamBuf() = default;

std::size_t XoMemStreamBuf::seek(std::size_t offset, XoIO::SeekType kind) {
    std::size_t target;
    switch (kind) {
    case XoIO::kSeekBegin:
        target = offset;
        break;
    case XoIO::kSeekForward:
        target = tell() + offset;
        break;
    case XoIO::kSeekBackward:
        target = tell() - offset;
        break;
    case XoIO::kSeekFromEnd:
        target = length() - offset;
        break;
    default:
        return tell();
    }
    // A target outside 32 bits must not land at its low half; the largest position is
    // one that no memory stream can reach, so setPosition refuses it.
    setPosition(target > UINT32_MAX ? UINT32_MAX : static_cast<unsigned int>(target));
    return tell();
}

unsigned char XoMemStreamBuf::readByte() {
    XoBuffer view;
    if (readBuffer(view, 1) || view.size() == 0)
        return 0;
    return *view.data();
}

void XoMemStreamBuf::writeByte(unsigned char byte) {
    XoBuffer view;
    writeBuffer(view, 1);
    if (view.size() != 0)
        *view.data() = byte;
}

std::size_t XoMemStreamBuf::capacity() {
    return length();
}

// Deliberately empty, as is setPosition: callers use them on any stream and rely on
// neither having an effect here (the memory stream grows on demand).
void XoMemStreamBuf::reserve(unsigned int) {}

void XoMemStreamBuf::setPosition(unsigned int) {}

bool XoMemStreamBuf::getBufferAt(std::size_t pos, XoBuffer& view, unsigned int count) {
    view.clear();
    const std::size_t saved = tell();
    if (seek(pos, XoIO::kSeekBegin) != pos)
        return true;
    const bool atEnd = getBuffer(view, count);
    seek(saved, XoIO::kSeekBegin);
    return atEnd;
}

void XoMemStreamBuf::setBufferAt(std::size_t pos, XoBuffer& view, unsigned int count) {
    view.clear();
    const std::size_t saved = tell();
    if (seek(pos, XoIO::kSeekBegin) != pos)
        return;
    setBuffer(view, count);
    seek(saved, XoIO::kSeekBegin);
}
