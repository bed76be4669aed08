#include "encoding/xolocaletables.h"

namespace xo::encoding {

namespace {

constexpr unsigned classOfLetter(char letter) {
    for (unsigned c = 0; kRunClassLetters[c] != 0; ++c)
        if (kRunClassLetters[c] == letter)
            return c;
    throw "not a class letter";
}

// Expanded while compiling; a coding that does not fill the table exactly fails the build.
template <std::size_t N, std::size_t L>
constexpr std::array<std::uint8_t, N> expandRuns(const char (&runs)[L]) {
    std::array<std::uint8_t, N> table{};
    std::size_t filled = 0;
    for (std::size_t i = 0; i + 1 < L;) {
        const auto value = std::uint8_t(classOfLetter(runs[i++]));
        std::size_t length = 0;
        while (i + 1 < L && runs[i] >= '0' && runs[i] <= '9')
            length = length * 10 + std::size_t(runs[i++] - '0');
        if (length == 0)
            length = 1;
        if (filled + length > N)
            throw "runs beyond the table";
        for (std::size_t k = 0; k < length; ++k)
            table[filled++] = value;
    }
    if (filled != N)
        throw "runs short of the table";
    return table;
}

constexpr char kCharClassRuns[] =
#include "encoding/localecharclasses.inc"
    ;

constexpr char kScriptClassRuns[] =
#include "encoding/localescriptclasses.inc"
    ;

} // namespace

constexpr std::array<std::uint8_t, kCharClassEntries> kCharClasses =
    expandRuns<kCharClassEntries>(kCharClassRuns);

constexpr std::array<std::uint8_t, kScriptClassEntries> kScriptClasses =
    expandRuns<kScriptClassEntries>(kScriptClassRuns);

constexpr ScriptRange kScriptRanges[kScriptRangeCount] = {
#include "encoding/localescriptranges.inc"
};
static_assert(kScriptRanges[kScriptRangeCount - 1].upper != 0, "fewer script ranges than rows");

// The locales Windows knew with their character sets; sorted by primary language, then
// sublanguage. 1 (DEFAULT) marks locales that no ANSI code page serves; 256 to 263 are
// the library's Indic sets.
// clang-format off
constexpr LcidCharSet kLcidCharSets[kLcidCharSetCount] = {
    // Arabic, all sixteen countries
    {0x0401, 178}, {0x0801, 178}, {0x0C01, 178}, {0x1001, 178}, {0x1401, 178}, {0x1801, 178},
    {0x1C01, 178}, {0x2001, 178}, {0x2401, 178}, {0x2801, 178}, {0x2C01, 178}, {0x3001, 178},
    {0x3401, 178}, {0x3801, 178}, {0x3C01, 178}, {0x4001, 178},
    {0x0402, 204}, // Bulgarian
    {0x0403, 0},   // Catalan
    // Chinese: Taiwan, PRC, Hong Kong, Singapore, Macao
    {0x0404, 136}, {0x0804, 134}, {0x0C04, 134}, {0x1004, 134}, {0x1404, 136},
    {0x0405, 238}, // Czech
    {0x0406, 0},   // Danish
    // German: Germany, Switzerland, Austria, Luxembourg, Liechtenstein
    {0x0407, 0}, {0x0807, 0}, {0x0C07, 0}, {0x1007, 0}, {0x1407, 0},
    {0x0408, 161}, // Greek
    // English: US, UK, Australia, Canada, New Zealand, Ireland, South Africa, Jamaica,
    // Caribbean, Belize, Trinidad, Zimbabwe, Philippines
    {0x0409, 0}, {0x0809, 0}, {0x0C09, 0}, {0x1009, 0}, {0x1409, 0}, {0x1809, 0}, {0x1C09, 0},
    {0x2009, 0}, {0x2409, 0}, {0x2809, 0}, {0x2C09, 0}, {0x3009, 0}, {0x3409, 0},
    // Spanish: traditional sort, Mexico, modern sort and the seventeen American countries
    {0x040A, 0}, {0x080A, 0}, {0x0C0A, 0}, {0x100A, 0}, {0x140A, 0}, {0x180A, 0}, {0x1C0A, 0},
    {0x200A, 0}, {0x240A, 0}, {0x280A, 0}, {0x2C0A, 0}, {0x300A, 0}, {0x340A, 0}, {0x380A, 0},
    {0x3C0A, 0}, {0x400A, 0}, {0x440A, 0}, {0x480A, 0}, {0x4C0A, 0}, {0x500A, 0},
    {0x040B, 0},   // Finnish
    // French: France, Belgium, Canada, Switzerland, Luxembourg, Monaco
    {0x040C, 0}, {0x080C, 0}, {0x0C0C, 0}, {0x100C, 0}, {0x140C, 0}, {0x180C, 0},
    {0x040D, 177}, // Hebrew
    {0x040E, 238}, // Hungarian
    {0x040F, 0},   // Icelandic
    {0x0410, 0}, {0x0810, 0}, // Italian
    {0x0411, 128}, // Japanese
    {0x0412, 129}, // Korean
    {0x0413, 0}, {0x0813, 0}, // Dutch
    {0x0414, 0}, {0x0814, 0}, // Norwegian
    {0x0415, 238}, // Polish
    {0x0416, 0}, {0x0816, 0}, // Portuguese
    {0x0418, 238}, // Romanian
    {0x0419, 204}, // Russian
    // Croatian, Serbian Latin, Serbian Cyrillic, Croatian (Bosnia), Bosnian Latin,
    // Serbian Latin (Bosnia), Serbian Cyrillic (Bosnia)
    {0x041A, 238}, {0x081A, 238}, {0x0C1A, 204}, {0x101A, 238}, {0x141A, 238}, {0x181A, 238},
    {0x1C1A, 204},
    {0x041B, 238}, // Slovak
    {0x041C, 238}, // Albanian
    {0x041D, 0}, {0x081D, 0}, // Swedish
    {0x041E, 222}, // Thai
    {0x041F, 162}, // Turkish
    {0x0420, 178}, // Urdu
    {0x0421, 0},   // Indonesian
    {0x0422, 204}, // Ukrainian
    {0x0423, 204}, // Belarusian
    {0x0424, 238}, // Slovenian
    {0x0425, 186}, // Estonian
    {0x0426, 186}, // Latvian
    {0x0427, 186}, // Lithuanian
    {0x0429, 178}, // Farsi
    {0x042A, 163}, // Vietnamese
    {0x042B, 1},   // Armenian
    {0x042C, 238}, {0x082C, 204}, // Azeri Latin, Cyrillic
    {0x042D, 0},   // Basque
    {0x042F, 204}, // Macedonian
    {0x0432, 0},   // Tswana
    {0x0434, 0},   // Xhosa
    {0x0435, 0},   // Zulu
    {0x0436, 0},   // Afrikaans
    {0x0437, 1},   // Georgian
    {0x0438, 0},   // Faroese
    {0x0439, 263}, // Hindi
    {0x043A, 1},   // Maltese
    // Sami: Northern (Norway, Sweden, Finland), Lule (Norway, Sweden), Southern (Norway,
    // Sweden), Skolt, Inari
    {0x043B, 0}, {0x083B, 0}, {0x0C3B, 0}, {0x103B, 0}, {0x143B, 0}, {0x183B, 0}, {0x1C3B, 0},
    {0x203B, 0}, {0x243B, 0},
    {0x043E, 0}, {0x083E, 0}, // Malay
    {0x043F, 204}, // Kazakh
    {0x0440, 204}, // Kyrgyz
    {0x0441, 0},   // Swahili
    {0x0443, 238}, {0x0843, 204}, // Uzbek Latin, Cyrillic
    {0x0444, 204}, // Tatar
    {0x0445, 256}, // Bengali
    {0x0446, 257}, // Punjabi
    {0x0447, 258}, // Gujarati
    {0x0449, 259}, // Tamil
    {0x044A, 260}, // Telugu
    {0x044B, 261}, // Kannada
    {0x044C, 262}, // Malayalam
    {0x044E, 263}, // Marathi
    {0x044F, 263}, // Sanskrit
    {0x0450, 204}, // Mongolian
    {0x0452, 0},   // Welsh
    {0x0456, 0},   // Galician
    {0x0457, 263}, // Konkani
    {0x045A, 1},   // Syriac
    {0x0465, 1},   // Divehi
    {0x046B, 0}, {0x086B, 0}, {0x0C6B, 0}, // Quechua: Bolivia, Ecuador, Peru
    {0x046C, 0},   // Northern Sotho
    {0x0481, 1},   // Maori
};
// clang-format on
static_assert(kLcidCharSets[kLcidCharSetCount - 1].lcid != 0, "fewer locales than rows");

} // namespace xo::encoding
