/// \file
/// A memory stream that owns one growable contiguous block.
#pragma once

#include "XoMemStreamBuf.h"

/// A memory stream that owns one growable contiguous block.
///
/// Growth: a length beyond the capacity makes the capacity the larger of that length and
/// capacity + step, the step being the larger of 8 and the capacity, and 64 KiB once the
/// capacity is above 64 KiB. Bytes past the old length are not cleared. The length is a
/// signed 32-bit count: a length the block cannot get (beyond 2 GiB - 1, or when the
/// allocator has nothing) leaves the stream empty and the write that asked for it undone,
/// as an allocation failure does; nothing is thrown for growth.
///
/// Reads beyond the length throw XoExceptionWithMsg: "End of stream buffer!" from
/// readByte, "Out of stream buffer!" from the other sequential reads and from
/// setPosition, "Out of stream buffer!!!" from the position-addressed reads.
///
/// Deliberate, and kept for the callers that rely on them: setByteByPos past the end
/// appends at the end, not at the position; moveStreamPosition wraps in 32 bits; loadFrom
/// leaves the bytes after the loaded ones unset; resize and setlength leave the position
/// where it was, also past the new end.
class XOOSBASE_API XoFlatMemBuf : public XoMemStreamBuf {
public:
    /// An empty stream with room for initialCapacity bytes (at most 2 GiB - 1); 0
    /// allocates nothing. When the block cannot be had the capacity is simply 0.
    explicit XoFlatMemBuf(unsigned int initialCapacity);
    XoFlatMemBuf(const XoFlatMemBuf&) = delete;
    XoFlatMemBuf& operator=(const XoFlatMemBuf&) = delete;
    /// Frees the block; cannot fail.
    ~XoFlatMemBuf() override;

    /// Whether the position is at or past the length; cannot fail.
    bool isEOS() const override;
    /// The position; cannot fail.
    std::size_t tell() const override;
    /// The length; cannot fail.
    std::size_t length() const override;
    /// resize(length): the same growth and failures.
    void setlength(std::size_t length) override;
    /// length = position, through resize (growing when the position lies past the end).
    void truncate() override;
    /// Position 0; cannot fail.
    void rewind() override;
    /// The byte at the position; throws XoExceptionWithMsg "End of stream buffer!" at the
    /// end.
    unsigned char readByte() override;
    /// Writes a byte at the position, growing the block as writeBytes does; memory running
    /// out leaves the stream empty, unreported. Compiled into the caller where the stream's
    /// type is known (see below).
    void writeByte(unsigned char byte) override;
    /// The one call gets the stored bytes themselves, without a copy, and the position
    /// moves past them. An empty sink reads nothing; fewer than count bytes left throws
    /// XoExceptionWithMsg "Out of stream buffer!".
    void readBytes(std::function<void(void*, unsigned int)> sink, unsigned int count) override;
    /// Writes count bytes at the position to dest's position through dest's writeBytes;
    /// dest's position is put back afterwards. Fewer than count bytes left throws
    /// XoExceptionWithMsg "Out of stream buffer!"; a null dest reads nothing.
    void readBytes(XoStreamBuf* dest, unsigned int count) override;
    /// Copies count bytes at the position into dest and moves past them. Fewer than count
    /// bytes left throws XoExceptionWithMsg "Out of stream buffer!"; a null dest reads
    /// nothing.
    void readBytes(unsigned char* dest, unsigned int count) override;
    /// Reads count bytes at src's position (not from its start) into this stream's
    /// position, then puts src's position back. A null src or a count of 0 does nothing;
    /// a block that cannot grow leaves the stream empty, unreported; what src's readBytes
    /// throws passes through, the length then as it was.
    void writeBytes(XoStreamBuf* src, unsigned int count) override;
    /// Copies count bytes from src (which may lie in this stream's own block) to the
    /// position and moves past them. A null src or a count of 0 does nothing; a block that
    /// cannot grow leaves the stream empty, unreported.
    void writeBytes(const unsigned char* src, unsigned int count) override;
    /// Sets the length, growing the block as a write does; a length beyond 2 GiB - 1 gives
    /// length 0, and a block that cannot grow leaves the stream empty, unreported.
    void resize(std::size_t length) override;

