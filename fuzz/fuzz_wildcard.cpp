// Random texts against random pattern lists: the matcher must stay inside both strings,
// leave the patterns as they were, answer one of its two codes with the end inside the
// text, and answer the same when asked again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "XoWildcard.h"
#include "fuzzsupport.h"

namespace {

using fuzzsupport::check;

// Bytes below 0x80 are units of their own (the whole pattern syntax); a higher byte
// and the next one make a unit up to 0x7FFF, so that low bytes come under high ones.
std::vector<wchar_t> units(const std::uint8_t* data, std::size_t size) {
    std::vector<wchar_t> result;
    for (std::size_t k = 0; k < size; ++k) {
        unsigned u = data[k];
        if (u >= 0x80 && k + 1 < size)
            u = (u & 0x7F) << 8 | data[++k];
        if (u != 0)
            result.push_back(static_cast<wchar_t>(u));
    }
    return result;
}

// An exactly sized copy with its terminator, so that ASan sees any read past it.
wchar_t* terminated(const std::vector<wchar_t>& s) {
    auto* copy = new wchar_t[s.size() + 1];
    for (std::size_t k = 0; k < s.size(); ++k)
        copy[k] = s[k];
    copy[s.size()] = 0;
    return copy;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    const std::size_t split = 1 + data[0] % size;
    const std::vector<wchar_t> textUnits = units(data + 1, split - 1);
    const std::vector<wchar_t> patternUnits = units(data + split, size - split);
    wchar_t* text = terminated(textUnits);
    wchar_t* patterns = terminated(patternUnits);
    const int n = static_cast<int>(textUnits.size());

    int start = 0;
    int end = 0;
    const int result = WildcardsStringMatch(text, patterns, &start, &end);
    check(result == 5100 || result == -5001);
    check(end >= -1 && end < n);
    check(start >= -1);
    for (std::size_t k = 0; k < patternUnits.size(); ++k)
        check(patterns[k] == patternUnits[k]);

    int startAgain = 0;
    int endAgain = 0;
    check(WildcardsStringMatch(text, patterns, &startAgain, &endAgain) == result);
    check(startAgain == start && endAgain == end);

    delete[] text;
    delete[] patterns;
    return 0;
}
