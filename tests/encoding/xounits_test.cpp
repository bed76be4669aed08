// Drawing values with their units: tables of texts for every format and rule, the
// failures, and a round trip over random values for every format and precision.
#include "XoUnits.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kLead = XoSuppressLeading, kTrail = XoSuppressTrailing, kFeet = XoSuppressZeroFeet,
              kInches = XoSuppressZeroInches;

XoUnitFormat length(int format, int precision, int suppression = 0) {
    return XoUnitFormat{format, precision, XoAngleDegrees, 4, suppression};
}

XoUnitFormat angle(int format, int precision, int suppression = 0) {
    return XoUnitFormat{XoLengthDecimal, 4, format, precision, suppression};
}

double radians(double degrees) {
    return degrees * kPi / 180.0;
}

std::wstring write(double value, XoUnitKind kind, const XoUnitFormat& format) {
    wchar_t text[512];
    const int n = OutputWithFormat(value, kind, &format, text, 512);
    if (n <= 0)
        return L"<" + std::to_wstring(n) + L">";
    return text;
}

std::string narrow(const std::wstring& w) {
    return std::string(w.begin(), w.end());
}

struct OutputCase {
    XoUnitKind kind;
    XoUnitFormat format;
    double value;
    const wchar_t* text;
};

TEST(Units, WritesEveryFormat) {
    const OutputCase cases[] = {
        {XoUnitLength, length(XoLengthScientific, 4), 15.5, L"1.5500E+01"},
        {XoUnitLength, length(XoLengthScientific, 0), -0.0, L"0E+00"},
        {XoUnitLength, length(XoLengthScientific, 2, kLead | kTrail), 0.5, L"5.00E-01"},
        {XoUnitLength, length(XoLengthDecimal, 4), 15.5, L"15.5000"},
        {XoUnitLength, length(XoLengthDecimal, 4, kLead), 0.5, L".5000"},
        {XoUnitLength, length(XoLengthDecimal, 4, kTrail), 15.5, L"15.5"},
        {XoUnitLength, length(XoLengthDecimal, 4, kTrail), 2, L"2"},
        {XoUnitLength, length(XoLengthDecimal, 4, kLead | kTrail), -0.5, L"-.5"},
        {XoUnitLength, length(XoLengthDecimal, 4, kLead | kTrail), 0, L"0"},
        {XoUnitLength, length(XoLengthDecimal, 4), -0.00001, L"0.0000"},
        {XoUnitLength, length(XoLengthDecimal, 2), 1e20, L"100000000000000000000.00"},
        {XoUnitLength, length(XoLengthEngineering, 2), 15.5, L"1'-3.50\""},
        {XoUnitLength, length(XoLengthEngineering, 2), 35.9999, L"3'-0.00\""},
        {XoUnitLength, length(XoLengthEngineering, 2), -15.5, L"-1'-3.50\""},
        {XoUnitLength, length(XoLengthEngineering, 2, kInches), 12, L"1'"},
        {XoUnitLength, length(XoLengthEngineering, 2, kFeet), 3.5, L"3.50\""},
        {XoUnitLength, length(XoLengthEngineering, 2, kFeet | kInches), 0, L"0.00\""},
        {XoUnitLength, length(XoLengthEngineering, 2), 0, L"0'-0.00\""},
        {XoUnitLength, length(XoLengthEngineering, 2, kLead), 12.5, L"1'-.50\""},
        {XoUnitLength, length(XoLengthEngineering, 0), 155.5, L"13'-0\""},
        {XoUnitLength, length(XoLengthArchitectural, 4), 15.5, L"1'-3 1/2\""},
        {XoUnitLength, length(XoLengthArchitectural, 4), 35.9999, L"3'-0\""},
        {XoUnitLength, length(XoLengthArchitectural, 4), 35.95, L"2'-11 15/16\""},
        {XoUnitLength, length(XoLengthArchitectural, 4), -15.5, L"-1'-3 1/2\""},
        {XoUnitLength, length(XoLengthArchitectural, 4), 0.5, L"0'-0 1/2\""},
        {XoUnitLength, length(XoLengthArchitectural, 4, kLead), 0.5, L"0'-1/2\""},
        {XoUnitLength, length(XoLengthArchitectural, 4, kFeet), 0.5, L"0 1/2\""},
        {XoUnitLength, length(XoLengthArchitectural, 4, kFeet | kInches), 0, L"0\""},
        {XoUnitLength, length(XoLengthArchitectural, 4, kInches), 24, L"2'"},
        {XoUnitLength, length(XoLengthArchitectural, 8), 1.0 / 256, L"0'-0 1/256\""},
        {XoUnitLength, length(XoLengthArchitectural, 8), 12 + 3.0 / 256, L"1'-0 3/256\""},
        {XoUnitLength, length(XoLengthArchitectural, 0), 15.5, L"1'-4\""},
        {XoUnitLength, length(XoLengthArchitectural, 0), 14.5, L"1'-2\""},
        {XoUnitLength, length(XoLengthArchitectural, 4), -1.0 / 64, L"0'-0\""},
        {XoUnitLength, length(XoLengthFractional, 4), 15.5, L"15 1/2"},
        {XoUnitLength, length(XoLengthFractional, 4), 0.25, L"0 1/4"},
        {XoUnitLength, length(XoLengthFractional, 4, kLead), 0.25, L"1/4"},
        {XoUnitLength, length(XoLengthFractional, 4), -15.5, L"-15 1/2"},
        {XoUnitLength, length(XoLengthFractional, 4), 15.99999, L"16"},
        {XoUnitLength, length(XoLengthFractional, 2), 15.3, L"15 1/4"},
        {XoUnitAngle, angle(XoAngleDegrees, 4), radians(45.5), L"45.5000"},
        {XoUnitAngle, angle(XoAngleDegrees, 4), radians(-45), L"-45.0000"},
        {XoUnitAngle, angle(XoAngleDegrees, 4, kTrail), radians(45.5), L"45.5"},
        {XoUnitAngle, angle(XoAngleDegMinSec, 4), radians(45 + 30 / 60.0 + 15 / 3600.0),
         L"45d30'15\""},
        {XoUnitAngle, angle(XoAngleDegMinSec, 0), radians(45.6), L"46d"},
        {XoUnitAngle, angle(XoAngleDegMinSec, 2), radians(45.5), L"45d30'"},
        {XoUnitAngle, angle(XoAngleDegMinSec, 6), radians(45 + 30 / 60.0 + 15.156 / 3600.0),
         L"45d30'15.16\""},
        {XoUnitAngle, angle(XoAngleDegMinSec, 6, kTrail), radians(45.5), L"45d30'0\""},
        {XoUnitAngle, angle(XoAngleDegMinSec, 4), radians(45.99999999), L"46d0'0\""},
        {XoUnitAngle, angle(XoAngleDegMinSec, 4), radians(29 + 59 / 60.0 + 59.9999 / 3600.0),
         L"30d0'0\""},
        {XoUnitAngle, angle(XoAngleDegMinSec, 4), radians(-(45 + 30 / 60.0 + 15 / 3600.0)),
         L"-45d30'15\""},
        {XoUnitAngle, angle(XoAngleGrads, 4), radians(45), L"50.0000g"},
        {XoUnitAngle, angle(XoAngleRadians, 4), kPi / 4, L"0.7854r"},
        {XoUnitAngle, angle(XoAngleRadians, 4, kLead), kPi / 4, L".7854r"},
        {XoUnitAngle, angle(XoAngleSurveyor, 4), radians(45 + 30 / 60.0 + 15 / 3600.0),
         L"N 44d29'45\" E"},
        {XoUnitAngle, angle(XoAngleSurveyor, 4), radians(90), L"N"},
        {XoUnitAngle, angle(XoAngleSurveyor, 4), 0, L"E"},
        {XoUnitAngle, angle(XoAngleSurveyor, 4), radians(180), L"W"},
        {XoUnitAngle, angle(XoAngleSurveyor, 4), radians(270), L"S"},
        {XoUnitAngle, angle(XoAngleSurveyor, 4), radians(135), L"N 45d0'0\" W"},
        {XoUnitAngle, angle(XoAngleSurveyor, 0), radians(225), L"S 45d W"},
        {XoUnitAngle, angle(XoAngleSurveyor, 2), radians(315.5), L"S 45d30' E"},
        {XoUnitAngle, angle(XoAngleSurveyor, 0), radians(-45), L"S 45d E"},
        {XoUnitAngle, angle(XoAngleSurveyor, 4), radians(359.99999), L"E"},
        {XoUnitAngle, angle(XoAngleSurveyor, 4), radians(720 + 30), L"N 60d0'0\" E"},
    };
    for (const OutputCase& c : cases)
        EXPECT_EQ(narrow(write(c.value, c.kind, c.format)), narrow(c.text)) << c.value;
}

