// Wide text escaped for the system ANSI code page into short buffers, and written one
// character at a time in every format. wcharToBytes is trusted with 7 bytes whenever
// it is offered a room of 2 or more, so that is what it gets here.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "PnCharFormatter.h"
#include "fuzzwidetext.h"

using fuzzwide::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzwide::Reader reader{data, size};
    const std::uint8_t control = reader.byte();
    const bool escapeDoubleByte = control & 1;
    const std::size_t room = reader.byte() % 40; // 0 asks for the size
    const std::vector<wchar_t> text = fuzzwide::units(reader);
    wchar_t* in = fuzzwide::heapCopy(text, true);

    const int needed = PnCharFormatter::wcharNonNativeToCIF(in, nullptr, 0, escapeDoubleByte);
    check(needed >= int(text.size()) + 1 && needed <= 7 * int(text.size()) + 1);
    if (room > 0) {
        wchar_t* out = new wchar_t[room];
        const int written = PnCharFormatter::wcharNonNativeToCIF(in, out, room, escapeDoubleByte);
        check(written >= 1 && std::size_t(written) <= room && out[written - 1] == 0);
        check(written == PnCharFormatter::wcharNonNativeToCIF(in, nullptr, room, escapeDoubleByte));
        if (std::size_t(needed) <= room)
            check(written == needed);
        delete[] out;
    }

    const unsigned byteRoom = control >> 4; // 0 to 15: below 2 writes nothing
    for (unsigned format = 0; format <= 7; ++format) {
        PnCharFormatter formatter(format, (control & 2) != 0, (control & 4) != 0);
        for (wchar_t ch : text) {
            char* bytes = new char[byteRoom < 2 ? 1 : 7];
            const unsigned n = formatter.wcharToBytes(ch, bytes, byteRoom);
            check(n <= 7 && (byteRoom >= 2 || n == 0));
            delete[] bytes;
        }
    }
    delete[] in;
    return 0;
}
