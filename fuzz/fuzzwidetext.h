// Fuzz input as wide text in exactly sized heap blocks, so that ASan sees any access
// past them. Most bytes stand for themselves (escapes stay easy to mutate); a byte from
// 0xF0 takes the next two as a whole UTF-16 unit, lead byte first.
#pragma once

#include "fuzzsupport.h"
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace fuzzwide {

using fuzzsupport::check;
using fuzzsupport::Reader;

// The units of the rest of the input, up to its end or the first 0 unit.
inline std::vector<wchar_t> units(Reader& in) {
    std::vector<wchar_t> text;
    while (in.size > 0) {
        unsigned unit = in.byte();
        if (unit >= 0xF0) {
            unit = unsigned(in.byte()) << 8;
            unit |= in.byte();
        }
        if (unit == 0)
            break;
        text.push_back(wchar_t(unit));
    }
    return text;
}

// A heap copy with its terminator and nothing more.
template <class T> T* heapCopy(const std::vector<T>& items, bool terminate) {
    const std::size_t n = items.size() + (terminate ? 1 : 0);
    T* block = new T[n == 0 ? 1 : n];
    if (!items.empty())
        std::memcpy(block, items.data(), items.size() * sizeof(T));
    if (terminate)
        block[items.size()] = T(0);
    return block;
}

} // namespace fuzzwide