struct InputCase {
    XoUnitKind kind;
    XoUnitFormat format;
    const wchar_t* text;
    double value; // NaN: the text is bad
};

const double kBad = std::nan("");

TEST(Units, ReadsWhatUsersType) {
    const XoUnitFormat arch = length(XoLengthArchitectural, 4);
    const XoUnitFormat eng = length(XoLengthEngineering, 2);
    const XoUnitFormat dec = length(XoLengthDecimal, 4);
    const XoUnitFormat dms = angle(XoAngleDegMinSec, 4);
    const InputCase cases[] = {
        {XoUnitLength, arch, L"1'-3 1/2\"", 15.5},
        {XoUnitLength, arch, L"1'3.5\"", 15.5},
        {XoUnitLength, arch, L"1' 3\"", 15},
        {XoUnitLength, arch, L"1'-3", 15},
        {XoUnitLength, arch, L"1'", 12},
        {XoUnitLength, arch, L"1.5'", 18},
        {XoUnitLength, arch, L"3 1/2\"", 3.5},
        {XoUnitLength, arch, L"1/2", 0.5},
        {XoUnitLength, arch, L"15-1/2", 15.5},
        {XoUnitLength, arch, L"-1'-3 1/2\"", -15.5},
        {XoUnitLength, arch, L"0'-1/2\"", 0.5},
        {XoUnitLength, eng, L"  15.5\t ", 15.5},
        {XoUnitLength, eng, L"1.55E+01", 15.5},
        {XoUnitLength, eng, L"1'-.50\"", 12.5},
        {XoUnitLength, eng, L"+2", 2},
        {XoUnitLength, dec, L"15 1/2", 15.5},
        {XoUnitLength, dec, L".5", 0.5},
        {XoUnitLength, dec, L"5.", 5},
        {XoUnitLength, dec, L"1/3", 1.0 / 3},
        {XoUnitLength, dec, L"1'", kBad},
        {XoUnitLength, dec, L"15\"", kBad},
        {XoUnitLength, arch, L"", kBad},
        {XoUnitLength, arch, L"  ", kBad},
        {XoUnitLength, arch, L"abc", kBad},
        {XoUnitLength, arch, L"1/0", kBad},
        {XoUnitLength, arch, L"1'-", kBad},
        {XoUnitLength, arch, L"--1", kBad},
        {XoUnitLength, arch, L"1 1/2/3", kBad},
        {XoUnitLength, arch, L"15 3/2", kBad},
        {XoUnitLength, arch, L"1.5 1/2", kBad},
        {XoUnitLength, dec, L"0x10", kBad},
        {XoUnitLength, dec, L"inf", kBad},
        {XoUnitLength, dec, L"nan", kBad},
        {XoUnitLength, dec, L"1e999", kBad},
        {XoUnitLength, arch, L"1'-3 1/2\" x", kBad},
        {XoUnitLength, dec, L"1,5", kBad},
        {XoUnitAngle, dms, L"45d30'15\"", radians(45 + 30 / 60.0 + 15 / 3600.0)},
        {XoUnitAngle, dms, L"45d30'", radians(45.5)},
        {XoUnitAngle, dms, L"45D30'", radians(45.5)},
        {XoUnitAngle, dms, L"45\u00b030'", radians(45.5)},
        {XoUnitAngle, dms, L"45", radians(45)},
        {XoUnitAngle, dms, L"-45d30'", radians(-45.5)},
        {XoUnitAngle, dms, L"50g", radians(45)},
        {XoUnitAngle, dms, L"0.5r", 0.5},
        {XoUnitAngle, dms, L"N 45d E", radians(45)},
        {XoUnitAngle, dms, L"n45de", radians(45)},
        {XoUnitAngle, dms, L"N 45d W", radians(135)},
        {XoUnitAngle, dms, L"S 45d W", radians(225)},
        {XoUnitAngle, dms, L"S 45d30' E", radians(315.5)},
        {XoUnitAngle, dms, L"N 90d E", 0},
        {XoUnitAngle, dms, L"N", radians(90)},
        {XoUnitAngle, dms, L"s", radians(270)},
        {XoUnitAngle, dms, L"W", radians(180)},
        {XoUnitAngle, angle(XoAngleGrads, 4), L"50", radians(45)},
        {XoUnitAngle, angle(XoAngleRadians, 4), L"1", 1},
        {XoUnitAngle, angle(XoAngleSurveyor, 4), L"30", radians(30)},
        {XoUnitAngle, dms, L"45d60'", kBad},
        {XoUnitAngle, dms, L"45d30'60\"", kBad},
        {XoUnitAngle, dms, L"45.5d30'", kBad},
        {XoUnitAngle, dms, L"45d30.5'15\"", kBad},
        {XoUnitAngle, dms, L"45d30'15", kBad},
        {XoUnitAngle, dms, L"N 91d E", kBad},
        {XoUnitAngle, dms, L"N 45d", kBad},
        {XoUnitAngle, dms, L"N -45d E", kBad},
        {XoUnitAngle, dms, L"N 45d X", kBad},
        {XoUnitAngle, dms, L"d", kBad},
        {XoUnitAngle, dms, L"45x", kBad},
        {XoUnitAngle, dms, L"E 45d", kBad},
    };
    for (const InputCase& c : cases) {
        double value = 1234.5;
        const int result = InputWithFormat(c.text, -1, c.kind, &c.format, &value);
        if (std::isnan(c.value)) {
            EXPECT_EQ(result, XoUnitsBadText) << narrow(c.text);
            EXPECT_EQ(value, 1234.5) << narrow(c.text);
        } else {
            EXPECT_EQ(result, XoUnitsOk) << narrow(c.text);
            EXPECT_NEAR(value, c.value, 1e-12 * (1 + std::fabs(c.value))) << narrow(c.text);
        }
    }
}

