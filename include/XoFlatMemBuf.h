// A memory stream that owns one growable contiguous block.
#pragma once

#include "XoMemStreamBuf.h"

// Growth: a length beyond the capacity makes the capacity the larger of that length and
// capacity + step, the step being the larger of 8 and the capacity, and 64 KiB once the
// capacity is above 64 KiB. Bytes past the old length are not cleared. The length is a
// signed 32-bit count: a length the block cannot get (beyond 2 GiB - 1, or when the
// allocator has nothing) leaves the stream empty and the write that asked for it undone,
// as an allocation failure does; nothing is thrown for growth.
//
// Deliberate, and kept for the callers that rely on them: setByteByPos past the end
// appends at the end, not at the position; moveStreamPosition wraps in 32 bits; loadFrom
// leaves the bytes after the loaded ones unset; resize and setlength leave the position
// where it was, also past the new end.
class XOOSBASE_API XoFlatMemBuf : public XoMemStreamBuf {
public:
    explicit XoFlatMemBuf(unsigned int initialCapacity); // 0 allocates nothing
    XoFlatMemBuf(const XoFlatMemBuf&) = delete;
    XoFlatMemBuf& operator=(const XoFlatMemBuf&) = delete;
    ~XoFlatMemBuf() override;

    bool isEOS() const override;
    std::size_t tell() const override;
    std::size_t length() const override;
    void setlength(std::size_t length) override;
    void truncate() override; // length = position
    void rewind() override;
    unsigned char readByte() override; // throws "End of stream buffer!" at the end
    // Compiled into the caller where the stream's type is known (see below).
    void writeByte(unsigned char byte) override;
    // The one call gets the stored bytes themselves, without a copy.
    void readBytes(std::function<void(void*, unsigned int)> sink, unsigned int count) override;
    // dest's position is put back afterwards.
    void readBytes(XoStreamBuf* dest, unsigned int count) override;
    void readBytes(unsigned char* dest, unsigned int count) override;
    void writeBytes(XoStreamBuf* src, unsigned int count) override;
    void writeBytes(const unsigned char* src, unsigned int count) override;
    void resize(std::size_t length) override;

    XoStreamBufPos currentStreamBufPosition() override;
    unsigned char getByteByPos(const XoStreamBufPos& pos) override;
    void setByteByPos(const XoStreamBufPos& pos, unsigned char byte) override;
    void getBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* dest, unsigned int count) override;
    void getBytesByPos(const XoStreamBufPos& pos, unsigned char* dest, unsigned int count) override;
    void setBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* src, unsigned int count) override;
    void setBytesByPos(const XoStreamBufPos& pos, const unsigned char* src,
                       unsigned int count) override;
    std::size_t getStreamPosition(const XoStreamBufPos* pos) const override;
    void setStreamPosition(XoStreamBufPos* pos, std::size_t position) const override;
    void moveStreamPosition(XoStreamBufPos* pos, long long delta) const override;

    std::size_t capacity() override;
    void reserve(unsigned int capacity) override;
    void setPosition(unsigned int position) override; // beyond the length: "Out of stream buffer!"
    bool getBufferAt(std::size_t pos, XoBuffer& view, unsigned int count) override;
    bool getBuffer(XoBuffer& view, unsigned int count) override;
    bool readBuffer(XoBuffer& view, unsigned int count) override;
    void setBufferAt(std::size_t pos, XoBuffer& view, unsigned int count) override;
    void setBuffer(XoBuffer& view, unsigned int count) override;
    void writeBuffer(XoBuffer& view, unsigned int count) override;

    // Empties the stream, gives it count bytes from src (the stream form reads them at
    // src's position) followed by position unset bytes, and puts the position there.
    virtual void loadFrom(XoStreamBuf* src, unsigned int count, std::size_t position);
    virtual void loadFrom(const unsigned char* src, unsigned int count, std::size_t position);
    virtual void clear(); // position and length 0; the capacity stays

    // The storage; its layout is part of the class's.
    struct ByteArray {
        unsigned char* m_pData; // owned
        int m_nCapacity;
        int m_nSize;
        int m_nGrowBy;
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
