#include "pagestate.h"

#include <atomic>
#include <mutex>
#include <vector>

#include "codepageinverse.h"

namespace xo::codepages {

namespace {

constexpr std::size_t kMaxPages = 64;

std::unique_ptr<PageState> derive(const PageData& page) {
    auto state = std::make_unique<PageState>();
    state->data = &page;
    std::int16_t row = 0;
    for (unsigned b = 0; b < 256; ++b)
        state->leadRow[b] = testBit(page.leadBits, b) ? row++ : std::int16_t(-1);
    std::vector<std::uint32_t> plain(0x10000);
    invertForward(page, plain.data());
    state->reverse.reset(new std::uint16_t[0x10000]);
    for (unsigned u = 0; u < 0x10000; ++u)
        state->reverse[u] = std::uint16_t(plain[u] == kNoCode ? page.defaultChar : plain[u]);
    for (std::size_t i = 0; i < page.bestFitCount; ++i)
        state->reverse[page.bestFit[2 * i]] = page.bestFit[2 * i + 1];
    state->defaultReadsAs = state->decode(page.defaultChar);
    state->everyTrail = !testBit(page.trailBits, 0);
    for (unsigned b = 1; b < 256; ++b)
        state->everyTrail = state->everyTrail && testBit(page.trailBits, b);
    return state;
}

// Published states, never freed: readers only ever load them.
std::atomic<const PageState*> gStates[kMaxPages];

const PageState* publish(int index) {
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    const PageState* state = gStates[index].load(std::memory_order_acquire);
    if (!state) {
        std::size_t count = 0;
        state = derive(*allPages(&count)[index]).release();
        gStates[index].store(state, std::memory_order_release);
    }
    return state;
}

} // namespace

const PageState* pageState(unsigned codePage) {
    // Text comes page by page: the last page asked is the likely next one.
    static std::atomic<const PageState*> last{nullptr};
    const PageState* recent = last.load(std::memory_order_acquire);
    if (recent && recent->data->codePage == codePage)
        return recent;
    const int index = pageIndex(codePage);
    if (index < 0 || std::size_t(index) >= kMaxPages)
        return nullptr;
    const PageState* state = gStates[index].load(std::memory_order_acquire);
    if (!state)
        state = publish(index);
    last.store(state, std::memory_order_release);
    return state;
}

} // namespace xo::codepages
