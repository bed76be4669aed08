/// \file
/// Facts about Windows character sets. Every member is static.
#pragma once

#include "XoOsBaseExport.h"

/// Facts about the GDI character sets of logical fonts; only a scope for static members.
class XOOSBASE_API PmCodePage {
public:
    /// True for the East Asian sets SHIFTJIS (128), HANGUL (129), JOHAB (130),
    /// GB2312 (134) and CHINESEBIG5 (136). Any other value, negative ones included, is
    /// simply false: the call cannot fail.
    static bool CharSetIsDoubleByte(int charset);
};
