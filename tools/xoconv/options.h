// Command line of xoconv.
#pragma once

#include <string>
#include <vector>

namespace xoconv {

// An encoding named on the command line: a Unicode form, or an 8-bit code page given
// as a library code page identifier.
struct Encoding {
    enum Kind { Auto, Ansi8, Utf8, Utf16Little, Utf16Big, Utf32Little, Utf32Big } kind = Auto;
    int codePageId = 0;       // for Ansi8: the code_page_id
    std::string name;         // as the user wrote it, for messages
    bool eitherOrder = false; // "utf-16", "utf-32": a byte-order mark of either order wins
};

enum class LineEnds { Keep, Lf, CrLf };

// What becomes of a character the target code page lacks. As with iconv, losing one is
// an error unless the user chose how to lose it.
enum class Lacking { Fail, Drop, Question, Cif };

struct Options {
    Encoding from;      // Auto: the byte-order mark, else the system code page
    Encoding to;        // default UTF-8
    Encoding candidate; // --detect: the code page tried against --from
    int bom = -1;       // -1 by format (UTF-16 yes, UTF-8 no), 0 no, 1 yes
    Lacking lacking = Lacking::Fail;
    bool decodeEscapes = true; // CIF and MIF escapes in 8-bit input
    LineEnds lineEnds = LineEnds::Keep;
    bool detect = false;
    bool inPlace = false;
    bool quiet = false;
    bool verbose = false; // say how each input was read
    bool list = false;    // -l: the encodings, then exit
    bool version = false; // --version
    std::string output;   // -o: a file, or "-"
    std::string outputDir;
    std::string dir; // --dir with --match
    std::string match;
    std::vector<std::string> inputs;
};

// Parses argv; on a usage error returns false with the message.
bool parseOptions(int argc, char** argv, Options& options, std::string& error, bool& help);

// "utf-8", "utf-16le", "utf-16be", "utf-32le", "utf-32be", "ansi", "932", "cp932", "id:38"; false
// when unknown.
bool parseEncoding(const std::string& text, Encoding& encoding);

// How messages name an encoding: "code page 1252" (the number also for "ansi", the
// system's), "UTF-8", "UTF-16LE", "UTF-16BE".
std::string describe(const Encoding& encoding);

const char* usage();

// The -l listing: every encoding the tool accepts, with its numbers and names.
std::string encodingList();

} // namespace xoconv
