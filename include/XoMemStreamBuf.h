/// \file
/// Streams over memory: XoStreamBuf with direct access to the stored bytes through
/// XoBuffer views, so that callers read and write in place without copying. Positions,
/// lengths and capacities are 32-bit: a memory stream holds at most 4 GiB - 1 bytes.
#pragma once

#include "XoStreamBuf.h"

/// The base of the memory streams. The view operations share one contract. getBuffer
/// and readBuffer give the bytes at the position, at most count of them, and return
/// false; at or past the end they clear the view and return true. setBuffer and
/// writeBuffer first extend the length so that count bytes fit from the position, then
/// give the view. The read and write forms advance the position by the view's size, the
/// get and set forms do not.
class XOOSBASE_API XoMemStreamBuf : public XoStreamBuf {
public:
    /// For derived streams; cannot fail.
    XoMemStreamBuf();
    /// For derived streams; the base has no state, so it cannot fail.
    XoMemStreamBuf(const XoMemStreamBuf& other);
    /// For derived streams; the base has no state, so it cannot fail.
    XoMemStreamBuf& operator=(const XoMemStreamBuf& other);
    /// Destroys the stream; the base has nothing to free.
    ~XoMemStreamBuf() override;

    using XoStreamBuf::readBytes;
    using XoStreamBuf::writeBytes;

    /// Moves through setPosition: begin = offset, forward and backward from tell(), from
    /// the end = length() - offset (a target beyond 32 bits asks for 4 GiB - 1); another
    /// kind does not move. Returns tell(). A target the stream cannot take fails as its
    /// setPosition does (the flat buffer throws XoExceptionWithMsg "Out of stream
    /// buffer!").
    std::size_t seek(std::size_t offset, XoIO::SeekType kind) override;
    /// The byte at the position, read through readBuffer; 0 at the end, which is no
    /// failure here.
    unsigned char readByte() override;
    /// Writes the byte through writeBuffer; when the stream gives no view the byte is
    /// dropped, and whatever writeBuffer throws passes through.
    void writeByte(unsigned char byte) override;

    /// The room for bytes: length() here; cannot fail.
    virtual std::size_t capacity();
    /// Makes room for capacity bytes: does nothing here.
    virtual void reserve(unsigned int capacity);
    /// Moves the position: does nothing here.
    virtual void setPosition(unsigned int position);
    /// getBuffer at pos, the position left where it was; true (no view) when pos cannot
    /// be reached. A stream whose seek throws there throws instead (the wrapper's "Out of
    /// stream buffer!").
    virtual bool getBufferAt(std::size_t pos, XoBuffer& view, unsigned int count);
    /// The view at the position, as the contract above says; true at or past the end.
    virtual bool getBuffer(XoBuffer& view, unsigned int count) = 0;
    /// getBuffer, then the position moved past the view; true at or past the end.
    virtual bool readBuffer(XoBuffer& view, unsigned int count) = 0;
    /// setBuffer at pos, the position left where it was; no view when pos cannot be
    /// reached (a stream whose seek throws there throws instead).
    virtual void setBufferAt(std::size_t pos, XoBuffer& view, unsigned int count);
    /// Extends the length so that count bytes fit from the position and gives their view.
    /// Each stream says how it fails.
    virtual void setBuffer(XoBuffer& view, unsigned int count) = 0;
    /// setBuffer, then the position moved past the view. Each stream says how it fails.
    virtual void writeBuffer(XoBuffer& view, unsigned int count) = 0;
};
