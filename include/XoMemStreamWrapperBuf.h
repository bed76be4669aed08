// A memory stream over a block the caller owns: it never grows beyond the block and
// never frees it.
#pragma once

#include "XoMemStreamBuf.h"

// The whole block counts as written when it is opened (length = size). An operation that
// needs the length beyond the block throws "_resize failed!" and changes nothing; reads
// and seeks outside the length throw "Out of stream buffer!" (the flat buffer's readByte
// says "End of stream buffer!" instead), position-addressed reads "Out of stream buffer!!!".
// A sum of position and count that wraps in 32 bits counts as beyond the length.
//
// Unlike the flat buffer, readBytes into another stream leaves that stream's position
// after the bytes written, copyFrom and copyTo do not move this stream, and copyFrom of
// 0, 0 copies nothing. A seek of an unknown kind goes to 0.
class XOOSBASE_API XoMemStreamWrapperBuf : public XoMemStreamBuf {
public:
    XoMemStreamWrapperBuf(unsigned char* data = nullptr, unsigned int size = 0);
    // Both objects then address the same block.
    XoMemStreamWrapperBuf(const XoMemStreamWrapperBuf& other);
    XoMemStreamWrapperBuf& operator=(const XoMemStreamWrapperBuf& other);
    ~XoMemStreamWrapperBuf() override; // frees nothing

    void open(unsigned char* data, unsigned int size);
    void close();
    unsigned char* buffer();
    const unsigned char* buffer() const;

    bool isEOS() const override;
    std::size_t tell() const override;
    std::size_t length() const override;
    void setlength(std::size_t length) override;
    void truncate() override;
    void rewind() override;
    std::size_t seek(std::size_t offset, XoIO::SeekType kind) override;
    unsigned char readByte() override;
    void writeByte(unsigned char byte) override;
    using XoMemStreamBuf::readBytes;
    void readBytes(XoStreamBuf* dest, unsigned int count) override;
    void readBytes(unsigned char* dest, unsigned int count) override;
    void writeBytes(XoStreamBuf* src, unsigned int count) override;
    void writeBytes(const unsigned char* src, unsigned int count) override;
    void copyFrom(XoStreamBuf* src, std::size_t from, std::size_t to) override;
    void copyTo(XoStreamBuf* dest, std::size_t from, std::size_t to) override;
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

    bool getBuffer(XoBuffer& view, unsigned int count) override;
    bool readBuffer(XoBuffer& view, unsigned int count) override;
    void setBuffer(XoBuffer& view, unsigned int count) override;
    void writeBuffer(XoBuffer& view, unsigned int count) override;

protected:
    // The work behind the operations, for classes that build on the wrapper.
    bool _isEOS() const;
    std::size_t _tell() const;
    std::size_t _length() const;
    std::size_t _seek(std::size_t offset, XoIO::SeekType kind);
    bool _resize(std::size_t length); // false beyond the block; pulls the position back
    bool _getBuffer(XoBuffer& view, unsigned int count);
    bool _readBuffer(XoBuffer& view, unsigned int count);
    bool _setBuffer(XoBuffer& view, unsigned int count);   // false when the block is too small
    bool _writeBuffer(XoBuffer& view, unsigned int count); // false when the block is too small
    std::size_t _getStreamPosition(const XoStreamBufPos* pos) const;
    void _setStreamPosition(XoStreamBufPos* pos, std::size_t position) const;

private:
    unsigned char* m_pData; // the caller's
    unsigned int m_nCapacity;
    unsigned int m_nPosition;
    unsigned int m_nLength;
};
