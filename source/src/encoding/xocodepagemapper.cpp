#include "XoCodePageMapper.h"

#include "platform/codepage.h"

namespace {

constexpr int kIdCount = 46; // identifiers with an entry: 0 to 45
constexpr int kThreadAnsiCp = int(xo::platform::kCpThreadAcp);

} // namespace

// Reproduced as it has always been: 7 is 28586, which is no valid code page.
int XoCodePageMapper::arrAnsiVeskCpMapper[46] = {
    0,     20127, 28591, 28592, 28593, 28594, 28595, 28586, 28597, 28598, 28599, 437,
    850,   852,   855,   857,   860,   861,   863,   864,   865,   869,   932,   10000,
    10002, 949,   1361,  866,   1250,  1251,  1252,  20936, 1253,  1254,  1255,  1256,
    1257,  874,   932,   936,   949,   950,   1361,  0,     1258,  65001,
};

int XoCodePageMapper::veskCpToAnsiCp(code_page_id id) {
    // Negative identifiers count as out of range, like those above 45.
    if (unsigned(id) >= unsigned(kIdCount) || id == CODE_PAGE_US_ASCII)
        return kThreadAnsiCp;
    const int cp = arrAnsiVeskCpMapper[id];
    return cp == 0 ? kThreadAnsiCp : cp;
}

// From the top, so that the ANSI forms win over the second forms sharing their page.
code_page_id XoCodePageMapper::ansiCpToVeskCp(int ansiCp) {
    for (int id = kIdCount - 1; id >= 1; --id)
        if (arrAnsiVeskCpMapper[id] == ansiCp)
            return code_page_id(id);
    return CODE_PAGE_UNDEFINED;
}

int XoCodePageMapper::currentSystemAnsiCp() {
    return int(xo::platform::systemAnsiCodePage());
}
