#include "platform/textfile.h"

#include <cerrno>
#include <string>

#include "platform/codepage.h"

namespace xo::platform {

namespace {

bool toUtf8(const wchar_t* wide, std::string& out) {
    if (!wide)
        return false;
    if (*wide == 0) {
        out.clear();
        return true;
    }
    const int n = wideCharToMultiByte(kCpUtf8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    if (n <= 0)
        return false;
    out.assign(std::size_t(n), '\0');
    wideCharToMultiByte(kCpUtf8, 0, wide, -1, out.data(), n, nullptr, nullptr);
    out.resize(std::size_t(n - 1));
    return true;
}

// The letters POSIX knows; Windows-only ones (text mode, commit flags, hints) drop out.
bool posixMode(const wchar_t* mode, std::string& out) {
    out.clear();
    if (!mode || (*mode != L'r' && *mode != L'w' && *mode != L'a'))
        return false;
    for (const wchar_t* m = mode; *m; ++m) {
        switch (*m) {
        case L'r':
        case L'w':
        case L'a':
        case L'+':
        case L'b':
        case L'x':
            out += char(*m);
            break;
        case L't':
        case L'c':
        case L'n':
        case L'S':
        case L'R':
        case L'T':
        case L'D':
        case L'N':
        case L' ':
            break;
        default:
            return false; // "ccs=" and unknown letters
        }
    }
    return true;
}

} // namespace

std::FILE* openStream(const wchar_t* path, const wchar_t* mode) {
    std::string narrowPath, narrowMode;
    if (!toUtf8(path, narrowPath) || !posixMode(mode, narrowMode)) {
        errno = EINVAL;
        return nullptr;
    }
    return std::fopen(narrowPath.c_str(), narrowMode.c_str());
}

std::FILE* openSharedStream(const wchar_t* path, const wchar_t* mode, int shareFlag) {
    if (shareFlag != kShareDenyReadWrite && shareFlag != kShareDenyWrite &&
        shareFlag != kShareDenyRead && shareFlag != kShareDenyNone) {
        errno = EINVAL;
        return nullptr;
    }
    return openStream(path, mode);
}

} // namespace xo::platform
