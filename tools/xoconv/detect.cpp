#include <algorithm>
#include <cwctype>
#include <string>
#include <vector>

#include "XoCodePageMapper.h"
#include "codecs.h"
#include "convert.h"

namespace xoconv {

namespace {

// The first 4 MiB tell as much as the whole.
constexpr std::size_t kJudgedBytes = 4u << 20;

// What text in a code page is made of, to judge how plausible a reading is: the
// characters its languages use outside ASCII ("home"), and a few that mark the page
// out among pages whose homes overlap ("marks": kana for Japanese, Hangul for Korean,
// the commonest simplified or traditional characters for Chinese). East Asian text
// also holds Greek letters, arrows, shapes and mathematical signs.
struct Plausibility {
    int windows;
    const char* home;  // UTF-8; "A-B" pairs after '|' are ranges
    const char* marks; // UTF-8, as home
};

const Plausibility kJudged[] = {
    {1252, u8"àáâãäåæçèéêëìíîïñòóôöøùúûüÿßœšžÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÑÒÓÔÖØÙÚÛÜŸŒŠŽ", ""},
    {1250, u8"áäčďđéěíľňóôőöřšťúůűüýžąćęłńśźżăâîșşțţÁÄČĎĐÉĚÍĽŇÓÔŐÖŘŠŤÚŮŰÜÝŽĄĆĘŁŃŚŹŻĂÂÎȘŞȚŢ", ""},
    {1251, u8"|\u0400-\u045F\u0490-\u0491", ""},
    {1253, u8"|\u0386-\u03CE", ""},
    {1254, u8"àáâäçèéêëîïñòóôöùúûüßğışÀÁÂÄÇÈÉÊËÎÏÑÒÓÔÖÙÚÛÜĞİŞ", ""},
    {1255, u8"|\u05B0-\u05C7\u05D0-\u05EA", ""},
    {1256, u8"|\u0621-\u0652\u0660-\u0669\u067E-\u067E\u0686-\u0686\u0698-\u0698\u06AF-\u06AF", ""},
    {1257, u8"āčēģīķļņōŗšūžąęėįųäöüõĀČĒĢĪĶĻŅŌŖŠŪŽĄĘĖĮŲÄÖÜÕ", ""},
    {1258, u8"àáâãèéêìíòóôõùúýăđơưÀÁÂÃÈÉÊÌÍÒÓÔÕÙÚÝĂĐƠƯ|\u0300-\u0323", ""},
    {874, u8"|\u0E01-\u0E5B", ""},
    {932,
     u8"|\u00B1-\u00B1\u00D7-\u00D7\u00F7-\u00F7\u0391-\u03C9\u2010-\u2312\u2460-\u26FF\uFFE0-"
     u8"\uFFE5\u3000-\u30FF\u4E00-\u9FFF\uFF01-\uFF5E",
     u8"|\u3041-\u30FF"},
    {936,
     u8"|\u00B1-\u00B1\u00D7-\u00D7\u00F7-\u00F7\u0391-\u03C9\u2010-\u2312\u2460-\u26FF\uFFE0-"
     u8"\uFFE5\u3000-\u303F\u4E00-\u9FFF\uFF01-\uFF5E",
     u8"这们个来为国说时对会发后过还进么开经现动当没样学实长间问东见车从"},
    {949,
     u8"|\u00B1-\u00B1\u00D7-\u00D7\u00F7-\u00F7\u0391-\u03C9\u2010-\u2312\u2460-\u26FF\uFFE0-"
     u8"\uFFE5\u3000-\u303F\u3131-\u318E\uAC00-\uD7A3\uFF01-\uFF5E\u3200-\u32FF\uF900-\uFAFF",
     u8"|\uAC00-\uD7A3"},
    {950,
     u8"|\u00B1-\u00B1\u00D7-\u00D7\u00F7-\u00F7\u0391-\u03C9\u2010-\u2312\u2460-\u26FF\uFFE0-"
     u8"\uFFE5\u3000-\u303F\u4E00-\u9FFF\uFF01-\uFF5E",
     u8"這們個來為國說時對會發後過還進麼開經現動當沒樣學實長間問東見車從"},
};

// Whether the unit is in a set written as characters, then '|' and ranges.
bool inSet(wchar_t unit, const std::wstring& set) {
    const std::size_t bar = set.find(L'|');
    const std::size_t listed = bar == std::wstring::npos ? set.size() : bar;
    if (set.find(unit) < listed)
        return true;
    for (std::size_t i = listed + 1; i + 2 < set.size() + 1 && bar != std::wstring::npos; i += 3)
        if (i + 2 < set.size() + 1 && unit >= set[i] && unit <= set[i + 2])
            return true;
    return false;
}

std::wstring unitsOf(const char* utf8) {
    Encoding encoding;
    encoding.kind = Encoding::Utf8;
    std::wstring units;
    decodeWhole(encoding, utf8, units);
    return units;
}

// The text of bytes in an 8-bit code page, false when some byte is no character of it.
bool readsAs(const std::string& bytes, int windows, std::wstring& text) {
    Encoding encoding;
    return parseEncoding(std::to_string(windows), encoding) && encoding.kind == Encoding::Ansi8 &&
           decodeWhole(encoding, bytes, text);
}

// Reads up to room bytes of in, appending to bytes.
bool readSome(Source& in, std::string& bytes, std::size_t room) {
    std::string error;
    const std::size_t start = bytes.size();
    bytes.resize(start + room);
    std::size_t have = 0;
    while (have < room) {
        std::size_t got = 0;
        if (!in.read(reinterpret_cast<unsigned char*>(&bytes[start + have]), room - have, got,
                     error) ||
            got == 0)
            break;
        have += got;
    }
    bytes.resize(start + have);
    return have == room;
}

// Whether the input, whose first bytes are head, is UTF-8 throughout; ascii whether it
// is ASCII only.
bool allUtf8(Source& in, const std::string& head, bool more, bool& ascii) {
    Utf8Check check;
    std::string bytes = head;
    for (;;) {
        const std::size_t used =
            check.feed(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), !more);
        if (!check.valid() || !more)
            break;
        bytes.erase(0, used);
        more = readSome(in, bytes, kPieceSize);
    }
    ascii = check.ascii();
    return check.valid();
}

// Punctuation any page's text may hold: it tells the pages apart no more than ASCII.
bool neutral(wchar_t unit) {
    return (unit >= 0x2010 && unit <= 0x2027) || unit == 0x20AC || unit == 0xA0 || unit == 0xAB ||
           unit == 0xBB || unit == 0xB0 || unit == 0xA7 || unit == 0xB7 || unit == 0xA9 ||
           unit == 0xAE || unit == 0xA1 || unit == 0xBF;
}

// 1 for an upper-case letter, -1 for a lower-case one, 0 otherwise, for the scripts
// whose pages are told apart by case (a reading in the wrong page puts capitals in
// the middle of words).
int caseOf(wchar_t unit) {
    if ((unit >= L'A' && unit <= L'Z') || (unit >= 0xC0 && unit <= 0xDE && unit != 0xD7) ||
        (unit >= 0x391 && unit <= 0x3AB) || (unit >= 0x410 && unit <= 0x42F))
        return 1;
    if ((unit >= L'a' && unit <= L'z') || (unit >= 0xDF && unit <= 0xFF && unit != 0xF7) ||
        (unit >= 0x3AC && unit <= 0x3CE) || (unit >= 0x430 && unit <= 0x44F))
        return -1;
    return 0;
}

struct Reading {
    int windows;
    double home;  // share of the telling characters at home in the page
    double marks; // share of them that mark the page out
};

} // namespace

