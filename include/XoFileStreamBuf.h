/// \file
/// Streams over operating-system files. XoFileStreamBufImpl reads and writes straight on
/// the file handle; XoFileIStreamBuf reads the whole file through a read-only mapping
/// where the file allows one; XoFileOStreamBuf collects small writes before writing
/// them; XoFileIOStreamBuf is the plain stream, also over a handle the caller holds.
///
/// Create them with the factories below and destroy them with destoryFileIOStreamBuf
/// (spelled so, deliberately). A factory returns the stream also when the open failed:
/// the status says why (a null status pointer means no report), and the stream's handle
/// is invalid (all ones). Failures during use are thrown as XoExceptionWithMsg pointers.
///
/// Linux: handles are file descriptors carried in the handle word, and paths are the
/// UTF-16 form of POSIX paths. The share modes hold between every open made through the
/// library, in this process and in others (Windows enforces them for every program).
#pragma once

#include "VeskErrorStatus.h"
#include "XoFlatMemBuf.h"
#include "XoStreamBuf.h"

/// The interface of the file streams: a stream with a path, a share mode and a handle.
class XOOSBASE_API XoFileStreamBuf : public XoStreamBuf {
public:
    /// For derived streams; cannot fail.
    XoFileStreamBuf();
    /// Destroys the stream; the base has nothing to free.
    ~XoFileStreamBuf() override;

    /// The path opened, or null (a stream over a caller's handle, a failed open, or
    /// after close).
    virtual const wchar_t* fileName() const = 0;
    /// The share mode the file was opened with; 0 when there is none to tell.
    virtual XoIO::ShareMode shareMode() const = 0;
    /// The file handle; all ones (the invalid handle) when the open failed or after close.
    virtual void* handle() const = 0;
    /// Closes the file; the stream then has no handle. Closing a closed stream does
    /// nothing.
    virtual void close() = 0;
};

/// The plain file stream, reading and writing straight on the handle.
///
/// Deliberately kept: seek(offset, kSeekFromEnd) moves by +offset from the end (the
/// memory streams measure back from the end); a failed seek whose offset has all ones in
/// its low 32 bits returns the size_t maximum instead of throwing; a short read is not
/// reported; setlength and resize do nothing.
class XOOSBASE_API XoFileStreamBufImpl : public XoFileStreamBuf {
public:
    /// Opens path as CreateFileW does with the access, share mode and disposition. A
    /// failed open is no exception: *status (when status is not null) says why
    /// (eFileNotFound for a null or empty path, else the OS error's status), and the
    /// handle stays invalid; eOk on success. Throws XoExceptionWithMsg "XO_RELEASE_THROW"
    /// when anything else fails during the open (memory for the path's copy).
    XoFileStreamBufImpl(const wchar_t* path, Vesk::ErrorStatus* status, XoIO::AccessMode access,
                        XoIO::ShareMode share, XoIO::CreationDisposition disposition);
    /// Over a handle the caller opened, which the stream then owns and closes (no path,
    /// share mode 0); cannot fail.
    explicit XoFileStreamBufImpl(void* handle);
    XoFileStreamBufImpl(const XoFileStreamBufImpl&) = delete;
    XoFileStreamBufImpl& operator=(const XoFileStreamBufImpl&) = delete;
    /// Closes the file as close() does; cannot fail.
    ~XoFileStreamBufImpl() override;

    using XoStreamBuf::readBytes;
    using XoStreamBuf::writeBytes;

    /// The file pointer; 0 when the OS cannot tell it (an invalid handle).
    std::size_t tell() const override;
    /// The file's size; 0 when the OS cannot tell it (an invalid handle).
    std::size_t length() const override;
    /// Ends the file at the file pointer; a failure is not reported.
    void truncate() override;
    /// Moves the file pointer and returns it (kSeekFromEnd moves +offset from the end, an
    /// unknown kind counts as kSeekBegin). A failed move throws XoExceptionWithMsg "File
    /// internal error!", except that an offset with all ones in its low 32 bits returns
    /// the size_t maximum instead.
    std::size_t seek(std::size_t offset, XoIO::SeekType kind) override;
    /// The byte at the file pointer; 0 at the end of the file or when the read fails,
    /// unreported.
    unsigned char readByte() override;
    /// Writes a byte through writeBytes, with its failures.
    void writeByte(unsigned char byte) override;
    /// Reads up to count bytes at the file pointer into dest; a short or failed read is
    /// not reported.
    void readBytes(unsigned char* dest, unsigned int count) override;
    /// Writes count bytes at the file pointer. A failed or short write throws
    /// XoExceptionWithMsg "Write file error!", which embeds an XoErrorStatus with
    /// Vesk::eDiskFull when the disk is full.
    void writeBytes(const unsigned char* src, unsigned int count) override;
    /// Does nothing; cannot fail.
    void resize(std::size_t length) override;

