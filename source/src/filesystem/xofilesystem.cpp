#include "XoFileSystem.h"

#include "platform/file.h"

unsigned long XoFileSystem::getFileAttributes(const wchar_t* path) {
    return xo::platform::fileAttributes(path);
}
