#include "platform/posix/localefacts.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace xo::platform {

namespace {

// Windows' grouping of languages by the ANSI code page it assigns them.
enum class Script {
    Western,
    Central,
    Cyrillic,
    Greek,
    Turkish,
    Hebrew,
    Arabic,
    Baltic,
    Vietnamese,
    Thai,
    Japanese,
    Korean,
    Chinese
};

struct ScriptPages {
    unsigned ansi;
    unsigned oem;
};

ScriptPages pagesOf(Script script) {
    switch (script) {
    case Script::Western:
        return {1252, 850};
    case Script::Central:
        return {1250, 852};
    case Script::Cyrillic:
        return {1251, 866};
    case Script::Greek:
        return {1253, 737};
    case Script::Turkish:
        return {1254, 857};
    case Script::Hebrew:
        return {1255, 862};
    case Script::Arabic:
        return {1256, 720};
    case Script::Baltic:
        return {1257, 775};
    case Script::Vietnamese:
        return {1258, 1258};
    case Script::Thai:
        return {874, 874};
    case Script::Japanese:
        return {932, 932};
    case Script::Korean:
        return {949, 949};
    case Script::Chinese:
        return {936, 936};
    }
    return {1252, 437};
}

struct Language {
    const char* code;
    std::uint16_t lcid; // the language's first Windows locale
    Script script;
};

using S = Script;
constexpr Language kLanguages[] = {
    {"af", 0x0436, S::Western},  {"am", 0x045E, S::Western},    {"ar", 0x0401, S::Arabic},
    {"as", 0x044D, S::Western},  {"az", 0x042C, S::Turkish},    {"ba", 0x046D, S::Cyrillic},
    {"be", 0x0423, S::Cyrillic}, {"bg", 0x0402, S::Cyrillic},   {"bn", 0x0445, S::Western},
    {"br", 0x047E, S::Western},  {"bs", 0x141A, S::Central},    {"ca", 0x0403, S::Western},
    {"cs", 0x0405, S::Central},  {"cy", 0x0452, S::Western},    {"da", 0x0406, S::Western},
    {"de", 0x0407, S::Western},  {"el", 0x0408, S::Greek},      {"en", 0x0409, S::Western},
    {"es", 0x0C0A, S::Western},  {"et", 0x0425, S::Baltic},     {"eu", 0x042D, S::Western},
    {"fa", 0x0429, S::Arabic},   {"fi", 0x040B, S::Western},    {"fo", 0x0438, S::Western},
    {"fr", 0x040C, S::Western},  {"fy", 0x0462, S::Western},    {"ga", 0x043C, S::Western},
    {"gd", 0x0491, S::Western},  {"gl", 0x0456, S::Western},    {"gu", 0x0447, S::Western},
    {"he", 0x040D, S::Hebrew},   {"hi", 0x0439, S::Western},    {"hr", 0x041A, S::Central},
    {"hu", 0x040E, S::Central},  {"hy", 0x042B, S::Western},    {"id", 0x0421, S::Western},
    {"is", 0x040F, S::Western},  {"it", 0x0410, S::Western},    {"iw", 0x040D, S::Hebrew},
    {"ja", 0x0411, S::Japanese}, {"ka", 0x0437, S::Western},    {"kk", 0x043F, S::Cyrillic},
    {"kn", 0x044B, S::Western},  {"ko", 0x0412, S::Korean},     {"ky", 0x0440, S::Cyrillic},
    {"lb", 0x046E, S::Western},  {"lt", 0x0427, S::Baltic},     {"lv", 0x0426, S::Baltic},
    {"mk", 0x042F, S::Cyrillic}, {"ml", 0x044C, S::Western},    {"mn", 0x0450, S::Cyrillic},
    {"mr", 0x044E, S::Western},  {"ms", 0x043E, S::Western},    {"mt", 0x043A, S::Western},
    {"nb", 0x0414, S::Western},  {"nl", 0x0413, S::Western},    {"nn", 0x0814, S::Western},
    {"no", 0x0414, S::Western},  {"pa", 0x0446, S::Western},    {"pl", 0x0415, S::Central},
    {"ps", 0x0463, S::Arabic},   {"pt", 0x0416, S::Western},    {"rm", 0x0417, S::Western},
    {"ro", 0x0418, S::Central},  {"ru", 0x0419, S::Cyrillic},   {"sk", 0x041B, S::Central},
    {"sl", 0x0424, S::Central},  {"sq", 0x041C, S::Central},    {"sr", 0x0C1A, S::Cyrillic},
    {"sv", 0x041D, S::Western},  {"sw", 0x0441, S::Western},    {"ta", 0x0449, S::Western},
    {"te", 0x044A, S::Western},  {"tg", 0x0428, S::Cyrillic},   {"th", 0x041E, S::Thai},
    {"tk", 0x0442, S::Central},  {"tr", 0x041F, S::Turkish},    {"tt", 0x0444, S::Cyrillic},
    {"ug", 0x0480, S::Arabic},   {"uk", 0x0422, S::Cyrillic},   {"ur", 0x0420, S::Arabic},
    {"uz", 0x0443, S::Turkish},  {"vi", 0x042A, S::Vietnamese}, {"zh", 0x0804, S::Chinese},
};

// Territories whose locale identifier, or code page, differs from the language's first.
struct Territory {
    const char* name; // language_TERRITORY[@modifier]
    std::uint32_t lcid;
    Script script;
};

constexpr Territory kTerritories[] = {
    {"zh_TW", 0x0404, S::Chinese},
    {"zh_HK", 0x0C04, S::Chinese},
    {"zh_SG", 0x1004, S::Chinese},
    {"zh_MO", 0x1404, S::Chinese},
    {"en_GB", 0x0809, S::Western},
    {"en_AU", 0x0C09, S::Western},
    {"en_CA", 0x1009, S::Western},
    {"en_NZ", 0x1409, S::Western},
    {"en_IE", 0x1809, S::Western},
    {"en_ZA", 0x1C09, S::Western},
    {"en_IN", 0x4009, S::Western},
    {"de_CH", 0x0807, S::Western},
    {"de_AT", 0x0C07, S::Western},
    {"de_LU", 0x1007, S::Western},
    {"fr_BE", 0x080C, S::Western},
    {"fr_CA", 0x0C0C, S::Western},
    {"fr_CH", 0x100C, S::Western},
    {"fr_LU", 0x140C, S::Western},
    {"es_ES", 0x0C0A, S::Western},
    {"es_MX", 0x080A, S::Western},
    {"it_CH", 0x0810, S::Western},
    {"nl_BE", 0x0813, S::Western},
    {"pt_PT", 0x0816, S::Western},
    {"sv_FI", 0x081D, S::Western},
    {"nn_NO", 0x0814, S::Western},
    {"ar_IQ", 0x0801, S::Arabic},
    {"ar_EG", 0x0C01, S::Arabic},
    {"sr_RS@latin", 0x241A, S::Central},
    {"sr_RS", 0x281A, S::Cyrillic},
    {"sr_ME", 0x301A, S::Central},
    {"bs_BA", 0x141A, S::Central},
    {"uz_UZ@cyrillic", 0x0843, S::Cyrillic},
    {"az_AZ@cyrillic", 0x082C, S::Cyrillic},
};

constexpr LocaleFacts kEnglish = {0x0409, 1252, 437};

// Only the language chooses Windows' code pages, except for the Chinese scripts.
unsigned oemFor(const Language& language, Script script, const ScriptPages& pages) {
    if ((language.lcid & 0x3FF) == 0x09)
        return 437;
    return script == Script::Chinese ? pages.ansi : pages.oem;
}

} // namespace

