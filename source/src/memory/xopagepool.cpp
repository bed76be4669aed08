#include "memory/xopagepool.h"

namespace xo {

namespace {
constexpr std::int16_t kUnused = -1;
}

XoPagePool::XoPagePool(XoSegmentTable& segments) : m_segments(segments), m_records() {
    for (XoUnit& record : m_records)
        record.number = kUnused;
    for (int k = 1; k <= kClasses; ++k)
        m_classes[k].init(static_cast<std::uint16_t>(k), k * kPageSize, kSegmentSize, false);
}

int XoPagePool::classFor(std::size_t size) {
    if (size % kPageSize != 0 || size > kSegmentSize)
        return 0;
    return static_cast<int>(size / kPageSize);
}

XoUnit* XoPagePool::newUnit(std::uint16_t sizeClass) {
    char* base = m_segments.acquire();
    if (base == nullptr)
        return nullptr;
    XoAutoLocker guard(&m_descriptorLock);
    XoUnit& record = m_records[addressOf(base) >> 20];
    record.sizeClass = sizeClass;
    record.number = static_cast<std::int16_t>(addressOf(base) >> 20);
    record.base = base;
    return &record;
}

// An empty segment goes back at once.
void XoPagePool::emptyUnit(XoUnit* unit) {
    XoAutoLocker guard(&m_descriptorLock);
    m_segments.giveBack(unit->base);
    unit->number = kUnused;
    unit->sizeClass = 0;
}

void XoPagePool::give(void* block) {
    XoUnit* unit;
    int pageClass;
    {
        XoAutoLocker guard(&m_descriptorLock);
        unit = &m_records[addressOf(block) >> 20];
        pageClass = unit->sizeClass;
    }
    if (pageClass != 0)
        m_classes[pageClass].give(unit, block, m_source);
}

void XoPagePool::tearDown() {
    for (int k = 1; k <= kClasses; ++k)
        m_classes[k].drain([this](XoUnit* unit) {
            XoAutoLocker guard(&m_descriptorLock);
            m_segments.retire(unit->base);
            unit->number = kUnused;
            unit->sizeClass = 0;
        });
}

} // namespace xo
