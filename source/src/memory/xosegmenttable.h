// The pools' address space: 1 MiB segments numbered 1 to 32767 (address >> 20), each
// with a state byte. 2: may be reserved; 4: only when no state-2 segment can be had;
// 0: never used. Bit 0 is set while the pools own the segment.
#pragma once

#include "XoLock.h"
#include "platform/virtualmemory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace xo {

constexpr std::size_t kSegmentSize = 0x100000;
using platform::kPageSize;
constexpr int kSegmentCount = 32768;

inline std::uintptr_t addressOf(const void* p) {
    return reinterpret_cast<std::uintptr_t>(p);
}

class XoSegmentTable {
public:
    XoSegmentTable();
    XoSegmentTable(const XoSegmentTable&) = delete;
    XoSegmentTable& operator=(const XoSegmentTable&) = delete;

    // A reserved and committed segment, owned bit set; null when none can be had.
    char* acquire();
    // Owned bit cleared, next candidate raised, pages decommitted, reservation released.
    void giveBack(char* base);
    // Decommitted and released for good at exit: the owned bit stays, so the segment is
    // never taken again and a late free of one of its blocks is still known as a pool
    // block, to be ignored.
    void retire(char* base);

    // The segment holding p is in range and owned by the pools.
    bool owns(const void* p) const {
        const std::uintptr_t base = addressOf(p) & ~std::uintptr_t{kSegmentSize - 1};
        if (base > 0x7FFF00000u)
            return false;
        return (m_states[base >> 20].load(std::memory_order_relaxed) & 1) != 0;
    }

    std::uint8_t state(int number) const { return m_states[number].load(); }
    std::int16_t nextCandidate() const { return m_nextCandidate; }

private:
    char* reserve();
    char* reserveFromCandidate();
    char* scan(std::uint8_t wanted, std::int16_t candidateAfter);
    bool tryReserve(int number);

    std::atomic<std::uint8_t> m_states[kSegmentCount];
    std::int16_t m_nextCandidate;
    XoLocker m_lock;
};

} // namespace xo
