// The file-system services: static operations over the OS's files and folders.
#pragma once

#include "XoOsBaseExport.h"

class XOOSBASE_API XoFileSystem {
public:
    // GetFileAttributesW's answer: the attribute bits, or 0xFFFFFFFF when the path cannot
    // be asked about. Linux: a folder 0x10, no write permission at all 0x1 (read-only),
    // a symbolic link 0x400 (a reparse point) with its target's bits, else 0x80.
    static unsigned long getFileAttributes(const wchar_t* path);
};