TEST(Units, ReadsOnlyTheGivenLength) {
    const XoUnitFormat dec = length(XoLengthDecimal, 4);
    double value = 0;
    EXPECT_EQ(InputWithFormat(L"15.5", 2, XoUnitLength, &dec, &value), XoUnitsOk);
    EXPECT_EQ(value, 15);
    const wchar_t withZero[] = {L'1', 0, L'2'};
    EXPECT_EQ(InputWithFormat(withZero, 3, XoUnitLength, &dec, &value), XoUnitsBadText);
    EXPECT_EQ(InputWithFormat(L"", 0, XoUnitLength, &dec, &value), XoUnitsBadText);
    EXPECT_EQ(InputWithFormat(nullptr, 0, XoUnitLength, &dec, &value), XoUnitsBadText);
    const std::wstring longText(401, L'1');
    EXPECT_EQ(InputWithFormat(longText.c_str(), -1, XoUnitLength, &dec, &value), XoUnitsBadText);
    EXPECT_EQ(value, 15);
}

TEST(Units, RefusesBadArguments) {
    wchar_t text[64] = L"unchanged";
    double value = 7;
    const XoUnitFormat badFormats[] = {
        length(0, 4),
        length(6, 4),
        length(XoLengthDecimal, 9),
        length(XoLengthDecimal, -1),
        angle(5, 4),
        angle(XoAngleDegrees, 9),
        length(XoLengthDecimal, 4, 16),
    };
    for (const XoUnitFormat& f : badFormats) {
        EXPECT_EQ(OutputWithFormat(1, XoUnitLength, &f, text, 64), XoUnitsBadArgument);
        EXPECT_EQ(InputWithFormat(L"1", -1, XoUnitAngle, &f, &value), XoUnitsBadArgument);
        EXPECT_EQ(initOsBaseUnits(&f, nullptr), XoUnitsBadArgument);
    }
    const XoUnitFormat dec = length(XoLengthDecimal, 4);
    EXPECT_EQ(OutputWithFormat(1, XoUnitKind(2), &dec, text, 64), XoUnitsBadArgument);
    EXPECT_EQ(InputWithFormat(L"1", -2, XoUnitLength, &dec, &value), XoUnitsBadArgument);
    EXPECT_EQ(InputWithFormat(L"1", -1, XoUnitLength, &dec, nullptr), XoUnitsBadArgument);
    EXPECT_EQ(OutputWithFormat(INFINITY, XoUnitLength, &dec, text, 64), XoUnitsNotFinite);
    EXPECT_EQ(OutputWithFormat(NAN, XoUnitAngle, &dec, text, 64), XoUnitsNotFinite);
    const XoUnitFormat arch = length(XoLengthArchitectural, 8);
    EXPECT_EQ(OutputWithFormat(1e30, XoUnitLength, &arch, text, 64), XoUnitsTooLarge);
    const XoUnitFormat eng = length(XoLengthEngineering, 8);
    EXPECT_EQ(OutputWithFormat(1e11, XoUnitLength, &eng, text, 64), XoUnitsTooLarge);
    const XoUnitFormat radiansFormat = angle(XoAngleRadians, 0);
    EXPECT_EQ(OutputWithFormat(16385, XoUnitAngle, &radiansFormat, text, 64), XoUnitsTooLarge);
    EXPECT_EQ(narrow(text), "unchanged");
    EXPECT_EQ(value, 7);
}

