// The reverse table of a code page: the first valid byte code that reads as each unit
// (single bytes first, then pairs in lead order), then the page's best-fit exceptions.
// Shared by the engine and by the generator that computes those exceptions.
#pragma once

#include "codepagedata.h"

namespace xo::codepages {

constexpr std::uint32_t kNoCode = 0xFFFFFFFFu;

// Fills out[65536] with the plain inversion; units no code reads as get kNoCode.
inline void invertForward(const PageData& page, std::uint32_t* out) {
    for (std::uint32_t u = 0; u < 0x10000; ++u)
        out[u] = kNoCode;
    for (unsigned b = 0; b < 256; ++b) {
        if (testBit(page.leadBits, b) || testBit(page.singleInvalid, b))
            continue;
        if (out[page.singles[b]] == kNoCode)
            out[page.singles[b]] = b;
    }
    unsigned row = 0;
    for (unsigned lead = 0; lead < 256; ++lead) {
        if (!testBit(page.leadBits, lead))
            continue;
        for (unsigned trail = 0; trail < 256; ++trail) {
            if (!testBit(page.trailBits, trail) ||
                testBit(page.pairInvalid + row * 32, trail))
                continue;
            const char16_t unit = page.pairs[row * 256 + trail];
            if (out[unit] == kNoCode)
                out[unit] = (lead << 8) | trail;
        }
        ++row;
    }
}

} // namespace xo::codepages
