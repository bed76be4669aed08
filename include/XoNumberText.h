/// \file
/// Doubles to text and back, the same on both targets and in every locale (the decimal
/// point is always '.'). See docs/numbers.md.
#pragma once

#include "XoOsBaseExport.h"

/// Writes value with a printf format letter (E, e, f, G or g) and precision, exactly as
/// the Windows runtime's printf (ucrtbase) writes "%.*e" and its kin for the same value,
/// infinities and NaNs spelled as it spells them ("inf", "-nan(ind)", "nan(snan)";
/// upper case for E and G). A negative precision asks for the shortest text in that
/// format that reads back to the same double. The text and its terminator are copied
/// into out only when out is not null and size exceeds the text's length; returns the
/// length + 1 (the size needed). Any other format letter throws XoExceptionWithMsg
/// "EMPTY THROW".
XOOSBASE_API int xoDToStr(double value, char format, int precision, char* out, int size);
/// The same, writing wide text.
XOOSBASE_API int xoDToStr(double value, char format, int precision, wchar_t* out, int size);

/// Reads a double as the C runtime's strtod does in the C locale, correctly rounded:
/// leading blanks, a sign, decimal digits with an optional point and exponent, a
/// hexadecimal float ("0x1.8p3"), or "inf", "infinity", "nan", "nan(...)" in any case.
/// *end (when end is not null) gets where reading stopped: text itself when nothing was
/// read, and then 0 is returned. *range (when not null) gets 0, or 1 when the value
/// overflowed (then ±infinity is returned), or -1 when it underflowed to zero or a
/// subnormal with lost digits. A null text reads nothing.
XOOSBASE_API double xoStrToD(const char* text, const char** end, int* range);
/// The same for wide text; characters above 0x7F end the number.
XOOSBASE_API double xoStrToD(const wchar_t* text, const wchar_t** end, int* range);
