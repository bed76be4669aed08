#include "XoLocaleHelpers.h"

#include <atomic>

#include "PmCodePage.h"
#include "encoding/xolocaletables.h"
#include "platform/codepage.h"

namespace enc = xo::encoding;

namespace {

// Process-wide facts asked once; a zero answer is asked again next time. Every writer
// stores the same value, so relaxed order suffices.
std::atomic<std::uint32_t> g_systemDefaultLcid{0};
std::atomic<std::uint32_t> g_systemAnsiCp{0};

std::uint32_t cachedSystemAnsiCp() {
    std::uint32_t cp = g_systemAnsiCp.load(std::memory_order_relaxed);
    if (cp == 0) {
        cp = xo::platform::systemAnsiCodePage();
        g_systemAnsiCp.store(cp, std::memory_order_relaxed);
    }
    return cp;
}

constexpr std::uint16_t low16(std::uint32_t lcid) {
    return std::uint16_t(lcid & 0xFFFF);
}

constexpr unsigned kAsianIndexCharSets[6] = {0, 128, 136, 129, 130, 134};

int asianIndexOfCharSet(unsigned charset) {
    for (int index = 1; index < 6; ++index)
        if (kAsianIndexCharSets[index] == charset)
            return index;
    return 0;
}

constexpr unsigned kAnsiCodePages[14] = {1252, 932,  949,  936, 950,  1255, 1256,
                                         1253, 1254, 1258, 874, 1250, 1251, 1257};

std::uint32_t lcidOfKnownCharSet(unsigned charset, bool& known) {
    known = true;
    switch (charset) {
    case 0:
        return 1033;
    case 128:
        return 1041;
    case 129:
        return 1042;
    case 134:
        return 2052;
    case 136:
        return 1028;
    case 161:
        return 1032;
    case 162:
        return 1055;
    case 163:
        return 1066;
    case 177:
        return 1037;
    case 178:
        return 1025;
    case 186:
        return 1061;
    case 204:
        return 1049;
    case 222:
        return 1054;
    case 238:
        return 1029;
    case 256:
        return 1093;
    case 257:
        return 1095;
    case 258:
        return 1097;
    case 259:
        return 1098;
    case 260:
        return 1099;
    case 261:
        return 1100;
    case 262:
        return 1102;
    case 263:
        return 1094;
    case 264:
        return 1096;
    default:
        known = false;
        return 0;
    }
}

} // namespace

namespace xo::encoding {

unsigned chooseCharSet(std::uint32_t mask, unsigned preferred, unsigned second) {
    if (mask == 0)
        return preferred;
    bool secondSeen = false;
    bool otherSeen = false;
    unsigned other = 0;
    for (unsigned bit = 0; bit < kMaskCharSetCount; ++bit) {
        if ((mask >> bit & 1u) == 0)
            continue;
        const unsigned charset = kMaskCharSets[bit];
        if (charset == preferred)
            return preferred;
        if (charset == second) {
            secondSeen = true;
        } else if (!otherSeen) {
            otherSeen = true;
            other = charset;
        }
    }
    if (secondSeen)
        return second;
    return otherSeen ? other : preferred;
}

} // namespace xo::encoding

unsigned int getCharSetByLcid(std::uint32_t lcid) {
    for (const enc::LcidCharSet& row : enc::kLcidCharSets)
        if (row.lcid == lcid)
            return row.charset;
    // Windows fails both questions when given nowhere to put the answer, so in practice
    // the system's ANSI code page decides.
    if (xo::platform::translateCharsetInfoFromLocale(lcid) &&
        xo::platform::localeAnsiCodePageQuery(lcid) > 0)
        return 1;
    return getCharSetByAnsiCp(cachedSystemAnsiCp());
}

bool isRightToLeftLanguage(std::uint16_t langId) {
    const unsigned primary = langId & 0x3FFu;
    return primary == 0x01 || primary == 0x0D; // Arabic, Hebrew
}

int getAsianIndexByLcid(short langId) {
    return asianIndexOfCharSet(getCharSetByLcid(std::uint32_t(int(langId))));
}

std::uint16_t getLangIdByCharSet(unsigned int charset) {
    return low16(getLcidByCharSet(charset));
}

