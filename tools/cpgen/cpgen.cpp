// Dumps what the Windows conversion functions do in every code page the library names,
// as the tables the POSIX engine reads (source/src/platform/codepages/cp*.inc).
// Built for Windows and run under Wine from the output folder; see docs/codepages.md.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/codepages/codepageinverse.h"

namespace {

using xo::codepages::PageData;
using xo::codepages::testBit;

const unsigned kPages[] = {20127, 28591, 28592, 28593, 28594, 28595, 28597, 28598, 28599, 437,
                           850,   852,   855,   857,   860,   861,   863,   864,   865,   866,
                           869,   874,   932,   936,   949,   950,   1250,  1251,  1252,  1253,
                           1254,  1255,  1256,  1257,  1258,  1361,  10000, 10002};

[[noreturn]] void fail(unsigned cp, const std::string& what) {
    std::fprintf(stderr, "code page %u: %s\n", cp, what.c_str());
    std::exit(1);
}

// Everything about one page, in the shape of PageData but owning its storage.
struct Page {
    unsigned cp = 0;
    unsigned defaultChar = 0;
    char16_t defaultUnicode = 0;
    std::uint8_t leadBits[32] = {};
    std::uint8_t trailBits[32] = {};
    char16_t singles[256] = {};
    std::uint8_t singleInvalid[32] = {};
    std::vector<char16_t> pairs;
    std::vector<std::uint8_t> pairInvalid;
    std::vector<std::uint32_t> reverse; // the Windows answer without WC_NO_BEST_FIT_CHARS
    std::vector<std::uint16_t> bestFit;

