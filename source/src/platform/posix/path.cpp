#include "platform/path.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>

#include "platform/codepage.h"
#include "platform/pathsplit/pathsplitter.h"

namespace xo::platform {

namespace {

bool currentDirectoryUtf8(std::string& out) {
    out.assign(256, '\0');
    while (::getcwd(out.data(), out.size()) == nullptr) {
        if (errno != ERANGE)
            return false;
        out.assign(out.size() * 2, '\0');
    }
    out.resize(out.find('\0'));
    return true;
}

bool currentDirectory(std::wstring& out) {
    std::string narrow;
    if (!currentDirectoryUtf8(narrow))
        return false;
    const int n = multiByteToWideChar(kCpUtf8, kMbErrInvalidChars, narrow.c_str(), -1, nullptr, 0);
    if (n <= 0)
        return false;
    out.assign(std::size_t(n), L'\0');
    multiByteToWideChar(kCpUtf8, kMbErrInvalidChars, narrow.c_str(), -1, out.data(), n);
    out.resize(std::size_t(n - 1));
    return true;
}

bool absoluteForm(const wchar_t* path, std::wstring& out) {
    if (path[0] == L'/') {
        out = path;
        return true;
    }
    if (!currentDirectory(out))
        return false;
    out += L'/';
    out += path;
    return true;
}

// Drops the last name of a folded path (empty or starting with `/`); at the root, nothing.
void dropLastName(std::wstring& folded) {
    folded.erase(std::min(folded.rfind(L'/'), folded.size()));
}

// An absolute path with `.`, `..` and empty names folded away by name. Only standard
// string members that the runtime library already provides are used here: an implicit
// instantiation would be exported from the shared library.
std::wstring folded(std::wstring_view path) {
    std::wstring out;
    std::size_t start = 0;
    while (start < path.size()) {
        const std::size_t end = std::min(path.find(L'/', start), path.size());
        const std::wstring_view name = path.substr(start, end - start);
        if (name == L"..") {
            dropLastName(out);
        } else if (!name.empty() && name != L".") {
            out += L'/';
            out.append(name.data(), name.size());
        }
        start = end + 1;
    }
    if (out.empty() || path.back() == L'/')
        out += L'/';
    return out;
}

} // namespace

bool splitPath(const wchar_t* path, wchar_t* drive, std::size_t driveSize, wchar_t* dir,
               std::size_t dirSize, wchar_t* name, std::size_t nameSize, wchar_t* ext,
               std::size_t extSize) {
    return pathsplit::split(path, drive, driveSize, dir, dirSize, name, nameSize, ext, extSize) ==
           pathsplit::kSplitDone;
}

void splitPathUnchecked(const wchar_t* path, wchar_t* drive, wchar_t* dir, wchar_t* name,
                        wchar_t* ext) {
    pathsplit::splitUnchecked(path, drive, dir, name, ext);
}

bool fullPath(wchar_t* out, std::size_t size, const wchar_t* path) {
    std::wstring absolute;
    if (path == nullptr || !absoluteForm(path, absolute))
        return false;
    const std::wstring result = folded(absolute);
    if (out == nullptr || result.size() >= size)
        return false;
    result.copy(out, result.size());
    out[result.size()] = 0;
    return true;
}

} // namespace xo::platform