TEST(Units, FollowsTheBufferContract) {
    const XoUnitFormat arch = length(XoLengthArchitectural, 4);
    EXPECT_EQ(OutputWithFormat(15.5, XoUnitLength, &arch, nullptr, 0), 10);
    wchar_t text[16] = L"unchanged";
    EXPECT_EQ(OutputWithFormat(15.5, XoUnitLength, &arch, text, 9), 10);
    EXPECT_EQ(narrow(text), "unchanged");
    EXPECT_EQ(OutputWithFormat(15.5, XoUnitLength, &arch, text, 10), 10);
    EXPECT_EQ(narrow(text), "1'-3 1/2\"");
}

TEST(Units, WritesScience) {
    wchar_t text[32];
    EXPECT_EQ(FormatScienceDoubleAndOutputString(15.5, 4, text, 32), 11);
    EXPECT_EQ(narrow(text), "1.5500E+01");
    EXPECT_EQ(FormatScienceDoubleAndOutputString(-1e-300, 2, text, 32), 11);
    EXPECT_EQ(narrow(text), "-1.00E-300");
    EXPECT_EQ(FormatScienceDoubleAndOutputString(1, 9, text, 32), XoUnitsBadArgument);
    EXPECT_EQ(FormatScienceDoubleAndOutputString(NAN, 2, text, 32), XoUnitsNotFinite);
}

