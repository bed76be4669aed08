// The transfers that the streams share: scratch buffers sized the one way every stream
// uses them, and the copy between two streams at given positions.
#pragma once

#include "XoStreamBuf.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace xo {

inline constexpr unsigned int kStreamBufSizeOnStack = 1024;
inline constexpr unsigned int kStreamMaxCopySizePerTime = 0x100000;
inline constexpr unsigned int kStreamRangeCopyPiece = 4096;

// The end of count bytes at position, saturating: a sum that wraps is beyond every
// length, never a small number.
inline std::uint64_t streamEnd(std::uint64_t position, std::uint64_t count) {
    return count > UINT64_MAX - position ? UINT64_MAX : position + count;
}

// Copies between stored bytes and a caller's, which may overlap them.
inline void copyStreamBytes(unsigned char* dest, const unsigned char* src, std::size_t count) {
    if (count == 1)
        *dest = *src;
    else if (count != 0)
        std::memmove(dest, src, count);
}

// Scratch for a transfer of count bytes: the stack for up to 1 KiB, otherwise one heap
// block of the count, capped at 1 MiB so that any count costs one bounded allocation.
class StreamChunk {
public:
    explicit StreamChunk(std::size_t count);
    StreamChunk(const StreamChunk&) = delete;
    StreamChunk& operator=(const StreamChunk&) = delete;

    unsigned char* data() { return m_pData; }
    unsigned int size() const { return m_nSize; }
    // The next piece of a transfer that has left bytes to go.
    unsigned int piece(std::size_t left) const {
        return left < m_nSize ? static_cast<unsigned int>(left) : m_nSize;
    }

private:
    unsigned char m_stack[kStreamBufSizeOnStack];
    std::unique_ptr<unsigned char[]> m_heap;
    unsigned char* m_pData;
    unsigned int m_nSize;
};

// Reads count bytes from src's position through one chunk, handing each piece to deliver
// (pointer, size) as soon as src's raw readBytes has filled it.
template <class Deliver>
void transferChunked(XoStreamBuf& src, std::size_t count, Deliver&& deliver) {
    StreamChunk chunk(count);
    for (std::size_t left = count; left != 0;) {
        const unsigned int piece = chunk.piece(left);
        src.readBytes(chunk.data(), piece);
        deliver(chunk.data(), piece);
        left -= piece;
    }
}

// The same into dest's position, through dest's raw writeBytes.
void transferChunked(XoStreamBuf& src, XoStreamBuf& dest, std::size_t count);

// Copies count bytes of src at srcPos to dest at destPos. Does nothing unless both
// streams exist, count is not 0 and both seeks land where asked; moves both positions
// and restores neither.
void copyStreamRange(XoStreamBuf* src, std::size_t srcPos, XoStreamBuf* dest, std::size_t destPos,
                     std::size_t count);

} // namespace xo
