// One character at a time through one code page, answering as multiByteToWideChar and
// wideCharToMultiByte do for that character: for conversions that walk text character
// by character (escapes, iterators). The page is resolved once, at construction; on
// POSIX the table lookups are inline.
#pragma once

#include <cstdint>

#if !defined(_WIN32)
#include "platform/codepages/pagestate.h"
#endif

namespace xo::platform {

class CharConverter {
public:
    // codePage as for multiByteToWideChar (CP_ACP and friends resolved here).
    explicit CharConverter(unsigned codePage);

    bool valid() const;

    // Reads the first character of src (srcLen > 0): one byte, or a lead byte and its
    // trail. Stores its unit and whether MB_ERR_INVALID_CHARS would refuse it, and
    // returns the bytes it took. A UTF-8 page gives its first unit only.
    int decodeOne(const char* src, int srcLen, char16_t* unit, bool* invalid) const;

    // Writes one unit (best fit allowed, the page's default character) into out (room
    // for 4 bytes) and returns the byte count; usedDefault may be null.
    int encodeOne(char16_t unit, char* out, bool* usedDefault) const;

private:
    unsigned codePage_;
#if !defined(_WIN32)
    const codepages::PageState* state_;
    int decodeOther(const char* src, int srcLen, char16_t* unit, bool* invalid) const;
    int encodeOther(char16_t unit, char* out, bool* usedDefault) const;
#endif
};

#if !defined(_WIN32)

inline bool CharConverter::valid() const {
    return state_ || codePage_ == 65001;
}

inline int CharConverter::decodeOne(const char* src, int srcLen, char16_t* unit,
                                    bool* invalid) const {
    if (!state_)
        return decodeOther(src, srcLen, unit, invalid);
    const codepages::PageData& page = *state_->data;
    const unsigned byte = std::uint8_t(src[0]);
    const int row = state_->leadRow[byte];
    if (row >= 0 && srcLen > 1 && codepages::testBit(page.trailBits, std::uint8_t(src[1]))) {
        const unsigned trail = std::uint8_t(src[1]);
        *invalid = codepages::testBit(page.pairInvalid + row * 32, trail);
        *unit = page.pairs[row * 256 + trail];
        return 2;
    }
    *invalid = row >= 0 || codepages::testBit(page.singleInvalid, byte);
    *unit = page.singles[byte];
    return 1;
}

inline int CharConverter::encodeOne(char16_t unit, char* out, bool* usedDefault) const {
    if (!state_)
        return encodeOther(unit, out, usedDefault);
    const unsigned code = state_->reverse[unit];
    if (usedDefault)
        *usedDefault = code == state_->data->defaultChar && unit != state_->defaultReadsAs;
    if (code < 256) {
        out[0] = char(code);
        return 1;
    }
    out[0] = char(code >> 8);
    out[1] = char(code);
    return 2;
}

#endif

} // namespace xo::platform
