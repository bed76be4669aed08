// Wide text to RTF escapes through both overloads, into blocks of exactly the room
// offered: every piece must stay strictly below it, and a short buffer must give a
// prefix of what a long one gives.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "PnCharFormatter.h"
#include "fuzzwidetext.h"

using fuzzwide::check;

namespace {

const unsigned kPages[] = {1252, 932, 936, 949, 950, 1361, 437, 65001, 12345};

template <class Page> void run(Page page, const wchar_t* in, int inLen, int room) {
    int counted = 0;
    const int all = PnCharFormatter::wcharNonNativeToRTF(page, in, inLen, nullptr, &counted);
    check(counted >= 0);

    const int fullRoom = counted + 1;
    std::vector<char> full(std::size_t(fullRoom), '#');
    int fullLen = fullRoom;
    check(PnCharFormatter::wcharNonNativeToRTF(page, in, inLen, full.data(), &fullLen) == all);
    check(fullLen == counted);

    char* out = new char[std::size_t(room)];
    std::memset(out, '#', std::size_t(room));
    int outLen = room;
    const int read = PnCharFormatter::wcharNonNativeToRTF(page, in, inLen, out, &outLen);
    check(read <= all && outLen <= room);
    if (inLen < 0) {
        check(outLen >= 1 && out[outLen - 1] == 0);
        check(std::memcmp(out, full.data(), std::size_t(outLen - 1)) == 0);
    } else {
        check(std::memcmp(out, full.data(), std::size_t(outLen)) == 0);
    }
    if (room >= fullRoom)
        check(read == all && outLen == counted);
    delete[] out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzwide::Reader reader{data, size};
    const std::uint8_t control = reader.byte();
    const int room = 1 + reader.byte() % 40;
    const std::vector<wchar_t> text = fuzzwide::units(reader);
    // Counted text, possibly without a terminator; or up to the terminator.
    const bool counted = control & 1;
    wchar_t* in = fuzzwide::heapCopy(text, !counted);
    const int inLen = counted ? int(text.size()) : -1;
    if (counted && text.empty()) {
        delete[] in;
        return 0;
    }
    run(kPages[(control >> 1) % (sizeof kPages / sizeof kPages[0])], in, inLen, room);
    run(code_page_id((control >> 4) % 47), in, inLen, room);
    delete[] in;
    return 0;
}
