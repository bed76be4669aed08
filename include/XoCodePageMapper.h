/// \file
/// The library's own names for code pages, and their Windows code pages. Code pages
/// travel between modules as code_page_id; a Windows number appears only at the
/// platform call.
#pragma once

#include "XoOsBaseExport.h"

/// The library's names for code pages. The values are part of the interface; the
/// names say what each one holds.
enum code_page_id : int {
    CODE_PAGE_UNDEFINED = 0,
    CODE_PAGE_US_ASCII = 1,
    CODE_PAGE_ISO8859_1 = 2,
    CODE_PAGE_ISO8859_2 = 3,
    CODE_PAGE_ISO8859_3 = 4,
    CODE_PAGE_ISO8859_4 = 5,
    CODE_PAGE_ISO8859_5 = 6,
    CODE_PAGE_ISO8859_6 = 7, ///< its table entry is 28586, not 28596
    CODE_PAGE_ISO8859_7 = 8,
    CODE_PAGE_ISO8859_8 = 9,
    CODE_PAGE_ISO8859_9 = 10,
    CODE_PAGE_DOS_US = 11,
    CODE_PAGE_DOS_LATIN1 = 12,
    CODE_PAGE_DOS_LATIN2 = 13,
    CODE_PAGE_DOS_CYRILLIC = 14,
    CODE_PAGE_DOS_TURKISH = 15,
    CODE_PAGE_DOS_PORTUGUESE = 16,
    CODE_PAGE_DOS_ICELANDIC = 17,
    CODE_PAGE_DOS_CANADIAN_FRENCH = 18,
    CODE_PAGE_DOS_ARABIC = 19,
    CODE_PAGE_DOS_NORDIC = 20,
    CODE_PAGE_DOS_GREEK = 21,
    CODE_PAGE_JAPANESE_DOS = 22, ///< second form of CODE_PAGE_JAPANESE
    CODE_PAGE_MAC_ROMAN = 23,
    CODE_PAGE_TRADITIONAL_CHINESE_SECOND = 24, ///< twin CODE_PAGE_TRADITIONAL_CHINESE
    CODE_PAGE_KOREAN_SECOND = 25,              ///< twin CODE_PAGE_KOREAN
    CODE_PAGE_JOHAB_SECOND = 26,               ///< twin CODE_PAGE_JOHAB
    CODE_PAGE_DOS_RUSSIAN = 27,
    CODE_PAGE_WIN_CENTRAL_EUROPEAN = 28,
    CODE_PAGE_WIN_CYRILLIC = 29,
    CODE_PAGE_WIN_WESTERN = 30,
    CODE_PAGE_SIMPLIFIED_CHINESE_SECOND = 31, ///< twin CODE_PAGE_SIMPLIFIED_CHINESE
    CODE_PAGE_WIN_GREEK = 32,
    CODE_PAGE_WIN_TURKISH = 33,
    CODE_PAGE_WIN_HEBREW = 34,
    CODE_PAGE_WIN_ARABIC = 35,
    CODE_PAGE_WIN_BALTIC = 36,
    CODE_PAGE_WIN_THAI = 37,
    CODE_PAGE_JAPANESE = 38,            ///< Shift-JIS, 932
    CODE_PAGE_SIMPLIFIED_CHINESE = 39,  ///< GBK, 936
    CODE_PAGE_KOREAN = 40,              ///< 949
    CODE_PAGE_TRADITIONAL_CHINESE = 41, ///< Big5, 950
    CODE_PAGE_JOHAB = 42,               ///< 1361
    CODE_PAGE_NO_WINDOWS_CP = 43,
    CODE_PAGE_WIN_VIETNAMESE = 44,
    CODE_PAGE_UTF8 = 45,
    CODE_PAGE_SYSTEM_ANSI = 46 ///< whatever GetACP answers at the time
};

/// The mapping between code_page_id and Windows code pages; only a scope for static
/// members.
class XOOSBASE_API XoCodePageMapper {
public:
    /// The Windows code page of an identifier: the table entry, except 3 (the thread's
    /// ANSI code page, CP_THREAD_ACP) for identifiers that are negative or above 45, for
    /// the entries 0 (identifiers 0 and 43) and for US-ASCII. Cannot fail.
    static int veskCpToAnsiCp(code_page_id id);

    /// The highest identifier whose entry matches, so 932 gives CODE_PAGE_JAPANESE and
    /// 0 gives CODE_PAGE_NO_WINDOWS_CP; CODE_PAGE_UNDEFINED (0) when none does.
    static code_page_id ansiCpToVeskCp(int ansiCp);

    /// The system ANSI code page (GetACP), asked anew on every call; cannot fail.
    static int currentSystemAnsiCp();

    /// The Windows code page of each identifier 0 to 45 (46 has none); 0 where an
    /// identifier has none. Entry 7 is 28586, kept as it has always been, though no such
    /// code page exists. Other modules read it directly.
    static int arrAnsiVeskCpMapper[46];
};
