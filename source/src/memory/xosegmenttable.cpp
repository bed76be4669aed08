#include "memory/xosegmenttable.h"

#include "memory/xoasanpoison.h"
#include "platform/virtualmemory.h"

namespace xo {

namespace {

constexpr int kAttempts = 6;

// The lowest 12 MiB and the top segment are never used; three bands, where the
// system tends to place modules, only as a last resort.
std::uint8_t initialState(int number) {
    if (number < 12 || number == kSegmentCount - 1)
        return 0;
    if ((number >= 816 && number <= 863) || (number >= 1536 && number <= 1663) ||
        (number >= 2032 && number <= 2047))
        return 4;
    return 2;
}

char* baseOf(int number) {
    return reinterpret_cast<char*>(static_cast<std::uintptr_t>(number) << 20);
}

} // namespace

XoSegmentTable::XoSegmentTable() : m_nextCandidate(kSegmentCount - 1) {
    for (int n = 0; n < kSegmentCount; ++n)
        m_states[n].store(initialState(n), std::memory_order_relaxed);
}

bool XoSegmentTable::tryReserve(int number) {
    if (!platform::reserveAt(baseOf(number), kSegmentSize))
        return false;
    m_states[number].fetch_or(1);
    return true;
}

char* XoSegmentTable::reserveFromCandidate() {
    for (int n = m_nextCandidate; n >= 1; --n) {
        if (m_states[n].load(std::memory_order_relaxed) == 2 && tryReserve(n)) {
            m_nextCandidate = static_cast<std::int16_t>(n - 1);
            return baseOf(n);
        }
    }
    return nullptr;
}

char* XoSegmentTable::scan(std::uint8_t wanted, std::int16_t candidateAfter) {
    for (int n = kSegmentCount - 1; n >= 1; --n) {
        if (m_states[n].load(std::memory_order_relaxed) == wanted && tryReserve(n)) {
            m_nextCandidate =
                candidateAfter < 0 ? static_cast<std::int16_t>(n - 1) : candidateAfter;
            return baseOf(n);
        }
    }
    return nullptr;
}

char* XoSegmentTable::reserve() {
    for (int pass = 0; pass < kAttempts; ++pass) {
        if (m_nextCandidate != 0)
            if (char* base = reserveFromCandidate())
                return base;
        if (char* base = scan(2, -1))
            return base;
        if (char* base = scan(4, 0))
            return base;
    }
    return nullptr;
}

char* XoSegmentTable::acquire() {
    XoAutoLocker guard(&m_lock);
    char* base = reserve();
    if (base == nullptr)
        return nullptr;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (platform::commit(base, kSegmentSize)) {
            unpoisonInUse(base, kSegmentSize); // the pools may have poisoned it before
            return base;
        }
    }
    m_states[addressOf(base) >> 20].fetch_and(static_cast<std::uint8_t>(~1u));
    platform::release(base, kSegmentSize);
    return nullptr;
}

void XoSegmentTable::giveBack(char* base) {
    XoAutoLocker guard(&m_lock);
    const int number = static_cast<int>(addressOf(base) >> 20);
    m_states[number].fetch_and(static_cast<std::uint8_t>(~1u));
    if (number > m_nextCandidate)
        m_nextCandidate = static_cast<std::int16_t>(number);
    platform::decommit(base, kSegmentSize);
    platform::release(base, kSegmentSize);
}

void XoSegmentTable::retire(char* base) {
    XoAutoLocker guard(&m_lock);
    platform::decommit(base, kSegmentSize);
    platform::release(base, kSegmentSize);
}

} // namespace xo