    unsigned leadCount() const { return unsigned(pairs.size() / 256); }
    PageData view() const {
        return PageData{std::uint16_t(cp), std::uint16_t(defaultChar),
                        defaultUnicode,    std::uint16_t(leadCount()),
                        leadBits,          trailBits,
                        singles,           singleInvalid,
                        pairs.data(),      pairInvalid.data(),
                        nullptr,           0};
    }
};

void setBit(std::uint8_t* bits, unsigned index) {
    bits[index >> 3] |= 1u << (index & 7);
}

int toWide(unsigned cp, DWORD flags, const char* bytes, int n, wchar_t* out) {
    return MultiByteToWideChar(cp, flags, bytes, n, out, 4);
}

void readForward(Page& page) {
    for (unsigned b = 0; b < 256; ++b)
        if (IsDBCSLeadByteEx(page.cp, BYTE(b)))
            setBit(page.leadBits, b);
    for (unsigned b = 0; b < 256; ++b) {
        const char byte = char(b);
        wchar_t w[4];
        if (toWide(page.cp, 0, &byte, 1, w) != 1)
            fail(page.cp, "a single byte does not read as one unit");
        page.singles[b] = char16_t(w[0]);
        if (toWide(page.cp, MB_ERR_INVALID_CHARS, &byte, 1, w) == 0)
            setBit(page.singleInvalid, b);
    }
    bool first = true;
    for (unsigned lead = 0; lead < 256; ++lead) {
        if (!testBit(page.leadBits, lead))
            continue;
        const std::size_t row = page.pairs.size() / 256;
        page.pairs.resize(page.pairs.size() + 256, page.defaultUnicode);
        page.pairInvalid.resize(page.pairInvalid.size() + 32, 0);
        for (unsigned trail = 0; trail < 256; ++trail) {
            const char bytes[2] = {char(lead), char(trail)};
            wchar_t w[4];
            const int n = toWide(page.cp, 0, bytes, 2, w);
            const bool consumed = n == 1;
            if (!consumed && (n != 2 || w[1] != wchar_t(page.singles[trail])))
                fail(page.cp, "a pair reads as neither one unit nor lead and byte");
            if (first && consumed)
                setBit(page.trailBits, trail);
            else if (consumed != testBit(page.trailBits, trail))
                fail(page.cp, "trail bytes differ between lead bytes");
            if (!consumed)
                continue;
            page.pairs[row * 256 + trail] = char16_t(w[0]);
            if (toWide(page.cp, MB_ERR_INVALID_CHARS, bytes, 2, w) == 0)
                setBit(page.pairInvalid.data() + row * 32, trail);
        }
        first = false;
    }
}

unsigned decode(const Page& page, unsigned code) {
    if (code < 256)
        return page.singles[code];
    unsigned row = 0;
    for (unsigned lead = 0; lead < (code >> 8); ++lead)
        row += testBit(page.leadBits, lead);
    return page.pairs[row * 256 + (code & 0xFF)];
}

unsigned toCode(const char* out, int n) {
    return n == 1 ? unsigned(BYTE(out[0])) : (unsigned(BYTE(out[0])) << 8) | BYTE(out[1]);
}

// Reads the reverse direction and checks the two rules the engine applies on top of it:
// the used-default flag, and WC_NO_BEST_FIT_CHARS as a round-trip test.
void readReverse(Page& page) {
    page.reverse.assign(0x10000, 0);
    const unsigned defaultReadsAs = decode(page, page.defaultChar);
    for (unsigned u = 0; u < 0x10000; ++u) {
        const wchar_t w = wchar_t(u);
        char out[8];
        BOOL used = FALSE;
        const int n = WideCharToMultiByte(page.cp, 0, &w, 1, out, 8, nullptr, &used);
        if (n != 1 && n != 2)
            fail(page.cp, "a unit does not write as one or two bytes");
        const unsigned code = toCode(out, n);
        page.reverse[u] = code;
        if (bool(used) != (code == page.defaultChar && u != defaultReadsAs))
            fail(page.cp, "the used-default flag does not follow the rule");
        BOOL usedStrict = FALSE;
        const int m =
            WideCharToMultiByte(page.cp, WC_NO_BEST_FIT_CHARS, &w, 1, out, 8, nullptr, &usedStrict);
        const unsigned strict = toCode(out, m);
        const unsigned expected = decode(page, code) == u ? code : page.defaultChar;
        if (strict != expected ||
            bool(usedStrict) != (expected == page.defaultChar && u != defaultReadsAs))
            fail(page.cp, "WC_NO_BEST_FIT_CHARS is not a round-trip test");
    }
}

void computeBestFit(Page& page) {
    std::vector<std::uint32_t> plain(0x10000);
    const PageData view = page.view();
    xo::codepages::invertForward(view, plain.data());
    page.bestFit.clear();
    for (unsigned u = 0; u < 0x10000; ++u) {
        const std::uint32_t derived =
            plain[u] == xo::codepages::kNoCode ? page.defaultChar : plain[u];
        if (derived != page.reverse[u]) {
            page.bestFit.push_back(std::uint16_t(u));
            page.bestFit.push_back(std::uint16_t(page.reverse[u]));
        }
    }
}

Page readPage(unsigned cp) {
    CPINFOEXW info{};
    if (!IsValidCodePage(cp) || !GetCPInfoExW(cp, 0, &info))
        fail(cp, "not a valid code page here");
    Page page;
    page.cp = cp;
    page.defaultChar = info.DefaultChar[1]
                           ? (unsigned(info.DefaultChar[0]) << 8) | info.DefaultChar[1]
                           : info.DefaultChar[0];
    page.defaultUnicode = char16_t(info.UnicodeDefaultChar);
    readForward(page);
    readReverse(page);
    computeBestFit(page);
    return page;
}

// 20936 is the GB2312 subset of 936: pairs of a lead A1-F7 and a trail A1-FE as 936 reads
// them, every other byte alone as 936 reads it alone; writing keeps 936's answer where it
// is a code of the subset and gives the default character elsewhere.
Page subsetOf936(const Page& gbk) {
    Page page;
    page.cp = 20936;
    page.defaultChar = gbk.defaultChar;
    page.defaultUnicode = gbk.defaultUnicode;
    std::copy(std::begin(gbk.singles), std::end(gbk.singles), page.singles);
    std::copy(std::begin(gbk.singleInvalid), std::end(gbk.singleInvalid), page.singleInvalid);
    for (unsigned b = 0xA1; b <= 0xFE; ++b) {
        if (b <= 0xF7)
            setBit(page.leadBits, b);
        setBit(page.trailBits, b);
    }
    unsigned gbkRow = 0;
    for (unsigned lead = 0; lead < 256; ++lead) {
        if (!testBit(gbk.leadBits, lead))
            continue;
        if (testBit(page.leadBits, lead)) {
            const std::size_t row = page.pairs.size() / 256;
            page.pairs.resize(page.pairs.size() + 256, page.defaultUnicode);
            page.pairInvalid.resize(page.pairInvalid.size() + 32, 0);
            for (unsigned t = 0xA1; t <= 0xFE; ++t) {
                page.pairs[row * 256 + t] = gbk.pairs[gbkRow * 256 + t];
                if (testBit(gbk.pairInvalid.data() + gbkRow * 32, t))
                    setBit(page.pairInvalid.data() + row * 32, t);
            }
        }
        ++gbkRow;
    }
    page.reverse.assign(0x10000, page.defaultChar);
    for (unsigned u = 0; u < 0x10000; ++u) {
        const unsigned code = gbk.reverse[u];
        const bool inSubset =
            code < 256 ? !testBit(page.leadBits, code) || code == page.defaultChar
                       : testBit(page.leadBits, code >> 8) && testBit(page.trailBits, code & 0xFF);
        if (inSubset && !(code < 256 && testBit(gbk.leadBits, code)))
            page.reverse[u] = code;
    }
    computeBestFit(page);
    return page;
}

// A UTF-16 string literal: printable ASCII and most of the rest as themselves (UTF-8
// source), controls and awkward units as universal character names.
void writeUnits(std::ostream& out, const char16_t* units, std::size_t count) {
    for (std::size_t i = 0; i < count; i += 64) {
        out << "    u\"";
        for (std::size_t j = i; j < i + 64 && j < count; ++j) {
            const unsigned u = units[j];
            if (u >= 0xD800 && u <= 0xDFFF) {
                std::fprintf(stderr, "surrogate in a forward table\n");
                std::exit(1);
            }
            char buf[8];
            if (u == '"' || u == '\\' || u == '?') {
                out << '\\' << char(u);
            } else if (u >= 0x20 && u < 0x7F) {
                out << char(u);
            } else if (u < 0xA0 || u == 0xAD || (u >= 0x2000 && u <= 0x206F) ||
                       (u >= 0xFE00 && u <= 0xFE0F) || u >= 0xFFF0 || u == 0xFEFF) {
                std::snprintf(buf, sizeof buf, "\\u%04X", u);
                out << buf;
            } else if (u < 0x800) {
                out << char(0xC0 | (u >> 6)) << char(0x80 | (u & 0x3F));
            } else {
                out << char(0xE0 | (u >> 12)) << char(0x80 | ((u >> 6) & 0x3F))
                    << char(0x80 | (u & 0x3F));
            }
        }
        out << "\"\n";
    }
}

template <typename T>
void writeNumbers(std::ostream& out, const T* values, std::size_t count, unsigned perLine) {
    for (std::size_t i = 0; i < count; ++i) {
        char buf[16];
        std::snprintf(buf, sizeof buf, "0x%X,", unsigned(values[i]));
        out << (i % perLine == 0 ? "    " : "") << buf << (i % perLine == perLine - 1 ? "\n" : "");
    }
    if (count % perLine)
        out << "\n";
}

void writePage(const Page& page) {
    std::ostringstream name;
    name << "cp" << page.cp << ".inc";
    std::ofstream out(name.str(), std::ios::binary);
    out << "// Code page " << page.cp << ", generated by tools/cpgen. Do not edit.\n";
    out << "namespace cp" << page.cp << " {\n";
    out << "const std::uint8_t leadBits[32] = {\n";
    writeNumbers(out, page.leadBits, 32, 16);
    out << "};\nconst std::uint8_t trailBits[32] = {\n";
    writeNumbers(out, page.trailBits, 32, 16);
    out << "};\nconst char16_t singles[] =\n";
    writeUnits(out, page.singles, 256);
    out << "    ;\nconst std::uint8_t singleInvalid[32] = {\n";
    writeNumbers(out, page.singleInvalid, 32, 16);
    out << "};\nconst char16_t pairs[] =\n";
    if (page.pairs.empty())
        out << "    u\"\"\n";
    writeUnits(out, page.pairs.data(), page.pairs.size());
    out << "    ;\nconst std::uint8_t pairInvalid[] = {\n";
    if (page.pairInvalid.empty())
        out << "    0,\n";
    writeNumbers(out, page.pairInvalid.data(), page.pairInvalid.size(), 16);
    out << "};\nconst std::uint16_t bestFit[] = {\n";
    if (page.bestFit.empty())
        out << "    0, 0,\n";
    writeNumbers(out, page.bestFit.data(), page.bestFit.size(), 12);
    out << "};\n";
    char buf[128];
    std::snprintf(buf, sizeof buf, "const PageData data = {%u, 0x%X, 0x%X, %u,", page.cp,
                  page.defaultChar, unsigned(page.defaultUnicode), page.leadCount());
    out << buf << "\n    leadBits, trailBits, singles, singleInvalid, pairs, pairInvalid, bestFit, "
        << page.bestFit.size() / 2 << "};\n";
    out << "} // namespace cp" << page.cp << "\n";
}

} // namespace

int main() {
    Page gbk;
    for (unsigned cp : kPages) {
        Page page = readPage(cp);
        writePage(page);
        std::printf("%u: %u lead bytes, %zu best-fit exceptions\n", cp, page.leadCount(),
                    page.bestFit.size() / 2);
        if (cp == 936)
            gbk = std::move(page);
    }
    const Page subset = subsetOf936(gbk);
    writePage(subset);
    std::printf("20936: %u lead bytes, %zu best-fit exceptions\n", subset.leadCount(),
                subset.bestFit.size() / 2);
    return 0;
}
