// Streams over memory: XoStreamBuf with direct access to the stored bytes through
// XoBuffer views, so that callers read and write in place without copying. Positions,
// lengths and capacities are 32-bit: a memory stream holds at most 4 GiB - 1 bytes.
#pragma once

#include "XoStreamBuf.h"

// The view operations share one contract. getBuffer and readBuffer give the bytes at the
// position, at most count of them, and return false; at or past the end they clear the
// view and return true. setBuffer and writeBuffer first extend the length so that count
// bytes fit from the position, then give the view. The read and write forms advance the
// position by the view's size, the get and set forms do not.
class XOOSBASE_API XoMemStreamBuf : public XoStreamBuf {
public:
    XoMemStreamBuf();
    XoMemStreamBuf(const XoMemStreamBuf& other);
    XoMemStreamBuf& operator=(const XoMemStreamBuf& other);
    ~XoMemStreamBuf() override;

    using XoStreamBuf::readBytes;
    using XoStreamBuf::writeBytes;

    // Through setPosition: begin = offset, forward and backward from tell(), from the end
    // = length() - offset; another kind does not move. Returns tell().
    std::size_t seek(std::size_t offset, XoIO::SeekType kind) override;
    unsigned char readByte() override;           // 0 at the end
    void writeByte(unsigned char byte) override; // through writeBuffer

    virtual std::size_t capacity();                  // length()
    virtual void reserve(unsigned int capacity);     // does nothing here
    virtual void setPosition(unsigned int position); // does nothing here
    // getBuffer at pos, the position left where it was; true when pos cannot be reached.
    virtual bool getBufferAt(std::size_t pos, XoBuffer& view, unsigned int count);
    virtual bool getBuffer(XoBuffer& view, unsigned int count) = 0;
    virtual bool readBuffer(XoBuffer& view, unsigned int count) = 0;
    // setBuffer at pos, the position left where it was; no view when pos cannot be reached.
    virtual void setBufferAt(std::size_t pos, XoBuffer& view, unsigned int count);
    virtual void setBuffer(XoBuffer& view, unsigned int count) = 0;
    virtual void writeBuffer(XoBuffer& view, unsigned int count) = 0;
};
