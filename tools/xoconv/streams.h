// A conversion's input and output through the library's own file streams: the input
// stream that reads through a mapping of the file, and the output stream that collects
// small writes. Standard input and output, devices and names the library cannot spell
// go through the C streams instead.
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "convert.h"

class XoFileStreamBuf;

namespace xoconv {

class FileStreamSource : public Source {
public:
    // Null when the library cannot open the file for reading (the caller reads it
    // through the C stream then) or the file is empty (a mapping cannot show nothing).
    static std::unique_ptr<FileStreamSource> open(const std::filesystem::path& path);
    ~FileStreamSource() override;
    FileStreamSource(const FileStreamSource&) = delete;
    FileStreamSource& operator=(const FileStreamSource&) = delete;

    bool read(unsigned char* into, std::size_t room, std::size_t& got, std::string& error) override;
    bool rewind(std::string& error) override;
    long long size() const override;

private:
    explicit FileStreamSource(XoFileStreamBuf* stream) : stream_(stream) {}
    XoFileStreamBuf* stream_;
};

class FileStreamSink : public Sink {
public:
    // The file the caller created and holds open as `created`, opened once more through
    // the library. Null when the library cannot open it or opens another file than the
    // one created (a name swapped meanwhile is never written through).
    static std::unique_ptr<FileStreamSink> open(const std::filesystem::path& path,
                                                std::FILE* created);
    ~FileStreamSink() override;
    FileStreamSink(const FileStreamSink&) = delete;
    FileStreamSink& operator=(const FileStreamSink&) = delete;

    bool write(const char* bytes, std::size_t size, std::string& error) override;
    // Writes what waits and closes the file; false with the reason when that failed.
    bool close(std::string& error);

private:
    explicit FileStreamSink(XoFileStreamBuf* stream) : stream_(stream) {}
    XoFileStreamBuf* stream_;
};

// Standard output when it is a regular file written at its end: what a conversion
// wrote there can be taken back by cutting the file where it was.
class StandardOutputMark {
public:
    StandardOutputMark();
    bool canTakeBack() const { return at_ >= 0; }
    // Cuts standard output back to where it was when marked.
    void takeBack() const;

private:
    long long at_ = -1;
};

} // namespace xoconv
