/// \file
/// A memory stream over a block the caller owns: it never grows beyond the block and
/// never frees it.
#pragma once

#include "XoMemStreamBuf.h"

/// A memory stream over a block the caller owns.
///
/// The whole block counts as written when it is opened (length = size). An operation that
/// needs the length beyond the block throws XoExceptionWithMsg "_resize failed!" and
/// changes nothing; reads and seeks outside the length throw "Out of stream buffer!" (the
/// flat buffer's readByte says "End of stream buffer!" instead), position-addressed reads
/// "Out of stream buffer!!!". A sum of position and count that wraps in 32 bits counts as
/// beyond the length.
///
/// Unlike the flat buffer, readBytes into another stream leaves that stream's position
/// after the bytes written, copyFrom and copyTo do not move this stream, and copyFrom of
/// 0, 0 copies nothing. A seek of an unknown kind goes to 0.
class XOOSBASE_API XoMemStreamWrapperBuf : public XoMemStreamBuf {
public:
    /// Opens the block at data of size bytes (open(data, size)); the default is no block.
    /// Cannot fail: the block is not checked.
    XoMemStreamWrapperBuf(unsigned char* data = nullptr, unsigned int size = 0);
    /// Both objects then address the same block, each with its own position; cannot fail.
    XoMemStreamWrapperBuf(const XoMemStreamWrapperBuf& other);
    /// Addresses the other's block with its length and position; the block held before
    /// is not freed. Cannot fail.
    XoMemStreamWrapperBuf& operator=(const XoMemStreamWrapperBuf& other);
    /// Closes the stream; frees nothing and cannot fail.
    ~XoMemStreamWrapperBuf() override;

    /// Addresses the block at data of size bytes, all of it counting as written, at
    /// position 0; the block held before is not freed. Cannot fail.
    void open(unsigned char* data, unsigned int size);
    /// Lets go of the block (null, length and position 0) without freeing it; cannot fail.
    void close();
    /// The block, null when none is open.
    unsigned char* buffer();
    /// The block, null when none is open.
    const unsigned char* buffer() const;

    /// Whether the position is at or past the length; cannot fail.
    bool isEOS() const override;
    /// The position; cannot fail.
    std::size_t tell() const override;
    /// The length; cannot fail.
    std::size_t length() const override;
    /// resize(length): the same failure.
    void setlength(std::size_t length) override;
    /// length = position; cannot fail.
    void truncate() override;
    /// Position 0; cannot fail.
    void rewind() override;
    /// Moves the position and returns it. Beyond the length, or before the start
    /// (backward or from the end), throws XoExceptionWithMsg "Out of stream buffer!" and
    /// does not move; an unknown kind goes to 0.
    std::size_t seek(std::size_t offset, XoIO::SeekType kind) override;
    /// The byte at the position; throws XoExceptionWithMsg "Out of stream buffer!" at the
    /// end.
    unsigned char readByte() override;
    /// Writes a byte at the position, extending the length within the block; beyond the
    /// block throws XoExceptionWithMsg "_resize failed!".
    void writeByte(unsigned char byte) override;
    using XoMemStreamBuf::readBytes;
    /// Writes count bytes at the position to dest's position through dest's writeBytes,
    /// leaving dest's position after them. A null dest or a count of 0 does nothing;
    /// fewer than count bytes left throws XoExceptionWithMsg "Out of stream buffer!".
    void readBytes(XoStreamBuf* dest, unsigned int count) override;
    /// Copies count bytes at the position into dest and moves past them. A null dest or a
    /// count of 0 does nothing; fewer than count bytes left throws XoExceptionWithMsg "Out
    /// of stream buffer!".
    void readBytes(unsigned char* dest, unsigned int count) override;
    /// Reads count bytes at src's position into this stream's position and moves past
    /// them. A null src or a count of 0 does nothing; beyond the block throws
    /// XoExceptionWithMsg "_resize failed!"; what src's readBytes throws passes through,
    /// the length then as it was.
    void writeBytes(XoStreamBuf* src, unsigned int count) override;
    /// Copies count bytes from src to the position and moves past them. A null src or a
    /// count of 0 does nothing; beyond the block throws XoExceptionWithMsg "_resize
    /// failed!".
    void writeBytes(const unsigned char* src, unsigned int count) override;
    /// Copies src's range [from, to) to this stream's position without moving it; src's
    /// position is put back. A null src, to not above from, or a range of 4 GiB or more
    /// copies nothing, as does a seek of src that lands elsewhere. Beyond the block throws
    /// XoExceptionWithMsg "_resize failed!"; what src's readBytes throws passes through,
    /// the length then as it was.
    void copyFrom(XoStreamBuf* src, std::size_t from, std::size_t to) override;
    /// Copies to - from bytes at this stream's position into dest at offset from, moving
    /// neither stream. A null dest, to not above from, or a range of 4 GiB or more copies
    /// nothing; a seek of dest that lands elsewhere, or fewer bytes left here, throws
    /// XoExceptionWithMsg "Out of stream buffer!" (dest's position put back).
    void copyTo(XoStreamBuf* dest, std::size_t from, std::size_t to) override;
    /// Sets the length within the block, pulling the position back to it; beyond the
    /// block throws XoExceptionWithMsg "_resize failed!" and changes nothing.
    void resize(std::size_t length) override;

