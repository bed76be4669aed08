// xoconv: converts text files between 8-bit code pages, UTF-8, UTF-16 and UTF-32
// through the library's code pages: XoCharMapper for each code (kept once asked) and for
// the CIF and MIF escapes, WildcardsStringMatch to select files. The Unicode forms and
// byte-order marks are the tool's own (PmFILE reads and writes a unit at a time and
// knows neither four-byte UTF-8 nor UTF-32).
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <cwctype>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "convert.h"
#include "files.h"
#include "options.h"
#include "streams.h"

namespace {

namespace fs = std::filesystem;
using namespace xoconv;

enum Status { kOk = 0, kUnconvertible = 1, kUsage = 2, kInputOutput = 3 };

void complain(const std::string& name, const std::string& what) {
    std::fprintf(stderr, "xoconv: %s: %s\n", name.c_str(), what.c_str());
}

// Where an input's output goes; empty for standard output.
fs::path targetOf(const fs::path& input, const Options& options) {
    if (options.inPlace)
        return input;
    if (!options.outputDir.empty())
        return fs::path(options.outputDir) / input.filename();
    if (!options.output.empty() && options.output != "-")
        return fs::path(options.output);
    return {};
}

// The input as a source: the library's mapped stream for a file it can open, else the C
// stream. Standard input is read as it comes when it will be read once; when it may be
// read twice (to tell whether it is UTF-8, or to check it before writing where nothing
// can be taken back) it is first copied into a temporary file.
struct Input {
    std::FILE* file = nullptr;
    bool owned = false;
    std::unique_ptr<Source> source;
    ~Input() { close(); }
    void close() {
        source.reset();
        if (file && owned)
            std::fclose(file);
        file = nullptr;
    }
};

bool openInput(const fs::path& input, bool readTwice, Input& opened) {
    if (input != "-") {
        opened.source = FileStreamSource::open(input);
        if (opened.source)
            return true;
    }
    opened.owned = input != "-" || readTwice;
    opened.file = input != "-" ? openFile(input, "rb")
                  : readTwice  ? bufferedStandardInput()
                               : binaryStandardInput();
    if (!opened.file)
        return false;
    opened.source = std::make_unique<StdioSource>(opened.file);
    return true;
}

Status statusOf(const Conversion& conversion) {
    switch (conversion.outcome) {
    case Conversion::Converted:
        return kOk;
    case Conversion::NotText:
    case Conversion::Lacked:
        return kUnconvertible;
    default:
        return kInputOutput;
    }
}

// Converts one input; the output goes to standard output, or into place on success.
// Nothing is written when the conversion fails: a replaced file's temporary is
// removed, standard output in a file is cut back, and an output that can be neither
// (a pipe, a terminal, a device) gets the text only after a first reading found it
// convertible.
Status convertOne(const fs::path& input, const Options& options) {
    const bool standardInput = input == "-";
    const std::string name = standardInput ? "(standard input)" : shown(input);
    std::error_code ignored;
    if (!standardInput && fs::is_directory(input, ignored)) {
        complain(name, std::strerror(EISDIR)); // POSIX opens a folder for reading
        return kInputOutput;
    }
    Input in;
    if (!standardInput || options.detect) {
        if (!openInput(input, false, in)) {
            complain(name, std::strerror(errno));
            return kInputOutput;
        }
    }
    if (options.detect) {
        std::printf("%s: %s\n", name.c_str(), detect(*in.source, options).c_str());
        return kOk;
    }
    // The output is made ready before the input is read, so that a failure to make it
    // costs no conversion (and an interruption meanwhile finds it to remove).
    std::string error;
    const fs::path target = targetOf(input, options);
    OutputPlace place;
    if (!target.empty() && !placeOutput(target, place, error)) {
        std::fprintf(stderr, "xoconv: %s\n", error.c_str());
        return kInputOutput;
    }
    std::unique_ptr<PendingOutput> pending;
    std::FILE* direct = nullptr;
    std::string where = "(standard output)";
    if (target.empty()) {
        binaryStandardOutput();
    } else if (place.direct) {
        // A device or a FIFO: written into as it is, nothing to replace.
        where = shown(place.path);
        direct = openDirect(place.path);
        if (!direct) {
            complain(where, std::strerror(errno));
            return kInputOutput;
        }
    } else {
        where = shown(place.path);
        pending = std::make_unique<PendingOutput>(place.path);
        if (!pending->ready()) {
            std::fprintf(stderr, "xoconv: %s\n", pending->error().c_str());
            return kInputOutput;
        }
    }
    const StandardOutputMark mark;
    const bool undoable = pending || (target.empty() && mark.canTakeBack());
    if (standardInput && !openInput(input, !undoable || options.from.kind == Encoding::Auto, in)) {
        if (direct)
            std::fclose(direct);
        complain(name, std::strerror(errno));
        return kInputOutput;
    }
    StdioSink stdio(direct ? direct : stdout);
    Sink& out = pending ? pending->sink() : stdio;

    Progress progress;
    progress.name = name;
    progress.show = !options.quiet && standardErrorIsTerminal();
    Conversion conversion;
    if (!undoable) {
        NoSink nowhere;
        conversion = convert(*in.source, nowhere, options, progress);
        if (conversion.outcome == Conversion::Converted && !in.source->rewind(error))
            conversion = Conversion{Conversion::ReadFailed, error, 0, conversion.used};
    }
    if (conversion.outcome == Conversion::Converted)
        conversion = convert(*in.source, out, options, progress);
    in.close(); // before the output may replace it
    progress.finish();
    if (options.verbose && !conversion.used.name.empty())
        complain(name, "read as " + conversion.used.name);
    const Status status = statusOf(conversion);
    if (status != kOk) {
        if (target.empty())
            mark.takeBack();
        if (direct)
            std::fclose(direct);
        complain(conversion.outcome == Conversion::WriteFailed ? where : name, conversion.error);
        return status;
    }
    if (pending) {
        if (!pending->commit(error)) {
            std::fprintf(stderr, "xoconv: %s\n", error.c_str());
            return kInputOutput;
        }
    } else {
        const bool flushed = std::fflush(direct ? direct : stdout) == 0;
        const int flushError = errno;
        const bool closed = !direct || std::fclose(direct) == 0;
        if (!flushed || !closed) {
            complain(where, std::strerror(flushed ? errno : flushError));
            return kInputOutput;
        }
    }
    if (conversion.lacking > 0 && !options.quiet)
        complain(
            name,
            std::to_string(conversion.lacking) + " character(s) that " + describe(options.to) +
                (options.lacking == Lacking::Drop ? " lacks left out" : " lacks written as '?'"));
    return kOk;
}

// Refuses, before anything is converted, an output that would land on an input
// without --in-place: a typo in --output-dir must not cost the user a file.
bool outputsSpareTheInputs(const std::vector<fs::path>& inputs, const Options& options) {
    if (options.inPlace || options.detect)
        return true;
    for (const fs::path& output : inputs) {
        const fs::path target = targetOf(output, options);
        if (target.empty())
            continue;
        for (const fs::path& input : inputs) {
            std::error_code ignored;
            if (input != "-" && fs::equivalent(target, input, ignored)) {
                std::fprintf(stderr,
                             "xoconv: %s: the output would replace the input %s; use "
                             "--in-place to convert it where it is\n",
                             shown(target).c_str(), shown(input).c_str());
                return false;
            }
        }
    }
    return true;
}

// Refuses inputs whose outputs would land on the same file (two inputs of one base
// name into one --output-dir): the second would silently replace the first.
bool outputsAreDistinct(const std::vector<fs::path>& inputs, const Options& options) {
    if (options.inPlace || options.detect || options.outputDir.empty())
        return true;
    std::map<fs::path::string_type, fs::path> seen;
    for (const fs::path& input : inputs) {
        fs::path::string_type key = input.filename().native();
#if defined(_WIN32)
        // Windows names differ only when they differ beyond case.
        std::transform(key.begin(), key.end(), key.begin(),
                       [](wchar_t c) { return wchar_t(std::towlower(c)); });
#endif
        const auto placed = seen.emplace(key, input);
        if (!placed.second) {
            std::fprintf(stderr,
                         "xoconv: %s and %s would both be written to %s; convert them into "
                         "different folders\n",
                         shown(placed.first->second).c_str(), shown(input).c_str(),
                         shown(fs::path(options.outputDir) / input.filename()).c_str());
            return false;
        }
    }
    return true;
}

std::string bundledSample() {
    const fs::path candidates[] = {fs::path(XOCONV_SAMPLE_DIR) / "drawing-cp932.txt",
                                   fs::path(XOCONV_INSTALLED_SAMPLE_DIR) / "drawing-cp932.txt"};
    for (const fs::path& candidate : candidates) {
        std::error_code ignored;
        if (fs::exists(candidate, ignored))
            return candidate.string();
    }
    return {};
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    std::string error;
    bool help = false;
    if (!xoconv::parseOptions(argc, argv, options, error, help)) {
        std::fprintf(stderr, "xoconv: %s\nTry 'xoconv --help'.\n", error.c_str());
        return kUsage;
    }
    if (help) {
        std::fputs(xoconv::usage(), stdout);
        return kOk;
    }
    if (options.list) {
        std::fputs(xoconv::encodingList().c_str(), stdout);
        return kOk;
    }
    if (options.version) {
        std::printf("xoconv (XoOsBase) %s\n", XOCONV_VERSION);
        return kOk;
    }
    std::vector<fs::path> inputs(options.inputs.begin(), options.inputs.end());
    if (!options.dir.empty()) {
        std::vector<fs::path> selected;
        if (!selectFiles(options.dir, options.match, selected, error)) {
            std::fprintf(stderr, "xoconv: %s\n", error.c_str());
            return kInputOutput;
        }
        for (const fs::path& path : selected)
            inputs.push_back(path);
        if (selected.empty()) {
            std::fprintf(stderr, "xoconv: %s: no file matches %s\n", options.dir.c_str(),
                         options.match.c_str());
            return kUnconvertible;
        }
    } else if (inputs.empty() && standardInputIsData()) {
        inputs.push_back("-"); // as in "cat drawing.txt | xoconv -f 932"
    } else if (inputs.empty()) {
        // The demonstration: the bundled drawing text, as it reads in UTF-8.
        const std::string sample = bundledSample();
        if (sample.empty()) {
            std::fprintf(stderr, "xoconv: no input, and the bundled sample is missing\n");
            return kUsage;
        }
        if (!options.detect && options.from.kind == Encoding::Auto)
            xoconv::parseEncoding("cp932", options.from);
        inputs.push_back(sample);
    }
    if (!outputsSpareTheInputs(inputs, options) || !outputsAreDistinct(inputs, options))
        return kUsage;
    if (!options.outputDir.empty()) {
        std::error_code failure;
        fs::create_directories(fs::path(options.outputDir), failure);
        if (failure) {
            std::fprintf(stderr, "xoconv: %s: %s\n", options.outputDir.c_str(),
                         failure.message().c_str());
            return kInputOutput;
        }
    }
    int status = kOk;
    Options each = options;
    for (const fs::path& input : inputs) {
        const Status result = convertOne(input, each);
        if (targetOf(input, options).empty())
            each.bom = 0; // outputs after the first continue the same text
        if (result > status)
            status = result;
    }
    return status;
}
