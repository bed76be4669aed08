#include "XoCharCategory.h"

#include <algorithm>

namespace {

const unsigned short kLeft[] = {0x0024, 0x0028, 0x002B, 0x005B, 0x007B, 0x00A3, 0x00A4, 0x00A5,
                                0x201A, 0x201E, 0x2039, 0x20AC, 0x2116, 0x3008, 0x300A, 0x3010,
                                0xFE35, 0xFE59, 0xFE5B, 0xFE5D, 0xFE69, 0xFF04, 0xFF08, 0xFF08,
                                0xFF3B, 0xFF5B, 0xFFE1, 0xFFE5, 0xFFE5};

const unsigned short kRight[] = {0x0029, 0x005D, 0x007D, 0x203A, 0x3009, 0x300B, 0x3011,
                                 0xFE5A, 0xFE5C, 0xFE5E, 0xFF09, 0xFF3D, 0xFF5D};

const unsigned short kNormal[] = {
    0x0021, 0x0025, 0x002C, 0x002D, 0x002E, 0x002F, 0x003A, 0x003B, 0x003F, 0x007C, 0x00A2, 0x00B0,
    0x00B0, 0x2010, 0x2013, 0x2014, 0x2025, 0x2026, 0x2030, 0x2032, 0x2033, 0x2035, 0x2103, 0x2109,
    0x3001, 0x3002, 0x3003, 0xFE50, 0xFE51, 0xFE52, 0xFE54, 0xFE55, 0xFE56, 0xFE57, 0xFE6A, 0xFF01,
    0xFF05, 0xFF09, 0xFF0C, 0xFF0E, 0xFF1A, 0xFF1B, 0xFF1F, 0xFFE0, 0xFFE0};

const unsigned short kQuotation[] = {0x0022, 0x0027, 0x00AB, 0x00BB, 0x2018,
                                     0x2019, 0x201C, 0x201D, 0x2039, 0x203A};

template <std::size_t N> std::vector<unsigned short> sorted(const unsigned short (&units)[N]) {
    std::vector<unsigned short> result(units, units + N);
    std::sort(result.begin(), result.end());
    return result;
}

bool contains(const std::vector<unsigned short>& units, wchar_t ch) {
    const auto unit = static_cast<unsigned short>(ch);
    const auto found = std::lower_bound(units.begin(), units.end(), unit);
    return found != units.end() && *found == unit;
}

} // namespace

// Built by the library's static initialisers, before any client can ask.
const XoCharCategory XoCharCategory::s_instance;

const XoCharCategory* XoCharCategory::instance() {
    return &s_instance;
}

XoCharCategory::XoCharCategory()
    : m_left(sorted(kLeft)), m_normal(), m_right(sorted(kRight)), m_quotation() {
    // Filled in the order left, right, normal, quotation; then all of them together.
    m_normal = sorted(kNormal);
    m_quotation = sorted(kQuotation);
    m_all.reserve(m_left.size() + m_right.size() + m_normal.size() + m_quotation.size());
    for (const auto* part : {&m_left, &m_right, &m_normal, &m_quotation})
        m_all.insert(m_all.end(), part->begin(), part->end());
    std::sort(m_all.begin(), m_all.end());
}

XoCharCategory::XoCharCategory(const XoCharCategory& other) = default;

XoCharCategory::~XoCharCategory() = default;

bool XoCharCategory::isLeftPunctuation(wchar_t ch) const {
    return contains(m_left, ch);
}
bool XoCharCategory::isRightPunctuation(wchar_t ch) const {
    return contains(m_right, ch);
}
bool XoCharCategory::isNormalPunctuation(wchar_t ch) const {
    return contains(m_normal, ch);
}
bool XoCharCategory::isQuotationPunctuation(wchar_t ch) const {
    return contains(m_quotation, ch);
}
bool XoCharCategory::isPunctuation(wchar_t ch) const {
    return contains(m_all, ch);
}
