#include "platform/codepage.h"

#include <mbctype.h>
#include <windows.h>

namespace xo::platform {

int multiByteToWideChar(unsigned codePage, unsigned flags, const char* src, int srcLen,
                        wchar_t* dst, int dstLen) {
    return ::MultiByteToWideChar(codePage, flags, src, srcLen, dst, dstLen);
}

int wideCharToMultiByte(unsigned codePage, unsigned flags, const wchar_t* src, int srcLen,
                        char* dst, int dstLen, const char* defaultChar, bool* usedDefault) {
    BOOL used = FALSE;
    const int n = ::WideCharToMultiByte(codePage, flags, src, srcLen, dst, dstLen, defaultChar,
                                        usedDefault ? &used : nullptr);
    if (usedDefault && n != 0)
        *usedDefault = used != FALSE;
    return n;
}

bool isDbcsLeadByte(unsigned codePage, unsigned char byte) {
    return ::IsDBCSLeadByteEx(codePage, byte) != FALSE;
}

bool isValidCodePage(unsigned codePage) {
    return ::IsValidCodePage(codePage) != FALSE;
}

unsigned systemAnsiCodePage() {
    return ::GetACP();
}

unsigned systemOemCodePage() {
    return ::GetOEMCP();
}

int multiByteCodePage() {
    return ::_getmbcp();
}

int setMultiByteCodePage(int codePage) {
    return ::_setmbcp(codePage);
}

std::uint32_t systemDefaultLcid() {
    return ::GetSystemDefaultLCID();
}

int localeAnsiCodePageQuery(std::uint32_t lcid) {
    return ::GetLocaleInfoW(lcid, LOCALE_IDEFAULTANSICODEPAGE, nullptr, 256);
}

bool translateCharsetInfoFromLocale(std::uint32_t lcid) {
    return ::TranslateCharsetInfo(reinterpret_cast<DWORD*>(static_cast<ULONG_PTR>(lcid)), nullptr,
                                  TCI_SRCLOCALE) != FALSE;
}

} // namespace xo::platform
