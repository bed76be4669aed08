#include "runtime/xowidectype.h"

#include <algorithm>
#include <iterator>

namespace xo::widectype {

namespace {

struct WideRange {
    unsigned int first;
    unsigned int last;
};

#include "runtime/xowidectype.inc"

template <std::size_t N> bool inRanges(const WideRange (&ranges)[N], unsigned int unit) {
    const WideRange* range =
        std::upper_bound(std::begin(ranges), std::end(ranges), unit,
                         [](unsigned int u, const WideRange& r) { return u < r.first; });
    return range != std::begin(ranges) && unit <= range[-1].last;
}

} // namespace

bool isLower(unsigned int unit) {
    return inRanges(kLower, unit);
}
bool isSpace(unsigned int unit) {
    return inRanges(kSpace, unit);
}
bool isDigit(unsigned int unit) {
    return inRanges(kDigit, unit);
}

unsigned int toUpper(unsigned int unit) {
    return unit >= 'a' && unit <= 'z' ? unit - 32 : unit;
}
unsigned int toLower(unsigned int unit) {
    return unit >= 'A' && unit <= 'Z' ? unit + 32 : unit;
}

} // namespace xo::widectype
