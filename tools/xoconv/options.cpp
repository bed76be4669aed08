#include "options.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "XoCodePageMapper.h"

namespace xoconv {

namespace {

bool number(const std::string& text, long& value) {
    if (text.empty() || text.size() > 9 || !std::all_of(text.begin(), text.end(), ::isdigit))
        return false;
    value = std::strtol(text.c_str(), nullptr, 10);
    return true;
}

// An option's value: "--name=value", or the next argument.
bool valueOf(const std::string& arg, const char* name, int& i, int argc, char** argv,
             std::string& value, std::string& error) {
    const std::string prefix = std::string(name) + "=";
    if (arg.compare(0, prefix.size(), prefix) == 0) {
        value = arg.substr(prefix.size());
        return true;
    }
    if (i + 1 >= argc) {
        error = std::string("option ") + name + " needs a value";
        return false;
    }
    value = argv[++i];
    return true;
}

} // namespace

namespace {

// The code pages by library identifier: the enumerator's name and the common names
// (beyond cpNNNN, windows-NNNN and ibmNNN, which any page answers to by its number).
struct Page {
    int id;
    const char* idName;
    const char* names;
};

const Page kPages[] = {
    {1, "CODE_PAGE_US_ASCII", ""},
    {2, "CODE_PAGE_ISO8859_1", "iso-8859-1, latin1, l1"},
    {3, "CODE_PAGE_ISO8859_2", "iso-8859-2, latin2, l2"},
    {4, "CODE_PAGE_ISO8859_3", "iso-8859-3, latin3, l3"},
    {5, "CODE_PAGE_ISO8859_4", "iso-8859-4, latin4, l4"},
    {6, "CODE_PAGE_ISO8859_5", "iso-8859-5"},
    {8, "CODE_PAGE_ISO8859_7", "iso-8859-7"},
    {9, "CODE_PAGE_ISO8859_8", "iso-8859-8"},
    {10, "CODE_PAGE_ISO8859_9", "iso-8859-9, latin5, l5"},
    {11, "CODE_PAGE_DOS_US", ""},
    {12, "CODE_PAGE_DOS_LATIN1", ""},
    {13, "CODE_PAGE_DOS_LATIN2", ""},
    {14, "CODE_PAGE_DOS_CYRILLIC", ""},
    {15, "CODE_PAGE_DOS_TURKISH", ""},
    {16, "CODE_PAGE_DOS_PORTUGUESE", ""},
    {17, "CODE_PAGE_DOS_ICELANDIC", ""},
    {18, "CODE_PAGE_DOS_CANADIAN_FRENCH", ""},
    {19, "CODE_PAGE_DOS_ARABIC", ""},
    {20, "CODE_PAGE_DOS_NORDIC", ""},
    {21, "CODE_PAGE_DOS_GREEK", ""},
    {22, "CODE_PAGE_JAPANESE_DOS", "converts as 932"},
    {23, "CODE_PAGE_MAC_ROMAN", "macintosh, mac, macroman"},
    {24, "CODE_PAGE_TRADITIONAL_CHINESE_SECOND", "converts as 950"},
    {25, "CODE_PAGE_KOREAN_SECOND", "converts as 949"},
    {26, "CODE_PAGE_JOHAB_SECOND", "converts as 1361"},
    {27, "CODE_PAGE_DOS_RUSSIAN", ""},
    {28, "CODE_PAGE_WIN_CENTRAL_EUROPEAN", ""},
    {29, "CODE_PAGE_WIN_CYRILLIC", ""},
    {30, "CODE_PAGE_WIN_WESTERN", ""},
    {31, "CODE_PAGE_SIMPLIFIED_CHINESE_SECOND", "converts as 936"},
    {32, "CODE_PAGE_WIN_GREEK", ""},
    {33, "CODE_PAGE_WIN_TURKISH", ""},
    {34, "CODE_PAGE_WIN_HEBREW", ""},
    {35, "CODE_PAGE_WIN_ARABIC", ""},
    {36, "CODE_PAGE_WIN_BALTIC", ""},
    {37, "CODE_PAGE_WIN_THAI", "tis-620"},
    {38, "CODE_PAGE_JAPANESE", "shift_jis, sjis, ms932, windows-31j, ms_kanji"},
    {39, "CODE_PAGE_SIMPLIFIED_CHINESE", "gbk, gb2312, euc-cn, ms936"},
    {40, "CODE_PAGE_KOREAN", "euc-kr, uhc, ks_c_5601-1987, ms949"},
    {41, "CODE_PAGE_TRADITIONAL_CHINESE", "big5, ms950"},
    {42, "CODE_PAGE_JOHAB", "johab"},
    {44, "CODE_PAGE_WIN_VIETNAMESE", ""},
};

// Lower case without '-', '_' and spaces: "Shift_JIS" and "shift-jis" are one name.
std::string folded(const std::string& text) {
    std::string result;
    for (unsigned char c : text)
        if (c != '-' && c != '_' && c != ' ')
            result += char(std::tolower(c));
    return result;
}

int pageByName(const std::string& name) {
    for (const Page& page : kPages) {
        const std::string names = page.names;
        if (names.compare(0, 11, "converts as") == 0)
            continue;
        std::size_t start = 0;
        while (start < names.size()) {
            const std::size_t end = std::min(names.find(',', start), names.size());
            if (folded(names.substr(start, end - start)) == name)
                return page.id;
            start = end + 1;
            while (start < names.size() && names[start] == ' ')
                ++start;
        }
    }
    return 0;
}

} // namespace

bool parseEncoding(const std::string& text, Encoding& encoding) {
    const std::string name = folded(text);
    encoding = Encoding{};
    encoding.name = text;
    long value = 0;
    if (name == "utf8") {
        encoding.kind = Encoding::Utf8;
    } else if (name == "utf16" || name == "unicode") {
        encoding.kind = Encoding::Utf16Little;
        encoding.eitherOrder = true;
    } else if (name == "utf16le") {
        encoding.kind = Encoding::Utf16Little;
    } else if (name == "utf16be") {
        encoding.kind = Encoding::Utf16Big;
    } else if (name == "utf32") {
        encoding.kind = Encoding::Utf32Little;
        encoding.eitherOrder = true;
    } else if (name == "utf32le") {
        encoding.kind = Encoding::Utf32Little;
    } else if (name == "utf32be") {
        encoding.kind = Encoding::Utf32Big;
    } else if (name == "ansi") {
        encoding.kind = Encoding::Ansi8;
        encoding.codePageId = 46; // the system ANSI code page
    } else if (name.compare(0, 3, "id:") == 0 && number(name.substr(3), value)) {
        if (value < 1 || value > 46 || value == 43 || value == 7)
            return false;
        encoding.kind = value == 45 ? Encoding::Utf8 : Encoding::Ansi8;
        encoding.codePageId = int(value);
    } else if (const int named = pageByName(name)) {
        encoding.kind = Encoding::Ansi8;
        encoding.codePageId = named;
    } else if (name.compare(0, 7, "iso8859") == 0 && number(name.substr(7), value)) {
        const int iso = int(XoCodePageMapper::ansiCpToVeskCp(int(28590 + value)));
        if (value < 1 || value > 9 || iso == 0 || iso == 43 || iso == 7)
            return false;
        encoding.kind = Encoding::Ansi8;
        encoding.codePageId = iso;
    } else {
        std::string digits = name;
        for (const char* prefix : {"windows", "cp", "ibm", "ms"}) {
            const std::size_t length = std::strlen(prefix);
            if (digits.compare(0, length, prefix) == 0) {
                digits = digits.substr(length);
                break;
            }
        }
        if (!number(digits, value))
            return false;
        if (value == 65001) {
            encoding.kind = Encoding::Utf8;
            return true;
        }
        const int id = int(XoCodePageMapper::ansiCpToVeskCp(int(value)));
        if (id == 0 || id == 43 || id == 7)
            return false;
        encoding.kind = Encoding::Ansi8;
        encoding.codePageId = id;
    }
    return true;
}

std::string encodingList() {
    std::string list =
        "Unicode: utf-8 (65001, id:45), utf-16 and utf-32 (reading: the byte-order mark of\n"
        "either order, else little-endian; writing: little-endian with a mark), utf-16le,\n"
        "utf-16be, utf-32le, utf-32be\n"
        "ansi: the system's ANSI code page (id:46), now " +
        std::to_string(XoCodePageMapper::currentSystemAnsiCp()) +
        "\n\n"
        "code page  identifier                                names\n";
    for (const Page& page : kPages) {
        const int windows = XoCodePageMapper::veskCpToAnsiCp(static_cast<code_page_id>(page.id));
        char line[160];
        const std::string second = page.names;
        const bool twin = second.compare(0, 11, "converts as") == 0;
        std::string names = twin ? "" : "cp" + std::to_string(windows);
        if (!twin && windows >= 1250 && windows <= 1258)
            names += ", windows-" + std::to_string(windows);
        if (!twin && std::strstr(page.idName, "_DOS_") != nullptr)
            names += ", ibm" + std::to_string(windows);
        if (windows == 3) // the library maps this identifier to the thread's code page
            names = "follows the system's ANSI code page";
        if (!second.empty())
            names = twin ? second : second + ", " + names;
        std::snprintf(line, sizeof line, "%9s  %-36s id:%-2d  %s\n",
                      windows == 3 ? "-" : std::to_string(windows).c_str(), page.idName, page.id,
                      names.c_str());
        list += line;
    }
    return list;
}

bool parseOptions(int givenCount, char** given, Options& options, std::string& error, bool& help) {
    help = false;
    // Values attached to short options as iconv takes them ("-fcp932", "-oout.txt")
    // are split off first.
    std::vector<std::string> words;
    for (int i = 0; i < givenCount; ++i) {
        const std::string word = given[i];
        if (i > 0 && word.size() > 2 && word[0] == '-' &&
            (word[1] == 'f' || word[1] == 't' || word[1] == 'o')) {
            words.push_back(word.substr(0, 2));
            words.push_back(word.substr(2));
        } else {
            words.push_back(word);
        }
    }
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(&word[0]);
    const int argc = int(pointers.size());
    char** argv = pointers.data();
    options.to.kind = Encoding::Utf8;
    options.to.name = "utf-8";
    parseEncoding("cp932", options.candidate);
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        std::string value;
        auto is = [&arg](const char* name) {
            const std::string n(name);
            return arg == n || arg.compare(0, n.size() + 1, n + "=") == 0;
        };
        if (arg == "-h" || arg == "--help") {
            help = true;
            return true;
        } else if (is("-f") || is("--from") || is("-t") || is("--to") || is("--candidate")) {
            const bool from = is("-f") || is("--from");
            const bool to = is("-t") || is("--to");
            const char* name = from ? (is("-f") ? "-f" : "--from")
                               : to ? (is("-t") ? "-t" : "--to")
                                    : "--candidate";
            if (!valueOf(arg, name, i, argc, argv, value, error))
                return false;
            Encoding& target = from ? options.from : to ? options.to : options.candidate;
            if (!parseEncoding(value, target)) {
                error = "unknown encoding \"" + value + "\"";
                return false;
            }
            if (!from && !to && target.kind != Encoding::Ansi8) {
                error = "--candidate must be an 8-bit code page";
                return false;
            }
        } else if (is("-o") || is("--output")) {
            if (!valueOf(arg, is("-o") ? "-o" : "--output", i, argc, argv, options.output, error))
                return false;
        } else if (is("--output-dir")) {
            if (!valueOf(arg, "--output-dir", i, argc, argv, options.outputDir, error))
                return false;
        } else if (is("--dir")) {
            if (!valueOf(arg, "--dir", i, argc, argv, options.dir, error))
                return false;
        } else if (is("--match")) {
            if (!valueOf(arg, "--match", i, argc, argv, options.match, error))
                return false;
        } else if (arg == "--bom") {
            options.bom = 1;
        } else if (arg == "--no-bom") {
            options.bom = 0;
        } else if (arg == "--cif") {
            options.lacking = Lacking::Cif;
        } else if (arg == "-c" || arg == "--drop") {
            options.lacking = Lacking::Drop;
        } else if (arg == "--replace") {
            options.lacking = Lacking::Question;
        } else if (arg == "--no-escapes") {
            options.decodeEscapes = false;
        } else if (arg == "--lf") {
            options.lineEnds = LineEnds::Lf;
        } else if (arg == "--crlf") {
            options.lineEnds = LineEnds::CrLf;
        } else if (arg == "--detect") {
            options.detect = true;
        } else if (arg == "--in-place") {
            options.inPlace = true;
        } else if (arg == "-q" || arg == "--quiet") {
            options.quiet = true;
        } else if (arg == "-v" || arg == "--verbose") {
            options.verbose = true;
        } else if (arg == "-l" || arg == "--list") {
            options.list = true;
        } else if (arg == "--version") {
            options.version = true;
        } else if (arg.size() > 1 && arg[0] == '-') {
            error = "unknown option " + arg;
            return false;
        } else {
            options.inputs.push_back(arg);
        }
    }
    if (!options.match.empty() && options.dir.empty())
        options.dir = ".";
    if (!options.dir.empty() && options.match.empty())
        options.match = "*";
    const bool several = options.inputs.size() > 1 || !options.dir.empty();
    if (!options.output.empty() && (several || options.inPlace || !options.outputDir.empty())) {
        error = "-o takes a single input and no --in-place or --output-dir";
        return false;
    }
    if (options.inPlace &&
        std::find(options.inputs.begin(), options.inputs.end(), "-") != options.inputs.end()) {
        error = "standard input cannot be converted in place";
        return false;
    }
    return true;
}

