#include "XoCodePageFunctions.h"

bool IsMultiByteCodePage(code_page_id id) {
    switch (id) {
    case CODE_PAGE_JAPANESE_DOS:
    case CODE_PAGE_TRADITIONAL_CHINESE_SECOND:
    case CODE_PAGE_KOREAN_SECOND:
    case CODE_PAGE_JOHAB_SECOND:
    case CODE_PAGE_SIMPLIFIED_CHINESE_SECOND:
    case CODE_PAGE_JAPANESE:
    case CODE_PAGE_SIMPLIFIED_CHINESE:
    case CODE_PAGE_KOREAN:
    case CODE_PAGE_TRADITIONAL_CHINESE:
    case CODE_PAGE_JOHAB:
        return true;
    default:
        return false;
    }
}

bool isAsianCodepage(code_page_id id) {
    return IsMultiByteCodePage(id);
}

code_page_id mapCodepage(short digit) {
    switch (static_cast<signed char>(digit & 0xFF)) {
    case '0':
        return XoCodePageMapper::ansiCpToVeskCp(XoCodePageMapper::currentSystemAnsiCp());
    case '1':
        return CODE_PAGE_JAPANESE;
    case '2':
        return CODE_PAGE_TRADITIONAL_CHINESE;
    case '3':
        return CODE_PAGE_KOREAN;
    case '4':
        return CODE_PAGE_JOHAB;
    case '5':
        return CODE_PAGE_SIMPLIFIED_CHINESE;
    default:
        return CODE_PAGE_UNDEFINED;
    }
}

short reMapCodepage(code_page_id id) {
    switch (id) {
    case CODE_PAGE_JAPANESE_DOS:
    case CODE_PAGE_JAPANESE:
        return '1';
    case CODE_PAGE_TRADITIONAL_CHINESE_SECOND:
    case CODE_PAGE_TRADITIONAL_CHINESE:
        return '2';
    case CODE_PAGE_KOREAN_SECOND:
    case CODE_PAGE_KOREAN:
        return '3';
    case CODE_PAGE_JOHAB_SECOND:
    case CODE_PAGE_JOHAB:
        return '4';
    case CODE_PAGE_SIMPLIFIED_CHINESE_SECOND:
    case CODE_PAGE_SIMPLIFIED_CHINESE:
        return '5';
    default:
        return '0';
    }
}
