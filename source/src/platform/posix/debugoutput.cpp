#include "platform/debugoutput.h"
#include "platform/textunits.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace xo::platform {

namespace {

void appendUtf8(std::string& out, std::uint32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Each wchar_t holds one UTF-16 unit; pairs are joined, a lone surrogate becomes U+FFFD.
std::string utf16ToUtf8(const wchar_t* text) {
    std::string out;
    for (const wchar_t* p = text; *p; ++p) {
        std::uint32_t c = wideUnit(*p);
        if (c >= 0xD800 && c < 0xDC00) {
            const std::uint32_t low = wideUnit(p[1]);
            if (low >= 0xDC00 && low < 0xE000) {
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                ++p;
            } else {
                c = 0xFFFD;
            }
        } else if (c >= 0xDC00 && c < 0xE000) {
            c = 0xFFFD;
        }
        appendUtf8(out, c);
    }
    return out;
}

void writeAll(const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t n = ::write(STDERR_FILENO, data, size);
        if (n <= 0)
            return;
        data += n;
        size -= static_cast<std::size_t>(n);
    }
}

} // namespace

bool debuggerAttached() {
    const int fd = ::open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    char buffer[4096];
    const ssize_t n = ::read(fd, buffer, sizeof buffer - 1);
    ::close(fd);
    if (n <= 0)
        return false;
    buffer[n] = '\0';
    const char* field = std::strstr(buffer, "TracerPid:");
    if (field == nullptr)
        return false;
    field += std::strlen("TracerPid:");
    while (*field == ' ' || *field == '\t')
        ++field;
    return *field != '0' && *field >= '1' && *field <= '9';
}

void debugOutputA(const char* text) {
    if (text != nullptr && debuggerAttached())
        writeAll(text, std::strlen(text));
}

void debugOutputW(const wchar_t* text) {
    if (text == nullptr || !debuggerAttached())
        return;
    const std::string utf8 = utf16ToUtf8(text);
    writeAll(utf8.data(), utf8.size());
}

void abortProcess() {
    std::abort();
}

} // namespace xo::platform
