// The pools stop the process where their bookkeeping has gone wrong, rather than hand
// out memory on the strength of it.
#include "memory/xopools.h"
#include "xotestchecks.h"

#include <gtest/gtest.h>

namespace {

TEST(XoPoolChecksDeathTest, AUnitMustCountItsBlocksInSixteenBits) {
    const struct {
        std::size_t blockSize;
        std::size_t unitSize;
    } broken[] = {{8, xo::kSegmentSize}, {16, 16 * 0x10000}, {2 * xo::kPageSize, xo::kPageSize}};
    for (const auto& row : broken) {
        SCOPED_TRACE(row.blockSize);
        xo::XoUnitClass units;
        EXPECT_EXIT(units.init(1, row.blockSize, row.unitSize, false), xotest::abortedByCheck(),
                    "");
    }
    xo::XoUnitClass widest;
    widest.init(1, 16, 16 * 0xFFFF, false);
    EXPECT_EQ(widest.blockSize(), 16u);
}

// The records of a segment claim a free page that every page record denies.
void takePageOfAMiscountedSegment() {
    xo::XoSmallBlockPool pool(xo::XoPools::instance().segments);
    const int sizeClass = xo::XoSmallBlockPool::classFor(64);
    xo::XoUnit* page = pool.newUnit(static_cast<std::uint16_t>(sizeClass));
    auto* records = reinterpret_cast<xo::XoUnit*>(xo::addressOf(page->base) &
                                                  ~std::uintptr_t{xo::kSegmentSize - 1});
    for (std::size_t i = 1; i < xo::kSegmentSize / xo::kPageSize; ++i)
        if (records[i].sizeClass == 0)
            records[i].sizeClass = static_cast<std::uint16_t>(sizeClass);
    pool.newUnit(static_cast<std::uint16_t>(sizeClass));
}

TEST(XoPoolChecksDeathTest, ASegmentWhoseFreePageCountIsWrongStopsTheProcess) {
    EXPECT_EXIT(takePageOfAMiscountedSegment(), xotest::abortedByCheck(), "");
}

} // namespace