std::string detect(Source& in, const Options& options, Encoding* chosen) {
    std::string bytes;
    const bool more = readSome(in, bytes, kJudgedBytes);
    Encoding marked;
    if (markOf(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), marked) > 0) {
        if (chosen)
            *chosen = marked;
        return "byte-order mark " + describe(marked);
    }
    bool ascii = true;
    if (allUtf8(in, bytes, more, ascii)) {
        if (chosen)
            parseEncoding("utf-8", *chosen);
        return ascii ? "ASCII only (every code page reads it alike)" : "UTF-8 (no byte-order mark)";
    }
    // Cut after a line feed, so that no double-byte character is split.
    if (more) {
        const std::size_t cut = bytes.rfind('\n');
        if (cut != std::string::npos)
            bytes.resize(cut + 1);
    }
    std::vector<Reading> readings;
    std::vector<int> pages;
    for (const Plausibility& page : kJudged)
        pages.push_back(page.windows);
    const int extra =
        XoCodePageMapper::veskCpToAnsiCp(static_cast<code_page_id>(options.candidate.codePageId));
    if (std::find(pages.begin(), pages.end(), extra) == pages.end())
        pages.push_back(extra);
    for (int windows : pages) {
        std::wstring text;
        if (XoCodePageMapper::ansiCpToVeskCp(windows) == 0 || !readsAs(bytes, windows, text))
            continue;
        const Plausibility* judged = nullptr;
        for (const Plausibility& page : kJudged)
            if (page.windows == windows)
                judged = &page;
        const std::wstring home = judged ? unitsOf(judged->home) : std::wstring();
        const std::wstring marking = judged ? unitsOf(judged->marks) : std::wstring();
        // A page of one other script reads Latin text as words of that script mixed
        // with ASCII letters ("cafй" in 1251): there a character beside an ASCII
        // letter is not at home.
        const bool ownScript = windows == 1251 || windows == 1253 || windows == 1255 ||
                               windows == 1256 || windows == 874;
        const auto asciiLetter = [&text](std::size_t i) {
            return i < text.size() && text[i] < 0x80 && std::iswalpha(text[i]);
        };
        std::size_t telling = 0, atHome = 0, markedCount = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const wchar_t unit = text[i];
            if (unit < 0x80 || neutral(unit))
                continue;
            ++telling;
            const bool mixed =
                (ownScript && ((i > 0 && asciiLetter(i - 1)) || asciiLetter(i + 1))) ||
                (i > 0 && caseOf(unit) == 1 && caseOf(text[i - 1]) == -1);
            atHome += !mixed && inSet(unit, home);
            markedCount += !marking.empty() && inSet(unit, marking);
        }
        const double share = telling ? double(atHome) / double(telling) : 1.0;
        const double marks = telling ? double(markedCount) / double(telling) : 0.0;
        readings.push_back({windows, share, marks});
    }
    if (readings.empty())
        return "8-bit text that no code page reads without error";
    // Most at home first; among pages that tie, the one its marks point to.
    std::stable_sort(readings.begin(), readings.end(), [](const Reading& a, const Reading& b) {
        const int left = int(a.home * 100 + 0.5), right = int(b.home * 100 + 0.5);
        return left != right ? left > right : a.marks > b.marks;
    });
    if (chosen)
        parseEncoding(std::to_string(readings.front().windows), *chosen);
    std::string report = "8-bit; code pages that read it, most plausible first:";
    for (const Reading& reading : readings) {
        report += " " + std::to_string(reading.windows) + " (" +
                  std::to_string(int(reading.home * 100 + 0.5)) + "%)";
    }
    return report;
}

} // namespace xoconv