std::uint16_t getLangIdForChar(wchar_t unit, std::uint16_t preferred, std::uint16_t second) {
    return low16(getLcidByCharSet(getCharSetForChar(unit, preferred, second)));
}

unsigned int getCharSetByAsianIndex(int index) {
    return index >= 1 && index <= 5 ? kAsianIndexCharSets[index] : 0;
}

std::uint32_t getLcidByAsianIndex(int index) {
    return getLcidByCharSet(getCharSetByAsianIndex(index));
}

bool isDoubleByteLcid(std::uint16_t langId) {
    return PmCodePage::CharSetIsDoubleByte(int(getCharSetByLcid(langId)));
}

std::uint32_t getLcidByCharSet(unsigned int charset) {
    bool known = false;
    std::uint32_t lcid = lcidOfKnownCharSet(charset, known);
    if (known)
        return lcid;
    if (charset >= 239 && charset <= 255) {
        // These stand for the set of the system default locale.
        lcid = lcidOfKnownCharSet(getCharSetByLcid(xo::platform::systemDefaultLcid()), known);
        if (known)
            return lcid;
    }
    return xo::platform::systemDefaultLcid();
}

int getCharScriptClass(wchar_t unit) {
    const std::uint32_t u = std::uint32_t(unit) & 0xFFFFu; // one UTF-16 unit on every target
    if (u < enc::kScriptClassEntries)
        return enc::kScriptClasses[u];
    for (const enc::ScriptRange& row : enc::kScriptRanges)
        if (row.upper >= u)
            return int(row.scriptClass);
    return enc::kScriptClassPastTheRanges;
}

unsigned int getAnsiCpByCharSet(unsigned int charset) {
    switch (charset) {
    case 0:
    case 2:
        return 1252;
    case 128:
        return 932;
    case 129:
        return 949;
    case 134:
        return 936;
    case 136:
        return 950;
    case 161:
        return 1253;
    case 162:
        return 1254;
    case 163:
        return 1258;
    case 177:
        return 1255;
    case 178:
        return 1256;
    case 186:
        return 1257;
    case 204:
        return 1251;
    case 222:
        return 874;
    case 238:
        return 1250;
    default:
        return 0;
    }
}

unsigned int getCharSetForChar(wchar_t unit, std::uint16_t preferred, std::uint16_t second) {
    const unsigned preferredSet = getCharSetByLcid(preferred);
    const unsigned secondSet = getCharSetByLcid(second);
    const unsigned charClass = enc::kCharClasses[std::uint32_t(unit) & 0xFFFFu];
    return enc::chooseCharSet(enc::kCharClassMasks[charClass], preferredSet, secondSet);
}

unsigned int getCharSetByAnsiCp(unsigned int codePage) {
    switch (codePage) {
    case 1250:
        return 238;
    case 874:
        return 222;
    case 932:
        return 128;
    case 936:
        return 134;
    case 949:
        return 129;
    case 950:
        return 136;
    case 1251:
        return 204;
    case 1253:
        return 161;
    case 1254:
        return 162;
    case 1255:
        return 177;
    case 1256:
        return 178;
    case 1257:
        return 186;
    case 1258:
        return 163;
    default:
        return 0;
    }
}

std::uint32_t systemDefaultLcid() {
    std::uint32_t lcid = g_systemDefaultLcid.load(std::memory_order_relaxed);
    if (lcid == 0) {
        lcid = xo::platform::systemDefaultLcid();
        g_systemDefaultLcid.store(lcid, std::memory_order_relaxed);
    }
    return lcid;
}

int getAnsiCpCount() {
    return 14;
}

// A negative index is the caller's error and is not checked, as it never was.
unsigned int getAnsiCpAt(int index) {
    return kAnsiCodePages[index >= 14 ? 0 : index];
}

std::uint16_t getLangIdByAnsiCp(unsigned int codePage) {
    return low16(getLcidByCharSet(getCharSetByAnsiCp(codePage)));
}

unsigned int getAnsiCpByLcid(std::uint16_t langId) {
    return getAnsiCpByCharSet(getCharSetByLcid(langId));
}

unsigned int getAnsiCpByAsianIndex(int index) {
    return getAnsiCpByCharSet(getCharSetByAsianIndex(index));
}

int getAsianIndexByAnsiCp(unsigned int codePage) {
    return asianIndexOfCharSet(getCharSetByAnsiCp(codePage));
}
