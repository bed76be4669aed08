#include "XoWildcard.h"
#include "platform/textunits.h"

#include <cstddef>

namespace {

using xo::platform::wideUnit;

// The application's normal-result and error-result codes.
constexpr int kMatched = 5100;
constexpr int kNotMatched = -5001;

constexpr std::size_t kListLimit = 2048;

int length(const wchar_t* s) {
    int n = 0;
    while (wideUnit(s[n]) != 0)
        ++n;
    return n;
}

// The classes of the Windows runtime's C locale, which has no letters or digits above
// 0x7F. Only the low byte of the unit is looked at, so U+0131 counts as the digit 1.
bool isDigit(unsigned u) {
    const unsigned b = u & 0xFFu;
    return b >= '0' && b <= '9';
}

bool isAlpha(unsigned u) {
    const unsigned b = u & 0xFFu;
    return (b >= 'A' && b <= 'Z') || (b >= 'a' && b <= 'z');
}

// The pattern list cut into items, and where the next item starts. One static for all
// calls, as the function has always kept it (it is documented as not reentrant). Kept
// whole, items included, so that racing calls get wrong answers but read nothing
// outside it.
struct Splitter {
    wchar_t items[kListLimit + 1];
    wchar_t* next; // null once the last item is taken

    void start(const wchar_t* patterns) {
        std::size_t n = 0;
        for (; n < kListLimit && wideUnit(patterns[n]) != 0; ++n)
            items[n] = patterns[n];
        items[n] = 0;
        next = items;
    }

