#include "platform/version.h"

#include <windows.h>

#include <atomic>

namespace xo::platform {

namespace {

// Filled by a static initialiser while the library loads. GetVersion never answers 0,
// so 0 also tells a reader that runs before that initialiser to ask now.
std::atomic<std::uint32_t> g_versionWord{static_cast<std::uint32_t>(::GetVersion())};

} // namespace

std::uint32_t loadTimeVersionWord() {
    std::uint32_t word = g_versionWord.load(std::memory_order_relaxed);
    if (word == 0) {
        word = static_cast<std::uint32_t>(::GetVersion());
        g_versionWord.store(word, std::memory_order_relaxed);
    }
    return word;
}

std::uint32_t replaceLoadTimeVersionWord(std::uint32_t word) {
    return g_versionWord.exchange(word, std::memory_order_relaxed);
}

} // namespace xo::platform
