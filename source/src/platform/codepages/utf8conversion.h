// UTF-8 as Windows converts it (code page 65001).
#pragma once

#include "codepageengine.h"

namespace xo::codepages {

// dstLen 0 counts only. Flags are checked by the caller.
Outcome utf8ToWide(unsigned flags, const unsigned char* p, const unsigned char* end, wchar_t* dst, int dstLen);
Outcome wideToUtf8(unsigned flags, const wchar_t* p, const wchar_t* end, char* dst, int dstLen);

} // namespace xo::codepages
