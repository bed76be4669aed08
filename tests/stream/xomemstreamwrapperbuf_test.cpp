#include "XoMemStreamWrapperBuf.h"
#include "streamtestsupport.h"

#include <gtest/gtest.h>

#include <climits>

using streamtest::iota;
using streamtest::PrimitiveStream;
using streamtest::thrownMessage;

namespace {

// Reaches the helpers that classes built on the wrapper use.
class Derived : public XoMemStreamWrapperBuf {
public:
    using XoMemStreamWrapperBuf::_resize;
    using XoMemStreamWrapperBuf::_seek;
    using XoMemStreamWrapperBuf::XoMemStreamWrapperBuf;
};

struct Block {
    std::vector<unsigned char> bytes = iota(16);
    XoMemStreamWrapperBuf stream{bytes.data(), 16};
};

TEST(XoMemStreamWrapperBuf, OpensFullAndNeverGrowsPastTheBlock) {
    Block b;
    EXPECT_EQ(b.stream.length(), 16u);
    EXPECT_EQ(b.stream.tell(), 0u);
    EXPECT_EQ(b.stream.capacity(), 16u); // the length, by the memory stream's default
    const auto seventeen = iota(17, 40);
    EXPECT_EQ(thrownMessage([&] { b.stream.writeBytes(seventeen.data(), 17); }),
              L"_resize failed!");
    EXPECT_EQ(b.bytes, iota(16));
    EXPECT_EQ(b.stream.tell(), 0u);
    b.stream.setlength(8);
    b.stream.setlength(16);
    EXPECT_EQ(b.stream.length(), 16u);
    b.stream.reserve(100); // does nothing
    EXPECT_EQ(b.stream.capacity(), 16u);
}

TEST(XoMemStreamWrapperBuf, EveryGrowthBeyondTheBlockThrowsAndChangesNothing) {
    Block b;
    b.stream.setlength(10);
    b.stream.seek(6, XoIO::kSeekBegin);
    XoStreamBufPos at16(&b.stream);
    at16.m_nPosition = 16;
    const auto five = iota(5, 70);
    PrimitiveStream other(iota(40, 90));
    XoBuffer view;
    const struct {
        const char* what;
        std::function<void()> call;
    } cases[] = {
        {"setlength", [&] { b.stream.setlength(17); }},
        {"resize", [&] { b.stream.resize(17); }},
        {"writeBytes raw", [&] { b.stream.writeBytes(iota(11).data(), 11); }},
        {"writeBytes stream", [&] { b.stream.writeBytes(&other, 11); }},
        {"copyFrom", [&] { b.stream.copyFrom(&other, 0, 11); }},
        {"setBuffer", [&] { b.stream.setBuffer(view, 11); }},
        {"writeBuffer", [&] { b.stream.writeBuffer(view, 11); }},
        {"setByteByPos", [&] { b.stream.setByteByPos(at16, 1); }},
        {"setBytesByPos raw", [&] { b.stream.setBytesByPos(at16, five.data(), 1); }},
        {"setBytesByPos stream", [&] { b.stream.setBytesByPos(at16, &other, 1); }},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(thrownMessage(c.call), L"_resize failed!") << c.what;
        EXPECT_EQ(b.stream.length(), 10u) << c.what;
        EXPECT_EQ(b.stream.tell(), 6u) << c.what;
        EXPECT_EQ(b.bytes, iota(16)) << c.what;
        EXPECT_EQ(other.tell(), 0u) << c.what;
    }
}

TEST(XoMemStreamWrapperBuf, SeeksAreCheckedAgainstTheLength) {
    Block b;
    b.stream.seek(3, XoIO::kSeekBegin);
    const std::pair<std::size_t, XoIO::SeekType> refused[] = {{5, XoIO::kSeekBackward},
                                                              {17, XoIO::kSeekFromEnd},
                                                              {14, XoIO::kSeekForward},
                                                              {SIZE_MAX, XoIO::kSeekForward}};
    for (const auto& [offset, kind] : refused)
        EXPECT_EQ(thrownMessage([&] { b.stream.seek(offset, kind); }), L"Out of stream buffer!")
            << offset << " " << kind;
    EXPECT_EQ(b.stream.tell(), 3u);
    EXPECT_EQ(b.stream.seek(0, XoIO::kSeekFromEnd), 16u);
    EXPECT_EQ(b.stream.seek(4, XoIO::kSeekBackward), 12u);
    EXPECT_EQ(b.stream.seek(7, static_cast<XoIO::SeekType>(9)), 0u); // unknown kind: start
}

TEST(XoMemStreamWrapperBuf, ReadsPastTheLengthThrowTheirTexts) {
    Block b;
    b.stream.setlength(4);
    b.stream.seek(4, XoIO::kSeekBegin);
    EXPECT_EQ(thrownMessage([&] { b.stream.readByte(); }), L"Out of stream buffer!");
    b.stream.seek(1, XoIO::kSeekBegin);
    unsigned char out[8];
    PrimitiveStream dest;
    // A count that wraps the 32-bit sum is beyond the length, not a small read.
    for (unsigned int count : {4u, UINT_MAX}) {
        EXPECT_EQ(thrownMessage([&] { b.stream.readBytes(out, count); }), L"Out of stream buffer!");
        EXPECT_EQ(thrownMessage([&] { b.stream.readBytes(&dest, count); }),
                  L"Out of stream buffer!");
    }
    XoStreamBufPos pos(&b.stream);
    pos.m_nPosition = 4;
    EXPECT_EQ(thrownMessage([&] { b.stream.getByteByPos(pos); }), L"Out of stream buffer!!!");
    pos.m_nPosition = 2;
    EXPECT_EQ(thrownMessage([&] { b.stream.getBytesByPos(pos, out, 3); }),
              L"Out of stream buffer!!!");
    EXPECT_EQ(thrownMessage([&] { b.stream.getBytesByPos(pos, &dest, UINT_MAX); }),
              L"Out of stream buffer!!!");
    EXPECT_EQ(b.stream.tell(), 1u);
    EXPECT_TRUE(dest.writes.empty());
}

TEST(XoMemStreamWrapperBuf, TransfersAdvanceTheOtherStream) {
    Block b;
    b.stream.seek(2, XoIO::kSeekBegin);
    PrimitiveStream dest(std::vector<unsigned char>(3, 0xEE));
    dest.seek(1, XoIO::kSeekBegin);
    b.stream.readBytes(&dest, 4); // unlike the flat buffer, dest is left after them
    EXPECT_EQ(dest.tell(), 5u);
    EXPECT_EQ(b.stream.tell(), 6u);
    // Null and zero do nothing.
    b.stream.readBytes(static_cast<XoStreamBuf*>(nullptr), 4);
    b.stream.readBytes(&dest, 0);
    b.stream.writeBytes(static_cast<const unsigned char*>(nullptr), 4);
    EXPECT_EQ(b.stream.tell(), 6u);
}

TEST(XoMemStreamWrapperBuf, RangeCopiesLeaveTheWrapperWhereItWas) {
    std::vector<unsigned char> bytes(16, 0);
    XoMemStreamWrapperBuf stream(bytes.data(), 16);
    stream.setlength(4);
    stream.seek(2, XoIO::kSeekBegin);
    PrimitiveStream src(iota(20, 100));
    src.seek(9, XoIO::kSeekBegin);
    stream.copyFrom(&src, 0, 0); // nothing, unlike the default
    EXPECT_EQ(stream.length(), 4u);
    stream.copyFrom(&src, 5, 8);
    EXPECT_EQ(stream.length(), 5u);
    EXPECT_EQ(stream.tell(), 2u);
    EXPECT_EQ(src.tell(), 9u);
    EXPECT_EQ(bytes[2], src.data[5]);
    EXPECT_EQ(bytes[4], src.data[7]);

    PrimitiveStream dest(std::vector<unsigned char>(10, 0xEE));
    dest.seek(7, XoIO::kSeekBegin);
    stream.copyTo(&dest, 1, 4);
    EXPECT_EQ(dest.data[1], bytes[2]);
    EXPECT_EQ(dest.tell(), 7u);
    EXPECT_EQ(stream.tell(), 2u);
    EXPECT_EQ(thrownMessage([&] { stream.copyTo(&dest, 0, 4); }), L"Out of stream buffer!");
    EXPECT_EQ(thrownMessage([&] { stream.copyTo(&dest, 11, 12); }), L"Out of stream buffer!");
    EXPECT_EQ(dest.tell(), 7u);
    EXPECT_EQ(dest.writes.size(), 1u);
}

TEST(XoMemStreamWrapperBuf, CopiesShareTheBlockAndCloseForgetsIt) {
    Block b;
    b.stream.seek(5, XoIO::kSeekBegin);
    XoMemStreamWrapperBuf copy(b.stream);
    EXPECT_EQ(copy.buffer(), b.bytes.data());
    EXPECT_EQ(copy.tell(), 5u);
    copy.writeByte(0x42);
    EXPECT_EQ(b.bytes[5], 0x42);
    copy.close();
    EXPECT_EQ(copy.buffer(), nullptr);
    EXPECT_EQ(copy.length(), 0u);
    EXPECT_EQ(b.stream.length(), 16u);
    const std::vector<unsigned char> other = iota(3);
    copy = b.stream;
    EXPECT_EQ(copy.tell(), 5u);
    copy.open(const_cast<unsigned char*>(other.data()), 3);
    EXPECT_EQ(copy.length(), 3u);
    EXPECT_EQ(copy.tell(), 0u);
}

TEST(XoMemStreamWrapperBuf, ResizeHelperPullsThePositionBack) {
    std::vector<unsigned char> bytes(8);
    Derived stream(bytes.data(), 8);
    stream._seek(6, XoIO::kSeekBegin);
    EXPECT_FALSE(stream._resize(9));
    EXPECT_EQ(stream.length(), 8u);
    EXPECT_TRUE(stream._resize(3));
    EXPECT_EQ(stream.tell(), 3u);
    stream.truncate();
    EXPECT_EQ(stream.length(), 3u);
}

TEST(XoMemStreamWrapperBuf, ViewsGrowWithinTheBlock) {
    Block b;
    b.stream.setlength(10);
    b.stream.seek(8, XoIO::kSeekBegin);
    XoBuffer view;
    EXPECT_FALSE(b.stream.readBuffer(view, 5));
    EXPECT_EQ(view.size(), 2u);
    EXPECT_TRUE(b.stream.getBuffer(view, 1));
    b.stream.writeBuffer(view, 6);
    EXPECT_EQ(view.size(), 6u);
    EXPECT_EQ(b.stream.length(), 16u);
    EXPECT_EQ(b.stream.tell(), 16u);
    // The memory stream's default readByte and view-at operations, through the views.
    EXPECT_FALSE(b.stream.getBufferAt(3, view, 2));
    EXPECT_EQ(view.data(), b.bytes.data() + 3);
    EXPECT_EQ(b.stream.tell(), 16u);
    // Past the length the wrapper's own seek refuses the default's move.
    EXPECT_EQ(thrownMessage([&] { b.stream.getBufferAt(17, view, 2); }), L"Out of stream buffer!");
    b.stream.setBufferAt(4, view, 3);
    EXPECT_EQ(view.size(), 3u);
    EXPECT_EQ(b.stream.tell(), 16u);
}

} // namespace
