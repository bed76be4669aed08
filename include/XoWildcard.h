/// \file
/// Wildcard matching of names against a comma-separated list of patterns.
#pragma once

#include "XoOsBaseExport.h"

/// Matches text against a comma-separated list of patterns.
///
/// Pattern syntax: `~` first in a pattern negates it; `*` any run of characters; `?` any
/// one character; `#` a digit; `@` a letter; `.` anything but a letter or digit;
/// `[...]` one of the listed characters, `[~...]` one not listed, `a-z` a range; a
/// backquote takes the next character literally (also a comma); `,` separates
/// alternatives. Anything else matches itself, case-sensitively. Digits and letters are
/// those of the C locale, judged on the low 8 bits of the text character.
///
/// Returns 5100 when the text matches and -5001 when it does not or when text or
/// patterns is null (then `*matchStart` is 0 and `*matchEnd` is left alone).
/// `*matchStart` counts the text characters skipped before the match (skips of earlier
/// patterns count too); `*matchEnd` is the index of the last text character the pattern
/// consumed, or -1. Either pointer may be null. Pattern lists are cut after 2048
/// characters.
///
/// Not reentrant and not safe across threads: the splitter of the pattern list keeps its
/// state in one static shared by all calls.
XOOSBASE_API int WildcardsStringMatch(wchar_t const* text, wchar_t const* patterns, int* matchStart,
                                      int* matchEnd);
