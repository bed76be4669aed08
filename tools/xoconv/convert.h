// Reading and writing text the way xoconv does, through the library's classes.
#pragma once

#include <chrono>
#include <cstdio>
#include <string>

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

// Reads all of in as UTF-16 units. `encoding` receives what was used (the mark, or
// --from). On failure returns false with a message naming the byte offset.
bool readText(std::FILE* in, const Options& options, Progress& progress, std::wstring& text,
              Encoding& encoding, std::string& error);

enum class Written { Ok, Lacking, Failed };

// Writes text in options.to; lacking counts the characters the target lacks. With
// Lacking::Fail and any such character nothing is written and the result is
// Written::Lacking, error naming the first.
Written writeText(std::FILE* out, const std::wstring& text, const Options& options,
                  std::size_t& lacking, std::string& error);

// The --detect report of one input: its byte-order mark, else whether it is UTF-8,
// else the 8-bit code pages that read it without error, the most plausible first
// (with the share of its characters outside ASCII that are at home in each). chosen,
// when given, receives the first answer.
std::string detect(std::FILE* in, const Options& options, Encoding* chosen = nullptr);

} // namespace xoconv
