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

// Converts one input; the output goes to standard output, or into place on success.
Status convertOne(const fs::path& input, const Options& options) {
    const bool standardInput = input == "-";
    const std::string name = standardInput ? "(standard input)" : shown(input);
    std::error_code ignored;
    if (!standardInput && fs::is_directory(input, ignored)) {
        complain(name, std::strerror(EISDIR)); // POSIX opens a folder for reading
        return kInputOutput;
    }
    std::FILE* in = standardInput ? bufferedStandardInput() : openFile(input, "rb");
    if (!in) {
        complain(name, std::strerror(errno));
        return kInputOutput;
    }
    if (options.detect) {
        std::printf("%s: %s\n", name.c_str(), detect(in, options).c_str());
        std::fclose(in);
        return kOk;
    }
    // The output is made ready before the input is read, so that a failure to make it
    // costs no conversion (and an interruption meanwhile finds it to remove).
    std::string error;
    const fs::path target = targetOf(input, options);
    OutputPlace place;
    if (!target.empty() && !placeOutput(target, place, error)) {
        std::fclose(in);
        std::fprintf(stderr, "xoconv: %s\n", error.c_str());
        return kInputOutput;
    }
    std::unique_ptr<PendingOutput> pending;
    std::FILE* out = stdout;
    std::string where = "(standard output)";
    if (target.empty()) {
        binaryStandardOutput();
    } else if (place.direct) {
        // A device or a FIFO: written into as it is, nothing to replace.
        where = shown(place.path);
        out = openDirect(place.path);
        if (!out) {
            std::fclose(in);
            complain(where, std::strerror(errno));
            return kInputOutput;
        }
    } else {
        where = shown(place.path);
        pending = std::make_unique<PendingOutput>(place.path);
        out = pending->stream();
        if (!out) {
            std::fclose(in);
            std::fprintf(stderr, "xoconv: %s\n", pending->error().c_str());
            return kInputOutput;
        }
    }
    const auto closeDirect = [&]() {
        const bool closed = out == stdout || pending || std::fclose(out) == 0;
        out = stdout;
        return closed;
    };

    Progress progress;
    progress.name = name;
    progress.show = !options.quiet && standardErrorIsTerminal();
    std::wstring text;
    Encoding used;
    const bool read = readText(in, options, progress, text, used, error);
    const bool readFailed = std::ferror(in) != 0;
    std::fclose(in);
    progress.finish();
    if (options.verbose)
        complain(name, "read as " + used.name);
    if (!read) {
        closeDirect();
        complain(name, error);
        return readFailed ? kInputOutput : kUnconvertible;
    }

    std::size_t lacking = 0;
    const Written written = writeText(out, text, options, lacking, error);
    if (written == Written::Lacking) {
        closeDirect();
        complain(name, error);
        return kUnconvertible;
    }
    if (written != Written::Ok) {
        closeDirect();
        complain(where, error);
        return kInputOutput;
    }
    if (pending) {
        if (!pending->commit(error)) {
            std::fprintf(stderr, "xoconv: %s\n", error.c_str());
            return kInputOutput;
        }
    } else {
        const bool flushed = std::fflush(out) == 0;
        const int flushError = errno;
        if (!closeDirect() || !flushed) {
            complain(where, std::strerror(flushed ? errno : flushError));
            return kInputOutput;
        }
    }
    if (lacking > 0 && !options.quiet)
        complain(name, std::to_string(lacking) + " character(s) that " + describe(options.to) +
                           (options.lacking == Lacking::Drop ? " lacks left out"
                                                             : " lacks written as '?'"));
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
