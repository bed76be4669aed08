// Converting one text the way xoconv does: from a byte source to a byte sink, a piece
// at a time, so that memory stays bounded whatever the size of the text.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>

#include "options.h"

namespace xoconv {

// The progress line on a terminal: drawn at once, then at most four times a second
// (a line per input line would cost more than the conversion), with the bytes done,
// the share and the rate.
struct Progress {
    std::string name;
    long long total = 0;
    bool show = false;
    void report(long long done);
    void finish();

private:
    std::chrono::steady_clock::time_point started_{}, drawn_{};
    bool begun_ = false;
};

// Where the bytes of a text come from. A source can start over, so that a text can be
// checked before it is converted.
class Source {
public:
    virtual ~Source() = default;
    // Up to room bytes into `into`; got 0 at the end. False when reading failed, error
    // saying why.
    virtual bool read(unsigned char* into, std::size_t room, std::size_t& got,
                      std::string& error) = 0;
    virtual bool rewind(std::string& error) = 0;
    // The size in bytes, or -1 when it cannot be told.
    virtual long long size() const = 0;
};

// Where converted bytes go.
class Sink {
public:
    virtual ~Sink() = default;
    // False when writing failed, error saying why.
    virtual bool write(const char* bytes, std::size_t size, std::string& error) = 0;
};

// A C stream as a source or a sink.
class StdioSource : public Source {
public:
    explicit StdioSource(std::FILE* stream) : stream_(stream) {}
    bool read(unsigned char* into, std::size_t room, std::size_t& got, std::string& error) override;
    bool rewind(std::string& error) override;
    long long size() const override;

private:
    std::FILE* stream_;
};

class StdioSink : public Sink {
public:
    explicit StdioSink(std::FILE* stream) : stream_(stream) {}
    bool write(const char* bytes, std::size_t size, std::string& error) override;

private:
    std::FILE* stream_;
};

// Bytes in memory as a source, and a sink that keeps what it is given.
class TextSource : public Source {
public:
    explicit TextSource(std::string bytes) : bytes_(std::move(bytes)) {}
    bool read(unsigned char* into, std::size_t room, std::size_t& got, std::string& error) override;
    bool rewind(std::string&) override;
    long long size() const override { return static_cast<long long>(bytes_.size()); }

private:
    std::string bytes_;
    std::size_t at_ = 0;
};

class TextSink : public Sink {
public:
    bool write(const char* bytes, std::size_t size, std::string& error) override;
    std::string text;
};

// Takes everything and keeps nothing: for a conversion that only checks.
class NoSink : public Sink {
public:
    bool write(const char*, std::size_t, std::string&) override { return true; }
};

struct Conversion {
    enum Outcome {
        Converted,
        NotText,     // the input is not text of its encoding
        Lacked,      // with Lacking::Fail, the target lacks a character
        ReadFailed,  // the system could not read the input
        WriteFailed, // ... or write the output
    } outcome = Converted;
    std::string error;       // what went wrong, for a message
    std::size_t lacking = 0; // characters the target lacks
    Encoding used;           // how the input was read (name: and why so)
};

// The bytes read at a time. Tests and the fuzzer give small pieces, so that characters,
// escapes and line ends fall across the seams.
constexpr std::size_t kPieceSize = 64 * 1024;

// Converts the text of in into out as options say (from, to, escapes, lacking, line
// ends, bom). An input whose encoding is not given and has no byte-order mark is read
// once more first, to tell whether it is UTF-8. With Lacking::Fail, writing stops at the
// first character the target lacks; what was written before is the caller's to undo.
Conversion convert(Source& in, Sink& out, const Options& options, Progress& progress,
                   std::size_t piece = kPieceSize);

// The --detect report of one input: its byte-order mark, else whether it is UTF-8,
// else the 8-bit code pages that read it without error, the most plausible first
// (with the share of its characters outside ASCII that are at home in each). chosen,
// when given, receives the first answer.
std::string detect(Source& in, const Options& options, Encoding* chosen = nullptr);

} // namespace xoconv
