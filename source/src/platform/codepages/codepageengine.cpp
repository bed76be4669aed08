#include "codepageengine.h"

#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

#include "codepagedata.h"
#include "codepageinverse.h"

namespace xo::codepages {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

// What a page needs at run time beyond its read-only tables: the row of each lead byte,
// and the reverse table, both derived on first use of the page.
struct PageState {
    const PageData* data = nullptr;
    std::once_flag once;
    std::int16_t leadRow[256] = {};
    std::unique_ptr<std::uint16_t[]> reverse;
};

void derive(PageState& state) {
    const PageData& page = *state.data;
    std::int16_t row = 0;
    for (unsigned b = 0; b < 256; ++b)
        state.leadRow[b] = testBit(page.leadBits, b) ? row++ : std::int16_t(-1);
    std::vector<std::uint32_t> plain(0x10000);
    invertForward(page, plain.data());
    state.reverse.reset(new std::uint16_t[0x10000]);
    for (unsigned u = 0; u < 0x10000; ++u)
        state.reverse[u] = std::uint16_t(plain[u] == kNoCode ? page.defaultChar : plain[u]);
    for (std::size_t i = 0; i < page.bestFitCount; ++i)
        state.reverse[page.bestFit[2 * i]] = page.bestFit[2 * i + 1];
}

PageState* stateOf(unsigned codePage) {
    static PageState* states = [] {
        std::size_t count = 0;
        const PageData* const* pages = allPages(&count);
        auto* all = new PageState[count]; // lives as long as the process
        for (std::size_t i = 0; i < count; ++i)
            all[i].data = pages[i];
        return all;
    }();
    const int index = pageIndex(codePage);
    if (index < 0)
        return nullptr;
    PageState& state = states[index];
    std::call_once(state.once, derive, state);
    return &state;
}

// Appends units to the caller's buffer, or only counts them when it has no room asked.
class WideSink {
public:
    WideSink(wchar_t* dst, int capacity) : dst_(dst), capacity_(capacity) {}
    bool put(char16_t unit) {
        if (capacity_ != 0) {
            if (count_ >= capacity_)
                return false;
            dst_[count_] = wchar_t(unit);
        }
        ++count_;
        return true;
    }
    int count() const { return count_; }

private:
    wchar_t* dst_;
    int capacity_;
    int count_ = 0;
};

class ByteSink {
public:
    ByteSink(char* dst, int capacity) : dst_(dst), capacity_(capacity) {}
    bool put(const char* bytes, int n) {
        if (capacity_ != 0) {
            if (count_ + n > capacity_)
                return false;
            std::memcpy(dst_ + count_, bytes, std::size_t(n));
        }
        count_ += n;
        return true;
    }
    int count() const { return count_; }

private:
    char* dst_;
    int capacity_;
    int count_ = 0;
};

Outcome failed(std::uint32_t error) { return Outcome{0, error}; }

// Decodes one UTF-8 character after its first byte. An ill-formed sequence yields
// U+FFFD and consumes the bytes that were checked up to the fault, as Windows does; a
// sequence cut off by the end of the input consumes the rest of the input.
std::uint32_t decodeUtf8(const unsigned char*& p, const unsigned char* end, bool& invalid) {
    const unsigned lead = *p++;
    if (lead < 0x80)
        return lead;
    const unsigned length = lead >= 0xC2 && lead <= 0xDF   ? 1
                            : lead >= 0xE0 && lead <= 0xEF ? 2
                            : lead >= 0xF0 && lead <= 0xF4 ? 3
                                                           : 0;
    invalid = true;
    if (length == 0)
        return kReplacement;
    if (std::size_t(end - p) < length) {
        p = end;
        return kReplacement;
    }
    std::uint32_t value = lead & (0x3Fu >> length);
    for (unsigned left = length; left > 0; --left) {
        const unsigned next = *p ^ 0x80u;
        if (next >= 0x40)
            return kReplacement;
        value = (value << 6) | next;
        if (left == 2 && value >= (0x110000u >> 6))
            return kReplacement; // beyond U+10FFFF: the byte is not taken
        ++p;
        if (left == 3 && value < 0x10)
            return kReplacement; // overlong four-byte form
        if (left == 2 && (value < 0x20 || (value >= (0xD800u >> 6) && value <= (0xDFFFu >> 6))))
            return kReplacement; // overlong three-byte form, or a surrogate
        if (left == 1 && value < 0x80)
            return kReplacement;
    }
    invalid = false;
    return value;
}

Outcome utf8ToWide(unsigned flags, const unsigned char* p, const unsigned char* end, WideSink& out) {
    while (p < end) {
        bool invalid = false;
        const std::uint32_t value = decodeUtf8(p, end, invalid);
        if (invalid && (flags & kMbErrInvalidChars))
            return failed(kErrorNoUnicodeTranslation);
        bool ok;
        if (value >= 0x10000) {
            ok = out.put(char16_t(0xD800 + ((value - 0x10000) >> 10))) &&
                 out.put(char16_t(0xDC00 + ((value - 0x10000) & 0x3FF)));
        } else {
            ok = out.put(char16_t(value));
        }
        if (!ok)
            return failed(kErrorInsufficientBuffer);
    }
    return Outcome{out.count(), 0};
}

Outcome tableToWide(const PageState& state, unsigned flags, const unsigned char* p,
                    const unsigned char* end, WideSink& out) {
    const PageData& page = *state.data;
    const bool strict = flags & kMbErrInvalidChars;
    while (p < end) {
        const unsigned byte = *p++;
        const int row = state.leadRow[byte];
        char16_t unit;
        bool invalid;
        if (row >= 0 && p < end && testBit(page.trailBits, *p)) {
            const unsigned trail = *p++;
            unit = page.pairs[row * 256 + trail];
            invalid = testBit(page.pairInvalid + row * 32, trail);
        } else {
            unit = page.singles[byte];
            invalid = row >= 0 || testBit(page.singleInvalid, byte);
        }
        if (invalid && strict)
            return failed(kErrorNoUnicodeTranslation);
        if (!out.put(unit))
            return failed(kErrorInsufficientBuffer);
    }
    return Outcome{out.count(), 0};
}

Outcome wideToUtf8(unsigned flags, const wchar_t* p, const wchar_t* end, ByteSink& out) {
    while (p < end) {
        std::uint32_t value = std::uint16_t(*p++);
        if (value >= 0xD800 && value <= 0xDFFF) {
            if (value <= 0xDBFF && p < end && std::uint16_t(*p) >= 0xDC00 &&
                std::uint16_t(*p) <= 0xDFFF) {
                value = 0x10000 + ((value - 0xD800) << 10) + (std::uint16_t(*p++) - 0xDC00);
            } else {
                if (flags & kWcErrInvalidChars)
                    return failed(kErrorNoUnicodeTranslation);
                value = kReplacement;
            }
        }
        char bytes[4];
        int n;
        if (value < 0x80) {
            bytes[0] = char(value);
            n = 1;
        } else if (value < 0x800) {
            bytes[0] = char(0xC0 | (value >> 6));
            bytes[1] = char(0x80 | (value & 0x3F));
            n = 2;
        } else if (value < 0x10000) {
            bytes[0] = char(0xE0 | (value >> 12));
            bytes[1] = char(0x80 | ((value >> 6) & 0x3F));
            bytes[2] = char(0x80 | (value & 0x3F));
            n = 3;
        } else {
            bytes[0] = char(0xF0 | (value >> 18));
            bytes[1] = char(0x80 | ((value >> 12) & 0x3F));
            bytes[2] = char(0x80 | ((value >> 6) & 0x3F));
            bytes[3] = char(0x80 | (value & 0x3F));
            n = 4;
        }
        if (!out.put(bytes, n))
            return failed(kErrorInsufficientBuffer);
    }
    return Outcome{out.count(), 0};
}

char16_t decodeCode(const PageState& state, unsigned code) {
    if (code < 256)
        return state.data->singles[code];
    const int row = state.leadRow[code >> 8];
    return row < 0 ? state.data->defaultUnicode : state.data->pairs[row * 256 + (code & 0xFF)];
}

int encodeCode(unsigned code, char* bytes) {
    if (code < 256) {
        bytes[0] = char(code);
        return 1;
    }
    bytes[0] = char(code >> 8);
    bytes[1] = char(code & 0xFF);
    return 2;
}

Outcome wideToTable(const PageState& state, unsigned flags, const wchar_t* p, const wchar_t* end,
                    const char* defaultChar, bool* usedDefault, ByteSink& out) {
    const PageData& page = *state.data;
    const char16_t defaultReadsAs = decodeCode(state, page.defaultChar);
    char fallback[2];
    int fallbackLength = encodeCode(page.defaultChar, fallback);
    if (defaultChar) {
        fallback[0] = defaultChar[0];
        fallbackLength = 1;
        if (state.leadRow[std::uint8_t(defaultChar[0])] >= 0 && defaultChar[1] != 0) {
            fallback[1] = defaultChar[1];
            fallbackLength = 2;
        }
    }
    const bool noBestFit = flags & kWcNoBestFitChars;
    bool used = false;
    while (p < end) {
        const char16_t unit = char16_t(*p++);
        unsigned code = state.reverse[unit];
        if (noBestFit && decodeCode(state, code) != unit)
            code = page.defaultChar;
        bool ok;
        if (code == page.defaultChar && unit != defaultReadsAs) {
            used = true;
            ok = out.put(fallback, fallbackLength);
        } else {
            char bytes[2];
            ok = out.put(bytes, encodeCode(code, bytes));
        }
        if (!ok)
            return failed(kErrorInsufficientBuffer);
    }
    if (usedDefault)
        *usedDefault = used;
    return Outcome{out.count(), 0};
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
    if (srcLen < 0)
        srcLen = lengthOf(src);
    const auto* p = reinterpret_cast<const unsigned char*>(src);
    const PageState* state = codePage == kUtf8 ? nullptr : stateOf(codePage);
    if (codePage != kUtf8 && !state)
        return failed(kErrorInvalidParameter);
    // Windows reports invalid input before a short buffer: check it all first.
    for (int pass = (flags & kMbErrInvalidChars) ? 0 : 1; pass < 2; ++pass) {
        WideSink out(dst, pass == 0 ? 0 : dstLen);
        const Outcome outcome = state ? tableToWide(*state, flags, p, p + srcLen, out)
                                      : utf8ToWide(flags, p, p + srcLen, out);
        if (pass == 1 || outcome.count == 0)
            return outcome;
    }
    return failed(kErrorInvalidParameter);
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
            ByteSink check(nullptr, 0);
            const Outcome outcome = wideToUtf8(flags, src, src + srcLen, check);
            if (outcome.count == 0)
                return outcome;
        }
        ByteSink out(dst, dstLen);
        return wideToUtf8(flags, src, src + srcLen, out);
    }
    ByteSink out(dst, dstLen);
    if (flags & ~kWcNoBestFitChars)
        return failed(kErrorInvalidFlags);
    const PageState* state = stateOf(codePage);
    if (!state)
        return failed(kErrorInvalidParameter);
    return wideToTable(*state, flags, src, src + srcLen, defaultChar, usedDefault, out);
}

} // namespace xo::codepages
