// Facts about Windows character sets. Every member is static.
#pragma once

#include "XoOsBaseExport.h"

class XOOSBASE_API PmCodePage {
public:
    // True for the East Asian sets SHIFTJIS (128), HANGUL (129), JOHAB (130),
    // GB2312 (134) and CHINESEBIG5 (136).
    static bool CharSetIsDoubleByte(int charset);
};
