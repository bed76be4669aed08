// xoconv's read-convert-write path on random bytes: random source and target encodings
// (the source also left to the byte-order mark and UTF-8 validity), escapes read or
// not, each way of writing what the target lacks. Nothing may crash, and text that
// converted to a Unicode form without loss reads back from it as the same text.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "convert.h"
#include "options.h"

namespace {

const char* const kEncodings[] = {"utf-8",  "utf-16le", "utf-16be", "utf-32le", "utf-32be",
                                  "utf-16", "1252",     "932",      "936",      "949",
                                  "950",    "1250",     "1251",     "874",      "437"};
constexpr unsigned kCount = sizeof kEncodings / sizeof kEncodings[0];

bool read(const std::vector<std::uint8_t>& bytes, const xoconv::Options& options,
          std::wstring& text) {
    if (bytes.empty())
        return true; // fmemopen refuses an empty buffer; an empty file reads as no text
    std::FILE* in = fmemopen(const_cast<std::uint8_t*>(bytes.data()), bytes.size(), "rb");
    if (!in)
        return false;
    xoconv::Progress progress;
    xoconv::Encoding used;
    std::string error;
    const bool ok = xoconv::readText(in, options, progress, text, used, error);
    std::fclose(in);
    return ok;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    xoconv::Options options;
    xoconv::parseEncoding(kEncodings[data[0] % kCount], options.from);
    xoconv::parseEncoding(kEncodings[(data[0] / kCount) % kCount], options.to);
    if (data[1] & 1)
        options.from = xoconv::Encoding{}; // by the mark, else UTF-8 when valid, else ansi
    options.decodeEscapes = (data[1] & 2) != 0;
    options.lacking = static_cast<xoconv::Lacking>((data[1] >> 2) & 3);
    const std::vector<std::uint8_t> input(data + 2, data + size);
    std::wstring text;
    if (!read(input, options, text))
        return 0;

    char* buffer = nullptr;
    std::size_t length = 0;
    std::FILE* out = open_memstream(&buffer, &length);
    if (!out)
        return 0;
    std::size_t lacking = 0;
    std::string error;
    const xoconv::Written written = xoconv::writeText(out, text, options, lacking, error);
    std::fclose(out);
    const std::vector<std::uint8_t> output(buffer, buffer + length);
    std::free(buffer);

    // A leading U+FEFF written without a mark reads back as one: not a loss to judge.
    const bool unicode = options.to.kind != xoconv::Encoding::Ansi8;
    if (written == xoconv::Written::Ok && unicode && lacking == 0 &&
        (text.empty() || text[0] != 0xFEFF)) {
        xoconv::Options back;
        back.from = options.to;
        std::wstring again;
        if (!read(output, back, again) || again != text)
            std::abort();
    }
    return 0;
}
