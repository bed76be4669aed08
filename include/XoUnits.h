/// \file
/// Drawing values (lengths and angles) written and read in the drawing's unit formats:
/// scientific, decimal, engineering, architectural and fractional lengths; degrees,
/// degrees/minutes/seconds, grads, radians and surveyor's bearings. Text is wide and
/// never depends on the locale. See docs/numbers.md.
#pragma once

#include "XoOsBaseExport.h"

/// Whether a value is a length (drawing units) or an angle (radians, counter-clockwise
/// from east).
enum XoUnitKind {
    XoUnitLength = 0, ///< a length in drawing units (the inch for engineering and architectural)
    XoUnitAngle = 1,  ///< an angle in radians
};

/// Length formats, numbered as the drawings' unit variables number them.
enum XoLengthFormat {
    XoLengthScientific = 1,    ///< 1.5500E+01
    XoLengthDecimal = 2,       ///< 15.5000
    XoLengthEngineering = 3,   ///< 1'-3.50" (feet and decimal inches)
    XoLengthArchitectural = 4, ///< 1'-3 1/2" (feet and fractional inches)
    XoLengthFractional = 5,    ///< 15 1/2
};

/// Angle formats, numbered as the drawings' unit variables number them.
enum XoAngleFormat {
    XoAngleDegrees = 0,   ///< 45.5042
    XoAngleDegMinSec = 1, ///< 45d30'15"
    XoAngleGrads = 2,     ///< 50.5602g
    XoAngleRadians = 3,   ///< 0.7942r
    XoAngleSurveyor = 4,  ///< N 44d29'45" E
};

/// Zero suppression flags, summed into XoUnitFormat::zeroSuppression.
enum XoZeroSuppression {
    XoSuppressLeading = 1,    ///< .5000 rather than 0.5000; 1/2 rather than 0 1/2
    XoSuppressTrailing = 2,   ///< 15.5 rather than 15.5000
    XoSuppressZeroFeet = 4,   ///< 3 1/2" rather than 0'-3 1/2"
    XoSuppressZeroInches = 8, ///< 1' rather than 1'-0"
};

/// Results of the unit functions other than a size.
enum XoUnitResult {
    XoUnitsOk = 0,           ///< the text was read
    XoUnitsBadArgument = -1, ///< an unknown kind or an invalid format or precision
    XoUnitsNotFinite = -2,   ///< the value is an infinity or a NaN
    XoUnitsTooLarge = -3,    ///< too many steps to split, or rounded beyond the doubles
    XoUnitsBadText = -4,     ///< the text is not a value of that kind
};

/// How lengths and angles are written and read.
struct XoUnitFormat {
    int lengthFormat;    ///< an XoLengthFormat
    int lengthPrecision; ///< 0 to 8: decimal places, or the fraction 1/2^n inch or unit
    int angleFormat;     ///< an XoAngleFormat
    int anglePrecision;  ///< 0 to 8: decimal places; for d/m/s 0 degrees, 1-2 minutes, 3-4 seconds,
                         ///< 5-8 seconds with 1-4 decimals
    int zeroSuppression; ///< a sum of XoZeroSuppression flags
};

/// Writes value, a length or an angle by kind, in format (the process-wide setting when
/// format is null). The value is rounded to whole steps of the precision before it is
/// split into feet, inches and fraction or degrees, minutes and seconds; the sign
/// belongs to the whole value. The text and its terminator are copied into out only when
/// out is not null and size exceeds the text's length; returns the length + 1, or a
/// negative XoUnitResult (bad argument, not finite, too large), writing nothing.
XOOSBASE_API int OutputWithFormat(double value, XoUnitKind kind, const XoUnitFormat* format,
                                  wchar_t* out, int size);

/// Reads a length or an angle, by kind, from text: length units, or up to its terminator
/// when length is -1. Accepts what OutputWithFormat writes in format (the process-wide
/// setting when null) and the other forms of that kind that are unambiguous there, with
/// blanks around. Returns XoUnitsOk and sets *value, or XoUnitsBadText or
/// XoUnitsBadArgument and leaves *value alone. Never reads beyond the text.
XOOSBASE_API int InputWithFormat(const wchar_t* text, int length, XoUnitKind kind,
                                 const XoUnitFormat* format, double* value);

/// Writes value in scientific form with precision (0 to 8) decimals of the mantissa
/// ("1.5500E+01"), with OutputWithFormat's buffer contract and results.
XOOSBASE_API int FormatScienceDoubleAndOutputString(double value, int precision, wchar_t* out,
                                                    int size);

/// Sets the process-wide unit setting (decimal 4, degrees 4, no suppression until
/// called); a null settings restores that default. The setting before the call goes to
/// *previous when previous is not null. Returns XoUnitsOk, or XoUnitsBadArgument for
/// invalid settings, which change nothing.
XOOSBASE_API int initOsBaseUnits(const XoUnitFormat* settings, XoUnitFormat* previous);
