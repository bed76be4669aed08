// Writes the generated tables of the locale helpers: which character sets can show each
// UTF-16 unit (from the library's own code-page conversions) and the script class of
// each code point (from the Unicode Character Database). The rules are in
// docs/localetables.md; run tools/regenerate-localetables.sh and review the diff.
//
//   xo_localetablegen <unicode data folder> <output folder>
#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "XoLocaleHelpers.h"
#include "encoding/xolocaletables.h"
#include "platform/codepage.h"

namespace {

namespace enc = xo::encoding;

constexpr std::uint32_t kCodePointCount = 0x110000;
constexpr int kUnicodeMajor = 11; // the repertoire the tables describe: Unicode 11.0
constexpr int kUnicodeMinor = 0;
constexpr std::uint32_t kRangesFrom = 0x3200;

[[noreturn]] void fail(const std::string& why) {
    std::fprintf(stderr, "xo_localetablegen: %s\n", why.c_str());
    std::exit(1);
}

std::string trim(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos)
        return "";
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

struct Line {
    std::uint32_t first;
    std::uint32_t last;
    std::vector<std::string> fields; // after the code points
};

// Data lines of a UCD file: "XXXX[..YYYY] ; field ; field # comment".
std::vector<Line> readUcd(const std::string& path) {
    std::ifstream in(path);
    if (!in)
        fail("cannot read " + path);
    std::vector<Line> lines;
    for (std::string text; std::getline(in, text);) {
        text = trim(text.substr(0, text.find('#')));
        if (text.empty())
            continue;
        std::vector<std::string> fields;
        std::istringstream parts(text);
        for (std::string part; std::getline(parts, part, ';');)
            fields.push_back(trim(part));
        Line line{};
        const std::string& range = fields.front();
        const auto dots = range.find("..");
        line.first = std::uint32_t(std::stoul(range.substr(0, dots), nullptr, 16));
        line.last = dots == std::string::npos
                        ? line.first
                        : std::uint32_t(std::stoul(range.substr(dots + 2), nullptr, 16));
        line.fields.assign(fields.begin() + 1, fields.end());
        lines.push_back(line);
    }
    return lines;
}

std::string versionOf(const std::string& path) {
    std::ifstream in(path);
    std::string first;
    std::getline(in, first);
    return trim(first.substr(first.find_first_not_of("# ")));
}

// Script names as Scripts.txt spells them, plus two labels of the generator's own.
const char kSurrogate[] = "(surrogate)";
const char kPrivateUse[] = "(private use)";

// The script classes: see docs/localetables.md.
int scriptClassOf(const std::string& script) {
    static const std::map<std::string, int> classes = {
        {"Greek", 1},       {"Coptic", 1},     {"Cyrillic", 2},  {"Armenian", 3},   {"Georgian", 4},
        {"Hebrew", 5},      {"Arabic", 6},     {"Syriac", 7},    {"Thaana", 8},     {"Thai", 9},
        {"Lao", 10},        {"Latin", 11},     {"Common", 11},   {"Inherited", 11}, {"Han", 12},
        {"Hiragana", 12},   {"Katakana", 12},  {"Bopomofo", 12}, {kSurrogate, 12},  {"Hangul", 13},
        {"Devanagari", 14}, {"Bengali", 15},   {"Gurmukhi", 16}, {"Gujarati", 17},  {"Oriya", 18},
        {"Tamil", 19},      {"Telugu", 20},    {"Kannada", 21},  {"Malayalam", 22}, {"Sinhala", 23},
        {"Tibetan", 24},    {kPrivateUse, 25}, {"Myanmar", 26},  {"Khmer", 27},
    };
    const auto found = classes.find(script);
    return found == classes.end() ? 28 : found->second;
}

bool isNeutral(const std::string& script) {
    return script == "Common" || script == "Inherited";
}

struct Ucd {
    std::vector<std::string> script;                  // per code point; empty: unassigned
    std::vector<std::vector<std::string>> extensions; // Script_Extensions, long names
    struct Block {
        std::uint32_t first, last;
        std::string name;
    };
    std::vector<Block> blocks;
};

Ucd readUnicode(const std::string& folder) {
    Ucd ucd;
    std::vector<bool> inRepertoire(kCodePointCount, false);
    for (const Line& line : readUcd(folder + "/DerivedAge.txt")) {
        const std::string& age = line.fields.at(0);
        const int major = std::stoi(age);
        const int minor = std::stoi(age.substr(age.find('.') + 1));
        if (major < kUnicodeMajor || (major == kUnicodeMajor && minor <= kUnicodeMinor))
            for (std::uint32_t cp = line.first; cp <= line.last; ++cp)
                inRepertoire[cp] = true;
    }
    ucd.script.assign(kCodePointCount, std::string());
    for (const Line& line : readUcd(folder + "/Scripts.txt"))
        for (std::uint32_t cp = line.first; cp <= line.last; ++cp)
            if (inRepertoire[cp])
                ucd.script[cp] = line.fields.at(0);

    std::map<std::string, std::string> longNames; // script aliases: "sc ; Deva ; Devanagari"
    {
        std::ifstream in(folder + "/PropertyValueAliases.txt");
        for (std::string text; std::getline(in, text);) {
            text = trim(text.substr(0, text.find('#')));
            std::vector<std::string> fields;
            std::istringstream parts(text);
            for (std::string part; std::getline(parts, part, ';');)
                fields.push_back(trim(part));
            if (fields.size() >= 3 && fields[0] == "sc")
                longNames[fields[1]] = fields[2];
        }
    }
    ucd.extensions.assign(kCodePointCount, {});
    for (const Line& line : readUcd(folder + "/ScriptExtensions.txt")) {
        std::vector<std::string> names;
        std::istringstream shortNames(line.fields.at(0));
        for (std::string name; shortNames >> name;)
            names.push_back(longNames.at(name));
        for (std::uint32_t cp = line.first; cp <= line.last; ++cp)
            if (inRepertoire[cp])
                ucd.extensions[cp] = names;
    }
    for (const Line& line : readUcd(folder + "/Blocks.txt"))
        ucd.blocks.push_back({line.first, line.last, line.fields.at(0)});
    return ucd;
}

// --- Scripts ---

// The script label of every code point inside a block of the repertoire; empty outside.
std::vector<std::string> scriptLabels(const Ucd& ucd) {
    std::vector<std::string> label(kCodePointCount);
    for (const Ucd::Block& block : ucd.blocks) {
        std::string whole;
        if (block.name.find("Surrogates") != std::string::npos)
            whole = kSurrogate;
        else if (block.name.find("Private Use") != std::string::npos)
            whole = kPrivateUse;
        if (!whole.empty()) {
            std::fill(label.begin() + block.first, label.begin() + block.last + 1, whole);
            continue;
        }
        // The block's main script: the most frequent one other than Common and
        // Inherited (the earliest on a tie), else the most frequent of those two.
        std::vector<std::pair<std::string, int>> counts; // in order of appearance
        auto count = [&](bool neutralToo) {
            counts.clear();
            for (std::uint32_t cp = block.first; cp <= block.last; ++cp) {
                const std::string& script = ucd.script[cp];
                if (script.empty() || (!neutralToo && isNeutral(script)))
                    continue;
                auto found = std::find_if(counts.begin(), counts.end(),
                                          [&](const auto& c) { return c.first == script; });
                if (found == counts.end())
                    counts.emplace_back(script, 1);
                else
                    ++found->second;
            }
        };
        count(false);
        if (counts.empty())
            count(true);
        if (counts.empty())
            continue; // not yet in the repertoire: the block does not exist
        const std::string main =
            std::max_element(counts.begin(), counts.end(), [](const auto& a, const auto& b) {
                return a.second < b.second;
            })->first;
        for (std::uint32_t cp = block.first; cp <= block.last; ++cp) {
            const std::string& script = ucd.script[cp];
            if (!script.empty())
                label[cp] = isNeutral(script) ? main : script;
        }
        // Unassigned code points go with the next assigned one of the block, those at
        // its end with the last.
        std::string next;
        for (std::uint32_t cp = block.last + 1; cp-- > block.first;) {
            if (!ucd.script[cp].empty())
                next = label[cp];
            else
                label[cp] = next;
        }
        std::string previous;
        for (std::uint32_t cp = block.first; cp <= block.last; ++cp) {
            if (label[cp].empty())
                label[cp] = previous;
            previous = label[cp];
        }
    }
    return label;
}

struct Row {
    std::uint32_t upper;
    int scriptClass;
    std::uint32_t nextStart;
    std::string script;
};

std::vector<Row> scriptRows(const std::vector<std::string>& label) {
    std::vector<Row> rows;
    std::string current;
    for (std::uint32_t cp = kRangesFrom; cp < kCodePointCount; ++cp) {
        if (label[cp].empty())
            continue;
        if (!rows.empty() && label[cp] == current) {
            rows.back().upper = cp;
            continue;
        }
        if (!rows.empty())
            rows.back().nextStart = cp;
        current = label[cp];
        rows.push_back({cp, scriptClassOf(current), 0, current});
    }
    rows.back().nextStart = kCodePointCount;
    return rows;
}

// --- Character sets ---

int bitCount(std::uint32_t mask) {
    return int(std::bitset<32>(mask).count());
}

// The scripts of the Indic sets of the mask bits 15 to 22, as the locale table uses
// them (Bengali locales are 256, Punjabi 257, ...).
const std::array<const char*, 8> kIndicScripts = {
    "Bengali", "Gurmukhi", "Gujarati", "Tamil", "Telugu", "Kannada", "Malayalam", "Devanagari",
};
constexpr unsigned kFirstIndicBit = 15;

std::uint32_t showingSets(std::uint32_t unit, const Ucd& ucd) {
    std::uint32_t sets = 0;
    for (unsigned bit = 0; bit < kFirstIndicBit; ++bit) {
        const unsigned codePage = getAnsiCpByCharSet(enc::kMaskCharSets[bit]);
        if (codePage == 0)
            continue; // Johab has no ANSI code page
        const wchar_t wide = wchar_t(unit);
        char bytes[4];
        bool usedDefault = false;
        if (xo::platform::wideCharToMultiByte(codePage, xo::platform::kWcNoBestFitChars, &wide, 1,
                                              bytes, 4, nullptr, &usedDefault) > 0 &&
            !usedDefault)
            sets |= 1u << bit;
    }
    const std::string& script = ucd.script[unit];
    for (unsigned i = 0; i < kIndicScripts.size(); ++i) {
        bool shows = unit < 0x80 || script == kIndicScripts[i];
        if (isNeutral(script))
            for (const std::string& extension : ucd.extensions[unit])
                shows = shows || extension == kIndicScripts[i];
        if (shows)
            sets |= 1u << (kFirstIndicBit + i);
    }
    return sets;
}

// The class with the fewest sets among those holding every set that can show it.
int charClassOf(std::uint32_t sets) {
    int best = -1;
    for (unsigned c = 0; c < enc::kCharClassCount; ++c)
        if ((enc::kCharClassMasks[c] & sets) == sets &&
            (best < 0 || bitCount(enc::kCharClassMasks[c]) < bitCount(enc::kCharClassMasks[best])))
            best = int(c);
    if (best < 0)
        fail("no class holds the sets " + std::to_string(sets));
    return best;
}

// --- Output ---

void writeRuns(const std::string& path, const std::vector<int>& classes, const std::string& head) {
    std::string runs;
    for (std::size_t i = 0; i < classes.size();) {
        std::size_t end = i;
        while (end < classes.size() && classes[end] == classes[i])
            ++end;
        runs += enc::kRunClassLetters[classes[i]];
        if (end - i > 1)
            runs += std::to_string(end - i);
        i = end;
    }
    std::ofstream out(path);
    out << head;
    for (std::size_t i = 0; i < runs.size(); i += 96)
        out << '"' << runs.substr(i, 96) << "\"\n";
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        fail("usage: xo_localetablegen <unicode data folder> <output folder>");
    const std::string folder = argv[1];
    const std::string out = argv[2];
    const Ucd ucd = readUnicode(folder);
    const std::string source = "// Generated by tools/localetablegen from the Unicode " +
                               std::to_string(kUnicodeMajor) + "." + std::to_string(kUnicodeMinor) +
                               " repertoire of " + versionOf(folder + "/Scripts.txt") +
                               "\n// and the code-page conversions; rules in docs/localetables.md. "
                               "Do not edit.\n";

    const std::vector<std::string> label = scriptLabels(ucd);
    std::vector<int> below(kRangesFrom, 0);
    for (std::uint32_t cp = 0; cp < kRangesFrom; ++cp)
        below[cp] = label[cp].empty() ? 0 : scriptClassOf(label[cp]);
    writeRuns(out + "/localescriptclasses.inc", below,
              "// Script class of each code point below U+3200.\n" + source);

    const std::vector<Row> rows = scriptRows(label);
    if (rows.size() != enc::kScriptRangeCount)
        fail("the rules give " + std::to_string(rows.size()) + " script ranges, not " +
             std::to_string(enc::kScriptRangeCount));
    {
        std::ofstream file(out + "/localescriptranges.inc");
        file << "// Script ranges from U+3200: upper bound, class, start of the next range.\n"
             << source;
        char text[96];
        for (const Row& row : rows) {
            std::snprintf(text, sizeof text, "{0x%06X, %2d, 0x%06X}, // %s\n", unsigned(row.upper),
                          row.scriptClass, unsigned(row.nextStart), row.script.c_str());
            file << text;
        }
    }

    std::vector<int> classes(enc::kCharClassEntries);
    std::vector<int> perClass(enc::kCharClassCount, 0);
    for (std::uint32_t unit = 0; unit < enc::kCharClassEntries; ++unit) {
        classes[unit] = charClassOf(showingSets(unit, ucd));
        ++perClass[std::size_t(classes[unit])];
    }
    writeRuns(out + "/localecharclasses.inc", classes,
              "// Character class of each UTF-16 unit.\n" + source);

    std::printf("%zu script ranges; units per character class:", rows.size());
    for (unsigned c = 0; c < enc::kCharClassCount; ++c)
        std::printf(" %u:%d", c, perClass[c]);
    std::printf("\n");
    return 0;
}
