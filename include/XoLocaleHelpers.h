/// \file
/// Locale helpers: locale identifiers (LCID, 32 bits), language identifiers (LANGID,
/// the low 16 bits of an LCID), Windows character sets and ANSI code pages.
///
/// XoOsBase.dll exports these by ordinal only; the ordinal (in brackets) is their
/// interface and other modules bind to it by number. With this header and the import
/// library a client calls them by the names below and the linker binds the ordinals.
/// On Linux the shared library exports them by these names.
///
/// Character sets are the GDI values (0 ANSI, 1 DEFAULT, 128 SHIFTJIS, 129 HANGUL,
/// 130 JOHAB, 134 GB2312, 136 CHINESEBIG5, 161 GREEK, 162 TURKISH, 163 VIETNAMESE,
/// 177 HEBREW, 178 ARABIC, 186 BALTIC, 204 RUSSIAN, 222 THAI, 238 EASTEUROPE) plus the
/// library's own Indic sets: 256 Bengali, 257 Gurmukhi, 258 Gujarati, 259 Tamil,
/// 260 Telugu, 261 Kannada, 262 Malayalam, 263 Devanagari, 264 Oriya. The Asian index
/// 1 to 5 is the digit of the escapes: Japanese, Traditional Chinese, Korean, Johab,
/// Simplified Chinese; 0 is none.
#pragma once

#include <cstdint>

#include "XoOsBaseExport.h"

/// [1] The character set of a locale, from a fixed table of 160 locales; others fall
/// back to the set of the system ANSI code page (0 when that page has none). Cannot
/// fail.
XOOSBASE_ORDINAL_API unsigned int getCharSetByLcid(std::uint32_t lcid);
/// [2] Whether the language is Arabic or Hebrew (its primary language, the low ten
/// bits); false for every other value, and it cannot fail.
XOOSBASE_ORDINAL_API bool isRightToLeftLanguage(std::uint16_t langId);
/// [3] The Asian index of a language's character set; the argument is sign-extended.
/// 0 for a set that is not East Asian.
XOOSBASE_ORDINAL_API int getAsianIndexByLcid(short langId);
/// [4] The language (low 16 bits) of getLcidByCharSet's locale; an unknown set gives
/// the system default locale's. Cannot fail.
XOOSBASE_ORDINAL_API std::uint16_t getLangIdByCharSet(unsigned int charset);
/// [5] The language (low 16 bits) of the locale of getCharSetForChar's choice;
/// cannot fail.
XOOSBASE_ORDINAL_API std::uint16_t getLangIdForChar(wchar_t unit, std::uint16_t preferred,
                                                    std::uint16_t second);
/// [6] The character set of an Asian index: 1 SHIFTJIS, 2 CHINESEBIG5, 3 HANGUL,
/// 4 JOHAB, 5 GB2312; else 0.
XOOSBASE_ORDINAL_API unsigned int getCharSetByAsianIndex(int index);
/// [7] The locale of getCharSetByAsianIndex's set; an index outside 1 to 5 gives set
/// 0 and so 1033. Cannot fail.
XOOSBASE_ORDINAL_API std::uint32_t getLcidByAsianIndex(int index);
/// [11] Whether the language's character set is double-byte; false for every other
/// language, and it cannot fail.
XOOSBASE_ORDINAL_API bool isDoubleByteLcid(std::uint16_t langId);
/// [12] The typical locale of a character set; 239 to 255 stand for the system
/// default locale's set; unknown sets give the system default locale. Cannot fail.
XOOSBASE_ORDINAL_API std::uint32_t getLcidByCharSet(unsigned int charset);
/// [14] The script class of a UTF-16 unit (its low 16 bits), 0 to 28 (see
/// docs/localetables.md); every unit has one, so it cannot fail.
XOOSBASE_ORDINAL_API int getCharScriptClass(wchar_t unit);
/// [16] The ANSI code page of a character set; 0 when it has none.
XOOSBASE_ORDINAL_API unsigned int getAnsiCpByCharSet(unsigned int charset);
/// [17] Which character set to show a UTF-16 unit in: the preferred language's set when
/// it can, else the second language's, else the first that can; the preferred
/// language's set when the unit belongs to none. Cannot fail.
XOOSBASE_ORDINAL_API unsigned int getCharSetForChar(wchar_t unit, std::uint16_t preferred,
                                                    std::uint16_t second);
/// [18] The character set of an ANSI code page; 0 (ANSI_CHARSET) for 1252 and for a
/// page that has none.
XOOSBASE_ORDINAL_API unsigned int getCharSetByAnsiCp(unsigned int codePage);
/// [21] The system default locale, asked once and kept (asked again while the answer
/// is 0); cannot fail.
XOOSBASE_ORDINAL_API std::uint32_t systemDefaultLcid();
/// [22] 14: the number of ANSI code pages getAnsiCpAt lists. Cannot fail.
XOOSBASE_ORDINAL_API int getAnsiCpCount();
/// [23] The ANSI code page at an index; an index from 14 up gives the first (1252).
/// The index must not be negative: it is not checked, and reads outside the list.
XOOSBASE_ORDINAL_API unsigned int getAnsiCpAt(int index);
/// [24] The language of an ANSI code page's character set; a page without a set of
/// its own answers as 1252 does (set 0, language 1033). Cannot fail.
XOOSBASE_ORDINAL_API std::uint16_t getLangIdByAnsiCp(unsigned int codePage);
/// [26] The ANSI code page of a language's character set; 0 when the set has none.
XOOSBASE_ORDINAL_API unsigned int getAnsiCpByLcid(std::uint16_t langId);
/// [27] The ANSI code page of an Asian index; an index outside 1 to 5 gives set 0 and
/// so 1252. Cannot fail.
XOOSBASE_ORDINAL_API unsigned int getAnsiCpByAsianIndex(int index);
/// [29] The Asian index of an ANSI code page; 0 for a page that is not East Asian.
XOOSBASE_ORDINAL_API int getAsianIndexByAnsiCp(unsigned int codePage);
