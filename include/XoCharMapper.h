// Conversions between the library's code pages, Windows character sets and UTF-16.
// Every member is static; the class is only a scope.
#pragma once

#include "XoCodePageMapper.h"
#include "XoOsBaseExport.h"

class XOOSBASE_API XoCharMapper {
public:
    // --- Windows character sets (the GDI values of a logical font) ---

    // 0 and 2 give CODE_PAGE_WIN_WESTERN; the sets with an ANSI code page give its
    // identifier; everything else, Johab (130) included, gives CODE_PAGE_UNDEFINED.
    static code_page_id getCodepageByCharset(unsigned short charset);

    // The reverse for the identifiers of the Windows ANSI code pages; every other
    // identifier, CODE_PAGE_JOHAB included, gives 1 (DEFAULT_CHARSET).
    static unsigned int getCharSetByCodepageId(code_page_id id);

    // --- Lead bytes ---

    // Whether the platform takes the byte as the lead byte of a double-byte character
    // in the identifier's code page; the second East Asian forms answer as their
    // ANSI twins, CODE_PAGE_SYSTEM_ANSI as the system ANSI code page.
    static bool isLeadByte(unsigned char byte, code_page_id id);
};
