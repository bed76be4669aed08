#include "options.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "XoCodePageMapper.h"

namespace xoconv {

namespace {

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

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

bool parseEncoding(const std::string& text, Encoding& encoding) {
    const std::string name = lower(text);
    encoding = Encoding{};
    encoding.name = text;
    long value = 0;
    if (name == "utf-8" || name == "utf8") {
        encoding.kind = Encoding::Utf8;
    } else if (name == "utf-16le" || name == "utf16le" || name == "utf-16" || name == "unicode") {
        encoding.kind = Encoding::Utf16Little;
    } else if (name == "utf-16be" || name == "utf16be") {
        encoding.kind = Encoding::Utf16Big;
    } else if (name == "utf-32le" || name == "utf32le" || name == "utf-32" || name == "utf32") {
        encoding.kind = Encoding::Utf32Little;
    } else if (name == "utf-32be" || name == "utf32be") {
        encoding.kind = Encoding::Utf32Big;
    } else if (name == "ansi") {
        encoding.kind = Encoding::Ansi8;
        encoding.codePageId = 46; // the system ANSI code page
    } else if (name.compare(0, 3, "id:") == 0 && number(name.substr(3), value)) {
        if (value < 1 || value > 46 || value == 43 || value == 7)
            return false;
        encoding.kind = value == 45 ? Encoding::Utf8 : Encoding::Ansi8;
        encoding.codePageId = int(value);
    } else if (number(name.compare(0, 2, "cp") == 0 ? name.substr(2) : name, value)) {
        if (value == 65001) {
            encoding.kind = Encoding::Utf8;
            return true;
        }
        const int id = int(XoCodePageMapper::ansiCpToVeskCp(int(value)));
        if (id == 0 || id == 43 || id == 7)
            return false;
        encoding.kind = Encoding::Ansi8;
        encoding.codePageId = id;
    } else {
        return false;
    }
    return true;
}

bool parseOptions(int argc, char** argv, Options& options, std::string& error, bool& help) {
    help = false;
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
           "Encodings: utf-8, utf-16le, utf-16be, utf-32le, utf-32be, ansi (the system\n"
           "code page), a Windows\n"
           "code page number (932 or cp932), or a library code page identifier (id:38).\n"
           "\n"
           "  -f, --from=ENC       input encoding (default: the byte-order mark, else ansi)\n"
           "  -t, --to=ENC         output encoding (default: utf-8)\n"
           "      --bom, --no-bom  write a byte-order mark (default: UTF-16 and UTF-32)\n"
           "A character the target code page lacks is an error (nothing is written)\n"
           "unless one of these says what to write instead:\n"
           "      --cif            write it as its CIF escape\n"
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
           "      --detect         report each input's byte-order mark and, for 8-bit\n"
           "                       input, whether --from or --candidate suits it\n"
           "      --candidate=ENC  the code page --detect tries (default: cp932)\n"
           "  -q, --quiet          no warnings, no progress line\n"
           "  -h, --help           this text\n"
           "\n"
           "Outputs are written to a new temporary file beside the target (a name nobody\n"
           "can guess, created only where no file or link is, with the permissions of the\n"
           "file it replaces) and moved into place only when the whole input converted,\n"
           "so an input is never damaged.\n"
           "Exit status: 0 all converted, 1 an input could not be converted (or held\n"
           "characters the target lacks, or --match selected nothing), 2 usage error, 3 a file "
           "could not be read or\n"
           "written.\n";
}

} // namespace xoconv
