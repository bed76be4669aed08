#include "platform/posix/utf8path.h"

#include "platform/codepage.h"

namespace xo::platform {

bool pathToUtf8(const wchar_t* wide, std::string& out) {
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

std::wstring pathFromUtf8(const std::string& narrow) {
    if (narrow.empty())
        return {};
    const int n = multiByteToWideChar(kCpUtf8, 0, narrow.data(), int(narrow.size()), nullptr, 0);
    std::wstring out(std::size_t(n > 0 ? n : 0), L'\0');
    if (n > 0)
        multiByteToWideChar(kCpUtf8, 0, narrow.data(), int(narrow.size()), out.data(), n);
    return out;
}

} // namespace xo::platform
