// xoconv's read-convert-write path on random bytes: random source and target encodings
// (the source also left to the byte-order mark and UTF-8 validity), escapes read or
// not, each way of writing what the target lacks, CR LF folded or not. Nothing may
// crash; the text streamed in pieces of a few bytes (so that characters, escapes and
// line ends fall across the seams) converts exactly as in one piece and as through
// UTF-16; and text that converted to a Unicode form without loss reads back from it as
// the text read.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "convert.h"
#include "options.h"

namespace {

const char* const kEncodings[] = {"utf-8",  "utf-16le", "utf-16be", "utf-32le", "utf-32be",
                                  "utf-16", "1252",     "932",      "936",      "949",
                                  "950",    "1250",     "1251",     "874",      "437"};
constexpr unsigned kCount = sizeof kEncodings / sizeof kEncodings[0];

xoconv::Conversion convert(const std::string& input, const xoconv::Options& options,
                           std::size_t piece, std::string& output) {
    xoconv::TextSource in(input);
    xoconv::TextSink out;
    xoconv::Progress progress;
    const xoconv::Conversion conversion = xoconv::convert(in, out, options, progress, piece);
    output = out.text;
    return conversion;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3)
        return 0;
    xoconv::Options options;
    xoconv::parseEncoding(kEncodings[data[0] % kCount], options.from);
    xoconv::parseEncoding(kEncodings[(data[0] / kCount) % kCount], options.to);
    if (data[1] & 1)
        options.from = xoconv::Encoding{}; // by the mark, else UTF-8 when valid, else ansi
    options.decodeEscapes = (data[1] & 2) != 0;
    options.lacking = static_cast<xoconv::Lacking>((data[1] >> 2) & 3);
    options.lineEnds = static_cast<xoconv::LineEnds>((data[1] >> 4) % 3);
    const std::size_t piece = 1 + data[2] % 9;
    const std::string input(reinterpret_cast<const char*>(data + 3), size - 3);

    std::string whole, pieces;
    const xoconv::Conversion once = convert(input, options, input.size() + 1, whole);
    const xoconv::Conversion streamed = convert(input, options, piece, pieces);
    if (once.outcome != streamed.outcome || once.error != streamed.error ||
        once.lacking != streamed.lacking ||
        (once.outcome == xoconv::Conversion::Converted && whole != pieces))
        std::abort();

    if (once.outcome != xoconv::Conversion::Converted)
        return 0;
    // The text as read, in UTF-16LE.
    xoconv::Options asRead = options;
    asRead.lacking = xoconv::Lacking::Fail;
    asRead.bom = 0;
    xoconv::parseEncoding("utf-16le", asRead.to);
    std::string read;
    if (convert(input, asRead, input.size() + 1, read).outcome != xoconv::Conversion::Converted)
        std::abort();
    // A leading U+FEFF or U+FFFE written without a mark reads back as one: not a loss
    // to judge.
    if (read.compare(0, 2, "\xFF\xFE") == 0 || read.compare(0, 2, "\xFE\xFF") == 0)
        return 0;
    // Through UTF-16 (the careful way, one pass in neither direction) the output is
    // the same as in one pass.
    // The line ends were changed in reading already, and changing them twice is not
    // changing them once (CR CR LF becomes CR LF, then LF).
    xoconv::Options fromUnits = options;
    xoconv::parseEncoding("utf-16le", fromUnits.from);
    fromUnits.lineEnds = xoconv::LineEnds::Keep;
    std::string twice;
    if (convert(read, fromUnits, read.size() + 1, twice).outcome != xoconv::Conversion::Converted ||
        twice != whole)
        std::abort();
    // What the output reads back as.
    if (options.to.kind == xoconv::Encoding::Ansi8 || once.lacking != 0)
        return 0;
    xoconv::Options back;
    back.from = options.to;
    back.bom = 0;
    back.decodeEscapes = false;
    xoconv::parseEncoding("utf-16le", back.to);
    std::string again;
    if (convert(whole, back, whole.size() + 1, again).outcome != xoconv::Conversion::Converted ||
        again != read)
        std::abort();
    return 0;
}
