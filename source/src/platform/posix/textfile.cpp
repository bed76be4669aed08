#include "platform/textfile.h"

#include <cerrno>
#include <string>

#include "platform/posix/utf8path.h"

namespace xo::platform {

namespace {

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
    if (!pathToUtf8(path, narrowPath) || !posixMode(mode, narrowMode)) {
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
