#include "XoPathMaker.h"

#include <cwchar>

#include "platform/path.h"

namespace {

using xo::platform::kMaxPath;

// Deliberately generous: a drive is at most two characters.
constexpr std::size_t kDriveBuffer = 64;
// A dot and six characters; a longer extension fails the split.
constexpr std::size_t kExtBuffer = 8;

bool isEmpty(const wchar_t* path) {
    return path == nullptr || path[0] == 0;
}

bool isSeparator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

bool isForbidden(wchar_t c) {
    return c == L'"' || c == L'*' || c == L'<' || c == L'>' || c == L'?' || c == L'|';
}

int lengthOf(const wchar_t* text) {
    return int(std::wcslen(text));
}

// Appends as wcscat_s does: out emptied when the two do not fit together. The runtime
// would also call the invalid-parameter handler there; the library does not, as Wine's
// msvcrt does not.
void append(wchar_t* out, std::size_t size, const wchar_t* tail) {
    const std::size_t head = std::wcslen(out);
    const std::size_t length = std::wcslen(tail);
    if (head + length >= size) {
        out[0] = 0;
        return;
    }
    std::wmemcpy(out + head, tail, length + 1);
}

// Drive and directory into out when both fit with the terminator.
bool joinDriveAndDir(const wchar_t* drive, const wchar_t* dir, wchar_t* out, std::size_t size) {
    const std::size_t driveLength = std::wcslen(drive);
    const std::size_t dirLength = std::wcslen(dir);
    if (driveLength + dirLength >= size) {
        out[0] = 0;
        return false;
    }
    std::wmemcpy(out, drive, driveLength);
    std::wmemcpy(out + driveLength, dir, dirLength + 1);
    return true;
}

} // namespace

bool XoPathMaker::isValidPath(const wchar_t* path) {
    if (isEmpty(path))
        return false;
    int counted = 0; // every character but colons
    for (const wchar_t* p = path; *p; ++p) {
        if (isForbidden(*p))
            return false;
        if (*p == L':') {
            if (counted != 1)
                return false;
            continue;
        }
        if (isSeparator(*p) && isSeparator(p[1]))
            return false;
        ++counted;
    }
    return true;
}

int XoPathMaker::getAbsolutePath(wchar_t* out, unsigned size, const wchar_t* path) {
    if (isEmpty(path))
        return 0;
    wchar_t full[kMaxPath];
    if (!xo::platform::fullPath(full, kMaxPath, path))
        return 0;
    const int length = lengthOf(full);
    if (out != nullptr && size > unsigned(length))
        std::wmemcpy(out, full, std::size_t(length) + 1);
    return length + 1;
}

int XoPathMaker::getDriverName(wchar_t* out, const wchar_t* path) {
    out[0] = 0;
    if (path == nullptr)
        return 0;
    if (!xo::platform::splitPath(path, out, kDriveBuffer, nullptr, 0, nullptr, 0, nullptr, 0))
        return 0;
    return lengthOf(out);
}

int XoPathMaker::getParentDir(wchar_t* out, const wchar_t* path) {
    out[0] = 0;
    if (path == nullptr)
        return 0;
    if (!xo::platform::splitPath(path, nullptr, 0, out, kMaxPath, nullptr, 0, nullptr, 0))
        return 0;
    return lengthOf(out);
}

int XoPathMaker::getExtFileName(wchar_t* out, const wchar_t* path) {
    out[0] = 0;
    if (path == nullptr)
        return 0;
    if (!xo::platform::splitPath(path, nullptr, 0, nullptr, 0, nullptr, 0, out, kExtBuffer))
        return 0;
    return lengthOf(out);
}

bool XoPathMaker::getFileName(const wchar_t* path, wchar_t* out, const wchar_t** extPos) {
    if (extPos != nullptr)
        *extPos = nullptr;
    out[0] = 0;
    if (isEmpty(path))
        return false;
    if (extPos != nullptr)
        *extPos = std::wcsrchr(path, L'.');
    return xo::platform::splitPath(path, nullptr, 0, nullptr, 0, out, kMaxPath, nullptr, 0);
}

bool XoPathMaker::getFullFileName(const wchar_t* path, wchar_t* out) {
    out[0] = 0;
    if (isEmpty(path))
        return false;
    wchar_t ext[kMaxPath];
    if (!xo::platform::splitPath(path, nullptr, 0, nullptr, 0, out, kMaxPath, ext, kMaxPath))
        return false;
    if (ext[0] != 0)
        append(out, kMaxPath, ext);
    return true;
}

bool XoPathMaker::splitPath(const wchar_t* path, wchar_t* drive, unsigned driveSize, wchar_t* dir,
                            unsigned dirSize, wchar_t* name, unsigned nameSize, wchar_t* ext,
                            unsigned extSize) {
    if (isEmpty(path))
        return false;
    return xo::platform::splitPath(path, drive, driveSize, dir, dirSize, name, nameSize, ext,
                                   extSize);
}

// Writes nothing into a buffer of size 0, where there is no room even to empty it.
bool XoPathMaker::getFileDir(const wchar_t* path, wchar_t* out, unsigned size) {
    if (isEmpty(path) || size == 0)
        return false;
    wchar_t drive[kMaxPath], dir[kMaxPath], name[kMaxPath], ext[kMaxPath];
    drive[0] = dir[0] = 0;
    xo::platform::splitPathUnchecked(path, drive, dir, name, ext);
    return joinDriveAndDir(drive, dir, out, size);
}
