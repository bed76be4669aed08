// The library's random-access byte stream: one interface over memory and files.
// Positions and lengths are byte counts from the start of the stream. A new kind of
// stream supplies the primitives (tell, length, seek, the raw readBytes and writeBytes,
// readByte, writeByte, resize); the bulk operations here are written on them alone.
//
// Failures are thrown, never returned: an XoExceptionWithMsg pointer (XoException.h)
// after the crash recorder is told. The catcher deletes it.
#pragma once

#include "XoOsBaseExport.h"

#include <cstddef>
#include <cstdint>
#include <functional>

class XoStreamBuf;

// Callers store and pass these as numbers, so the values are fixed, and every int is a
// valid value (an unknown one is handled as each operation says).
namespace XoIO {

enum SeekType : int {
    kSeekBegin = 0,    // new position = offset
    kSeekForward = 1,  // current + offset
    kSeekBackward = 2, // current - offset
    kSeekFromEnd = 3,  // memory streams: length - offset; file streams: the OS's end move
};

// The GENERIC_READ and GENERIC_WRITE bits.
enum AccessMode : unsigned int {
    kAccessRead = 0x80000000u,
    kAccessWrite = 0x40000000u,
};

// The C runtime's share-deny values; anything else counts as kShareDenyNone.
enum ShareMode : int {
    kShareDenyReadWrite = 0x10,
    kShareDenyWrite = 0x20,
    kShareDenyRead = 0x30,
    kShareDenyNone = 0x40,
};

// CreateFileW's dispositions; a value outside 1..5 makes an open fail.
enum CreationDisposition : int {
    kCreateNew = 1,
    kCreateAlways = 2,
    kOpenExisting = 3,
    kOpenAlways = 4,
    kTruncateExisting = 5,
};

} // namespace XoIO

// A position for the position-addressed operations: a word that the issuing stream
// interprets (memory streams: a byte offset) and the stream that issued it.
class XOOSBASE_API XoStreamBufPos {
public:
    explicit XoStreamBufPos(XoStreamBuf* stream); // position word 0
    XoStreamBufPos(const XoStreamBufPos& other);

    std::uint64_t m_nPosition;
    XoStreamBuf* m_pStreamBuf;
};

// A view of contiguous stored bytes, handed out by the memory streams. It stays valid
// only until the next operation that can grow the stream.
class XOOSBASE_API XoBuffer {
public:
    XoBuffer(); // empty
    void clear();
    unsigned char* data() const;
    unsigned int size() const;
    void set(unsigned char* data, unsigned int size);

private:
    unsigned char* m_pData;
    unsigned int m_nSize;
};

// Other modules derive their own streams from this class, so the order of the virtual
// operations is part of the interface: new ones are only ever appended, in derived
// classes. Every operation is exported.
class XOOSBASE_API XoStreamBuf {
public:
    XoStreamBuf();
    XoStreamBuf(const XoStreamBuf& other);
    XoStreamBuf& operator=(const XoStreamBuf& other);
    virtual ~XoStreamBuf();

    virtual bool isEOS() const; // tell() >= length()
    virtual std::size_t tell() const = 0;
    virtual std::size_t length() const = 0;
    virtual void setlength(std::size_t length); // does nothing here
    virtual void truncate();                    // does nothing here
    virtual void rewind();                      // seek(0, kSeekBegin)
    // Returns the new position.
    virtual std::size_t seek(std::size_t offset, XoIO::SeekType kind) = 0;
    virtual unsigned char readByte() = 0;
    virtual void writeByte(unsigned char byte) = 0;

    // Hands count bytes from the current position to sink, piece by piece (at most
    // 1 MiB a piece). Reads nothing at all when fewer than count bytes remain, and
    // nothing when sink is empty or count is 0.
    virtual void readBytes(std::function<void(void*, unsigned int)> sink, unsigned int count);
    // Copies count bytes from this stream's position into dest starting at dest's
    // offset 0 (not its position, deliberately), then puts dest's position back.
    virtual void readBytes(XoStreamBuf* dest, unsigned int count);
    virtual void readBytes(unsigned char* dest, unsigned int count) = 0;
    // Copies count bytes from the start of src to this stream's position, then puts
    // src's position back.
    virtual void writeBytes(XoStreamBuf* src, unsigned int count);
    virtual void writeBytes(const unsigned char* src, unsigned int count) = 0;

    // Copies src's range [from, to) (bounds in either order; 0, 0 = the rest of src from
    // its position) to this stream's position; src's position is put back.
    virtual void copyFrom(XoStreamBuf* src, std::size_t from, std::size_t to);
    // Copies from this stream's position into dest's range [from, to) (either order;
    // 0, 0 = the rest of dest from its position), at most what this stream has left;
    // this stream's position is put back. Deliberately not the mirror of copyFrom.
    virtual void copyTo(XoStreamBuf* dest, std::size_t from, std::size_t to);
    virtual void resize(std::size_t length) = 0;

    // Position-addressed access; streams that keep no such positions do nothing here.
    virtual XoStreamBufPos currentStreamBufPosition();             // {0, this}
    virtual unsigned char getByteByPos(const XoStreamBufPos& pos); // 0
    virtual void setByteByPos(const XoStreamBufPos& pos, unsigned char byte);
    virtual void getBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* dest, unsigned int count);
    virtual void getBytesByPos(const XoStreamBufPos& pos, unsigned char* dest, unsigned int count);
    virtual void setBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* src, unsigned int count);
    virtual void setBytesByPos(const XoStreamBufPos& pos, const unsigned char* src,
                               unsigned int count);
    virtual std::size_t getStreamPosition(const XoStreamBufPos* pos) const; // SIZE_MAX
    virtual void setStreamPosition(XoStreamBufPos* pos, std::size_t position) const;
    virtual void moveStreamPosition(XoStreamBufPos* pos, long long delta) const;

    // Transfers of up to s_bufSizeOnStack bytes use a stack buffer; larger ones one heap
    // buffer of the count, but never more than s_maxCopySizePerTime bytes.
    static const unsigned int s_bufSizeOnStack;     // 1024
    static const unsigned int s_maxCopySizePerTime; // 1048576
};