    /// The path opened, or null (a handle of the caller's, a failed open, after close).
    const wchar_t* fileName() const override;
    /// The share mode given to the open; 0 for a handle of the caller's, a failed open or
    /// after close.
    XoIO::ShareMode shareMode() const override;
    /// The file handle; all ones when the open failed or after close.
    void* handle() const override;
    /// Flushes the OS's buffers first when anything was written, then closes the handle
    /// and forgets the path; failures of either are not reported. Closing a closed stream
    /// does nothing.
    void close() override;

private:
    void* m_hFile;
    wchar_t* m_pName; // owned
    unsigned int m_nShare;
    bool m_bWritten;
};

/// The input file stream, reading the whole file through a read-only mapping.
///
/// Mapped when the file's attributes allow (not a folder, sparse, reparse point,
/// compressed, offline or encrypted file); then reads come from the view, seek measures
/// kSeekFromEnd back from the end, and a read the file can no longer serve (truncated
/// under the view, a failing device) throws "InPageError!" with the position unchanged.
/// Unmapped, it reads as XoFileStreamBufImpl does. It never writes: truncate and
/// writeBytes throw, mapped or not.
class XOOSBASE_API XoFileIStreamBuf : public XoFileStreamBufImpl {
public:
    /// Opens path as XoFileStreamBufImpl does, with the same status reports, then maps the
    /// file when its attributes allow. A mapping that fails throws XoExceptionWithMsg
    /// "Cannot open file for write!" (the text callers match).
    XoFileIStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status, XoIO::AccessMode access,
                     XoIO::ShareMode share, XoIO::CreationDisposition disposition);
    /// Unmaps and closes the file as close() does; cannot fail.
    ~XoFileIStreamBuf() override;

    using XoStreamBuf::readBytes;
    using XoStreamBuf::writeBytes;

    /// The position in the view, or the file pointer when unmapped (0 when the OS cannot
    /// tell it).
    std::size_t tell() const override;
    /// The mapped size, or the file's size when unmapped (0 when the OS cannot tell it).
    std::size_t length() const override;
    /// Always throws XoExceptionWithMsg "File internal error!": the stream never writes.
    void truncate() override;
    /// Moves the position in the view as the memory streams do (an unknown kind goes to
    /// 0) and returns it; a target past the end throws XoExceptionWithMsg "Out of file
    /// stream buffer!". Unmapped, it seeks as XoFileStreamBufImpl does.
    std::size_t seek(std::size_t offset, XoIO::SeekType kind) override;
    /// Copies count bytes from the view and moves past them. Past the end throws
    /// XoExceptionWithMsg "End of file!" (so readByte does too); a read the file can no
    /// longer serve throws "InPageError!"; neither moves the position. Unmapped, it reads
    /// as XoFileStreamBufImpl does, short reads unreported.
    void readBytes(unsigned char* dest, unsigned int count) override;
    /// Always throws XoExceptionWithMsg "Write file error!": the stream never writes.
    void writeBytes(const unsigned char* src, unsigned int count) override;
    /// Unmaps the file, then closes it as XoFileStreamBufImpl does; cannot fail.
    void close() override;

private:
    void* m_hMapping;
    const unsigned char* m_pView;
    std::uint64_t m_nMappedSize;
    std::uint64_t m_nViewPosition;
};

