/// \file
/// The library's random-access byte stream: one interface over memory and files.
/// Positions and lengths are byte counts from the start of the stream. A new kind of
/// stream supplies the primitives (tell, length, seek, the raw readBytes and writeBytes,
/// readByte, writeByte, resize); the bulk operations here are written on them alone.
///
/// Failures are thrown, never returned: an XoExceptionWithMsg pointer (XoException.h)
/// after the crash recorder is told. The catcher deletes it.
#pragma once

#include "XoOsBaseExport.h"

#include <cstddef>
#include <cstdint>
#include <functional>

class XoStreamBuf;

/// The kinds of seek and the arguments of a file open. Callers store and pass these as
/// numbers, so the values are fixed, and every int is a valid value (an unknown one is
/// handled as each operation says).
namespace XoIO {

/// Where a seek measures its offset from.
enum SeekType : int {
    kSeekBegin = 0,    ///< new position = offset
    kSeekForward = 1,  ///< current + offset
    kSeekBackward = 2, ///< current - offset
    kSeekFromEnd = 3,  ///< memory streams: length - offset; file streams: the OS's end move
};

/// The GENERIC_READ and GENERIC_WRITE bits.
enum AccessMode : unsigned int {
    kAccessRead = 0x80000000u,  ///< GENERIC_READ
    kAccessWrite = 0x40000000u, ///< GENERIC_WRITE
};

/// The C runtime's share-deny values; anything else counts as kShareDenyNone.
enum ShareMode : int {
    kShareDenyReadWrite = 0x10, ///< no other open may read or write
    kShareDenyWrite = 0x20,     ///< no other open may write
    kShareDenyRead = 0x30,      ///< no other open may read
    kShareDenyNone = 0x40,      ///< other opens may read and write
};

/// CreateFileW's dispositions; a value outside 1..5 makes an open fail.
enum CreationDisposition : int {
    kCreateNew = 1,        ///< a new file; fails when it exists
    kCreateAlways = 2,     ///< a new file, or the existing one emptied
    kOpenExisting = 3,     ///< the existing file; fails when there is none
    kOpenAlways = 4,       ///< the existing file, or a new one
    kTruncateExisting = 5, ///< the existing file emptied; fails when there is none
};

} // namespace XoIO

/// A position for the position-addressed operations: a word that the issuing stream
/// interprets (memory streams: a byte offset) and the stream that issued it.
class XOOSBASE_API XoStreamBufPos {
public:
    /// Position word 0 of stream (may be null); cannot fail.
    explicit XoStreamBufPos(XoStreamBuf* stream);
    /// The same word and stream; cannot fail.
    XoStreamBufPos(const XoStreamBufPos& other);

    /// The position word, interpreted by the issuing stream.
    std::uint64_t m_nPosition;
    /// The stream that issued the position; not owned.
    XoStreamBuf* m_pStreamBuf;
};

/// A view of contiguous stored bytes, handed out by the memory streams. It stays valid
/// only until the next operation that can grow the stream.
class XOOSBASE_API XoBuffer {
public:
    /// An empty view (null, size 0); cannot fail.
    XoBuffer();
    /// Makes the view empty (null, size 0); cannot fail.
    void clear();
    /// The first byte of the view, null when it is empty.
    unsigned char* data() const;
    /// The bytes in the view, 0 when it is empty.
    unsigned int size() const;
    /// Makes the view show size bytes at data; nothing is checked, so it cannot fail.
    void set(unsigned char* data, unsigned int size);

private:
    unsigned char* m_pData;
    unsigned int m_nSize;
};

/// The library's random-access byte stream. Other modules derive their own streams from
/// this class, so the order of the virtual operations is part of the interface: new ones
/// are only ever appended, in derived classes. Every operation is exported.
///
/// The bulk operations defined here call only tell, length, seek and the raw readBytes
/// and writeBytes of the streams involved; they skip their work silently when a
/// precondition fails, and whatever a primitive throws passes through. readBytes and
/// writeBytes between streams allocate their scratch buffer with new for more than
/// s_bufSizeOnStack bytes, which throws std::bad_alloc when memory runs out.
class XOOSBASE_API XoStreamBuf {
public:
    /// For derived streams; cannot fail.
    XoStreamBuf();
    /// For derived streams; the base has no state, so it cannot fail.
    XoStreamBuf(const XoStreamBuf& other);
    /// For derived streams; the base has no state, so it cannot fail.
    XoStreamBuf& operator=(const XoStreamBuf& other);
    /// Destroys the stream; the base has nothing to free.
    virtual ~XoStreamBuf();

