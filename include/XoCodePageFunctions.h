/// \file
/// The double-byte code pages and the one-digit codes by which escapes name the five
/// East Asian code pages: "1" Japanese, "2" Traditional Chinese, "3" Korean, "4" Johab,
/// "5" Simplified Chinese, "0" the system ANSI code page.
#pragma once

#include "XoCodePageMapper.h"
#include "XoOsBaseExport.h"

/// True for the ten East Asian identifiers, both forms of each (22, 24, 25, 26, 31,
/// 38 to 42); UTF-8 is not among them. Every other value is false: the call cannot fail.
XOOSBASE_API bool IsMultiByteCodePage(code_page_id id);
/// The same question as IsMultiByteCodePage under the other name clients use; false for
/// every identifier that is not East Asian, and it cannot fail.
XOOSBASE_API bool isAsianCodepage(code_page_id id);

/// The identifier that a digit names; only the low byte of the argument counts, as a
/// signed character. "0" gives the identifier of the system ANSI code page
/// (CODE_PAGE_UNDEFINED when the table has no identifier for it), anything but "0" to
/// "5" CODE_PAGE_UNDEFINED.
XOOSBASE_API code_page_id mapCodepage(short digit);

/// The digit (48 to 53) of an East Asian identifier in either form; "0" (48) for the
/// rest, which is also the answer for an identifier that names nothing.
XOOSBASE_API short reMapCodepage(code_page_id id);
