#include "platform/path.h"

#include <stdlib.h>

namespace xo::platform {

bool splitPath(const wchar_t* path, wchar_t* drive, std::size_t driveSize, wchar_t* dir,
               std::size_t dirSize, wchar_t* name, std::size_t nameSize, wchar_t* ext,
               std::size_t extSize) {
    return ::_wsplitpath_s(path, drive, driveSize, dir, dirSize, name, nameSize, ext, extSize) == 0;
}

void splitPathUnchecked(const wchar_t* path, wchar_t* drive, wchar_t* dir, wchar_t* name,
                        wchar_t* ext) {
    ::_wsplitpath(path, drive, dir, name, ext);
}

bool fullPath(wchar_t* out, std::size_t size, const wchar_t* path) {
    return ::_wfullpath(out, path, size) != nullptr;
}

} // namespace xo::platform