    /// Whether the position is at or past the end: tell() >= length(). Whatever those
    /// throw passes through.
    virtual bool isEOS() const;
    /// The position, in bytes from the start. Each stream says how it fails.
    virtual std::size_t tell() const = 0;
    /// The length in bytes. Each stream says how it fails.
    virtual std::size_t length() const = 0;
    /// Sets the length; does nothing here, so a stream that keeps this default ignores
    /// the call.
    virtual void setlength(std::size_t length);
    /// Ends the stream at the position; does nothing here, so a stream that keeps this
    /// default ignores the call.
    virtual void truncate();
    /// seek(0, kSeekBegin); whatever that throws passes through.
    virtual void rewind();
    /// Moves the position and returns the new one. Each stream says how it fails.
    virtual std::size_t seek(std::size_t offset, XoIO::SeekType kind) = 0;
    /// Reads the byte at the position and moves past it. Each stream says what it does
    /// at the end.
    virtual unsigned char readByte() = 0;
    /// Writes a byte at the position and moves past it. Each stream says how it fails.
    virtual void writeByte(unsigned char byte) = 0;

    /// Hands count bytes from the current position to sink, piece by piece (at most
    /// 1 MiB a piece). Reads nothing at all when fewer than count bytes remain, and
    /// nothing when sink is empty or count is 0; none of these is reported. What the
    /// raw readBytes or the sink throws passes through.
    virtual void readBytes(std::function<void(void*, unsigned int)> sink, unsigned int count);
    /// Copies count bytes from this stream's position into dest starting at dest's
    /// offset 0 (not its position, deliberately), then puts dest's position back. A null
    /// dest, a count of 0 or a seek that lands elsewhere copies nothing, unreported; what
    /// the raw operations throw passes through.
    virtual void readBytes(XoStreamBuf* dest, unsigned int count);
    /// Reads count bytes at the position into dest and moves past them: the raw read
    /// every stream supplies. Each stream says how it fails.
    virtual void readBytes(unsigned char* dest, unsigned int count) = 0;
    /// Copies count bytes from the start of src to this stream's position, then puts
    /// src's position back. A null src, a count of 0 or a seek that lands elsewhere
    /// copies nothing, unreported; what the raw operations throw passes through.
    virtual void writeBytes(XoStreamBuf* src, unsigned int count);
    /// Writes count bytes from src at the position and moves past them: the raw write
    /// every stream supplies. Each stream says how it fails.
    virtual void writeBytes(const unsigned char* src, unsigned int count) = 0;

    /// Copies src's range [from, to) (bounds in either order; 0, 0 = the rest of src from
    /// its position) to this stream's position; src's position is put back. A null src or
    /// an empty range copies nothing. The range is not clamped to src's length: reading
    /// past its end fails as src's readBytes fails, and src's position then stays moved.
    virtual void copyFrom(XoStreamBuf* src, std::size_t from, std::size_t to);
    /// Copies from this stream's position into dest's range [from, to) (either order;
    /// 0, 0 = the rest of dest from its position), at most what this stream has left;
    /// this stream's position is put back. Deliberately not the mirror of copyFrom. A null
    /// dest or nothing to copy does nothing; what the raw operations throw passes through.
    virtual void copyTo(XoStreamBuf* dest, std::size_t from, std::size_t to);
    /// Sets the length, keeping the bytes up to it. Each stream says how it fails.
    virtual void resize(std::size_t length) = 0;

    /// The current position as a position word: {0, this} here, for streams that keep
    /// no such positions; cannot fail.
    virtual XoStreamBufPos currentStreamBufPosition();
    /// The byte at pos: always 0 here; cannot fail.
    virtual unsigned char getByteByPos(const XoStreamBufPos& pos);
    /// Stores a byte at pos: does nothing here.
    virtual void setByteByPos(const XoStreamBufPos& pos, unsigned char byte);
    /// Copies count bytes at pos to dest's position: does nothing here.
    virtual void getBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* dest, unsigned int count);
    /// Copies count bytes at pos into dest: does nothing here.
    virtual void getBytesByPos(const XoStreamBufPos& pos, unsigned char* dest, unsigned int count);
    /// Stores count bytes read from src at pos: does nothing here.
    virtual void setBytesByPos(const XoStreamBufPos& pos, XoStreamBuf* src, unsigned int count);
    /// Stores count bytes from src at pos: does nothing here.
    virtual void setBytesByPos(const XoStreamBufPos& pos, const unsigned char* src,
                               unsigned int count);
    /// The byte offset a position word stands for: SIZE_MAX here; cannot fail.
    virtual std::size_t getStreamPosition(const XoStreamBufPos* pos) const;
    /// Makes the position word stand for a byte offset: does nothing here.
    virtual void setStreamPosition(XoStreamBufPos* pos, std::size_t position) const;
    /// Moves the position word by delta bytes: does nothing here.
    virtual void moveStreamPosition(XoStreamBufPos* pos, long long delta) const;

    /// Transfers of up to s_bufSizeOnStack bytes (1024) use a stack buffer; larger ones
    /// one heap buffer of the count, but never more than s_maxCopySizePerTime bytes.
    static const unsigned int s_bufSizeOnStack;
    /// The largest heap buffer of one transfer: 1048576 bytes.
    static const unsigned int s_maxCopySizePerTime;
};
