// XoCharCategory: the punctuation classes of UTF-16 units that text layout asks about
// (opening, closing, normal punctuation, quotation marks, and all of them). One
// read-only instance, built when the library is loaded; any thread may query it.
#pragma once

#include <vector>

#include "XoOsBaseExport.h"

class XOOSBASE_API XoCharCategory {
public:
    static const XoCharCategory* instance();

    XoCharCategory(const XoCharCategory& other);
    XoCharCategory& operator=(const XoCharCategory&) = delete;
    ~XoCharCategory();

    bool isLeftPunctuation(wchar_t ch) const;
    bool isRightPunctuation(wchar_t ch) const;
    bool isNormalPunctuation(wchar_t ch) const;
    bool isQuotationPunctuation(wchar_t ch) const;
    bool isPunctuation(wchar_t ch) const;

    static const XoCharCategory s_instance;

private:
    XoCharCategory();

    // Sorted; a unit may stand twice (the lists are kept as they were given).
    std::vector<unsigned short> m_left;
    std::vector<unsigned short> m_normal;
    std::vector<unsigned short> m_right;
    std::vector<unsigned short> m_quotation;
    std::vector<unsigned short> m_all;
};
