// Tables that reproduce the Windows conversions of one code page. They are generated
// by tools/cpgen from the Windows functions themselves (see docs/codepages.md) and
// sit in read-only data; the reverse table is derived on first use.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xo::codepages {

struct PageData {
    std::uint16_t codePage;
    std::uint16_t defaultChar;      // the byte code Windows writes for an unmappable unit
    char16_t defaultUnicode;        // the unit Windows reads for an unmappable byte code
    std::uint16_t leadCount;
    const std::uint8_t* leadBits;   // 32 bytes: bit b set when byte b is a lead byte
    const std::uint8_t* trailBits;  // 32 bytes: bytes that complete a lead byte
    const char16_t* singles;        // 256 units; a lead byte alone reads as its entry
    const std::uint8_t* singleInvalid; // 32 bytes: rejected under MB_ERR_INVALID_CHARS
    const char16_t* pairs;          // leadCount rows of 256 units, leads ascending
    const std::uint8_t* pairInvalid;   // leadCount rows of 32 bytes
    const std::uint16_t* bestFit;   // (unit, code) pairs where the reverse table differs
    std::size_t bestFitCount;       //   from the plain inversion of the forward tables
};

inline bool testBit(const std::uint8_t* bits, unsigned index) {
    return (bits[index >> 3] >> (index & 7)) & 1;
}

// The position of a table-driven page among allPages, or -1 (UTF-8 and unknown pages).
int pageIndex(unsigned codePage);

// The data of a table-driven code page, or null.
const PageData* findPage(unsigned codePage);

// Every table-driven page, for tests and tools.
const PageData* const* allPages(std::size_t* count);

} // namespace xo::codepages
