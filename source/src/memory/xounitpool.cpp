#include "memory/xounitpool.h"

#include "memory/xoasanpoison.h"
#include "platform/check.h"

namespace xo {

namespace {

char*& linkOf(char* block) {
    return *reinterpret_cast<char**>(block);
}

} // namespace

void XoUnitList::pushFront(XoUnit* unit) {
    unit->before = nullptr;
    unit->after = head;
    if (head != nullptr)
        head->before = unit;
    head = unit;
}

void XoUnitList::remove(XoUnit* unit) {
    if (unit->before != nullptr)
        unit->before->after = unit->after;
    else
        head = unit->after;
    if (unit->after != nullptr)
        unit->after->before = unit->before;
    unit->after = unit->before = nullptr;
}

void XoUnitClass::init(std::uint16_t number, std::size_t blockSize, std::size_t unitSize,
                       bool keepLastEmpty) {
    m_keepLastEmpty = keepLastEmpty;
    m_number = number;
    m_blockSize = blockSize;
    m_blocksPerUnit = static_cast<std::uint32_t>(unitSize / blockSize);
    // A unit counts its free blocks in 16 bits (XoUnit::available).
    XO_CHECK(unitSize / blockSize >= 1 && unitSize / blockSize <= 0xFFFF,
             "a unit must hold 1 to 65535 blocks of its class");
}

std::size_t XoUnitClass::blocksInUse() const {
    XoAutoLocker guard(&m_lock);
    std::size_t inUse = 0;
    for (const XoUnitList* list : {&m_free, &m_full})
        for (const XoUnit* unit = list->head; unit != nullptr; unit = unit->after)
            inUse += m_blocksPerUnit - unit->available;
    return inUse;
}

void* XoUnitClass::take(const XoUnitSource& source) {
    XoAutoLocker guard(&m_lock);
    return takeLocked(source);
}

int XoUnitClass::takeMany(void** blocks, int count, const XoUnitSource& source) {
    XoAutoLocker guard(&m_lock);
    int taken = 0;
    while (taken < count) {
        void* block = takeLocked(source);
        if (block == nullptr)
            break;
        blocks[taken++] = block;
    }
    return taken;
}

void* XoUnitClass::takeLocked(const XoUnitSource& source) {
    XoUnit* unit = m_free.head;
    if (unit != nullptr && (unit->flags & 1) == 0 && unit->available > 1) {
        --unit->available;
        char* block = unit->next;
        unit->next += m_blockSize;
        unpoisonInUse(block, m_blockSize);
        return block;
    }
    return takeSlow(source);
}

void* XoUnitClass::takeSlow(const XoUnitSource& source) {
    XoUnit* unit = m_free.head;
    if (unit == nullptr) {
        unit = source.newUnit(source.pool, m_number);
        if (unit == nullptr)
            return nullptr;
        unit->flags = 0; // the source has set the class, under its own lock
        unit->next = unit->base;
        unit->available = static_cast<std::uint16_t>(m_blocksPerUnit);
        poisonFree(unit->base, m_blocksPerUnit * m_blockSize);
        m_free.pushFront(unit);
    }
    if (unit->available == 1) {
        m_free.remove(unit);
        m_full.pushFront(unit);
    }
    char* block = unit->next;
    unpoisonInUse(block, m_blockSize);
    unit->next = (unit->flags & 1) != 0 ? linkOf(block) : block + m_blockSize;
    --unit->available;
    return block;
}

// Free-list mode from advancing mode: every block not yet handed out joins the list.
void XoUnitClass::threadRemaining(XoUnit* unit) {
    char* const end = unit->base + m_blocksPerUnit * m_blockSize;
    unpoisonInUse(unit->next, static_cast<std::size_t>(end - unit->next));
    char* head = nullptr;
    for (char* block = end - m_blockSize; block >= unit->next; block -= m_blockSize) {
        linkOf(block) = head;
        head = block;
    }
    poisonFree(unit->next, static_cast<std::size_t>(end - unit->next));
    unit->next = head;
}

// The unit goes back to its source, or stays as the class's last unit with free blocks.
void XoUnitClass::unitEmptied(XoUnit* unit, const XoUnitSource& source) {
    XoUnitList& home = m_blocksPerUnit == 1 ? m_full : m_free;
    const bool alone = m_blocksPerUnit == 1 ? m_free.head == nullptr
                                            : m_free.head == unit && unit->after == nullptr;
    if (m_keepLastEmpty && alone) {
        if (&home != &m_free) {
            home.remove(unit);
            m_free.pushFront(unit);
        }
        unit->flags = 0;
        unit->next = unit->base;
        return;
    }
    home.remove(unit);
    source.emptyUnit(source.pool, unit);
}

void XoUnitClass::give(XoUnit* unit, void* block, const XoUnitSource& source) {
    XoAutoLocker guard(&m_lock);
    giveLocked(unit, block, source);
}

void XoUnitClass::giveLocked(XoUnit* unit, void* pointer, const XoUnitSource& source) {
    char* block = static_cast<char*>(pointer);
    ++unit->available;
    if (unit->available == m_blocksPerUnit) {
        poisonFree(block, m_blockSize);
        unitEmptied(unit, source);
        return;
    }
    if (unit->available == 1) {
        m_full.remove(unit);
        m_free.pushFront(unit);
        const bool last = block == unit->base + (m_blocksPerUnit - 1) * m_blockSize;
        unit->flags = last ? 0 : 1;
        if (!last)
            linkOf(block) = nullptr;
    } else if ((unit->flags & 1) == 0) {
        if (block + m_blockSize != unit->next) {
            threadRemaining(unit);
            linkOf(block) = unit->next;
            unit->flags |= 1;
        }
    } else {
        linkOf(block) = unit->next;
    }
    unit->next = block;
    poisonFree(block, m_blockSize);
}

} // namespace xo