TEST(Units, KeepsOneProcessWideSetting) {
    XoUnitFormat before{};
    ASSERT_EQ(initOsBaseUnits(nullptr, &before), XoUnitsOk);
    EXPECT_EQ(before.lengthFormat, XoLengthDecimal); // nothing else in this program sets it
    wchar_t text[32];
    OutputWithFormat(15.5, XoUnitLength, nullptr, text, 32);
    EXPECT_EQ(narrow(text), "15.5000");
    OutputWithFormat(radians(45), XoUnitAngle, nullptr, text, 32);
    EXPECT_EQ(narrow(text), "45.0000");
    const XoUnitFormat arch{XoLengthArchitectural, 2, XoAngleSurveyor, 0, kInches};
    ASSERT_EQ(initOsBaseUnits(&arch, nullptr), XoUnitsOk);
    OutputWithFormat(24, XoUnitLength, nullptr, text, 32);
    EXPECT_EQ(narrow(text), "2'");
    OutputWithFormat(radians(30), XoUnitAngle, nullptr, text, 32);
    EXPECT_EQ(narrow(text), "N 60d E");
    double value = 0;
    EXPECT_EQ(InputWithFormat(L"1'-3", -1, XoUnitLength, nullptr, &value), XoUnitsOk);
    EXPECT_EQ(value, 15);
    const XoUnitFormat bad = length(9, 0);
    EXPECT_EQ(initOsBaseUnits(&bad, nullptr), XoUnitsBadArgument);
    XoUnitFormat previous{};
    ASSERT_EQ(initOsBaseUnits(nullptr, &previous), XoUnitsOk);
    EXPECT_EQ(previous.lengthFormat, XoLengthArchitectural);
    EXPECT_EQ(previous.lengthPrecision, 2);
    EXPECT_EQ(previous.angleFormat, XoAngleSurveyor);
    EXPECT_EQ(previous.anglePrecision, 0);
    EXPECT_EQ(previous.zeroSuppression, kInches);
    OutputWithFormat(15.5, XoUnitLength, nullptr, text, 32);
    EXPECT_EQ(narrow(text), "15.5000");
}