    /// The position as a position word, with this stream; cannot fail.
    XoStreamBufPos currentStreamBufPosition() override;
    /// The byte at pos; throws XoExceptionWithMsg "Out of stream buffer!!!" at or past
    /// the end.
    unsigned char getByteByPos(const XoStreamBufPos& pos) override;
    /// Stores a byte at pos, extending the length within the block; beyond the block
    /// throws XoExceptionWithMsg "_resize failed!".
    void setByteByPos(const XoStreamBufPos& pos, unsigned char byte) override;
    /// Writes count bytes at pos to dest's position through dest's writeBytes. Past the
    /// end throws XoExceptionWithMsg "Out of stream buffer!!!"; a null dest copies
    /// nothing.
    void getBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* dest, unsigned int count) override;
    /// Copies count bytes at pos into dest. Past the end throws XoExceptionWithMsg "Out of
    /// stream buffer!!!"; a null dest copies nothing.
    void getBytesByPos(const XoStreamBufPos& pos, unsigned char* dest, unsigned int count) override;
    /// Stores count bytes read at src's position at pos, extending the length within the
    /// block. A null src or a count of 0 does nothing; beyond the block throws
    /// XoExceptionWithMsg "_resize failed!"; what src's readBytes throws passes through,
    /// the length then as it was.
    void setBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* src, unsigned int count) override;
    /// Stores count bytes from src at pos, extending the length within the block. A null
    /// src or a count of 0 does nothing; beyond the block throws XoExceptionWithMsg
    /// "_resize failed!".
    void setBytesByPos(const XoStreamBufPos& pos, const unsigned char* src,
                       unsigned int count) override;
    /// The byte offset of a position word; SIZE_MAX for a null pos.
    std::size_t getStreamPosition(const XoStreamBufPos* pos) const override;
    /// Makes the position word stand for the byte offset; a null pos is ignored.
    void setStreamPosition(XoStreamBufPos* pos, std::size_t position) const override;
    /// Moves the position word by delta, wrapping in 32 bits; a null pos is ignored.
    void moveStreamPosition(XoStreamBufPos* pos, long long delta) const override;

    /// The view at the position; true (no view) at or past the end.
    bool getBuffer(XoBuffer& view, unsigned int count) override;
    /// The view at the position, then the position moved past it; true (no view) at or
    /// past the end.
    bool readBuffer(XoBuffer& view, unsigned int count) override;
    /// Extends the length within the block so that count bytes fit from the position and
    /// gives their view; beyond the block throws XoExceptionWithMsg "_resize failed!".
    void setBuffer(XoBuffer& view, unsigned int count) override;
    /// setBuffer, then the position moved past the view; beyond the block throws
    /// XoExceptionWithMsg "_resize failed!".
    void writeBuffer(XoBuffer& view, unsigned int count) override;

protected:
    /// The work behind isEOS, for classes that build on the wrapper; cannot fail.
    bool _isEOS() const;
    /// The work behind tell; cannot fail.
    std::size_t _tell() const;
    /// The work behind length; cannot fail.
    std::size_t _length() const;
    /// The work behind seek, with its failures.
    std::size_t _seek(std::size_t offset, XoIO::SeekType kind);
    /// The work behind resize: false beyond the block, changing nothing; otherwise pulls
    /// the position back to the new length.
    bool _resize(std::size_t length);
    /// The work behind getBuffer; true (no view) at or past the end.
    bool _getBuffer(XoBuffer& view, unsigned int count);
    /// The work behind readBuffer; true (no view) at or past the end.
    bool _readBuffer(XoBuffer& view, unsigned int count);
    /// The work behind setBuffer: false (no view) when the block is too small.
    bool _setBuffer(XoBuffer& view, unsigned int count);
    /// The work behind writeBuffer: false (no view) when the block is too small.
    bool _writeBuffer(XoBuffer& view, unsigned int count);
    /// The work behind getStreamPosition; SIZE_MAX for a null pos.
    std::size_t _getStreamPosition(const XoStreamBufPos* pos) const;
    /// The work behind setStreamPosition; a null pos is ignored.
    void _setStreamPosition(XoStreamBufPos* pos, std::size_t position) const;

private:
    unsigned char* m_pData; // the caller's
    unsigned int m_nCapacity;
    unsigned int m_nPosition;
    unsigned int m_nLength;
};
