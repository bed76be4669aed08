// One size class of a pool: blocks of one size carved from units (a 4 KiB page of the
// small-block pool, a whole segment of the page pool). A unit hands out blocks by
// advancing a pointer until one comes back out of order; then it threads its free
// blocks into a list. Free blocks hold the next free block in their first 8 bytes.
#pragma once

#include "XoLock.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace xo {

// The record of a unit: a page record in the small-block pool, a segment record in the
// page pool.
struct XoUnit {
    std::uint16_t sizeClass; // 0 while the unit serves no class
    std::uint16_t flags;     // bit 0: free-list mode
    std::int16_t number;     // segment number; -1 (65535) when not in use
    std::uint16_t available; // blocks not handed out
    char* next;              // next block to hand out, or the free-list head
    XoUnit* after;           // links of the class list the unit is on
    XoUnit* before;
    char* base; // first block of the unit
};

struct XoUnitList {
    XoUnit* head = nullptr;

    void pushFront(XoUnit* unit);
    void remove(XoUnit* unit);
};

// What a class needs from its pool: new units and a place for empty ones. Plain
// function pointers rather than a virtual interface: polymorphic classes would put
// their type information among the DLL's exports.
struct XoUnitSource {
    void* pool;
    XoUnit* (*newUnit)(void* pool, std::uint16_t sizeClass);
    void (*emptyUnit)(void* pool, XoUnit* unit);
};

// The source of a pool that has newUnit and emptyUnit.
template <class Pool> XoUnitSource unitSourceOf(Pool* pool) {
    return {
        pool,
        [](void* p, std::uint16_t sizeClass) { return static_cast<Pool*>(p)->newUnit(sizeClass); },
        [](void* p, XoUnit* unit) { static_cast<Pool*>(p)->emptyUnit(unit); }};
}

class XoUnitClass {
public:
    XoUnitClass() = default;
    XoUnitClass(const XoUnitClass&) = delete;
    XoUnitClass& operator=(const XoUnitClass&) = delete;

    // keepLastEmpty: a unit that empties while it is the class's only unit with free
    // blocks stays, back in advancing mode, instead of going back to its source.
    void init(std::uint16_t number, std::size_t blockSize, std::size_t unitSize,
              bool keepLastEmpty);

    void* take(const XoUnitSource& source);
    // Up to count blocks under one hold of the lock; returns how many could be had.
    int takeMany(void** blocks, int count, const XoUnitSource& source);
    void give(XoUnit* unit, void* block, const XoUnitSource& source);
    // Blocks of this class back under one hold of the lock; unitOf(block) is its unit.
    template <class UnitOf>
    void giveMany(void* const* blocks, int count, UnitOf unitOf, const XoUnitSource& source) {
        XoAutoLocker guard(&m_lock);
        for (int i = 0; i < count; ++i)
            giveLocked(unitOf(blocks[i]), blocks[i], source);
    }
    // Hands every unit still on the lists to give (teardown).
    template <class Give> void drain(Give give) {
        XoAutoLocker guard(&m_lock);
        for (XoUnitList* list : {&m_free, &m_full})
            while (XoUnit* unit = list->head) {
                list->remove(unit);
                give(unit);
            }
    }

    std::size_t blockSize() const { return m_blockSize; }
    // Blocks handed out and not given back (blocks in thread caches count).
    std::size_t blocksInUse() const;

private:
    void* takeLocked(const XoUnitSource& source);
    void* takeSlow(const XoUnitSource& source);
    void giveLocked(XoUnit* unit, void* block, const XoUnitSource& source);
    void threadRemaining(XoUnit* unit);
    void unitEmptied(XoUnit* unit, const XoUnitSource& source);

    XoLocker m_lock;
    std::size_t m_blockSize = 0;
    std::uint16_t m_number = 0;
    std::uint32_t m_blocksPerUnit = 0;
    bool m_keepLastEmpty = false;
    XoUnitList m_free; // units with free blocks
    XoUnitList m_full;
};

} // namespace xo