// Half a step of the format at this value, in the value's own unit.
double halfStep(XoUnitKind kind, const XoUnitFormat& f, double value) {
    if (kind == XoUnitLength) {
        const int p = f.lengthPrecision;
        switch (f.lengthFormat) {
        case XoLengthScientific:
            return 0.5 * std::pow(10.0, std::floor(std::log10(std::fabs(value))) - p + 1);
        case XoLengthArchitectural:
        case XoLengthFractional:
            return 0.5 * std::ldexp(1.0, -p);
        default:
            return 0.5 * std::pow(10.0, -p);
        }
    }
    const int p = f.anglePrecision;
    switch (f.angleFormat) {
    case XoAngleDegMinSec:
    case XoAngleSurveyor:
        return radians(0.5 / (p == 0 ? 1 : p <= 2 ? 60 : 3600 * std::pow(10.0, p > 4 ? p - 4 : 0)));
    case XoAngleGrads:
        return 0.5 * std::pow(10.0, -p) * kPi / 200;
    case XoAngleRadians:
        return 0.5 * std::pow(10.0, -p);
    default:
        return radians(0.5 * std::pow(10.0, -p));
    }
}

double randomValue(std::mt19937_64& random, XoUnitKind kind) {
    std::uniform_real_distribution<double> unit(-1, 1);
    const double magnitude =
        kind == XoUnitLength ? std::pow(10.0, std::uniform_int_distribution<int>(-6, 9)(random))
                             : std::pow(10.0, std::uniform_int_distribution<int>(-6, 4)(random));
    return unit(random) * magnitude;
}

