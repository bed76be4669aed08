#include "XoFlatMemBuf.h"
#include "streamtestsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

using streamtest::iota;
using streamtest::PrimitiveStream;
using streamtest::thrownMessage;

namespace {

std::vector<unsigned char> contents(XoFlatMemBuf& stream) {
    XoBuffer view;
    stream.getBufferAt(0, view, UINT_MAX);
    return std::vector<unsigned char>(view.data(), view.data() + view.size());
}

XoFlatMemBuf& filled(XoFlatMemBuf& stream, const std::vector<unsigned char>& bytes) {
    stream.writeBytes(bytes.data(), unsigned(bytes.size()));
    return stream;
}

TEST(XoFlatMemBuf, GrowsByDoublingThenBySixtyFourKiB) {
    XoFlatMemBuf stream(0);
    EXPECT_EQ(stream.capacity(), 0u);
    std::vector<std::size_t> capacities;
    for (int i = 0; i < 300000; ++i) {
        stream.writeByte(static_cast<unsigned char>(i));
        if (capacities.empty() || capacities.back() != stream.capacity())
            capacities.push_back(stream.capacity());
    }
    const std::vector<std::size_t> expected = {8,     16,    32,     64,     128,    256,
                                               512,   1024,  2048,   4096,   8192,   16384,
                                               32768, 65536, 131072, 196608, 262144, 327680};
    EXPECT_EQ(capacities, expected);
    EXPECT_EQ(stream.length(), 300000u);
    EXPECT_EQ(stream.getByteByPos(XoStreamBufPos(&stream)), 0);
}

TEST(XoFlatMemBuf, InitialCapacityAndReserveAndClear) {
    XoFlatMemBuf stream(100);
    EXPECT_EQ(stream.capacity(), 100u);
    stream.reserve(50); // never shrinks
    EXPECT_EQ(stream.capacity(), 100u);
    filled(stream, iota(30));
    stream.clear();
    EXPECT_EQ(stream.length(), 0u);
    EXPECT_EQ(stream.tell(), 0u);
    EXPECT_EQ(stream.capacity(), 100u);
    // The first growth from a reserved capacity adds that capacity.
    filled(stream, iota(101));
    EXPECT_EQ(stream.capacity(), 200u);
}

TEST(XoFlatMemBuf, SequentialReadsAndWrites) {
    XoFlatMemBuf stream(0);
    filled(stream, iota(20));
    EXPECT_TRUE(stream.isEOS());
    stream.rewind();
    unsigned char got[20] = {};
    stream.readBytes(got, 5);
    got[5] = stream.readByte();
    stream.readBytes(got + 6, 14);
    EXPECT_EQ(std::vector<unsigned char>(got, got + 20), iota(20));
    // Writing inside overwrites, writing past the end grows.
    stream.seek(18, XoIO::kSeekBegin);
    filled(stream, iota(4, 100));
    EXPECT_EQ(stream.length(), 22u);
    EXPECT_EQ(contents(stream)[18], 100);
}

TEST(XoFlatMemBuf, SeekKindsGoThroughSetPosition) {
    XoFlatMemBuf stream(0);
    filled(stream, iota(10));
    EXPECT_EQ(stream.seek(3, XoIO::kSeekFromEnd), 7u);
    EXPECT_EQ(stream.seek(2, XoIO::kSeekBackward), 5u);
    EXPECT_EQ(stream.seek(5, XoIO::kSeekForward), 10u);
    EXPECT_EQ(stream.seek(1, static_cast<XoIO::SeekType>(9)), 10u); // unknown: no move
    stream.rewind();
    const std::size_t refused[][2] = {{11, XoIO::kSeekBegin},
                                      {1, XoIO::kSeekBackward},
                                      {11, XoIO::kSeekFromEnd},
                                      {(std::size_t(1) << 32) + 1, XoIO::kSeekBegin}};
    for (const auto& r : refused) {
        EXPECT_EQ(thrownMessage([&] { stream.seek(r[0], XoIO::SeekType(r[1])); }),
                  L"Out of stream buffer!")
            << r[0];
        EXPECT_EQ(stream.tell(), 0u);
    }
}

TEST(XoFlatMemBuf, FailuresThrowTheirTextsAndChangeNothing) {
    XoFlatMemBuf stream(0);
    filled(stream, iota(8));
    stream.seek(6, XoIO::kSeekBegin);
    const XoStreamBufPos at7 = [&] {
        XoStreamBufPos p(&stream);
        p.m_nPosition = 7;
        return p;
    }();
    XoStreamBufPos at8 = at7;
    at8.m_nPosition = 8;
    unsigned char out[16];
    PrimitiveStream other;
    auto sink = [](void*, unsigned int) {};
    const struct {
        const char* what;
        std::function<void()> call;
        const wchar_t* message;
    } cases[] = {
        {"readBytes raw", [&] { stream.readBytes(out, 3); }, L"Out of stream buffer!"},
        {"readBytes stream", [&] { stream.readBytes(&other, 3); }, L"Out of stream buffer!"},
        {"readBytes sink", [&] { stream.readBytes(sink, 3); }, L"Out of stream buffer!"},
        {"setPosition", [&] { stream.setPosition(9); }, L"Out of stream buffer!"},
        {"getByteByPos", [&] { stream.getByteByPos(at8); }, L"Out of stream buffer!!!"},
        {"getBytesByPos raw", [&] { stream.getBytesByPos(at7, out, 2); },
         L"Out of stream buffer!!!"},
        {"getBytesByPos stream", [&] { stream.getBytesByPos(at7, &other, 2); },
         L"Out of stream buffer!!!"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(thrownMessage(c.call), c.message) << c.what;
        EXPECT_EQ(stream.tell(), 6u) << c.what;
        EXPECT_EQ(contents(stream), iota(8)) << c.what;
    }
    PrimitiveStream throwing(iota(10));
    throwing.readsBeforeThrow = 0;
    EXPECT_THROW(stream.writeBytes(&throwing, 10), std::runtime_error);
    EXPECT_EQ(stream.length(), 8u) << "a throwing source leaves the length";
    EXPECT_EQ(stream.tell(), 6u);
    stream.seek(8, XoIO::kSeekBegin);
    EXPECT_EQ(thrownMessage([&] { stream.readByte(); }), L"End of stream buffer!");
    EXPECT_TRUE(other.writes.empty());
}

TEST(XoFlatMemBuf, KeptQuirksOfPositionAddressedAccess) {
    XoFlatMemBuf stream(0);
    filled(stream, iota(4));
    XoStreamBufPos pos = stream.currentStreamBufPosition();
    EXPECT_EQ(pos.m_nPosition, 4u);
    EXPECT_EQ(pos.m_pStreamBuf, &stream);
    // Past the end a byte is appended at the end, not at the position.
    pos.m_nPosition = 14;
    stream.setByteByPos(pos, 0xAB);
    EXPECT_EQ(stream.length(), 5u);
    EXPECT_EQ(contents(stream)[4], 0xAB);
    // Position words wrap in 32 bits.
    pos.m_nPosition = 0;
    stream.moveStreamPosition(&pos, -1);
    EXPECT_EQ(pos.m_nPosition, 4294967295u);
    EXPECT_EQ(stream.getStreamPosition(&pos), 4294967295u);
    stream.setStreamPosition(&pos, 2);
    EXPECT_EQ(pos.m_nPosition, 2u);
    // Writing by position grows and never moves the stream's own position.
    pos.m_nPosition = 3;
    const auto more = iota(6, 50);
    stream.setBytesByPos(pos, more.data(), 6);
    EXPECT_EQ(stream.length(), 9u);
    EXPECT_EQ(stream.tell(), 4u);
    unsigned char back[6];
    stream.getBytesByPos(pos, back, 6);
    EXPECT_EQ(std::vector<unsigned char>(back, back + 6), more);
}

TEST(XoFlatMemBuf, StreamFormsOfPositionAddressedAccess) {
    XoFlatMemBuf stream(0), other(0);
    const auto bytes = iota(6, 30);
    filled(other, bytes);
    other.seek(2, XoIO::kSeekBegin);
    XoStreamBufPos pos(&stream);
    pos.m_nPosition = 1;
    stream.setBytesByPos(pos, &other, 3); // reads at other's position
    EXPECT_EQ(contents(stream)[1], bytes[2]);
    XoFlatMemBuf out(0);
    stream.getBytesByPos(pos, &out, 3);
    EXPECT_EQ(contents(out), std::vector<unsigned char>(bytes.begin() + 2, bytes.begin() + 5));
}

TEST(XoFlatMemBuf, LengthChangesLeaveThePosition) {
    XoFlatMemBuf stream(0);
    filled(stream, iota(10));
    stream.setlength(4);
    EXPECT_EQ(stream.tell(), 10u);
    EXPECT_TRUE(stream.isEOS());
    stream.resize(12); // bytes past the old length are not cleared, so only the length shows
    EXPECT_EQ(stream.length(), 12u);
    stream.seek(3, XoIO::kSeekBegin);
    stream.truncate();
    EXPECT_EQ(stream.length(), 3u);
    stream.resize(std::size_t(-1)); // does not fit the signed count: 0
    EXPECT_EQ(stream.length(), 0u);
}

TEST(XoFlatMemBuf, LoadFromLeavesTheTailUnset) {
    XoFlatMemBuf stream(0);
    filled(stream, iota(30));
    PrimitiveStream src(iota(8, 90));
    src.seek(2, XoIO::kSeekBegin);
    stream.loadFrom(&src, 4, 10);
    EXPECT_EQ(stream.length(), 14u);
    EXPECT_EQ(stream.tell(), 10u);
    const auto loaded = contents(stream);
    EXPECT_EQ(std::vector<unsigned char>(loaded.begin(), loaded.begin() + 4),
              std::vector<unsigned char>(src.data.begin() + 2, src.data.begin() + 6));
    const auto raw = iota(3, 7);
    stream.loadFrom(raw.data(), 3, 0);
    EXPECT_EQ(contents(stream), raw);
    EXPECT_EQ(stream.tell(), 0u);
}

TEST(XoFlatMemBuf, TransfersToStreamsPutTheirPositionsBack) {
    XoFlatMemBuf stream(0);
    filled(stream, iota(10));
    stream.seek(2, XoIO::kSeekBegin);
    PrimitiveStream dest(std::vector<unsigned char>(5, 0xEE));
    dest.seek(1, XoIO::kSeekBegin);
    stream.readBytes(&dest, 4); // at dest's position, unlike the default
    EXPECT_EQ(dest.tell(), 1u);
    EXPECT_EQ(dest.data[1], iota(10)[2]);
    EXPECT_EQ(stream.tell(), 6u);
    PrimitiveStream src(iota(5, 60));
    src.seek(3, XoIO::kSeekBegin);
    stream.writeBytes(&src, 2); // at src's position
    EXPECT_EQ(src.tell(), 3u);
    EXPECT_EQ(contents(stream)[6], iota(5, 60)[3]);
    std::vector<unsigned char> seen;
    stream.rewind();
    stream.readBytes(
        [&](void* data, unsigned int n) {
            seen.assign(static_cast<unsigned char*>(data), static_cast<unsigned char*>(data) + n);
        },
        10);
    EXPECT_EQ(seen, contents(stream)); // one call with the stored bytes
    EXPECT_EQ(stream.tell(), 10u);
}

TEST(XoFlatMemBuf, WritingItsOwnBytesSurvivesGrowth) {
    XoFlatMemBuf stream(8);
    filled(stream, iota(8));
    XoBuffer view;
    stream.getBufferAt(0, view, 8); // a view into the block about to move
    stream.writeBytes(view.data(), 8);
    auto expected = iota(8);
    expected.resize(16);
    std::copy_n(expected.begin(), 8, expected.begin() + 8);
    EXPECT_EQ(contents(stream), expected);
}

TEST(XoFlatMemBuf, ViewsFollowTheirContract) {
    XoFlatMemBuf stream(0);
    filled(stream, iota(10));
    stream.seek(7, XoIO::kSeekBegin);
    XoBuffer view;
    EXPECT_FALSE(stream.getBuffer(view, 5));
    EXPECT_EQ(view.size(), 3u);
    EXPECT_EQ(stream.tell(), 7u);
    EXPECT_FALSE(stream.readBuffer(view, 2));
    EXPECT_EQ(view.size(), 2u);
    EXPECT_EQ(stream.tell(), 9u);
    stream.seek(10, XoIO::kSeekBegin);
    EXPECT_TRUE(stream.readBuffer(view, 1));
    EXPECT_EQ(view.data(), nullptr);
    stream.writeBuffer(view, 4); // grows first
    EXPECT_EQ(view.size(), 4u);
    EXPECT_EQ(stream.length(), 14u);
    EXPECT_EQ(stream.tell(), 14u);
    stream.setBufferAt(20, view, 2);
    EXPECT_EQ(stream.length(), 22u);
    EXPECT_EQ(stream.tell(), 14u);
    EXPECT_TRUE(stream.getBufferAt(22, view, 1));
    EXPECT_EQ(view.size(), 0u);
}

TEST(XoFlatMemBuf, GrowthBeyondTheSignedCountEmptiesLikeAnAllocationFailure) {
    XoFlatMemBuf stream(0);
    filled(stream, iota(4));
    XoStreamBufPos pos(&stream);
    pos.m_nPosition = INT_MAX;
    const unsigned char two[2] = {1, 2};
    stream.setBytesByPos(pos, two, 2);
    EXPECT_EQ(stream.length(), 0u);
    EXPECT_EQ(stream.capacity(), 0u);
}

} // namespace
