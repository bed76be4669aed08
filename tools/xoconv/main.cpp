// xoconv: converts text files between 8-bit code pages, UTF-8 and UTF-16 through the
// library's own classes: PmFILE for Unicode files and byte-order marks, XoCharMapper for
// code pages and the CIF and MIF escapes, WildcardsStringMatch to select files.
#include <cstdio>
#include <filesystem>
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

// Converts one input; the output goes to standard output, or into place on success.
Status convertOne(const std::string& input, const Options& options) {
    const bool standardInput = input == "-";
    const std::string name = standardInput ? "(standard input)" : input;
    std::FILE* in = standardInput ? bufferedStandardInput() : openFile(fs::path(input), "rb");
    if (!in) {
        complain(name, standardInput ? "cannot read standard input" : "cannot open for reading");
        return kInputOutput;
    }
    if (options.detect) {
        std::printf("%s: %s\n", name.c_str(), detect(in, options).c_str());
        std::fclose(in);
        return kOk;
    }
    Progress progress;
    progress.name = name;
    progress.show = !options.quiet && standardErrorIsTerminal();
    std::wstring text;
    Encoding used;
    std::string error;
    const bool read = readText(in, options, progress, text, used, error);
    const bool readFailed = std::ferror(in) != 0;
    std::fclose(in);
    progress.finish();
    if (!read) {
        complain(name, error);
        return readFailed ? kInputOutput : kUnconvertible;
    }

    fs::path target;
    if (options.inPlace)
        target = fs::path(input);
    else if (!options.outputDir.empty())
        target = fs::path(options.outputDir) / fs::path(input).filename();
    else if (!options.output.empty() && options.output != "-")
        target = fs::path(options.output);

    std::size_t replaced = 0;
    if (target.empty()) {
        binaryStandardOutput();
        if (!writeText(stdout, text, options, replaced, error) || std::fflush(stdout) != 0) {
            complain("(standard output)", "write failed");
            return kInputOutput;
        }
    } else {
        PendingOutput output(target);
        if (!output.stream()) {
            std::fprintf(stderr, "xoconv: %s\n", output.error().c_str());
            return kInputOutput;
        }
        if (!writeText(output.stream(), text, options, replaced, error)) {
            complain(target.string(), error);
            return kInputOutput;
        }
        if (!output.commit(error)) {
            std::fprintf(stderr, "xoconv: %s\n", error.c_str());
            return kInputOutput;
        }
    }
    if (replaced > 0 && !options.quiet)
        complain(name, std::to_string(replaced) + " character(s) that " + options.to.name +
                           " lacks written as '?' (--cif keeps them as escapes)");
    return kOk;
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
    std::vector<std::string> inputs = options.inputs;
    if (!options.dir.empty()) {
        std::vector<fs::path> selected;
        if (!selectFiles(options.dir, options.match, selected, error)) {
            std::fprintf(stderr, "xoconv: %s\n", error.c_str());
            return kInputOutput;
        }
        for (const fs::path& path : selected)
            inputs.push_back(path.string());
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
    if (!options.outputDir.empty()) {
        std::error_code failure;
        fs::create_directories(fs::path(options.outputDir), failure);
    }
    int status = kOk;
    for (const std::string& input : inputs) {
        const Status result = convertOne(input, options);
        if (result > status)
            status = result;
    }
    return status;
}
