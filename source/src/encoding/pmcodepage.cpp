#include "PmCodePage.h"

bool PmCodePage::CharSetIsDoubleByte(int charset) {
    switch (charset) {
    case 128: // SHIFTJIS
    case 129: // HANGUL
    case 130: // JOHAB
    case 134: // GB2312
    case 136: // CHINESEBIG5
        return true;
    default:
        return false;
    }
}
