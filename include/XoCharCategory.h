/// \file
/// XoCharCategory: the punctuation classes of UTF-16 units that text layout asks about
/// (opening, closing, normal punctuation, quotation marks, and all of them). One
/// read-only instance, built when the library is loaded; any thread may query it.
#pragma once

#include <vector>

#include "XoOsBaseExport.h"

/// The punctuation classes of UTF-16 units. Every query looks at the low 16 bits of its
/// argument and answers false for a unit outside the class: none of them can fail.
class XOOSBASE_API XoCharCategory {
public:
    /// The one instance (s_instance), never null.
    static const XoCharCategory* instance();

    /// Copies the class lists; throws std::bad_alloc when they cannot be allocated.
    XoCharCategory(const XoCharCategory& other);
    XoCharCategory& operator=(const XoCharCategory&) = delete;
    /// Frees the class lists; cannot fail.
    ~XoCharCategory();

    /// Whether the unit opens something: opening brackets, currency signs and the like.
    bool isLeftPunctuation(wchar_t ch) const;
    /// Whether the unit closes something: closing brackets and the like.
    bool isRightPunctuation(wchar_t ch) const;
    /// Whether the unit is punctuation that neither opens nor closes.
    bool isNormalPunctuation(wchar_t ch) const;
    /// Whether the unit is a quotation mark.
    bool isQuotationPunctuation(wchar_t ch) const;
    /// Whether the unit is in any of the four classes.
    bool isPunctuation(wchar_t ch) const;

    /// The one instance, built by the library's static initialisers before any client
    /// can ask.
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
