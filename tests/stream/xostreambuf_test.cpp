// The bulk operations every stream inherits, seen through a stream that has only the
// primitives.
#include "XoStreamBuf.h"
#include "stream/xostreamcopy.h"
#include "streamtestsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

using streamtest::HeapCount;
using streamtest::iota;
using streamtest::PrimitiveStream;

namespace {

constexpr unsigned int kMiB = 1024 * 1024;

struct ChunkCase {
    unsigned int count;
    std::vector<std::size_t> heapBlocks; // what the transfer allocates
    std::vector<unsigned int> pieces;
};

const ChunkCase kChunkCases[] = {
    {1, {}, {1}},
    {1024, {}, {1024}},
    {1025, {1025}, {1025}},
    {kMiB, {kMiB}, {kMiB}},
    {3 * kMiB, {kMiB}, {kMiB, kMiB, kMiB}},
    {3 * kMiB + 5, {kMiB}, {kMiB, kMiB, kMiB, 5}},
};

class Chunking : public ::testing::TestWithParam<ChunkCase> {};

TEST_P(Chunking, EachTransferTakesOneBoundedBlockAboveOneKiB) {
    const ChunkCase& c = GetParam();
    const auto bytes = iota(c.count);
    {
        PrimitiveStream src(bytes), dest;
        HeapCount heap;
        src.readBytes(&dest, c.count);
        EXPECT_EQ(heap.sizes(), c.heapBlocks);
        EXPECT_EQ(heap.freed(), c.heapBlocks.size());
        EXPECT_EQ(src.reads, c.pieces);
        EXPECT_EQ(dest.writes, c.pieces);
        EXPECT_EQ(dest.data, bytes);
    }
    {
        PrimitiveStream src(bytes), dest;
        HeapCount heap;
        dest.writeBytes(&src, c.count);
        EXPECT_EQ(heap.sizes(), c.heapBlocks);
        EXPECT_EQ(dest.writes, c.pieces);
        EXPECT_EQ(dest.data, bytes);
    }
    {
        PrimitiveStream src(bytes);
        std::vector<unsigned int> seen;
        std::function<void(void*, unsigned int)> sink = [&](void*, unsigned int n) {
            seen.push_back(n);
        };
        HeapCount heap;
        src.readBytes(std::move(sink), c.count);
        EXPECT_EQ(heap.sizes(), c.heapBlocks);
        EXPECT_EQ(seen, c.pieces);
    }
    {
        PrimitiveStream src(bytes), dest;
        HeapCount heap;
        xo::copyStreamRange(&src, 0, &dest, 0, c.count);
        EXPECT_EQ(heap.sizes(), c.heapBlocks);
        EXPECT_EQ(dest.writes, c.pieces);
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, Chunking, ::testing::ValuesIn(kChunkCases));

TEST(XoStreamBufDefaults, ConstantsKeepTheirValues) {
    EXPECT_EQ(XoStreamBuf::s_bufSizeOnStack, 1024u);
    EXPECT_EQ(XoStreamBuf::s_maxCopySizePerTime, 1048576u);
}

TEST(XoStreamBufDefaults, CallbackReadIsAllOrNothing) {
    PrimitiveStream src(iota(10));
    src.seek(4, XoIO::kSeekBegin);
    std::vector<unsigned char> got;
    auto sink = [&](void* data, unsigned int n) {
        auto* bytes = static_cast<unsigned char*>(data);
        got.insert(got.end(), bytes, bytes + n);
    };
    src.readBytes(sink, 7); // one more than remains
    EXPECT_TRUE(got.empty());
    EXPECT_EQ(src.tell(), 4u);
    src.readBytes(std::function<void(void*, unsigned int)>(), 2);
    EXPECT_EQ(src.tell(), 4u);
    src.readBytes(sink, 6);
    EXPECT_EQ(got, std::vector<unsigned char>(src.data.begin() + 4, src.data.end()));
    EXPECT_EQ(src.tell(), 10u);
    EXPECT_TRUE(src.isEOS());
}

TEST(XoStreamBufDefaults, TransfersUseTheOtherStreamFromItsStartAndPutItsPositionBack) {
    PrimitiveStream src(iota(8)), dest(std::vector<unsigned char>(6, 0xEE));
    src.seek(2, XoIO::kSeekBegin);
    dest.seek(5, XoIO::kSeekBegin);
    src.readBytes(&dest, 3);
    EXPECT_EQ(dest.data, (std::vector<unsigned char>{src.data[2], src.data[3], src.data[4], 0xEE,
                                                     0xEE, 0xEE}));
    EXPECT_EQ(dest.tell(), 5u);
    EXPECT_EQ(src.tell(), 5u);
    // A zero count transfers nothing but still puts dest back.
    dest.seek(1, XoIO::kSeekBegin);
    src.readBytes(&dest, 0);
    EXPECT_EQ(dest.tell(), 1u);
    EXPECT_TRUE(dest.writes.size() == 1);
    // Inward, src is read from its start.
    PrimitiveStream into(std::vector<unsigned char>(4, 0xEE));
    src.seek(6, XoIO::kSeekBegin);
    into.seek(2, XoIO::kSeekBegin);
    into.writeBytes(&src, 3);
    EXPECT_EQ(into.data,
              (std::vector<unsigned char>{0xEE, 0xEE, src.data[0], src.data[1], src.data[2]}));
    EXPECT_EQ(into.tell(), 5u);
    EXPECT_EQ(src.tell(), 6u);
}

struct RangeCase {
    std::size_t srcPosition, from, to;
    std::size_t firstByte, count; // what lands at dest's position
};

TEST(XoStreamBufDefaults, CopyFromTakesTheRangeInEitherOrderUnclamped) {
    const RangeCase cases[] = {
        {4, 0, 0, 4, 6}, // the rest of src from its position
        {4, 8, 3, 3, 5}, // bytes 3..7
        {4, 3, 8, 3, 5},
        {4, 5, 5, 0, 0}, // nothing
    };
    for (const RangeCase& c : cases) {
        PrimitiveStream src(iota(10)), dest(std::vector<unsigned char>(2, 0xEE));
        src.seek(c.srcPosition, XoIO::kSeekBegin);
        dest.seek(2, XoIO::kSeekBegin);
        dest.copyFrom(&src, c.from, c.to);
        std::vector<unsigned char> expected(2 + c.count, 0xEE);
        std::copy_n(src.data.begin() + long(c.firstByte), c.count, expected.begin() + 2);
        EXPECT_EQ(dest.data, expected) << c.from << ".." << c.to;
        EXPECT_EQ(src.tell(), c.srcPosition);
    }
    PrimitiveStream src(iota(10)), dest;
    EXPECT_THROW(dest.copyFrom(&src, 5, 20), std::out_of_range) << "not clamped to the source";
}

TEST(XoStreamBufDefaults, CopyToMeasuresTheRestOnTheDestinationAndClampsToTheSource) {
    // dest of 10 bytes at 4 takes 6 of the source's 100.
    PrimitiveStream src(iota(100)), dest(std::vector<unsigned char>(10, 0xEE));
    dest.seek(4, XoIO::kSeekBegin);
    src.copyTo(&dest, 0, 0);
    EXPECT_EQ(std::vector<unsigned char>(dest.data.begin() + 4, dest.data.end()),
              std::vector<unsigned char>(src.data.begin(), src.data.begin() + 6));
    EXPECT_EQ(src.tell(), 0u);
    src.copyTo(&dest, 5, 5);
    EXPECT_EQ(dest.writes.size(), 1u) << "an empty range writes nothing";
    // A range longer than the source has left is cut to what it has.
    PrimitiveStream shortSrc(iota(10)), all;
    shortSrc.seek(7, XoIO::kSeekBegin);
    shortSrc.copyTo(&all, 20, 0);
    EXPECT_EQ(all.data, std::vector<unsigned char>(shortSrc.data.begin() + 7, shortSrc.data.end()));
    EXPECT_EQ(shortSrc.tell(), 7u);
}

TEST(XoStreamBufDefaults, RangeCopiesUseNoHeapAndPiecesOfFourKiB) {
    PrimitiveStream src(iota(10000)), dest, back;
    HeapCount heap;
    dest.copyFrom(&src, 0, 10000);
    src.copyTo(&back, 0, 10000);
    EXPECT_TRUE(heap.sizes().empty());
    EXPECT_EQ(dest.writes, (std::vector<unsigned int>{4096, 4096, 1808}));
    EXPECT_EQ(back.data, src.data);
}

TEST(XoStreamBufDefaults, PositionAddressedOperationsDoNothing) {
    PrimitiveStream stream(iota(4));
    const XoStreamBufPos pos = stream.currentStreamBufPosition();
    EXPECT_EQ(pos.m_nPosition, 0u);
    EXPECT_EQ(pos.m_pStreamBuf, &stream);
    EXPECT_EQ(stream.getByteByPos(pos), 0);
    stream.setByteByPos(pos, 9);
    EXPECT_EQ(stream.getStreamPosition(&pos), SIZE_MAX);
    EXPECT_EQ(stream.data, iota(4));
}

TEST(XoStreamBufDefaults, ThrowingPrimitivePassesThroughAfterReleasingBufferAndCallback) {
    auto witness = std::make_shared<int>(0);
    PrimitiveStream src(iota(3 * kMiB)), dest;
    src.readsBeforeThrow = 1;
    {
        HeapCount heap;
        std::function<void(void*, unsigned int)> sink = [witness](void*, unsigned int) {};
        EXPECT_THROW(src.readBytes(std::move(sink), 3 * kMiB), std::runtime_error);
        EXPECT_EQ(witness.use_count(), 1);
        EXPECT_EQ(heap.freed(), heap.sizes().size());
        EXPECT_THROW(src.readBytes(&dest, 3 * kMiB), std::runtime_error);
        EXPECT_EQ(heap.freed(), 2u);
    }
}

TEST(XoStreamBufDefaults, RangeCopyBetweenStreamsNeedsBothSeeksToLand) {
    PrimitiveStream src(iota(10)), dest(std::vector<unsigned char>(3, 0xEE));
    xo::copyStreamRange(&src, 4, &dest, 1, 3);
    EXPECT_EQ(dest.data, (std::vector<unsigned char>{0xEE, src.data[4], src.data[5], src.data[6]}));
    EXPECT_EQ(src.tell(), 7u);                 // no position is put back
    xo::copyStreamRange(&src, 4, &dest, 9, 3); // dest cannot reach 9
    xo::copyStreamRange(&src, 11, &dest, 0, 3);
    xo::copyStreamRange(nullptr, 0, &dest, 0, 3);
    EXPECT_EQ(dest.writes.size(), 1u);
}

} // namespace
