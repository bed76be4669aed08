// Where xoconv reads and writes: files by name (wide on Windows), the standard streams,
// folders filtered by wildcard patterns, and outputs moved into place only on success.
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "convert.h"
#include "streams.h"

namespace xoconv {

// A path as messages show it: UTF-8 on Windows, the bytes of the name elsewhere.
std::string shown(const std::filesystem::path& path);

// Text as UTF-16 units, what the library's wildcard matcher reads. On POSIX names and
// arguments are bytes, read as UTF-8: a byte that starts no UTF-8 character becomes
// U+DC00 + the byte (as Python's surrogate escape), so that no name is refused and
// only wildcards match it.
std::wstring textUnits(const std::string& bytes);
std::wstring nameUnits(const std::filesystem::path& name);

std::FILE* openFile(const std::filesystem::path& path, const char* mode);

// Standard input copied into a temporary file, which can be read twice and seeked.
std::FILE* bufferedStandardInput();

// Standard input, read as bytes.
std::FILE* binaryStandardInput();

void binaryStandardOutput();

// Whether standard input is a pipe, a socket or a file rather than a terminal or a
// device such as the null device: what a user piping text in gives.
bool standardInputIsData();
bool standardErrorIsTerminal();

// The regular files of folder whose names match the pattern list, sorted by name.
bool selectFiles(const std::string& folder, const std::string& patterns,
                 std::vector<std::filesystem::path>& files, std::string& error);

// Where an output goes. A symbolic link is followed to the file it names, which is
// replaced while the link stays; a file that is not a regular one (a device, a FIFO,
// a socket) is written into as it is, never replaced.
struct OutputPlace {
    std::filesystem::path path; // links followed
    bool direct = false;        // written into, not replaced
};
bool placeOutput(const std::filesystem::path& target, OutputPlace& place, std::string& error);

// Opens an existing file that is not a regular one for writing, creating nothing.
std::FILE* openDirect(const std::filesystem::path& path);

// An output beside its final path; commit moves it there, and destroying an
// uncommitted one removes it, so a failed conversion leaves the target untouched.
// The temporary file gets a name nobody can guess and is created only if no file or
// link holds that name yet: anyone who can write to the target's folder could
// otherwise plant a link there and have the output written wherever it points. It
// is made with the target's owner, group and permissions (and extended attributes
// where the file system keeps them) when the target exists, so the output is never
// readable by more people than the file it replaces. A target with several names
// (hard links) is refused: replacing it would separate them.
class PendingOutput {
public:
    explicit PendingOutput(std::filesystem::path target);
    ~PendingOutput();
    PendingOutput(const PendingOutput&) = delete;
    PendingOutput& operator=(const PendingOutput&) = delete;

    // False when the temporary file could not be made; error() says why.
    bool ready() const { return stream_ || library_; }
    const std::string& error() const { return error_; }
    // Where the output goes: the library's output stream over the temporary file, or
    // the C stream when the library cannot open it.
    Sink& sink();
    bool commit(std::string& error);

private:
    bool committedStream(std::string& error);

    std::filesystem::path target_;
    std::filesystem::path temporary_;
    std::FILE* stream_ = nullptr;
    std::unique_ptr<FileStreamSink> library_;
    std::unique_ptr<StdioSink> stdio_;
    std::string error_;
};

// "path: reason" with the reason the system gives for errno.
std::string systemError(const std::filesystem::path& path, int error);

} // namespace xoconv