    /// The position as a position word, with this stream; cannot fail.
    XoStreamBufPos currentStreamBufPosition() override;
    /// The byte at pos; throws XoExceptionWithMsg "Out of stream buffer!!!" at or past
    /// the end.
    unsigned char getByteByPos(const XoStreamBufPos& pos) override;
    /// Stores a byte at pos, or appends it at the end when pos is at or past the end; a
    /// block that cannot grow leaves the stream empty, unreported.
    void setByteByPos(const XoStreamBufPos& pos, unsigned char byte) override;
    /// Writes count bytes at pos to dest's position through dest's writeBytes. Past the
    /// end throws XoExceptionWithMsg "Out of stream buffer!!!"; a null dest copies
    /// nothing.
    void getBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* dest, unsigned int count) override;
    /// Copies count bytes at pos into dest. Past the end throws XoExceptionWithMsg "Out of
    /// stream buffer!!!"; a null dest copies nothing.
    void getBytesByPos(const XoStreamBufPos& pos, unsigned char* dest, unsigned int count) override;
    /// Stores count bytes read at src's position at pos, growing the length to fit. A null
    /// src or a count of 0 does nothing; a block that cannot grow leaves the stream empty,
    /// unreported; what src's readBytes throws passes through, the length then as it was.
    void setBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* src, unsigned int count) override;
    /// Stores count bytes from src at pos, growing the length to fit. A null src or a
    /// count of 0 does nothing; a block that cannot grow leaves the stream empty,
    /// unreported.
    void setBytesByPos(const XoStreamBufPos& pos, const unsigned char* src,
                       unsigned int count) override;
    /// The byte offset of a position word; SIZE_MAX for a null pos.
    std::size_t getStreamPosition(const XoStreamBufPos* pos) const override;
    /// Makes the position word stand for the byte offset; a null pos is ignored.
    void setStreamPosition(XoStreamBufPos* pos, std::size_t position) const override;
    /// Moves the position word by delta, wrapping in 32 bits; a null pos is ignored.
    void moveStreamPosition(XoStreamBufPos* pos, long long delta) const override;

    /// The room of the block in bytes; cannot fail.
    std::size_t capacity() override;
    /// Grows the block to capacity bytes when that is more than it has and at most
    /// 2 GiB - 1; otherwise nothing. A block that cannot grow leaves the stream empty,
    /// unreported.
    void reserve(unsigned int capacity) override;
    /// Moves the position; beyond the length throws XoExceptionWithMsg "Out of stream
    /// buffer!".
    void setPosition(unsigned int position) override;
    /// The view at pos, the position unchanged; true (no view) at or past the end.
    bool getBufferAt(std::size_t pos, XoBuffer& view, unsigned int count) override;
    /// The view at the position; true (no view) at or past the end.
    bool getBuffer(XoBuffer& view, unsigned int count) override;
    /// The view at the position, then the position moved past it; true (no view) at or
    /// past the end.
    bool readBuffer(XoBuffer& view, unsigned int count) override;
    /// Extends the length so that count bytes fit from pos and gives their view, the
    /// position unchanged. No view when pos + count lies beyond 2 GiB - 1, or when the
    /// block cannot grow (the stream then empty).
    void setBufferAt(std::size_t pos, XoBuffer& view, unsigned int count) override;
    /// Extends the length so that count bytes fit from the position and gives their view;
    /// no view when the block cannot grow (the stream then empty), unreported.
    void setBuffer(XoBuffer& view, unsigned int count) override;
    /// setBuffer, then the position moved past the view. When the block cannot grow the
    /// stream is empty, and moving the position then throws XoExceptionWithMsg "Out of
    /// stream buffer!" unless it was 0.
    void writeBuffer(XoBuffer& view, unsigned int count) override;

    /// Empties the stream, gives it count bytes from src (the stream form reads them at
    /// src's position) followed by position unset bytes, and puts the position there. A
    /// length beyond 2 GiB - 1, or a block that cannot be had, leaves the stream empty
    /// and reads nothing; what src's readBytes throws passes through. A null src loads
    /// nothing but the length.
    virtual void loadFrom(XoStreamBuf* src, unsigned int count, std::size_t position);
    /// The same from memory: count bytes copied from src. The same failures, unreported.
    virtual void loadFrom(const unsigned char* src, unsigned int count, std::size_t position);
    /// Position and length 0; the capacity stays. Cannot fail.
    virtual void clear();

    /// The storage; its layout is part of the class's.
    struct ByteArray {
        unsigned char* m_pData; ///< the block, owned; null when the capacity is 0
        int m_nCapacity;        ///< bytes the block has room for
        int m_nSize;            ///< the length of the stream
        int m_nGrowBy;          ///< the least growth step (8)
    };

private:
    // The output file stream fills its write buffer in place on every small write.
    friend class XoFileOStreamBuf;

    ByteArray m_array;
    unsigned int m_nPosition;
};

// One byte within the capacity is the common case of a writer filling a stream byte by
// byte, so it is compiled into the caller; growth goes to the exported writeBytes, which
// grows the block exactly as one more byte needs. The library compiles the exported copy
// once, in the class's own file.
#if !defined(XOOSBASE_BUILD) || defined(XO_FLATMEMBUF_EXPORTED_COPY)
XOOSBASE_CLIENT_INLINE void XoFlatMemBuf::writeByte(unsigned char byte) {
    const unsigned int position = m_nPosition;
    if (XOOSBASE_LIKELY(position < unsigned(m_array.m_nCapacity))) {
        if (position >= unsigned(m_array.m_nSize))
            m_array.m_nSize = int(position + 1);
        m_array.m_pData[position] = byte;
        m_nPosition = position + 1;
        return;
    }
    XoFlatMemBuf::writeBytes(&byte, 1);
}
#endif
