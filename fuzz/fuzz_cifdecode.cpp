// Wide text with CIF and MIF escapes decoded three ways (into a short buffer, in place,
// counted): none may leave its block, and all must agree.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "PnCharFormatter.h"
#include "fuzzwidetext.h"

using fuzzwide::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzwide::Reader reader{data, size};
    const int room = 1 + reader.byte() % 48;
    const std::vector<wchar_t> text = fuzzwide::units(reader);
    const int length = int(text.size());

    wchar_t* in = fuzzwide::heapCopy(text, true);
    const int counted = PnCharFormatter::wcharFromCIFMIF(in, nullptr, 0);
    check(counted >= 1 && counted <= length + 1);

    wchar_t* out = new wchar_t[std::size_t(room)];
    const int bounded = PnCharFormatter::wcharFromCIFMIF(in, out, room);
    check(bounded == (counted < room ? counted : room));

    wchar_t* inPlace = fuzzwide::heapCopy(text, true);
    check(PnCharFormatter::wcharFromCIFMIF(inPlace, nullptr, -1) == counted);
    check(inPlace[counted - 1] == 0);
    for (int i = 0; i < bounded; ++i)
        check(out[i] == inPlace[i]);

    delete[] inPlace;
    delete[] out;
    delete[] in;
    return 0;
}