    // An item ends at a comma without a backquote before it. Commas that start an item
    // are skipped, but whatever follows the last comma is an item, even when empty.
    wchar_t* take() {
        if (next == nullptr)
            return nullptr;
        while (wideUnit(*next) == ',')
            ++next;
        wchar_t* item = next;
        for (wchar_t* p = item + (wideUnit(*item) != 0 ? 1 : 0);; ++p) {
            if (wideUnit(*p) == 0) {
                next = nullptr;
                return item;
            }
            if (wideUnit(*p) == ',' && wideUnit(p[-1]) != '`') {
                *p = 0;
                next = p + 1;
                return item;
            }
        }
    }
};

Splitter s_splitter;

bool onlyStars(const wchar_t* item, int from, int to) {
    for (int k = from; k < to; ++k)
        if (wideUnit(item[k]) != '*')
            return false;
    return true;
}

// Members from first to last (the `~` of a negated list excluded). A `-` between two
// members is the range strictly between its neighbours, in either order; the
// neighbours themselves match as members.
bool inList(const wchar_t* item, int first, int last, unsigned t) {
    for (int k = first; k <= last; ++k) {
        const unsigned member = wideUnit(item[k]);
        if (member == '-' && k != first && k != last) {
            const unsigned a = wideUnit(item[k - 1]);
            const unsigned b = wideUnit(item[k + 1]);
            if ((a < t && t < b) || (b < t && t < a))
                return true;
        } else if (member == t) {
            return true;
        }
    }
    return false;
}

enum class ItemOutcome { Matched, Failed, NegatedFailed, WholeText };

// One item against the text. start counts the text characters skipped in front of a
// literal and is never reset here; end is set to the last text index consumed.
ItemOutcome matchItem(const wchar_t* text, int n, const wchar_t* item, int& start, int& end) {
    const int m = length(item);
    if (n == 0 || m == 0) {
        // Nothing to walk, so a leading `~` is just a character here.
        end = -1;
        return onlyStars(item, 0, m) ? ItemOutcome::Matched : ItemOutcome::Failed;
    }

    int i = 0;
    int j = 0;
    int resumeAt = 0;
    bool star = false; // a `*` is absorbing text
    bool hadStar = false;
    bool negated = false;
    // The list found by the last `[`: where its `]` is, and where its members start.
    int listOpen = -1;
    int listClose = -1;
    bool failed = false;

    // After a miss: a `*` in force takes the text character, else the item goes back to
    // just after the last `*`, dropping the character, else it has failed.
    auto miss = [&] {
        if (star) {
            ++i;
        } else if (hadStar) {
            j = resumeAt;
            ++i;
        } else {
            failed = true;
        }
    };
    auto hit = [&] {
        star = false;
        ++i;
        ++j;
    };

    while (i < n) {
        if (j == 0) {
            negated = wideUnit(item[0]) == '~';
            if (negated)
                j = 1;
        }
        const unsigned t = wideUnit(text[i]);
        const unsigned c = wideUnit(item[j]);
        switch (c) {
        case '*':
            if (m == 1) {
                end = n - 1;
                return ItemOutcome::WholeText;
            }
            star = hadStar = true;
            resumeAt = ++j;
            break;
        case '?':
            ++i;
            ++j;
            break;
        case '#':
        case '@':
        case '.': {
            const bool matches = c == '#'   ? isDigit(t)
                                 : c == '@' ? isAlpha(t)
                                            : !isDigit(t) && !isAlpha(t);
            if (matches)
                hit();
            else
                miss();
            break;
        }
        case '[': {
            int k = j + 1;
            if (k < m && wideUnit(item[k]) == '~')
                ++k;
            if (k < m && wideUnit(item[k]) == ']') // first in the list: a member
                ++k;
            while (k < m && wideUnit(item[k]) != ']')
                ++k;
            if (k >= m) { // no `]`, or the `[` is last
                failed = true;
                break;
            }
            listOpen = j;
            listClose = k;
            j = k;
            break;
        }
        case '`':
            if (++j >= m) {
                failed = true;
            } else if (wideUnit(item[j]) == t) {
                hit();
            } else if (star) {
                ++i;
                --j; // back to the backquote, to try it on the next character
            } else if (hadStar) {
                j = resumeAt;
                ++i;
            } else {
                failed = true;
            }
            break;
        default:
            if (c == ']' && j == listClose) {
                const bool negatedList = wideUnit(item[listOpen + 1]) == '~';
                const int first = listOpen + 1 + (negatedList ? 1 : 0);
                if (inList(item, first, listClose - 1, t) != negatedList)
                    hit();
                else
                    miss();
            } else if (c == t) {
                hit();
            } else if (star) {
                ++i;
            } else if (j == 0) {
                // The match may begin anywhere in the text.
                ++i;
                ++start;
            } else if (negated) {
                ++i;
            } else {
                miss();
            }
            break;
        }
        if (failed || j >= m)
            break;
    }

    end = i - 1;
    bool matched = !failed && onlyStars(item, j, m);
    if (negated)
        matched = !matched;
    if (matched)
        return ItemOutcome::Matched;
    return negated ? ItemOutcome::NegatedFailed : ItemOutcome::Failed;
}

struct Pass {
    int result;
    int start;
    int end;
    bool retry; // retry the whole list on the text after start
};

// The whole list against one text: items in turn, until one settles the answer or
// fails after matching part of the text. A retry restarts the splitter, so the rest of
// this list is never tried.
Pass matchList(const wchar_t* text, int n, const wchar_t* patterns) {
    s_splitter.start(patterns);
    Pass pass{kNotMatched, 0, -1, false};
    while (const wchar_t* item = s_splitter.take()) {
        switch (matchItem(text, n, item, pass.start, pass.end)) {
        case ItemOutcome::WholeText:
            pass.result = kMatched;
            return pass;
        case ItemOutcome::Matched:
            pass.result = kMatched;
            break;
        case ItemOutcome::NegatedFailed:
            pass.start = -1;
            pass.end = -1;
            return pass;
        case ItemOutcome::Failed:
            if (pass.start < n - 1) {
                pass.retry = true;
                return pass;
            }
            break;
        }
    }
    return pass;
}

} // namespace

int WildcardsStringMatch(wchar_t const* text, wchar_t const* patterns, int* matchStart,
                         int* matchEnd) {
    if (matchStart != nullptr)
        *matchStart = 0;
    if (text == nullptr || patterns == nullptr)
        return kNotMatched;

    // A retry answers for the pass that asked for it when it matches, its positions moved
    // by the offset of its text; otherwise that pass keeps its own answer. So the deepest
    // pass that matched gives the answer, or the first pass when none did. Run as a loop:
    // retries nest as deep as the text is long, too deep for the stack on long names.
    const int n = length(text);
    Pass pass = matchList(text, n, patterns);
    int result = pass.result;
    int start = pass.start;
    int end = pass.end;
    int offset = 0;
    while (pass.retry) {
        offset += pass.start + 1;
        pass = matchList(text + offset, n - offset, patterns);
        if (pass.result == kMatched) {
            result = kMatched;
            start = offset + pass.start;
            end = offset + pass.end;
        }
    }
    if (matchStart != nullptr)
        *matchStart = start;
    if (matchEnd != nullptr)
        *matchEnd = end;
    return result;
}
