#include "XoCharMapper.h"

#include "platform/codepage.h"

// --- Windows character sets ---

code_page_id XoCharMapper::getCodepageByCharset(unsigned short charset) {
    switch (charset) {
    case 0: // ANSI
    case 2: // SYMBOL
        return CODE_PAGE_WIN_WESTERN;
    case 128:
        return CODE_PAGE_JAPANESE;
    case 129:
        return CODE_PAGE_KOREAN;
    case 134:
        return CODE_PAGE_SIMPLIFIED_CHINESE;
    case 136:
        return CODE_PAGE_TRADITIONAL_CHINESE;
    case 161:
        return CODE_PAGE_WIN_GREEK;
    case 162:
        return CODE_PAGE_WIN_TURKISH;
    case 163:
        return CODE_PAGE_WIN_VIETNAMESE;
    case 177:
        return CODE_PAGE_WIN_HEBREW;
    case 178:
        return CODE_PAGE_WIN_ARABIC;
    case 186:
        return CODE_PAGE_WIN_BALTIC;
    case 204:
        return CODE_PAGE_WIN_CYRILLIC;
    case 222:
        return CODE_PAGE_WIN_THAI;
    case 238:
        return CODE_PAGE_WIN_CENTRAL_EUROPEAN;
    default:
        return CODE_PAGE_UNDEFINED; // Johab (130) too: neither direction knows it
    }
}

unsigned int XoCharMapper::getCharSetByCodepageId(code_page_id id) {
    switch (id) {
    case CODE_PAGE_WIN_CENTRAL_EUROPEAN:
        return 238;
    case CODE_PAGE_WIN_CYRILLIC:
        return 204;
    case CODE_PAGE_WIN_WESTERN:
        return 0;
    case CODE_PAGE_WIN_GREEK:
        return 161;
    case CODE_PAGE_WIN_TURKISH:
        return 162;
    case CODE_PAGE_WIN_HEBREW:
        return 177;
    case CODE_PAGE_WIN_ARABIC:
        return 178;
    case CODE_PAGE_WIN_BALTIC:
        return 186;
    case CODE_PAGE_WIN_THAI:
        return 222;
    case CODE_PAGE_JAPANESE:
        return 128;
    case CODE_PAGE_SIMPLIFIED_CHINESE:
        return 134;
    case CODE_PAGE_KOREAN:
        return 129;
    case CODE_PAGE_TRADITIONAL_CHINESE:
        return 136;
    case CODE_PAGE_WIN_VIETNAMESE:
        return 163;
    default:
        return 1; // DEFAULT_CHARSET
    }
}

// --- Lead bytes ---

bool XoCharMapper::isLeadByte(unsigned char byte, code_page_id id) {
    switch (id) {
    case CODE_PAGE_JAPANESE_DOS:
        id = CODE_PAGE_JAPANESE;
        break;
    case CODE_PAGE_TRADITIONAL_CHINESE_SECOND:
        id = CODE_PAGE_TRADITIONAL_CHINESE;
        break;
    case CODE_PAGE_KOREAN_SECOND:
        id = CODE_PAGE_KOREAN;
        break;
    case CODE_PAGE_JOHAB_SECOND:
        id = CODE_PAGE_JOHAB;
        break;
    case CODE_PAGE_SIMPLIFIED_CHINESE_SECOND:
        id = CODE_PAGE_SIMPLIFIED_CHINESE;
        break;
    case CODE_PAGE_SYSTEM_ANSI:
        return xo::platform::isDbcsLeadByte(xo::platform::systemAnsiCodePage(), byte);
    default:
        break;
    }
    return xo::platform::isDbcsLeadByte(unsigned(XoCodePageMapper::veskCpToAnsiCp(id)), byte);
}
