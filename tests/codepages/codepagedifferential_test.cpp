// Runs the same inputs through the Windows conversion functions and through the engine
// that stands in for them on POSIX; any difference is a fault of the engine.
#if defined(_WIN32)

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "platform/codepage.h"
#include "platform/codepages/codepagedata.h"
#include "platform/codepages/codepageengine.h"
#include "platform/error.h"

namespace {

namespace cp = xo::codepages;
namespace os = xo::platform;

struct Result {
    int count;
    std::uint32_t error;
    std::wstring wide;
    std::string bytes;
    bool used;
    bool operator==(const Result& o) const {
        return count == o.count && error == o.error && wide == o.wide && bytes == o.bytes &&
               used == o.used;
    }
};

std::string show(const Result& r) {
    std::string text =
        "count " + std::to_string(r.count) + " error " + std::to_string(r.error) + " [";
    for (wchar_t w : r.wide)
        text += std::to_string(unsigned(w)) + " ";
    text += "] [";
    for (char b : r.bytes)
        text += std::to_string(unsigned(std::uint8_t(b))) + " ";
    return text + "] used " + std::to_string(r.used);
}

std::string hex(const std::string& bytes) {
    std::string text;
    for (char b : bytes) {
        char buf[4];
        std::snprintf(buf, sizeof buf, "%02X", unsigned(std::uint8_t(b)));
        text += buf;
    }
    return text;
}

Result windowsToWide(unsigned page, unsigned flags, const std::string& in, int capacity) {
    std::wstring out(std::size_t(capacity), L'\xAAAA');
    ::SetLastError(0);
    const int n =
        os::multiByteToWideChar(page, flags, in.data(), int(in.size()), out.data(), capacity);
    out.resize(std::size_t(n));
    return {n, n ? 0 : os::threadLastError(), out, {}, false};
}

Result engineToWide(unsigned page, unsigned flags, const std::string& in, int capacity) {
    std::wstring out(std::size_t(capacity), L'\xAAAA');
    const cp::Outcome r =
        cp::multiByteToWideChar(page, flags, in.data(), int(in.size()), out.data(), capacity);
    out.resize(std::size_t(r.count));
    return {r.count, r.error, out, {}, false};
}

Result windowsToBytes(unsigned page, unsigned flags, const std::wstring& in, int capacity,
                      bool askUsed) {
    std::string out(std::size_t(capacity), '\xAA');
    bool used = false;
    ::SetLastError(0);
    const int n = os::wideCharToMultiByte(page, flags, in.data(), int(in.size()), out.data(),
                                          capacity, nullptr, askUsed ? &used : nullptr);
    out.resize(std::size_t(n));
    return {n, n ? 0 : os::threadLastError(), {}, out, used};
}

Result engineToBytes(unsigned page, unsigned flags, const std::wstring& in, int capacity,
                     bool askUsed) {
    std::string out(std::size_t(capacity), '\xAA');
    bool used = false;
    const cp::Outcome r =
        cp::wideCharToMultiByte(page, flags, in.data(), int(in.size()), out.data(), capacity,
                                nullptr, askUsed ? &used : nullptr);
    out.resize(std::size_t(r.count));
    return {r.count, r.error, {}, out, used};
}

// Counts differences and reports the first few.
class Differences {
public:
    void toWide(unsigned page, unsigned flags, const std::string& in, int capacity = 16) {
        const Result w = windowsToWide(page, flags, in, capacity);
        const Result e = engineToWide(page, flags, in, capacity);
        if (!(w == e) && ++count_ <= 5)
            ADD_FAILURE() << "page " << page << " flags " << flags << " bytes " << hex(in)
                          << "\n windows " << show(w) << "\n engine  " << show(e);
    }
    void toBytes(unsigned page, unsigned flags, const std::wstring& in, int capacity = 16) {
        const bool askUsed = page != cp::kUtf8;
        const Result w = windowsToBytes(page, flags, in, capacity, askUsed);
        const Result e = engineToBytes(page, flags, in, capacity, askUsed);
        if (!(w == e) && ++count_ <= 5)
            ADD_FAILURE() << "page " << page << " flags " << flags << " first unit "
                          << unsigned(in.empty() ? 0 : in[0]) << "\n windows " << show(w)
                          << "\n engine  " << show(e);
    }
    int count() const { return count_; }

private:
    int count_ = 0;
};

std::vector<unsigned> pagesWindowsHas() {
    std::vector<unsigned> pages;
    std::size_t count = 0;
    const cp::PageData* const* all = cp::allPages(&count);
    for (std::size_t i = 0; i < count; ++i)
        if (all[i]->codePage != 20936) // not in Wine; built from 936, see its own test
            pages.push_back(all[i]->codePage);
    return pages;
}

TEST(CodePageDifferential, ValidityAndLeadBytes) {
    for (unsigned page : pagesWindowsHas()) {
        EXPECT_TRUE(os::isValidCodePage(page)) << page;
        EXPECT_TRUE(cp::isValidCodePage(page)) << page;
        for (unsigned b = 0; b < 256; ++b)
            EXPECT_EQ(os::isDbcsLeadByte(page, std::uint8_t(b)),
                      cp::isLeadByte(page, std::uint8_t(b)))
                << page << " byte " << b;
    }
    for (unsigned page : {28586u, 28596u, 12345u, 0u, 1u, 3u, 1200u})
        EXPECT_FALSE(os::isValidCodePage(page) && cp::isValidCodePage(page)) << page;
    EXPECT_EQ(os::isValidCodePage(65001), cp::isValidCodePage(65001));
}

TEST(CodePageDifferential, EverySingleByteAndEveryPair) {
    Differences differences;
    for (unsigned page : pagesWindowsHas()) {
        for (unsigned flags : {0u, unsigned(MB_ERR_INVALID_CHARS)}) {
            for (unsigned b = 0; b < 256; ++b) {
                differences.toWide(page, flags, std::string(1, char(b)));
                if (!os::isDbcsLeadByte(page, std::uint8_t(b)))
                    continue;
                for (unsigned t = 0; t < 256; ++t)
                    differences.toWide(page, flags, std::string{char(b), char(t)});
                differences.toWide(page, flags, std::string{'a', char(b)});      // lead at the end
                differences.toWide(page, flags, std::string{char(b), 'a', 'b'}); // ASCII trail
            }
        }
    }
    EXPECT_EQ(differences.count(), 0);
}

TEST(CodePageDifferential, EveryUnitWithAndWithoutBestFit) {
    Differences differences;
    for (unsigned page : pagesWindowsHas())
        for (unsigned flags : {0u, unsigned(WC_NO_BEST_FIT_CHARS)})
            for (unsigned u = 0; u < 0x10000; ++u)
                differences.toBytes(page, flags, std::wstring(1, wchar_t(u)));
    EXPECT_EQ(differences.count(), 0);
}

TEST(CodePageDifferential, RandomStringsAndShortBuffers) {
    Differences differences;
    std::mt19937 random(7);
    const std::string interesting = std::string("\x00\x20\x41\x5C\x7F\x80\x81\x8F\x9F\xA0\xA1\xC0"
                                                "\xD8\xDF\xE0\xEF\xF0\xF7\xFC\xFE\xFF",
                                                21);
    for (unsigned page : pagesWindowsHas()) {
        for (int i = 0; i < 2000; ++i) {
            std::string in(1 + random() % 9, ' ');
            for (char& c : in)
                c = random() % 2 ? interesting[random() % interesting.size()] : char(random());
            const unsigned flags = random() % 2 ? MB_ERR_INVALID_CHARS : 0;
            differences.toWide(page, flags, in, int(random() % 12));
            std::wstring wide(1 + random() % 6, L' ');
            for (wchar_t& w : wide)
                w = wchar_t(random() % 3 ? random() % 0x10000 : random() % 0x100);
            differences.toBytes(page, random() % 2 ? WC_NO_BEST_FIT_CHARS : 0, wide,
                                int(random() % 12));
        }
    }
    EXPECT_EQ(differences.count(), 0);
}

TEST(CodePageDifferential, Utf8Sequences) {
    Differences differences;
    const std::string follow =
        std::string("\x00\x41\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC2\xDF\xE0\xED\xF0\xF4\xFF", 17);
    for (unsigned flags : {0u, unsigned(MB_ERR_INVALID_CHARS)}) {
        for (unsigned a = 0; a < 256; ++a) {
            differences.toWide(65001, flags, std::string(1, char(a)));
            for (unsigned b = 0; b < 256; ++b)
                differences.toWide(65001, flags, std::string{char(a), char(b)});
            if (a < 0xC0)
                continue;
            for (unsigned b = 0x80; b < 0xC0; ++b)
                for (char c : follow) {
                    differences.toWide(65001, flags, std::string{char(a), char(b), c});
                    for (char d : follow)
                        differences.toWide(65001, flags, std::string{char(a), char(b), c, d});
                }
        }
    }
    for (unsigned flags : {0u, unsigned(WC_ERR_INVALID_CHARS)}) {
        for (unsigned u = 0; u < 0x10000; ++u)
            differences.toBytes(65001, flags, std::wstring(1, wchar_t(u)));
        for (wchar_t high : {L'\xD800', L'\xDBFF', L'\xDC00'})
            for (wchar_t next : {L'\xDC00', L'\xDFFF', L'\xD800', L'A'})
                differences.toBytes(65001, flags, std::wstring{high, next}, 6);
    }
    EXPECT_EQ(differences.count(), 0);
}

TEST(CodePageDifferential, ParametersAndTerminatedInput) {
    Differences differences;
    differences.toWide(1252, 0, std::string("abc\0", 4), 2);
    differences.toWide(932, 0, std::string("\x82\xA0", 2), 1);
    differences.toBytes(932, 0, std::wstring(L"a\x3042"), 2);
    differences.toBytes(1252, 0, std::wstring(L"abc"), 2);
    EXPECT_EQ(differences.count(), 0);
    for (int length : {-1, -2}) {
        wchar_t w[8], e[8];
        const int nw = os::multiByteToWideChar(932, 0, "a\x82\xA0", length, w, 8);
        const int ne = cp::multiByteToWideChar(932, 0, "a\x82\xA0", length, e, 8).count;
        ASSERT_EQ(nw, ne);
        EXPECT_EQ(std::wstring(w, std::size_t(nw)), std::wstring(e, std::size_t(ne)));
    }
    ::SetLastError(0);
    EXPECT_EQ(os::multiByteToWideChar(1252, 0, "a", 0, nullptr, 0), 0);
    EXPECT_EQ(cp::multiByteToWideChar(1252, 0, "a", 0, nullptr, 0).error, os::threadLastError());
    ::SetLastError(0);
    EXPECT_EQ(os::multiByteToWideChar(28586, 0, "a", 1, nullptr, 0), 0);
    EXPECT_EQ(cp::multiByteToWideChar(28586, 0, "a", 1, nullptr, 0).error, os::threadLastError());
}

} // namespace

#endif
