#include "stream/xostreamcopy.h"

namespace xo {

StreamChunk::StreamChunk(std::size_t count) {
    if (count <= kStreamBufSizeOnStack) {
        m_pData = m_stack;
        m_nSize = kStreamBufSizeOnStack;
        return;
    }
    m_nSize = count < kStreamMaxCopySizePerTime ? static_cast<unsigned int>(count)
                                                : kStreamMaxCopySizePerTime;
    m_heap.reset(new unsigned char[m_nSize]);
    m_pData = m_heap.get();
}

void transferChunked(XoStreamBuf& src, XoStreamBuf& dest, std::size_t count) {
    transferChunked(src, count, [&dest](const unsigned char* piece, unsigned int size) {
        dest.writeBytes(piece, size);
    });
}

void copyStreamRange(XoStreamBuf* src, std::size_t srcPos, XoStreamBuf* dest, std::size_t destPos,
                     std::size_t count) {
    if (src == nullptr || dest == nullptr || count == 0)
        return;
    if (src->seek(srcPos, XoIO::kSeekBegin) != srcPos ||
        dest->seek(destPos, XoIO::kSeekBegin) != destPos)
        return;
    transferChunked(*src, *dest, count);
}

} // namespace xo
