// XoCharOp's conversion with CIF escapes lives with the encodings it belongs to, apart
// from the character primitives of containers/xocharop.cpp.
#include "XoCharOp.h"

#include <cstdint>
#include <cstring>

#include "platform/codepage.h"
#include "platform/error.h"

int XoCharOp::WideCharToMultiByteCIF(unsigned int winCp, unsigned long, const wchar_t* in,
                                     int inLen, char* out, int outLen, unsigned long) {
    namespace os = xo::platform;
    if (!os::isValidCodePage(winCp)) {
        os::setThreadLastError(os::kErrorStackOverflow);
        return 0;
    }
    if (!in || (!out && outLen != 0)) {
        os::setThreadLastError(os::kErrorInvalidParameter);
        return 0;
    }
    long long length = inLen;
    if (inLen == -1) {
        length = 1;
        while (in[length - 1] != 0)
            ++length;
    }
    if (length < 1)
        return 0;
    static const char kHex[] = "0123456789ABCDEF";
    int written = 0;
    for (long long i = 0; i < length; ++i) {
        const std::uint16_t unit = static_cast<std::uint16_t>(in[i]);
        char piece[7];
        int size = 0;
        if (unit < 0x80) {
            piece[0] = char(unit);
            size = 1;
        } else {
            const wchar_t wide = wchar_t(unit);
            bool usedDefault = false;
            const int n = os::wideCharToMultiByte(winCp, os::kWcNoBestFitChars, &wide, 1, piece, 4,
                                                  nullptr, &usedDefault);
            if (!usedDefault && (n == 2 || (n == 1 && std::uint8_t(piece[0]) >= 0x80))) {
                size = n;
            } else {
                piece[0] = '\\';
                piece[1] = 'U';
                piece[2] = '+';
                for (int d = 0; d < 4; ++d)
                    piece[3 + d] = kHex[(unit >> (12 - 4 * d)) & 0xF];
                size = 7;
            }
        }
        if (outLen - written < size)
            break;
        std::memcpy(out + written, piece, std::size_t(size));
        written += size;
        if (unit == 0)
            break;
    }
    return written;
}
