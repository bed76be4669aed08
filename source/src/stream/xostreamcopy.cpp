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
    StreamChunk chunk(count);
    for (std::size_t left = count; left != 0;) {
        const unsigned int piece = chunk.piece(left);
        src.readBytes(chunk.data(), piece);
        dest.writeBytes(static_cast<const unsigned char*>(chunk.data()), piece);
        left -= piece;
    }
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