// At 2^50 steps the parts of a split value are still exact, so the text reads back;
// beyond, the value is refused rather than written in parts that do not.
TEST(Units, SplitsValuesUpToTwoToTheFifty) {
    const double steps = std::ldexp(1.0, 50);
    const struct {
        XoUnitKind kind;
        XoUnitFormat format;
        double largest;
    } cases[] = {
        {XoUnitLength, length(XoLengthEngineering, 0), steps},
        {XoUnitLength, length(XoLengthEngineering, 4), steps / 1e4},
        {XoUnitLength, length(XoLengthArchitectural, 0), steps},
        {XoUnitLength, length(XoLengthArchitectural, 8), steps / 256},
        {XoUnitLength, length(XoLengthFractional, 8), steps / 256},
    };
    for (const auto& c : cases) {
        const std::wstring text = write(c.largest, c.kind, c.format);
        double back = 0;
        ASSERT_EQ(InputWithFormat(text.c_str(), -1, c.kind, &c.format, &back), XoUnitsOk)
            << narrow(text);
        EXPECT_EQ(narrow(write(back, c.kind, c.format)), narrow(text));
        EXPECT_EQ(narrow(write(c.largest * 1.001, c.kind, c.format)), "<-3>");
    }
    // Found by fuzz_units: 2E+308 would not read back.
    EXPECT_EQ(narrow(write(1.6e308, XoUnitLength, length(XoLengthScientific, 0))), "<-3>");
    EXPECT_EQ(narrow(write(-1.6e308, XoUnitLength, length(XoLengthScientific, 0))), "<-3>");
    EXPECT_EQ(narrow(write(1.6e308, XoUnitLength, length(XoLengthScientific, 1))), "1.6E+308");
    EXPECT_EQ(narrow(write(1.7976931348623157e308, XoUnitLength, length(XoLengthScientific, 4))),
              "<-3>");
    EXPECT_EQ(narrow(write(1.7976931348623157e308, XoUnitLength, length(XoLengthScientific, 8))),
              "1.79769313E+308");
    // Found by fuzz_units: 83332500000006666 feet is not a double.
    EXPECT_EQ(narrow(write(999990000000080000.0, XoUnitLength, length(XoLengthEngineering, 0))),
              "<-3>");
}

// The longest text written (found by fuzz_units at 6.05e253) still reads back.
TEST(Units, ReadsBackTheLongestText) {
    const XoUnitFormat dec = length(XoLengthDecimal, 8);
    const std::wstring text = write(-1.7976931348623157e308, XoUnitLength, dec);
    EXPECT_EQ(text.size(), 319u);
    double back = 0;
    ASSERT_EQ(InputWithFormat(text.c_str(), -1, XoUnitLength, &dec, &back), XoUnitsOk);
    EXPECT_EQ(back, -1.7976931348623157e308);
}

TEST(Units, EveryFormatReadsBackWhatItWrites) {
    std::mt19937_64 random(21);
    int checked = 0;
    for (int kindIndex = 0; kindIndex < 2; ++kindIndex) {
        const XoUnitKind kind = XoUnitKind(kindIndex);
        for (int format = 0; format < 5; ++format) {
            for (int precision = 0; precision <= 8; ++precision) {
                for (int i = 0; i < 400; ++i) {
                    const int suppression = int(random() % 16);
                    const XoUnitFormat f = kind == XoUnitLength
                                               ? length(format + 1, precision, suppression)
                                               : angle(format, precision, suppression);
                    const double x = randomValue(random, kind);
                    const std::wstring text = write(x, kind, f);
                    if (text == L"<-3>") { // refused only beyond 2^50 steps
                        ASSERT_GE(std::fabs(x) / (2 * halfStep(kind, f, x)), std::ldexp(0.999, 50))
                            << x << " format " << format;
                        continue;
                    }
                    ASSERT_NE(text[0], L'<') << x << " format " << format;
                    double back = 0;
                    ASSERT_EQ(InputWithFormat(text.c_str(), -1, kind, &f, &back), XoUnitsOk)
                        << narrow(text) << " format " << format << " precision " << precision;
                    ASSERT_EQ(narrow(write(back, kind, f)), narrow(text))
                        << x << " format " << format << " precision " << precision;
                    double difference = std::fabs(back - x);
                    if (kind == XoUnitAngle && format == XoAngleSurveyor)
                        difference = std::fabs(std::remainder(back - x, 2 * kPi));
                    ASSERT_LE(difference, halfStep(kind, f, x) * (1 + 1e-9) + 1e-12 * std::fabs(x))
                        << narrow(text) << " from " << x;
                    ++checked;
                }
            }
        }
    }
    EXPECT_GT(checked, 2 * 5 * 9 * 400 * 9 / 10);
}

} // namespace