/// The output file stream, collecting small writes before writing them.
///
/// Writes of up to 16384 bytes wait in a memory buffer, whatever capacity was reserved;
/// they reach the file on a seek, a read, a larger write, a full buffer, and close. tell
/// and length count the waiting bytes. close swallows a failure of its flush.
class XOOSBASE_API XoFileOStreamBuf : public XoFileStreamBufImpl {
public:
    /// Opens path as XoFileStreamBufImpl does, with the same status reports and failures,
    /// and reserves bufferCapacity bytes for the write buffer (memory that cannot be had
    /// is simply not reserved).
    XoFileOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status, XoIO::AccessMode access,
                     XoIO::ShareMode share, XoIO::CreationDisposition disposition,
                     unsigned int bufferCapacity);
    /// Flushes and closes the file as close() does; cannot fail.
    ~XoFileOStreamBuf() override;

    using XoStreamBuf::readBytes;
    using XoStreamBuf::writeBytes;

    /// The file pointer plus the waiting bytes (the file pointer 0 when the OS cannot
    /// tell it).
    std::size_t tell() const override;
    /// The larger of the file's size and tell(); 0 when the OS can tell neither.
    std::size_t length() const override;
    /// Writes the waiting bytes, then seeks as XoFileStreamBufImpl does; a failed flush
    /// throws XoExceptionWithMsg "Write file error!" as writeBytes does.
    std::size_t seek(std::size_t offset, XoIO::SeekType kind) override;
    /// Writes the waiting bytes, then reads as XoFileStreamBufImpl does (short reads
    /// unreported); a failed flush throws XoExceptionWithMsg "Write file error!".
    void readBytes(unsigned char* dest, unsigned int count) override;
    /// Adds the bytes to the write buffer, or writes them straight when more than 16384,
    /// flushing first as the rules above say. A failed write to the file throws
    /// XoExceptionWithMsg "Write file error!" (embedding Vesk::eDiskFull when the disk is
    /// full). Memory for the buffer running out is not reported: the waiting bytes are
    /// then lost.
    void writeBytes(const unsigned char* src, unsigned int count) override;
    /// Writes the waiting bytes, swallowing a failure, then closes as
    /// XoFileStreamBufImpl does; cannot fail.
    void close() override;

private:
    XoFlatMemBuf m_writeBuffer;
};

/// The plain stream that the read-write factories make, also over a caller's handle;
/// every operation is XoFileStreamBufImpl's.
class XOOSBASE_API XoFileIOStreamBuf : public XoFileStreamBufImpl {
public:
    /// Opens path as XoFileStreamBufImpl does, with the same status reports and failures.
    XoFileIOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status, XoIO::AccessMode access,
                      XoIO::ShareMode share, XoIO::CreationDisposition disposition);
    /// Over a handle the caller opened, which the stream then owns and closes; cannot
    /// fail.
    explicit XoFileIOStreamBuf(void* handle);
    /// Closes the file; cannot fail.
    ~XoFileIOStreamBuf() override;
};

/// A new XoFileStreamBufImpl over path. Returned also when the open failed: *status
/// says why and the handle is invalid. Throws XoExceptionWithMsg "XO_RELEASE_THROW" as the
/// constructor does, and std::bad_alloc when the object cannot be allocated.
XOOSBASE_API XoFileStreamBuf* createFileStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                                  XoIO::AccessMode access, XoIO::ShareMode share,
                                                  XoIO::CreationDisposition disposition);
/// A new XoFileIStreamBuf over path. Returned also when the open failed: *status says
/// why and the handle is invalid. Throws as its constructor does, and std::bad_alloc when
/// the object cannot be allocated.
XOOSBASE_API XoFileStreamBuf* createFileIStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                                   XoIO::AccessMode access, XoIO::ShareMode share,
                                                   XoIO::CreationDisposition disposition);
/// A new XoFileOStreamBuf over path with a write buffer of bufferCapacity bytes.
/// Returned also when the open failed: *status says why and the handle is invalid. Throws
/// as its constructor does, and std::bad_alloc when the object cannot be allocated.
XOOSBASE_API XoFileStreamBuf* createFileOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                                   XoIO::AccessMode access, XoIO::ShareMode share,
                                                   XoIO::CreationDisposition disposition,
                                                   unsigned int bufferCapacity);
/// A new XoFileIOStreamBuf over path. Returned also when the open failed: *status says
/// why and the handle is invalid. Throws as its constructor does, and std::bad_alloc when
/// the object cannot be allocated.
XOOSBASE_API XoFileStreamBuf* createFileIOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                                    XoIO::AccessMode access, XoIO::ShareMode share,
                                                    XoIO::CreationDisposition disposition);
/// A new XoFileIOStreamBuf over a handle the caller opened, which the stream then owns;
/// throws std::bad_alloc when the object cannot be allocated.
XOOSBASE_API XoFileStreamBuf* createFileIOStreamBuf(void* handle);
/// Destroys a stream made by one of the factories, closing its file (spelled so,
/// deliberately); null is ignored and it cannot fail.
XOOSBASE_API void destoryFileIOStreamBuf(XoFileStreamBuf* stream);
