// What every fuzz target needs: a failed check ends the run, and the input is read
// from the front a byte at a time (zeros once it is used up).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace fuzzsupport {

inline void check(bool condition) {
    if (!condition)
        std::abort();
}

struct Reader {
    const std::uint8_t* data;
    std::size_t size;

    std::uint8_t byte() {
        if (size == 0)
            return 0;
        --size;
        return *data++;
    }
};

} // namespace fuzzsupport
