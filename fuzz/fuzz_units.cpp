// Random texts read as lengths and angles in random formats, from exactly sized heap
// blocks (with and without a terminator) so that ASan sees any read past the text. A
// text that reads is written again in its format, and that writing reads back to a value
// that writes the same text.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "XoUnits.h"
#include "fuzzsupport.h"
#include "fuzzwidetext.h"

using fuzzsupport::check;

namespace {

XoUnitFormat formatFrom(fuzzsupport::Reader& in) {
    XoUnitFormat f;
    f.lengthFormat = XoLengthScientific + in.byte() % 5;
    f.lengthPrecision = in.byte() % 9;
    f.angleFormat = in.byte() % 5;
    f.anglePrecision = in.byte() % 9;
    f.zeroSuppression = in.byte() % 16;
    return f;
}

void roundTrip(double value, XoUnitKind kind, const XoUnitFormat& f) {
    wchar_t first[512], second[512];
    const int n = OutputWithFormat(value, kind, &f, first, 512);
    if (n < 0) {
        check(n == XoUnitsTooLarge); // a value read is finite and its format valid
        return;
    }
    check(n <= 512);
    double back = 0;
    check(InputWithFormat(first, -1, kind, &f, &back) == XoUnitsOk);
    check(OutputWithFormat(back, kind, &f, second, 512) == n);
    for (int i = 0; i < n; ++i)
        check(first[i] == second[i]);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzsupport::Reader in{data, size};
    const XoUnitKind kind = (in.byte() & 1) != 0 ? XoUnitAngle : XoUnitLength;
    const XoUnitFormat f = formatFrom(in);
    const bool terminated = (in.byte() & 1) != 0;
    const std::vector<wchar_t> units = fuzzwide::units(in);
    wchar_t* text = fuzzwide::heapCopy(units, terminated);
    double value = 0.25;
    const int result = InputWithFormat(text, terminated ? -1 : int(units.size()), kind, &f, &value);
    delete[] text;
    check(result == XoUnitsOk || result == XoUnitsBadText);
    if (result == XoUnitsOk)
        roundTrip(value, kind, f);
    else
        check(value == 0.25);
    return 0;
}
