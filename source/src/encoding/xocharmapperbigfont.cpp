// XoCharMapper's big-font lookups (the class's third file).
#include "XoCharMapper.h"

#include <cwchar>
#include <map>
#include <string>

#include "XoCharOp.h"
#include "XoLocaleHelpers.h"
#include "XoLock.h"
#include "encoding/xocharmapperbigfont.h"

namespace {

struct BigFont {
    const wchar_t* name;
    int index; // -1 would send the name to the user list
};

constexpr BigFont kBigFonts[12] = {
    {L"@extfont2.shx", 1}, {L"bigfont.shx", 1}, {L"chineset.shx", 2}, {L"extfont.shx", 1},
    {L"extfont2.shx", 1},  {L"gbcbig.shx", 5},  {L"whgdtxt.shx", 3},  {L"whgtxt.shx", 3},
    {L"whtgtxt.shx", 3},   {L"whtmtxt.shx", 3}, {L"visiojp.shx", 1},  {L"visiotc.shx", 2},
};

enum Flavour { kWithLocaleFallback = 0, kWithoutLocaleFallback = 1 };

// One map for both flavours; each flavour reads the file into it once (so twice in
// all, as the lookups always did).
struct UserList {
    XoLocker lock;
    std::map<std::wstring, int> names;
    bool read[2] = {false, false};
};

UserList g_userList;

int userListIndex(const std::wstring& name, CReadUserDefBigfontIni* reader, Flavour flavour) {
    XoAutoLocker guard(&g_userList.lock);
    if (!g_userList.read[flavour] && reader != nullptr) {
        wchar_t path[1024] = {};
        if (reader->find(path, 1024, L"BIGFONT.INI")) {
            reader->read(path, g_userList.names);
            g_userList.read[flavour] = true;
        }
    }
    for (const auto& entry : g_userList.names)
        if (XoCharOp::compareNoCase(entry.first.c_str(), name.c_str()) == 0)
            return entry.second;
    if (flavour == kWithoutLocaleFallback)
        return 0;
    const std::uint32_t lcid = systemDefaultLcid();
    return isDoubleByteLcid(std::uint16_t(lcid)) ? getAsianIndexByLcid(short(lcid)) : 0;
}

int bigFontIndex(const std::wstring& name, CReadUserDefBigfontIni* reader, Flavour flavour) {
    for (const BigFont& font : kBigFonts)
        if (XoCharOp::compareNoCase(font.name, name.c_str()) == 0) {
            if (font.index != -1)
                return font.index;
            break;
        }
    return userListIndex(name, reader, flavour);
}

code_page_id codePageOfIndex(int index) {
    switch (index) {
    case 1:
        return CODE_PAGE_JAPANESE;
    case 2:
        return CODE_PAGE_TRADITIONAL_CHINESE;
    case 3:
        return CODE_PAGE_KOREAN;
    case 4:
        return CODE_PAGE_JOHAB;
    case 5:
        return CODE_PAGE_SIMPLIFIED_CHINESE;
    default:
        return CODE_PAGE_UNDEFINED;
    }
}

std::wstring afterLastSlash(const wchar_t* fileName) {
    const wchar_t* slash = std::wcsrchr(fileName, L'/');
    return slash != nullptr ? slash + 1 : fileName;
}

std::wstring withShxExtension(std::wstring name) {
    if (name.find(L'.') == std::wstring::npos)
        name += L".shx";
    return name;
}

} // namespace

void xo::encoding::resetBigFontUserList() {
    XoAutoLocker guard(&g_userList.lock);
    g_userList.names.clear();
    g_userList.read[0] = g_userList.read[1] = false;
}

// --- Big-font code pages ---

code_page_id XoCharMapper::getCpByBigFont(const wchar_t* fileName, CReadUserDefBigfontIni* reader) {
    if (fileName == nullptr)
        return CODE_PAGE_UNDEFINED;
    return codePageOfIndex(
        bigFontIndex(withShxExtension(afterLastSlash(fileName)), reader, kWithLocaleFallback));
}

int XoCharMapper::getCpIndexByBigFont(const wchar_t* fileName, CReadUserDefBigfontIni* reader) {
    if (fileName == nullptr)
        return 0;
    return bigFontIndex(fileName, reader, kWithLocaleFallback);
}

code_page_id XoCharMapper::getCodepageByBigFont(const wchar_t* fileName,
                                                CReadUserDefBigfontIni* reader) {
    if (fileName == nullptr)
        return CODE_PAGE_UNDEFINED;
    return codePageOfIndex(
        bigFontIndex(withShxExtension(afterLastSlash(fileName)), reader, kWithoutLocaleFallback));
}

code_page_id XoCharMapper::getCpByBigFontExact(const wchar_t* fileName,
                                               CReadUserDefBigfontIni* reader) {
    if (fileName == nullptr)
        return CODE_PAGE_UNDEFINED;
    const std::wstring name = afterLastSlash(fileName);
    if (name.empty())
        return CODE_PAGE_UNDEFINED;
    return codePageOfIndex(bigFontIndex(name, reader, kWithoutLocaleFallback));
}
