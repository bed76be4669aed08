// What a table-driven page needs at run time beyond its read-only tables: the row of
// each lead byte and the reverse table, derived once on first use and then shared.
#pragma once

#include <cstdint>
#include <memory>

#include "codepagedata.h"

namespace xo::codepages {

struct PageState {
    const PageData* data = nullptr;
    std::int16_t leadRow[256] = {}; // -1 for a byte that is not a lead byte
    std::unique_ptr<std::uint16_t[]> reverse; // 65536 codes: the answer with best fit
    char16_t defaultReadsAs = 0; // the unit the page's default character reads as
    bool everyTrail = false;     // every byte but zero completes a lead byte

    char16_t decode(unsigned code) const {
        if (code < 256)
            return data->singles[code];
        const int row = leadRow[code >> 8];
        return row < 0 ? data->defaultUnicode : data->pairs[row * 256 + (code & 0xFF)];
    }
};

// The state of a table-driven page, or null for UTF-8 and unknown pages.
const PageState* pageState(unsigned codePage);

} // namespace xo::codepages
