// Locale helpers: locale identifiers (LCID, 32 bits), language identifiers (LANGID,
// the low 16 bits of an LCID), Windows character sets and ANSI code pages.
//
// XoOsBase.dll exports these by ordinal only; the ordinal (in brackets) is their
// interface and other modules bind to it by number. With this header and the import
// library a client calls them by the names below and the linker binds the ordinals.
// On Linux the shared library exports them by these names.
//
// Character sets are the GDI values (0 ANSI, 1 DEFAULT, 128 SHIFTJIS, 129 HANGUL,
// 130 JOHAB, 134 GB2312, 136 CHINESEBIG5, 161 GREEK, 162 TURKISH, 163 VIETNAMESE,
// 177 HEBREW, 178 ARABIC, 186 BALTIC, 204 RUSSIAN, 222 THAI, 238 EASTEUROPE) plus the
// library's own Indic sets: 256 Bengali, 257 Gurmukhi, 258 Gujarati, 259 Tamil,
// 260 Telugu, 261 Kannada, 262 Malayalam, 263 Devanagari, 264 Oriya. The Asian index
// 1 to 5 is the digit of the escapes: Japanese, Traditional Chinese, Korean, Johab,
// Simplified Chinese; 0 is none.
#pragma once

#include <cstdint>

#include "XoOsBaseExport.h"

// [1] The character set of a locale, from a fixed table of 160 locales; others fall
// back to the set of the system ANSI code page.
XOOSBASE_ORDINAL_API unsigned int getCharSetByLcid(std::uint32_t lcid);
// [2] Arabic or Hebrew.
XOOSBASE_ORDINAL_API bool isRightToLeftLanguage(std::uint16_t langId);
// [3] The Asian index of a language's character set; the argument is sign-extended.
XOOSBASE_ORDINAL_API int getAsianIndexByLcid(short langId);
// [4] The language of getLcidByCharSet.
XOOSBASE_ORDINAL_API std::uint16_t getLangIdByCharSet(unsigned int charset);
// [5] The language of getCharSetForChar's choice.
XOOSBASE_ORDINAL_API std::uint16_t getLangIdForChar(wchar_t unit, std::uint16_t preferred,
                                                    std::uint16_t second);
// [6] 1 SHIFTJIS, 2 CHINESEBIG5, 3 HANGUL, 4 JOHAB, 5 GB2312; else 0.
XOOSBASE_ORDINAL_API unsigned int getCharSetByAsianIndex(int index);
// [7] The locale of getCharSetByAsianIndex's set.
XOOSBASE_ORDINAL_API std::uint32_t getLcidByAsianIndex(int index);
// [11] Whether the language's character set is double-byte.
XOOSBASE_ORDINAL_API bool isDoubleByteLcid(std::uint16_t langId);
// [12] The typical locale of a character set; 239 to 255 stand for the system
// default locale's set; unknown sets give the system default locale.
XOOSBASE_ORDINAL_API std::uint32_t getLcidByCharSet(unsigned int charset);
// [14] The script class of a UTF-16 unit, 0 to 28 (see docs/localetables.md).
XOOSBASE_ORDINAL_API int getCharScriptClass(wchar_t unit);
// [16] The ANSI code page of a character set; 0 when it has none.
XOOSBASE_ORDINAL_API unsigned int getAnsiCpByCharSet(unsigned int charset);
// [17] Which character set to show a UTF-16 unit in: the preferred language's set when
// it can, else the second language's, else the first that can.
XOOSBASE_ORDINAL_API unsigned int getCharSetForChar(wchar_t unit, std::uint16_t preferred,
                                                    std::uint16_t second);
// [18] The character set of an ANSI code page; 0 when none.
XOOSBASE_ORDINAL_API unsigned int getCharSetByAnsiCp(unsigned int codePage);
// [21] The system default locale, asked once and kept.
XOOSBASE_ORDINAL_API std::uint32_t systemDefaultLcid();
// [22] 14: the number of ANSI code pages getAnsiCpAt lists.
XOOSBASE_ORDINAL_API int getAnsiCpCount();
// [23] The ANSI code page at an index; an index from 14 up gives the first (1252).
// The index must not be negative.
XOOSBASE_ORDINAL_API unsigned int getAnsiCpAt(int index);
// [24] The language of an ANSI code page's character set.
XOOSBASE_ORDINAL_API std::uint16_t getLangIdByAnsiCp(unsigned int codePage);
// [26] The ANSI code page of a language's character set.
XOOSBASE_ORDINAL_API unsigned int getAnsiCpByLcid(std::uint16_t langId);
// [27] The ANSI code page of an Asian index.
XOOSBASE_ORDINAL_API unsigned int getAnsiCpByAsianIndex(int index);
// [29] The Asian index of an ANSI code page.
XOOSBASE_ORDINAL_API int getAsianIndexByAnsiCp(unsigned int codePage);
