#include "platform/version.h"

#include <atomic>

namespace xo::platform {

namespace {

// Major 10, minor 0, build 19045: what a current Windows 10 reports.
constexpr std::uint32_t kWindows10Word = 0x4A65000Au;

std::atomic<std::uint32_t> g_versionWord{kWindows10Word};

} // namespace

std::uint32_t loadTimeVersionWord() {
    return g_versionWord.load(std::memory_order_relaxed);
}

std::uint32_t replaceLoadTimeVersionWord(std::uint32_t word) {
    return g_versionWord.exchange(word, std::memory_order_relaxed);
}

} // namespace xo::platform
