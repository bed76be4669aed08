// Wide text to a code page with CIF escapes into blocks of exactly outLen bytes: the
// conversion must stay inside, and a short buffer must give a prefix of a long one.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "XoCharOp.h"
#include "fuzzwidetext.h"

using fuzzwide::check;

namespace {

const unsigned kPages[] = {1252, 932, 936, 949, 950, 1361, 437, 864, 20127, 65001, 28586, 0};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzwide::Reader reader{data, size};
    const std::uint8_t control = reader.byte();
    const int room = reader.byte() % 40;
    const unsigned page = kPages[(control >> 1) % (sizeof kPages / sizeof kPages[0])];
    const std::vector<wchar_t> text = fuzzwide::units(reader);
    const bool counted = control & 1;
    wchar_t* in = fuzzwide::heapCopy(text, !counted);
    const int inLen = counted ? int(text.size()) : -1;

    std::vector<char> full(7 * (text.size() + 1), '#');
    const int all =
        XoCharOp::WideCharToMultiByteCIF(page, 0, in, inLen, full.data(), int(full.size()), 0);
    check(all >= 0 && std::size_t(all) <= full.size());

    char* out = room > 0 ? new char[std::size_t(room)] : nullptr;
    const int n = XoCharOp::WideCharToMultiByteCIF(page, 0, in, inLen, out, room, 0);
    check(n >= 0 && n <= room && n <= all);
    if (n > 0)
        check(std::memcmp(out, full.data(), std::size_t(n)) == 0);
    delete[] out;
    delete[] in;
    return 0;
}
