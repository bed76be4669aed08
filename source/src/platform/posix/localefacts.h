// What Windows would report for the process locale: the system default locale and its
// ANSI and OEM code pages, derived from a POSIX locale name by language (and territory
// where Windows tells them apart).
#pragma once

#include <cstdint>

namespace xo::platform {

struct LocaleFacts {
    std::uint32_t lcid;
    unsigned ansiCodePage;
    unsigned oemCodePage;
};

// For a name such as "ja_JP.UTF-8" or "sr_RS@latin"; "C", "POSIX", empty and unknown
// languages give English (United States), 0x0409, 1252, 437.
LocaleFacts localeFactsFromName(const char* name);

// The facts of the first non-empty of LC_ALL, LC_CTYPE and LANG, read once.
const LocaleFacts& processLocaleFacts();

// The page that CP_ACP, CP_OEMCP, CP_MACCP and CP_THREAD_ACP stand for; others as given.
unsigned concreteCodePage(unsigned codePage);

} // namespace xo::platform
