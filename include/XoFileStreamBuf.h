// Streams over operating-system files. XoFileStreamBufImpl reads and writes straight on
// the file handle; XoFileIStreamBuf reads the whole file through a read-only mapping
// where the file allows one; XoFileOStreamBuf collects small writes before writing
// them; XoFileIOStreamBuf is the plain stream, also over a handle the caller holds.
//
// Create them with the factories below and destroy them with destoryFileIOStreamBuf
// (spelled so, deliberately). A factory returns the stream also when the open failed:
// the status says why (a null status pointer means no report), and the stream's handle
// is invalid (all ones). Failures during use are thrown as XoExceptionWithMsg pointers.
//
// Linux: handles are file descriptors carried in the handle word, and paths are the
// UTF-16 form of POSIX paths. The share modes hold between every open made through the
// library, in this process and in others (Windows enforces them for every program).
#pragma once

#include "VeskErrorStatus.h"
#include "XoFlatMemBuf.h"
#include "XoStreamBuf.h"

class XOOSBASE_API XoFileStreamBuf : public XoStreamBuf {
public:
    XoFileStreamBuf();
    ~XoFileStreamBuf() override;

    virtual const wchar_t* fileName() const = 0; // the path opened, or null
    virtual XoIO::ShareMode shareMode() const = 0;
    virtual void* handle() const = 0;
    virtual void close() = 0;
};

// Deliberately kept: seek(offset, kSeekFromEnd) moves by +offset from the end (the
// memory streams measure back from the end); a failed seek whose offset has all ones in
// its low 32 bits returns the size_t maximum instead of throwing; a short read is not
// reported; setlength and resize do nothing.
class XOOSBASE_API XoFileStreamBufImpl : public XoFileStreamBuf {
public:
    XoFileStreamBufImpl(const wchar_t* path, Vesk::ErrorStatus* status, XoIO::AccessMode access,
                        XoIO::ShareMode share, XoIO::CreationDisposition disposition);
    explicit XoFileStreamBufImpl(void* handle); // owns and closes the handle
    XoFileStreamBufImpl(const XoFileStreamBufImpl&) = delete;
    XoFileStreamBufImpl& operator=(const XoFileStreamBufImpl&) = delete;
    ~XoFileStreamBufImpl() override;

    using XoStreamBuf::readBytes;
    using XoStreamBuf::writeBytes;

    std::size_t tell() const override;   // the file pointer
    std::size_t length() const override; // the file's size
    void truncate() override;            // the end of the file at the file pointer
    std::size_t seek(std::size_t offset, XoIO::SeekType kind) override;
    unsigned char readByte() override;
    void writeByte(unsigned char byte) override;
    void readBytes(unsigned char* dest, unsigned int count) override;
    void writeBytes(const unsigned char* src, unsigned int count) override;
    void resize(std::size_t length) override; // does nothing

    const wchar_t* fileName() const override;
    XoIO::ShareMode shareMode() const override;
    void* handle() const override;
    void close() override; // flushes the OS's buffers first when anything was written

private:
    void* m_hFile;
    wchar_t* m_pName; // owned
    unsigned int m_nShare;
    bool m_bWritten;
};

// Mapped when the file's attributes allow (not a folder, sparse, reparse point,
// compressed, offline or encrypted file); then reads come from the view, seek measures
// kSeekFromEnd back from the end, and a read the file can no longer serve (truncated
// under the view, a failing device) throws "InPageError!" with the position unchanged.
// It never writes: truncate and writeBytes throw, mapped or not.
class XOOSBASE_API XoFileIStreamBuf : public XoFileStreamBufImpl {
public:
    XoFileIStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status, XoIO::AccessMode access,
                     XoIO::ShareMode share, XoIO::CreationDisposition disposition);
    ~XoFileIStreamBuf() override;

    using XoStreamBuf::readBytes;
    using XoStreamBuf::writeBytes;

    std::size_t tell() const override;
    std::size_t length() const override;
    void truncate() override; // "File internal error!"
    std::size_t seek(std::size_t offset, XoIO::SeekType kind) override;
    void readBytes(unsigned char* dest, unsigned int count) override;
    void writeBytes(const unsigned char* src, unsigned int count) override; // "Write file error!"
    void close() override;

private:
    void* m_hMapping;
    const unsigned char* m_pView;
    std::uint64_t m_nMappedSize;
    std::uint64_t m_nViewPosition;
};

// Writes of up to 16384 bytes wait in a memory buffer, whatever capacity was reserved;
// they reach the file on a seek, a read, a larger write, a full buffer, and close. tell
// and length count the waiting bytes. close swallows a failure of its flush.
class XOOSBASE_API XoFileOStreamBuf : public XoFileStreamBufImpl {
public:
    XoFileOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status, XoIO::AccessMode access,
                     XoIO::ShareMode share, XoIO::CreationDisposition disposition,
                     unsigned int bufferCapacity);
    ~XoFileOStreamBuf() override;

    using XoStreamBuf::readBytes;
    using XoStreamBuf::writeBytes;

    std::size_t tell() const override;
    std::size_t length() const override;
    std::size_t seek(std::size_t offset, XoIO::SeekType kind) override;
    void readBytes(unsigned char* dest, unsigned int count) override;
    void writeBytes(const unsigned char* src, unsigned int count) override;
    void close() override;

private:
    XoFlatMemBuf m_writeBuffer;
};

class XOOSBASE_API XoFileIOStreamBuf : public XoFileStreamBufImpl {
public:
    XoFileIOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status, XoIO::AccessMode access,
                      XoIO::ShareMode share, XoIO::CreationDisposition disposition);
    explicit XoFileIOStreamBuf(void* handle);
    ~XoFileIOStreamBuf() override;
};

XOOSBASE_API XoFileStreamBuf* createFileStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                                  XoIO::AccessMode access, XoIO::ShareMode share,
                                                  XoIO::CreationDisposition disposition);
XOOSBASE_API XoFileStreamBuf* createFileIStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                                   XoIO::AccessMode access, XoIO::ShareMode share,
                                                   XoIO::CreationDisposition disposition);
XOOSBASE_API XoFileStreamBuf* createFileOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                                   XoIO::AccessMode access, XoIO::ShareMode share,
                                                   XoIO::CreationDisposition disposition,
                                                   unsigned int bufferCapacity);
XOOSBASE_API XoFileStreamBuf* createFileIOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                                    XoIO::AccessMode access, XoIO::ShareMode share,
                                                    XoIO::CreationDisposition disposition);
XOOSBASE_API XoFileStreamBuf* createFileIOStreamBuf(void* handle);
XOOSBASE_API void destoryFileIOStreamBuf(XoFileStreamBuf* stream);
