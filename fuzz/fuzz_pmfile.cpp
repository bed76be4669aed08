// Random files read through PmFILE in every format, with and without CIF escapes and
// line-end folding, from memory: reading must end, stay inside the data, and never
// return a character after -1 at the end of the file.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "PmFILE.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    const unsigned options = data[0];
    std::vector<std::uint8_t> bytes(data + 1, data + size);
    std::FILE* stream = fmemopen(bytes.empty() ? nullptr : bytes.data(), bytes.size(), "rb");
    if (!stream)
        return 0;
    PmFILE file(stream);
    file.setCharFormat(options % 7);
    file.setUseCIF(options & 0x8);
    file.setExpandLF(options & 0x10);
    if (options & 0x20)
        file.readBOM();
    wchar_t line[8];
    std::size_t characters = 0;
    for (;;) {
        if (options & 0x40) {
            if (!file.fgets(line, 1 + int(characters % 8)))
                break;
        } else if (file.fgetc() < 0) {
            break;
        }
        if (++characters > 2 * bytes.size() + 2)
            std::abort(); // every character consumes at least one byte
        if ((options & 0x80) && characters % 3 == 0)
            file.ungetc(L'a');
    }
    file.fclose();
    return 0;
}