LocaleFacts localeFactsFromName(const char* name) {
    if (!name)
        return kEnglish;
    // language[_TERRITORY][.codeset][@modifier]
    std::string text(name);
    std::string modifier;
    if (const auto at = text.find('@'); at != std::string::npos) {
        modifier = text.substr(at);
        text.erase(at);
    }
    if (const auto dot = text.find('.'); dot != std::string::npos)
        text.erase(dot);
    const std::string language = text.substr(0, text.find('_'));
    const Language* found = nullptr;
    for (const Language& candidate : kLanguages)
        if (language == candidate.code)
            found = &candidate;
    if (!found)
        return kEnglish;
    for (const Territory& territory : kTerritories) {
        if (text + modifier == territory.name) {
            ScriptPages pages = pagesOf(territory.script);
            if (territory.lcid == 0x0404 || territory.lcid == 0x0C04 || territory.lcid == 0x1404)
                pages = {950, 950};
            return {territory.lcid, pages.ansi, oemFor(*found, territory.script, pages)};
        }
    }
    const ScriptPages pages = pagesOf(found->script);
    return {found->lcid, pages.ansi, oemFor(*found, found->script, pages)};
}

const LocaleFacts& processLocaleFacts() {
    static const LocaleFacts facts = [] {
        for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
            const char* value = std::getenv(variable);
            if (value && *value)
                return localeFactsFromName(value);
        }
        return kEnglish;
    }();
    return facts;
}

unsigned concreteCodePage(unsigned codePage) {
    switch (codePage) {
    case 0: // CP_ACP
    case 3:
        return processLocaleFacts().ansiCodePage; // CP_THREAD_ACP
    case 1:
        return processLocaleFacts().oemCodePage; // CP_OEMCP
    case 2:
        return 10000; // CP_MACCP
    default:
        return codePage;
    }
}

} // namespace xo::platform
