// Facts about text units that every layer needs, written once.
#pragma once

#include <cstdint>

namespace xo::platform {

// Wide text holds one UTF-16 code unit per element on every target; wchar_t is 32 bits
// on Linux, and only its low 16 bits are the unit.
constexpr std::uint16_t wideUnit(wchar_t c) {
    return static_cast<std::uint16_t>(c);
}

// The length a UTF-8 lead byte announces, without judging it: a byte that cannot lead
// (ASCII, a continuation byte) stands alone, and 0xF0 and above announce four. Callers
// that decode check the sequence themselves.
constexpr int utf8AnnouncedLength(unsigned char lead) {
    return lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

} // namespace xo::platform
