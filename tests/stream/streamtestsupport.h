// What the stream tests share: the message a call throws, a stream made of primitives
// only, and a count of the heap blocks taken while a check runs.
#pragma once

#include "XoException.h"
#include "XoStreamBuf.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace streamtest {

// The message of the library exception that call throws ("" when it throws none), after
// checking that it came the library's one way: file "" and line 0.
template <class Call> std::wstring thrownMessage(Call&& call) {
    try {
        call();
    } catch (XoException* exception) {
        std::wstring message = exception->description();
        const bool libraryThrow =
            std::wstring(exception->file()) == L"\"\"" && exception->line() == 0;
        delete exception;
        return libraryThrow ? message : L"<not thrown the library's way>";
    }
    return L"";
}

inline std::vector<unsigned char> iota(std::size_t count, unsigned char first = 0) {
    std::vector<unsigned char> bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<unsigned char>(first + i * 7);
    return bytes;
}

// A stream that supplies only the primitives, over a vector, and counts its raw reads
// and writes; a raw read can be made to throw once a number of them have run.
class PrimitiveStream : public XoStreamBuf {
public:
    explicit PrimitiveStream(std::vector<unsigned char> bytes = {}) : data(std::move(bytes)) {}

    std::size_t tell() const override { return position; }
    std::size_t length() const override { return data.size(); }
    std::size_t seek(std::size_t offset, XoIO::SeekType kind) override {
        const std::size_t target = kind == XoIO::kSeekBegin ? offset : position + offset;
        if (target <= data.size())
            position = target;
        return position;
    }
    unsigned char readByte() override { return data.at(position++); }
    void writeByte(unsigned char byte) override { writeBytes(&byte, 1); }
    using XoStreamBuf::readBytes;
    using XoStreamBuf::writeBytes;
    void readBytes(unsigned char* dest, unsigned int count) override {
        if (readsBeforeThrow >= 0 && reads.size() == std::size_t(readsBeforeThrow))
            throw std::runtime_error("primitive failed");
        if (position + count > data.size())
            throw std::out_of_range("read past the end");
        std::copy(data.begin() + long(position), data.begin() + long(position + count), dest);
        position += count;
        reads.push_back(count);
    }
    void writeBytes(const unsigned char* src, unsigned int count) override {
        if (position + count > data.size())
            data.resize(position + count);
        std::copy(src, src + count, data.begin() + long(position));
        position += count;
        writes.push_back(count);
    }
    void resize(std::size_t size) override { data.resize(size); }

    std::vector<unsigned char> data;
    std::size_t position = 0;
    std::vector<unsigned int> reads;
    std::vector<unsigned int> writes;
    int readsBeforeThrow = -1;
};

// Heap blocks taken and given back through operator new[] while a HeapCount lives on
// this thread (the test executable replaces the operators).
struct HeapCount {
    HeapCount();
    ~HeapCount();
    std::vector<std::size_t> sizes() const;
    std::size_t freed() const;
};

// Makes the next operator new[] of the calling thread throw std::bad_alloc.
void failNextArrayNew();

} // namespace streamtest
