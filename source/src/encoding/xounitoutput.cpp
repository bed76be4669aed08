// The exported writers: check the arguments, pick the setting, build the text, then hand
// it over under the buffer contract, so a failure writes nothing.
#include "encoding/xounits.h"

int OutputWithFormat(double value, XoUnitKind kind, const XoUnitFormat* format, wchar_t* out,
                     int size) {
    using namespace xo::units;
    const XoUnitFormat used = format != nullptr ? *format : currentFormat();
    if (!validFormat(used) || (kind != XoUnitLength && kind != XoUnitAngle))
        return XoUnitsBadArgument;
    Text text;
    const int result =
        kind == XoUnitLength ? writeLength(value, used, text) : writeAngle(value, used, text);
    return result < 0 ? result : deliver(text, out, size);
}

int FormatScienceDoubleAndOutputString(double value, int precision, wchar_t* out, int size) {
    xo::units::Text text;
    const int result = xo::units::writeScientific(value, precision, text);
    return result < 0 ? result : xo::units::deliver(text, out, size);
}
