#include "runtime/xombcs.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/charconverter.h"
#include "platform/codepage.h"

namespace xo::mbcs {

namespace {

// The facts of one multibyte code page, made once per page and kept for the process.
struct PageFacts {
    int codePage;
    bool doubleByte;
    bool lead[256];
    platform::CharConverter converter;

    explicit PageFacts(int page)
        : codePage(page), doubleByte(false), lead{}, converter(unsigned(page)) {
        for (unsigned b = 0; b < 256; ++b) {
            lead[b] = platform::isDbcsLeadByte(unsigned(page), std::uint8_t(b));
            doubleByte |= lead[b];
        }
    }
};

const PageFacts& facts() {
    static std::atomic<const PageFacts*> current{nullptr};
    const int page = platform::multiByteCodePage();
    const PageFacts* known = current.load(std::memory_order_acquire);
    if (known && known->codePage == page)
        return *known;
    static std::mutex mutex;
    static std::vector<std::unique_ptr<PageFacts>> all;
    const std::lock_guard<std::mutex> lock(mutex);
    known = nullptr;
    for (const auto& candidate : all)
        if (candidate->codePage == page)
            known = candidate.get();
    if (!known) {
        all.push_back(std::make_unique<PageFacts>(page));
        known = all.back().get();
    }
    current.store(known, std::memory_order_release);
    return *known;
}

// Reads one character and steps past it; a lead byte before the terminator reads alone.
unsigned int readChar(const PageFacts& page, const unsigned char*& p) {
    const unsigned int c = *p++;
    if (page.lead[c] && *p != 0)
        return (c << 8) | *p++;
    return c;
}

// The same for comparisons, where the runtime reads a lone lead byte as a pair with a
// zero trail.
unsigned int readCharToCompare(const PageFacts& page, const unsigned char*& p) {
    const unsigned int c = *p++;
    if (!page.lead[c])
        return c;
    return *p != 0 ? (c << 8) | *p++ : c << 8;
}

int sign(unsigned int a, unsigned int b) {
    return a == b ? 0 : a < b ? -1 : 1;
}

unsigned int asciiUpper(unsigned int c) {
    return c >= 'a' && c <= 'z' ? c - 32 : c;
}
unsigned int asciiLower(unsigned int c) {
    return c >= 'A' && c <= 'Z' ? c + 32 : c;
}

// Latin Extended-A alternates upper and lower case, the upper on even units except in
// the three runs that start on an odd one.
bool latinExtendedUpperOnOdd(char16_t u) {
    return (u >= 0x0139 && u <= 0x0148) || (u >= 0x0179 && u <= 0x017E);
}

bool latinExtendedPaired(char16_t u) {
    return u >= 0x0100 && u <= 0x017E && u != 0x0130 && u != 0x0131 && u != 0x0138 && u != 0x0149 &&
           u != 0x0178;
}

// Case pairs of the letters the code pages hold.
char16_t unicodeUpper(char16_t u) {
    if (latinExtendedPaired(u)) {
        const bool lower = latinExtendedUpperOnOdd(u) ? (u % 2 == 0) : (u % 2 == 1);
        return lower ? char16_t(u - 1) : u;
    }
    if (u == 0x00FF)
        return 0x0178;
    if ((u >= 0xFF41 && u <= 0xFF5A) || (u >= 0x03B1 && u <= 0x03C9 && u != 0x03C2) ||
        (u >= 0x0430 && u <= 0x044F) || (u >= 0x00E0 && u <= 0x00FE && u != 0x00F7))
        return char16_t(u - 0x20);
    if (u >= 0x0450 && u <= 0x045F)
        return char16_t(u - 0x50);
    if (u >= 0x2170 && u <= 0x217F)
        return char16_t(u - 0x10);
    return char16_t(asciiUpper(u));
}

char16_t unicodeLower(char16_t u) {
    if (latinExtendedPaired(u)) {
        const bool upper = latinExtendedUpperOnOdd(u) ? (u % 2 == 1) : (u % 2 == 0);
        return upper ? char16_t(u + 1) : u;
    }
    if (u == 0x0178)
        return 0x00FF;
    if ((u >= 0xFF21 && u <= 0xFF3A) || (u >= 0x0391 && u <= 0x03A9 && u != 0x03A2) ||
        (u >= 0x0410 && u <= 0x042F) || (u >= 0x00C0 && u <= 0x00DE && u != 0x00D7))
        return char16_t(u + 0x20);
    if (u >= 0x0400 && u <= 0x040F)
        return char16_t(u + 0x50);
    if (u >= 0x2160 && u <= 0x216F)
        return char16_t(u + 0x10);
    return char16_t(asciiLower(u));
}

// The unit of a character: a double-byte one, or a byte from 0x80 that is not a lead
// byte; 0 for anything else (ASCII is left to the C locale's rules).
char16_t unitOf(const PageFacts& page, unsigned int c) {
    const bool pair = c > 0xFF && c <= 0xFFFF && page.lead[c >> 8];
    const bool single = c >= 0x80 && c <= 0xFF && !page.lead[c];
    if (!pair && !single)
        return 0;
    const char bytes[2] = {char(pair ? c >> 8 : c), char(c & 0xFF)};
    const int length = pair ? 2 : 1;
    char16_t unit = 0;
    bool invalid = false;
    if (page.converter.decodeOne(bytes, length, &unit, &invalid) != length || invalid)
        return 0;
    return unit;
}

// Maps a character through its unit, as the runtime maps through the code page; keeps
// it when the page has no character of the same width for the result.
unsigned int mapThroughPage(const PageFacts& page, unsigned int c, char16_t (*map)(char16_t)) {
    const char16_t unit = unitOf(page, c);
    if (unit == 0)
        return c;
    const char16_t mapped = map(unit);
    if (mapped == unit)
        return c;
    char out[4];
    bool used = false;
    const int length = page.converter.encodeOne(mapped, out, &used);
    if (length != (c > 0xFF ? 2 : 1) || used)
        return c;
    char16_t back = 0;
    bool invalid = false;
    if (page.converter.decodeOne(out, length, &back, &invalid) != length || back != mapped)
        return c;
    return length == 1 ? unsigned(std::uint8_t(out[0]))
                       : (unsigned(std::uint8_t(out[0])) << 8) | std::uint8_t(out[1]);
}

unsigned int upperOf(const PageFacts& page, unsigned int c) {
    return c < 0x80 ? asciiUpper(c) : mapThroughPage(page, c, unicodeUpper);
}

unsigned int lowerOf(const PageFacts& page, unsigned int c) {
    return c < 0x80 ? asciiLower(c) : mapThroughPage(page, c, unicodeLower);
}

// Whole strings follow the C locale for single bytes (ASCII letters only) and the code
// page for double-byte characters, as the runtime's string functions do.
unsigned int stringUpperOf(const PageFacts& page, unsigned int c) {
    return c <= 0xFF ? asciiUpper(c) : mapThroughPage(page, c, unicodeUpper);
}

unsigned int stringLowerOf(const PageFacts& page, unsigned int c) {
    return c <= 0xFF ? asciiLower(c) : mapThroughPage(page, c, unicodeLower);
}

template <class Fold>
int compareChars(const unsigned char* a, const unsigned char* b, std::size_t count, Fold fold) {
    const PageFacts& page = facts();
    for (; count > 0; --count) {
        const unsigned int ca = fold(page, readCharToCompare(page, a));
        const unsigned int cb = fold(page, readCharToCompare(page, b));
        if (ca != cb)
            return sign(ca, cb);
        if (ca == 0)
            return 0;
    }
    return 0;
}

unsigned int same(const PageFacts&, unsigned int c) {
    return c;
}

unsigned int folded(const PageFacts& page, unsigned int c) {
    return stringLowerOf(page, c);
}

unsigned char* mapInPlace(unsigned char* s, unsigned int (*map)(const PageFacts&, unsigned int)) {
    const PageFacts& page = facts();
    for (unsigned char* p = s; *p != 0;) {
        if (page.lead[*p] && p[1] != 0) {
            const unsigned int mapped = map(page, (unsigned(p[0]) << 8) | p[1]);
            p[0] = std::uint8_t(mapped >> 8);
            p[1] = std::uint8_t(mapped);
            p += 2;
        } else {
            *p = std::uint8_t(map(page, *p));
            ++p;
        }
    }
    return s;
}

constexpr std::size_t kAll = ~std::size_t(0);

} // namespace

bool isLeadByte(unsigned char b) {
    return facts().lead[b];
}

unsigned char* inc(const unsigned char* p) {
    readChar(facts(), p);
    return const_cast<unsigned char*>(p);
}

unsigned char* ninc(const unsigned char* p, std::size_t count) {
    if (!p)
        return nullptr;
    const PageFacts& page = facts();
    for (; count > 0 && *p != 0; --count) {
        if (page.lead[*p] && p[1] == 0)
            break; // a lead byte at the end is not a character
        readChar(page, p);
    }
    return const_cast<unsigned char*>(p);
}

// As the runtime: lead bytes pair up from the left, so the parity of the run of lead
// bytes before p tells whether the byte before p ends a pair. A lead byte just before p
// with more text behind it can only be a trail byte (the runtime's rule for a p inside
// a character).
unsigned char* dec(const unsigned char* start, const unsigned char* p) {
    if (!start || !p || start >= p)
        return nullptr;
    const PageFacts& page = facts();
    const unsigned char* last = p - 1;
    if (page.lead[*last] && *p != 0 && last > start)
        return const_cast<unsigned char*>(last - 1);
    std::size_t leads = 0;
    for (const unsigned char* q = last; q > start && page.lead[q[-1]]; --q)
        ++leads;
    if (page.lead[*last]) // the last byte of the text: alone, or the trail of a pair
        ++leads;
    const bool endsPair = page.lead[*last] ? leads % 2 == 0 : leads % 2 == 1;
    return const_cast<unsigned char*>(endsPair ? last - 1 : last);
}

std::size_t len(const unsigned char* s) {
    const PageFacts& page = facts();
    std::size_t count = 0;
    while (*s != 0) {
        if (page.lead[*s] && s[1] == 0)
            break; // a lead byte at the end is not a character
        readChar(page, s);
        ++count;
    }
    return count;
}

unsigned char* str(const unsigned char* haystack, const unsigned char* needle) {
    const PageFacts& page = facts();
    const std::size_t n = std::strlen(reinterpret_cast<const char*>(needle));
    if (n == 0)
        return const_cast<unsigned char*>(haystack);
    for (const unsigned char* p = haystack; *p != 0;) {
        if (std::strncmp(reinterpret_cast<const char*>(p), reinterpret_cast<const char*>(needle),
                         n) == 0)
            return const_cast<unsigned char*>(p);
        readChar(page, p);
    }
    return nullptr;
}

int cmp(const unsigned char* a, const unsigned char* b) {
    return compareChars(a, b, kAll, same);
}
int ncmp(const unsigned char* a, const unsigned char* b, std::size_t count) {
    return compareChars(a, b, count, same);
}
int icmp(const unsigned char* a, const unsigned char* b) {
    return compareChars(a, b, kAll, folded);
}
int nicmp(const unsigned char* a, const unsigned char* b, std::size_t count) {
    return compareChars(a, b, count, folded);
}
int coll(const unsigned char* a, const unsigned char* b) {
    return cmp(a, b);
}
int ncoll(const unsigned char* a, const unsigned char* b, std::size_t count) {
    return ncmp(a, b, count);
}
int icoll(const unsigned char* a, const unsigned char* b) {
    return icmp(a, b);
}
int nicoll(const unsigned char* a, const unsigned char* b, std::size_t count) {
    return nicmp(a, b, count);
}

unsigned char* rev(unsigned char* s) {
    const PageFacts& page = facts();
    // Swap each pair first, so that reversing the whole text puts it back in order.
    unsigned char* p = s;
    while (*p != 0) {
        if (page.lead[*p] && p[1] != 0) {
            std::swap(p[0], p[1]);
            p += 2;
        } else if (page.lead[*p]) {
            break; // a lone lead byte at the end stays there
        } else {
            ++p;
        }
    }
    for (unsigned char *front = s, *back = p - (p > s ? 1 : 0); front < back; ++front, --back)
        std::swap(*front, *back);
    return s;
}

unsigned char* upr(unsigned char* s) {
    return mapInPlace(s, stringUpperOf);
}
unsigned char* lwr(unsigned char* s) {
    return mapInPlace(s, stringLowerOf);
}

unsigned int toUpper(unsigned int c) {
    return c > 0xFFFF ? c : upperOf(facts(), c);
}

unsigned int toLower(unsigned int c) {
    return c > 0xFFFF ? c : lowerOf(facts(), c);
}

// Lower-case letters that have no upper case of their own.
bool caselessLower(char16_t u) {
    return u == 0x00DF || u == 0x0131 || u == 0x0138 || u == 0x0149 || u == 0x0192 || u == 0x03C2;
}

bool isLower(unsigned int c) {
    if (c < 0x80)
        return c >= 'a' && c <= 'z';
    const char16_t unit = unitOf(facts(), c);
    return unit != 0 && (unicodeUpper(unit) != unit || caselessLower(unit));
}

bool isUpper(unsigned int c) {
    if (c < 0x80)
        return c >= 'A' && c <= 'Z';
    const char16_t unit = unitOf(facts(), c);
    return unit != 0 && unicodeLower(unit) != unit;
}

bool isSpace(unsigned int c) {
    if (c < 0x80)
        return c == ' ' || (c >= 9 && c <= 13);
    const char16_t unit = unitOf(facts(), c);
    return unit == 0x00A0 || unit == 0x3000;
}

bool isDigit(unsigned int c) {
    if (c < 0x80)
        return c >= '0' && c <= '9';
    const char16_t unit = unitOf(facts(), c);
    return (unit >= 0xFF10 && unit <= 0xFF19) || unit == 0x00B2 || unit == 0x00B3 || unit == 0x00B9;
}

} // namespace xo::mbcs
