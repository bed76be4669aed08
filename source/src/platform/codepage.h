// Code pages and locales as Windows answers them: the real calls on Windows, the
// table-driven engine (platform/codepages/) and the process locale on POSIX.
// Failures return 0 and leave a Win32 error number in threadLastError().
#pragma once

#include <cstdint>

#include "platform/error.h"

namespace xo::platform {

// Code-page numbers with a meaning of their own, as in Windows.
constexpr unsigned kCpAcp = 0;       // the system ANSI code page
constexpr unsigned kCpOemCp = 1;     // the system OEM code page
constexpr unsigned kCpMacCp = 2;     // the Macintosh code page (10000)
constexpr unsigned kCpThreadAcp = 3; // the thread's ANSI code page (the system's here)
constexpr unsigned kCpUtf8 = 65001;

constexpr unsigned kMbErrInvalidChars = 0x8;
constexpr unsigned kWcErrInvalidChars = 0x80;
constexpr unsigned kWcNoBestFitChars = 0x400;

int multiByteToWideChar(unsigned codePage, unsigned flags, const char* src, int srcLen,
                        wchar_t* dst, int dstLen);

// defaultChar may be null (the page's own); usedDefault may be null.
int wideCharToMultiByte(unsigned codePage, unsigned flags, const wchar_t* src, int srcLen,
                        char* dst, int dstLen, const char* defaultChar, bool* usedDefault);

bool isDbcsLeadByte(unsigned codePage, unsigned char byte); // IsDBCSLeadByteEx
bool isValidCodePage(unsigned codePage);

unsigned systemAnsiCodePage(); // GetACP
unsigned systemOemCodePage();  // GetOEMCP

// The C runtime's multibyte code page (_getmbcp/_setmbcp): the page the multibyte
// string walks follow. It starts as the system ANSI code page. setMultiByteCodePage
// takes a page or 0 (single-byte: 20127), -2 (OEM), -3 (ANSI), -4 (locale's: 20127
// in the C locale) and returns 0, or -1 leaving it unchanged for an invalid page.
int multiByteCodePage();
int setMultiByteCodePage(int codePage);

std::uint32_t systemDefaultLcid(); // GetSystemDefaultLCID

// GetLocaleInfoW(lcid, LOCALE_IDEFAULTANSICODEPAGE, nullptr, 256): what Windows
// returns for a query without a buffer.
int localeAnsiCodePageQuery(std::uint32_t lcid);

// TranslateCharsetInfo(lcid, nullptr, TCI_SRCLOCALE): whether it succeeds without an
// output structure.
bool translateCharsetInfoFromLocale(std::uint32_t lcid);

} // namespace xo::platform