std::string describe(const Encoding& encoding) {
    switch (encoding.kind) {
    case Encoding::Utf8:
        return "UTF-8";
    case Encoding::Utf16Little:
        return "UTF-16LE";
    case Encoding::Utf16Big:
        return "UTF-16BE";
    case Encoding::Utf32Little:
        return "UTF-32LE";
    case Encoding::Utf32Big:
        return "UTF-32BE";
    case Encoding::Auto:
        return "(not known yet)";
    case Encoding::Ansi8:
        break;
    }
    const code_page_id id = static_cast<code_page_id>(encoding.codePageId);
    int windows = XoCodePageMapper::veskCpToAnsiCp(id);
    const bool system = encoding.codePageId == 46 || windows == 3;
    if (system)
        windows = XoCodePageMapper::currentSystemAnsiCp();
    return "code page " + std::to_string(windows) + (system ? " (the system's)" : "");
}

const char* usage() {
    return "Usage: xoconv [OPTIONS] [INPUT...]\n"
           "Converts text files between 8-bit code pages, UTF-8 and UTF-16 with the\n"
           "XoOsBase library, decoding the CIF (\\U+XXXX) and MIF (\\M+NXXXX) escapes of\n"
           "8-bit drawing text. An INPUT of - is standard input. Without inputs,\n"
           "standard input when it is a pipe or a file, else (a terminal) the bundled\n"
           "sample. Several inputs without --output-dir or --in-place are written to\n"
           "standard output one after the other (a byte-order mark only before the\n"
           "first).\n"
           "\n"
           "Encodings: utf-8, utf-16, utf-16le, utf-16be, utf-32, utf-32le, utf-32be,\n"
           "ansi (the system code page), a Windows code page number (932, cp932,\n"
           "windows-1252), a common name (shift_jis, latin1, gbk, big5, euc-kr, ...) or a\n"
           "library code page identifier (id:38); -l lists them all. Case, - and _ do\n"
           "not matter in names, and values may be attached (-fcp932).\n"
           "\n"
           "  -f, --from=ENC       input encoding (default: the byte-order mark, else UTF-8\n"
           "                       when the input is valid UTF-8, else ansi)\n"
           "  -t, --to=ENC         output encoding (default: utf-8)\n"
           "      --bom, --no-bom  write a byte-order mark (default: UTF-16 and UTF-32)\n"
           "A character the target code page lacks is an error (nothing is written)\n"
           "unless one of these says what to write instead:\n"
           "      --cif            write it as its CIF escape (and a backslash that\n"
           "                       would read as an escape as \\U+005C, so that text reads\n"
           "                       back as itself)\n"
           "      --replace        write it as '?', with a warning\n"
           "  -c, --drop           leave it out, with a warning\n"
           "      --no-escapes     keep CIF and MIF escapes of 8-bit input as text\n"
           "      --lf, --crlf     write line ends as LF or as CR LF (default: as read)\n"
           "  -o, --output=FILE    output file, or - for standard output (the default\n"
           "                       for a single input). A symbolic link is kept and the\n"
           "                       file it names replaced; a device or FIFO is written\n"
           "                       into, never replaced\n"
           "      --output-dir=DIR write each output into DIR under its input's name\n"
           "      --in-place       replace each input, keeping its owner, group, mode\n"
           "                       and extended attributes; a link's file is converted\n"
           "                       and the link kept; a file with several names (hard\n"
           "                       links) is refused. Without it, an output that would\n"
           "                       land on an input is refused\n"
           "      --dir=DIR        convert the files of DIR that --match selects\n"
           "      --match=PATTERNS comma-separated wildcard patterns (*.txt,*.csv), each\n"
           "                       matched against the whole file name: * any run, ? any\n"
           "                       character, # a digit, @ a letter, . anything but a\n"
           "                       letter or digit, [a-z] a set, ` quotes the next\n"
           "                       character, ~ first negates; when nothing\n"
           "                       matches, exit status 1\n"
           "      --detect         report each input's byte-order mark, else whether it is\n"
           "                       UTF-8, else the Windows code pages that read it without\n"
           "                       error, the most plausible first, each with the share of\n"
           "                       its characters outside ASCII that fit the page\n"
           "      --candidate=ENC  one more code page for --detect to try\n"
           "  -v, --verbose        say how each input was read\n"
           "  -q, --quiet          no warnings, no progress line\n"
           "  -l, --list           list the encodings\n"
           "      --version        the version of xoconv and of the library\n"
           "  -h, --help           this text\n"
           "\n"
           "Outputs are written to a new temporary file beside the target (a name nobody\n"
           "can guess, created only where no file or link is, with the permissions of the\n"
           "file it replaces) and moved into place only when the whole input converted,\n"
           "so an input is never damaged; Ctrl-C or SIGTERM removes it.\n"
           "Exit status: 0 all converted, 1 an input could not be converted (or held\n"
           "characters the target lacks, or --match selected nothing), 2 usage error, 3 a file "
           "could not be read or\n"
           "written.\n";
}

} // namespace xoconv
