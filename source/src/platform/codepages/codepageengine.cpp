#include "codepageengine.h"

#include <algorithm>
#include <cstring>

#include "codepagedata.h"
#include "pagestate.h"
#include "utf8conversion.h"

namespace xo::codepages {

namespace {

Outcome failed(std::uint32_t error) { return Outcome{0, error}; }

// Reads one character: a lead byte followed by a trail byte is a pair; anything else,
// a lead byte at the end included, reads alone.
inline char16_t readNext(const PageState& state, const unsigned char*& p, const unsigned char* end,
                         bool& invalid) {
    const PageData& page = *state.data;
    const unsigned byte = *p++;
    const int row = state.leadRow[byte];
    if (row >= 0 && p < end && testBit(page.trailBits, *p)) {
        const unsigned trail = *p++;
        invalid = testBit(page.pairInvalid + row * 32, trail);
        return page.pairs[row * 256 + trail];
    }
    invalid = row >= 0 || testBit(page.singleInvalid, byte);
    return page.singles[byte];
}

// With MB_ERR_INVALID_CHARS Windows rejects invalid input before it looks at the room.
bool tableInputValid(const PageState& state, const unsigned char* p, const unsigned char* end) {
    bool invalid = false;
    while (p < end && !invalid)
        readNext(state, p, end, invalid);
    return !invalid;
}

Outcome tableToWide(const PageState& state, unsigned flags, const unsigned char* p,
                    const unsigned char* end, wchar_t* dst, int dstLen) {
    if ((flags & kMbErrInvalidChars) && !tableInputValid(state, p, end))
        return failed(kErrorNoUnicodeTranslation);
    const char16_t* singles = state.data->singles;
    if (state.data->leadCount == 0) {
        const int count = int(end - p);
        if (dstLen == 0)
            return Outcome{count, 0};
        const int room = std::min(count, dstLen);
        for (int i = 0; i < room; ++i)
            dst[i] = wchar_t(singles[p[i]]);
        return count > dstLen ? failed(kErrorInsufficientBuffer) : Outcome{count, 0};
    }
    int count = 0;
    bool invalid = false;
    if (dstLen == 0) {
        while (p < end) {
            readNext(state, p, end, invalid);
            ++count;
        }
        return Outcome{count, 0};
    }
    // The common case: a page whose every byte but zero completes a lead byte.
    const PageData& page = *state.data;
    if (state.everyTrail) {
        const std::int16_t* leadRow = state.leadRow;
        while (end - p >= 2 && count < dstLen) {
            const unsigned byte = *p++;
            const int row = leadRow[byte];
            if (row >= 0 && *p != 0)
                dst[count++] = wchar_t(page.pairs[row * 256 + *p++]);
            else
                dst[count++] = wchar_t(singles[byte]);
        }
    }
    // No page has a lead byte below 0x80, and no byte yields more than one unit.
    const bool roomy = end - p <= dstLen - count;
    while (p < end) {
        if (!roomy && count == dstLen)
            return failed(kErrorInsufficientBuffer);
        if (*p < 0x80)
            dst[count++] = wchar_t(singles[*p++]);
        else
            dst[count++] = wchar_t(readNext(state, p, end, invalid));
    }
    return Outcome{count, 0};
}

// The bytes written for units the page cannot show: the page's default character, or
// the caller's (two bytes when it starts with a lead byte of the page).
struct Fallback {
    char bytes[2];
    int length;
};

Fallback fallbackOf(const PageState& state, const char* defaultChar) {
    const unsigned code = state.data->defaultChar;
    if (!defaultChar)
        return code < 256 ? Fallback{{char(code), 0}, 1} : Fallback{{char(code >> 8), char(code)}, 2};
    if (state.leadRow[std::uint8_t(defaultChar[0])] >= 0 && defaultChar[1] != 0)
        return Fallback{{defaultChar[0], defaultChar[1]}, 2};
    return Fallback{{defaultChar[0], 0}, 1};
}

// The common case: best fit allowed and the page's own default character, so every
// unit writes its reverse-table code as it stands.
Outcome wideToTablePlain(const PageState& state, const wchar_t* p, const wchar_t* end, char* dst,
                         int dstLen, bool* usedDefault) {
    const unsigned defaultCode = state.data->defaultChar;
    const char16_t defaultReadsAs = state.defaultReadsAs;
    const std::uint16_t* reverse = state.reverse.get();
    const bool singleByte = state.data->leadCount == 0;
    const bool roomy = dstLen != 0 && (end - p) * (singleByte ? 1 : 2) <= dstLen;
    bool used = false;
    int count = 0;
    if (!singleByte && dstLen != 0) {
        // Both bytes are written whatever the code's width, so that mixed text takes no
        // unpredictable branch; the second is overwritten when the code had one byte.
        for (; p < end && count + 2 <= dstLen; ++p) {
            const char16_t unit = char16_t(*p);
            const unsigned code = reverse[unit];
            used |= (code == defaultCode) & (unit != defaultReadsAs);
            const bool wide = code > 0xFF;
            dst[count] = char(wide ? code >> 8 : code);
            dst[count + 1] = char(code);
            count += wide ? 2 : 1;
        }
    }
    for (; p < end; ++p) {
        const char16_t unit = char16_t(*p);
        const unsigned code = reverse[unit];
        used |= (code == defaultCode) & (unit != defaultReadsAs);
        const int length = code < 256 ? 1 : 2;
        if (!roomy) {
            if (dstLen == 0) {
                count += length;
                continue;
            }
            if (count + length > dstLen)
                return failed(kErrorInsufficientBuffer);
        }
        if (length == 1) {
            dst[count++] = char(code);
        } else {
            dst[count++] = char(code >> 8);
            dst[count++] = char(code);
        }
    }
    if (usedDefault)
        *usedDefault = used;
    return Outcome{count, 0};
}

Outcome wideToTable(const PageState& state, unsigned flags, const wchar_t* p, const wchar_t* end,
                    char* dst, int dstLen, const char* defaultChar, bool* usedDefault) {
    if (!defaultChar && !(flags & kWcNoBestFitChars))
        return wideToTablePlain(state, p, end, dst, dstLen, usedDefault);
    const unsigned defaultCode = state.data->defaultChar;
    const Fallback fallback = fallbackOf(state, defaultChar);
    const bool noBestFit = flags & kWcNoBestFitChars;
    const std::uint16_t* reverse = state.reverse.get();
    bool used = false;
    int count = 0;
    for (; p < end; ++p) {
        const char16_t unit = char16_t(*p);
        unsigned code = reverse[unit];
        if (noBestFit && state.decode(code) != unit)
            code = defaultCode;
        char pair[2];
        const char* bytes = pair;
        int length;
        if (code == defaultCode && unit != state.defaultReadsAs) {
            used = true;
            bytes = fallback.bytes;
            length = fallback.length;
        } else if (code < 256) {
            pair[0] = char(code);
            length = 1;
        } else {
            pair[0] = char(code >> 8);
            pair[1] = char(code);
            length = 2;
        }
        if (dstLen != 0) {
            if (count + length > dstLen)
                return failed(kErrorInsufficientBuffer);
            dst[count] = bytes[0];
            if (length == 2)
                dst[count + 1] = bytes[1];
        }
        count += length;
    }
    if (usedDefault)
        *usedDefault = used;
    return Outcome{count, 0};
}

int lengthOf(const char* s) { return int(std::strlen(s)) + 1; }

int lengthOf(const wchar_t* s) {
    int n = 0;
    while (s[n] != 0)
        ++n;
    return n + 1;
}

} // namespace

bool isValidCodePage(unsigned codePage) { return codePage == kUtf8 || findPage(codePage); }

bool isLeadByte(unsigned codePage, unsigned char byte) {
    const PageData* page = findPage(codePage);
    return page && testBit(page->leadBits, byte);
}

Outcome multiByteToWideChar(unsigned codePage, unsigned flags, const char* src, int srcLen,
                            wchar_t* dst, int dstLen) {
    if (!src || srcLen == 0 || dstLen < 0 || (dstLen && !dst))
        return failed(kErrorInvalidParameter);
    if (flags & ~(kMbPrecomposed | kMbErrInvalidChars))
        return failed(kErrorInvalidFlags);
    if (srcLen < 0) // any negative length, as Windows takes it
        srcLen = lengthOf(src);
    const auto* p = reinterpret_cast<const unsigned char*>(src);
    if (codePage == kUtf8) {
        if (flags & kMbErrInvalidChars) {
            const Outcome check = utf8ToWide(flags, p, p + srcLen, nullptr, 0);
            if (check.count == 0)
                return check;
        }
        return utf8ToWide(flags, p, p + srcLen, dst, dstLen);
    }
    const PageState* state = pageState(codePage);
    if (!state)
        return failed(kErrorInvalidParameter);
    return tableToWide(*state, flags, p, p + srcLen, dst, dstLen);
}

Outcome wideCharToMultiByte(unsigned codePage, unsigned flags, const wchar_t* src, int srcLen,
                            char* dst, int dstLen, const char* defaultChar, bool* usedDefault) {
    if (!src || srcLen == 0 || dstLen < 0 || (dstLen && !dst))
        return failed(kErrorInvalidParameter);
    if (srcLen < 0)
        srcLen = lengthOf(src);
    if (codePage == kUtf8) {
        if (defaultChar || usedDefault)
            return failed(kErrorInvalidParameter);
        if (flags & ~kWcErrInvalidChars)
            return failed(kErrorInvalidFlags);
        if (flags & kWcErrInvalidChars) {
            const Outcome check = wideToUtf8(flags, src, src + srcLen, nullptr, 0);
            if (check.count == 0)
                return check;
        }
        return wideToUtf8(flags, src, src + srcLen, dst, dstLen);
    }
    if (flags & ~kWcNoBestFitChars)
        return failed(kErrorInvalidFlags);
    const PageState* state = pageState(codePage);
    if (!state)
        return failed(kErrorInvalidParameter);
    return wideToTable(*state, flags, src, src + srcLen, dst, dstLen, defaultChar, usedDefault);
}

} // namespace xo::codepages
