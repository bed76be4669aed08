// Conversions between code pages and UTF-16 that answer exactly as the Windows
// functions do (MultiByteToWideChar, WideCharToMultiByte, IsDBCSLeadByteEx,
// IsValidCodePage), for the pages of the generated tables and for UTF-8. The POSIX
// platform layer runs on it; the Windows test build compiles it to compare the two.
#pragma once

#include <cstdint>

#include "platform/error.h"

namespace xo::codepages {

constexpr unsigned kUtf8 = 65001;

// Windows flag values.
constexpr unsigned kMbPrecomposed = 0x1;
constexpr unsigned kMbErrInvalidChars = 0x8;
constexpr unsigned kWcErrInvalidChars = 0x80;
constexpr unsigned kWcNoBestFitChars = 0x400;

using platform::kErrorInsufficientBuffer;
using platform::kErrorInvalidFlags;
using platform::kErrorInvalidParameter;
using platform::kErrorNoUnicodeTranslation;

// A count of units or bytes, or 0 with the Windows error number of the failure.
struct Outcome {
    int count;
    std::uint32_t error;
};

bool isValidCodePage(unsigned codePage);
bool isLeadByte(unsigned codePage, unsigned char byte);

// codePage is a real page number (the callers resolve CP_ACP and friends). A srcLen of
// -1 includes the terminating zero; a dstLen of 0 asks for the length only. Flags
// other than MB_PRECOMPOSED and MB_ERR_INVALID_CHARS are refused with 1004.
Outcome multiByteToWideChar(unsigned codePage, unsigned flags, const char* src, int srcLen,
                            wchar_t* dst, int dstLen);

// Flags other than WC_NO_BEST_FIT_CHARS (table pages) or WC_ERR_INVALID_CHARS (UTF-8)
// are refused with 1004. defaultChar replaces the page's default character when given.
Outcome wideCharToMultiByte(unsigned codePage, unsigned flags, const wchar_t* src, int srcLen,
                            char* dst, int dstLen, const char* defaultChar, bool* usedDefault);

} // namespace xo::codepages
