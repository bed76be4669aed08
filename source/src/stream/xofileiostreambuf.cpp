#include "XoFileStreamBuf.h"

XoFileIOStreamBuf::XoFileIOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                     XoIO::AccessMode access, XoIO::ShareMode share,
                                     XoIO::CreationDisposition disposition)
    : XoFileStreamBufImpl(path, status, access, share, disposition) {}

XoFileIOStreamBuf::XoFileIOStreamBuf(void* handle) : XoFileStreamBufImpl(handle) {}

XoFileIOStreamBuf::~XoFileIOStreamBuf() = default;

XoFileStreamBuf* createFileStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                     XoIO::AccessMode access, XoIO::ShareMode share,
                                     XoIO::CreationDisposition disposition) {
    return new XoFileStreamBufImpl(path, status, access, share, disposition);
}

XoFileStreamBuf* createFileIStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                      XoIO::AccessMode access, XoIO::ShareMode share,
                                      XoIO::CreationDisposition disposition) {
    return new XoFileIStreamBuf(path, status, access, share, disposition);
}

XoFileStreamBuf* createFileOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                      XoIO::AccessMode access, XoIO::ShareMode share,
                                      XoIO::CreationDisposition disposition,
                                      unsigned int bufferCapacity) {
    return new XoFileOStreamBuf(path, status, access, share, disposition, bufferCapacity);
}

XoFileStreamBuf* createFileIOStreamBuf(const wchar_t* path, Vesk::ErrorStatus* status,
                                       XoIO::AccessMode access, XoIO::ShareMode share,
                                       XoIO::CreationDisposition disposition) {
    return new XoFileIOStreamBuf(path, status, access, share, disposition);
}

XoFileStreamBuf* createFileIOStreamBuf(void* handle) {
    return new XoFileIOStreamBuf(handle);
}

void destoryFileIOStreamBuf(XoFileStreamBuf* stream) {
    delete stream;
}
