// The operating-system version word that the library captures while it loads: the raw
// result of GetVersion (low byte the major version, next byte the minor version, high
// word the build number).
#pragma once

#include <cstdint>

namespace xo::platform {

// Windows: GetVersion() as it answered when the library was loaded. POSIX: a constant
// that stands for Windows 10.0 build 19045 (0x4A65000A), so that every rule for
// versions from 5 on applies.
std::uint32_t loadTimeVersionWord();

// Replaces the captured word and returns the one before; only tests use it, to reach
// the rules of versions below 5.
std::uint32_t replaceLoadTimeVersionWord(std::uint32_t word);

} // namespace xo::platform
