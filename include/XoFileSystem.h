/// \file
/// The file-system services: static operations over the OS's files and folders.
#pragma once

#include "XoOsBaseExport.h"

/// The file-system services; only a scope for static members.
class XOOSBASE_API XoFileSystem {
public:
    /// GetFileAttributesW's answer: the attribute bits, or 0xFFFFFFFF
    /// (INVALID_FILE_ATTRIBUTES) when the path cannot be asked about (null, empty, not
    /// found, not convertible or not reachable). Linux: a folder 0x10, no write permission
    /// at all 0x1 (read-only), a symbolic link 0x400 (a reparse point) with its target's
    /// bits, else 0x80.
    static unsigned long getFileAttributes(const wchar_t* path);
};
