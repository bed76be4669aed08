#include "XoMemData.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Buffer = XoMemData<char, XoStrHeaderA, XoMemDataAllocator, XoPodReallocator<char>>;

// Reaches the protected gap opener, as the string classes do.
struct Editable : Buffer {
    using Buffer::allocAt;
    using Buffer::Buffer;
};

std::string text(const Buffer& b) {
    return b.count() == 0 ? std::string() : std::string(b.rawData(), b.count());
}

std::int32_t refs(const Buffer& b) {
    return b.header()->m_nRefs.load();
}

// A private buffer holding the text with exactly the given room.
Buffer withRoom(const std::string& s, std::size_t room) {
    Buffer b(s.data(), s.size());
    b.setAllocCount(room);
    return b;
}

TEST(XoMemData, EmptyValuesShareTheStaticInstanceUntilOneWrites) {
    const std::int32_t before = refs(Buffer()) - 1; // less the measuring temporary
    Buffer empty;
    Buffer copy(empty);
    EXPECT_TRUE(empty.isEmptyData());
    EXPECT_TRUE(copy.isEmptyData());
    EXPECT_EQ(refs(empty), before + 2);
    EXPECT_EQ(empty.allocCount(), 0u);
    EXPECT_EQ(empty.growth(), 8u);
    EXPECT_TRUE(empty == copy);

    EXPECT_EQ(copy.begin(), nullptr) << "nothing to write: no copy";
    copy.append('x', 1);
    EXPECT_FALSE(copy.isEmptyData());
    EXPECT_EQ(copy.allocCount(), 8u) << "growth 8 from the empty instance";
    EXPECT_EQ(text(copy), "x");
    EXPECT_TRUE(empty.isEmptyData());
    EXPECT_EQ(refs(empty), before + 1);

    copy.setEmpty();
    EXPECT_TRUE(copy.isEmptyData());
    EXPECT_EQ(refs(empty), before + 2);
}

// Room comes in multiples of the growth, and grows by
// max(min(room, 65536), max(shortfall, growth)).
TEST(XoMemData, RoomFollowsTheGrowthRule) {
    EXPECT_EQ(Buffer("hello", 5).allocCount(), 8u);
    EXPECT_EQ(Buffer('z', 17).allocCount(), 24u);
    const struct {
        const char* name;
        std::size_t count, room, added, want;
        bool byGrow;
    } rows[] = {
        {"doubling", 20, 24, 10, 48, false},
        {"the shortfall beats the doubling", 8, 8, 100, 108, false},
        {"large rooms grow by 64 Ki", 100000, 100000, 1, 165536, false},
        {"grow: the shortfall", 5, 8, 10, 18, true},
        {"grow: room enough", 5, 8, 3, 8, true},
        {"grow: nothing", 5, 8, 0, 8, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Buffer b = withRoom(std::string(row.count, 'a'), row.room);
        ASSERT_EQ(b.allocCount(), row.room);
        if (row.byGrow)
            EXPECT_EQ(b.grow(row.added), row.want != row.room);
        else
            b.append('b', row.added);
        EXPECT_EQ(b.allocCount(), row.want);
        EXPECT_EQ(text(b),
                  std::string(row.count, 'a') + std::string(row.byGrow ? 0 : row.added, 'b'));
    }

    Buffer b = withRoom(std::string(30, 'a'), 48);
    const char* before = b.rawData();
    EXPECT_TRUE(b.copyBeforeWrite(3));
    EXPECT_EQ(b.rawData(), before) << "shrinking never reallocates";
    EXPECT_EQ(text(b), "aaa");
    EXPECT_EQ(b.allocCount(), 48u);
}

TEST(XoMemData, WritingASharedBlockCopiesIt) {
    Buffer a("thirteen char", 13);
    Buffer b(a);
    EXPECT_TRUE(a.isShared());
    EXPECT_EQ(a.header(), b.header());
    EXPECT_TRUE(b.copyBeforeWrite(13));
    EXPECT_EQ(b.allocCount(), 16u) << "13 rounded up to the growth 8";
    EXPECT_NE(a.header(), b.header());
    EXPECT_FALSE(a.isShared());

    // Element writes unshare with room for exactly the count; reads through a const
    // value share on.
    Buffer c(a);
    const Buffer& reader = c;
    EXPECT_EQ(reader[2], 'i');
    EXPECT_EQ(reader.end() - reader.begin(), 13);
    EXPECT_EQ(c.header(), a.header());
    c[0] = 'T';
    EXPECT_EQ(c.allocCount(), 13u);
    EXPECT_EQ(text(c), "Thirteen char");
    EXPECT_EQ(text(a), "thirteen char");

    Buffer d(a);
    d.setAt(1, 'H');
    Buffer e(a);
    e.removeAt(0, 9);
    EXPECT_EQ(text(d), "tHirteen char");
    EXPECT_EQ(text(e), "char");
    EXPECT_EQ(text(a), "thirteen char");
}

TEST(XoMemData, SetAllocCountKeepsAnAllocatedEmptyBlock) {
    Buffer empty;
    EXPECT_NE(empty.getBuffer(0), nullptr);
    XoStrHeaderA* own = empty.header();
    ASSERT_FALSE(empty.isEmptyData());
    empty.setAllocCount(0);
    EXPECT_EQ(empty.header(), own) << "an allocated empty block survives";

    Buffer one("x", 1);
    one.setAllocCount(0);
    EXPECT_TRUE(one.isEmptyData());

    Buffer five("abcde", 5);
    five.setAllocCount(2);
    EXPECT_EQ(five.allocCount(), 5u) << "never below the count";
    five.setAllocCount(40);
    EXPECT_EQ(five.allocCount(), 40u);
    EXPECT_EQ(text(five), "abcde");
}

TEST(XoMemData, SetGrowthWritesThroughEvenOnTheSharedEmptyInstance) {
    Buffer empty;
    empty.setGrowth(32);
    Buffer fresh;
    EXPECT_EQ(fresh.growth(), 32u);
    fresh.append('x', 1);
    EXPECT_EQ(fresh.allocCount(), 32u);
    empty.setGrowth(8);
    EXPECT_EQ(Buffer().growth(), 8u);

    Buffer a("ab", 2);
    Buffer b(a);
    b.setGrowth(64);
    EXPECT_EQ(a.growth(), 64u) << "not unshared first";
    EXPECT_TRUE(a.isShared());
}

TEST(XoMemData, QuirksOfIndexesAreKept) {
    Buffer b("abcdef", 6);
    b.setAt(3, "XY", 2);
    EXPECT_EQ(text(b), "XYcdef") << "setAt with elements ignores its index";

    EXPECT_TRUE(b.isValidIndex(7)) << "checked against the room 8, not the count 6";
    EXPECT_FALSE(b.isValidIndex(8));

    Buffer ten("0123456789", 10);
    ten.removeAt(8, 5);
    EXPECT_EQ(text(ten), "01234") << "the count drops by n and nothing moves";
    Buffer digits("0123456789", 10);
    digits.removeAt(2, 3);
    EXPECT_EQ(text(digits), "0156789");
    digits.removeAt(3, 0);
    EXPECT_EQ(text(digits), "0156789");
}

TEST(XoMemData, InsertOpensAGap) {
    Editable b("abcdef", 6);
    b.insertAt(2, "XY", 2);
    EXPECT_EQ(text(b), "abXYcdef");
    b.insertAt(0, '-', 3);
    EXPECT_EQ(text(b), "---abXYcdef");
    b.insertAt(b.count(), "!", 1);
    EXPECT_EQ(text(b), "---abXYcdef!");
    EXPECT_EQ(b.allocAt(4, 0), 12u);
    EXPECT_EQ(b.allocAt(0, 2), 14u);
    EXPECT_EQ(text(b).substr(2), "---abXYcdef!");

    Editable shared("xyz", 3);
    Editable other(shared);
    other.insertAt(1, "1", 1);
    EXPECT_EQ(text(other), "x1yz");
    EXPECT_EQ(text(shared), "xyz");
}

TEST(XoMemData, AppendAndAssignShareOrCopy) {
    const Buffer source("abc", 3);
    Buffer empty;
    empty.append(source);
    EXPECT_EQ(empty.header(), source.header()) << "appending to nothing shares";
    Buffer full("x", 1);
    full.append(Buffer());
    EXPECT_EQ(text(full), "x");
    full.append(source);
    EXPECT_EQ(text(full), "xabc");
    full.append(full);
    EXPECT_EQ(text(full), "xabcxabc");

    Buffer target("old", 3);
    target.assign("fresh", 5);
    EXPECT_EQ(text(target), "fresh");
    target.assign('=', 2);
    EXPECT_EQ(text(target), "==");
    target.setAll('+');
    EXPECT_EQ(text(target), "++");
    target = source;
    EXPECT_EQ(target.header(), source.header());

    Buffer self("keep", 4);
    Buffer& same = self;
    self = same;
    EXPECT_EQ(text(self), "keep");
    EXPECT_EQ(refs(self), 1);
}

TEST(XoMemData, FindAndCompare) {
    const Buffer b("abcabc", 6);
    std::size_t at = 99;
    EXPECT_TRUE(b.find('b', at));
    EXPECT_EQ(at, 1u);
    EXPECT_TRUE(b.find('b', at, 2));
    EXPECT_EQ(at, 4u);
    EXPECT_FALSE(b.find('b', at, 6));
    EXPECT_FALSE(b.find('z', at));
    EXPECT_TRUE(b.findRev('a', at));
    EXPECT_EQ(at, 3u);
    EXPECT_FALSE(Buffer().findRev('a', at));
    EXPECT_FALSE(Buffer().find('a', at));

    EXPECT_TRUE(b == Buffer("abcabc", 6));
    EXPECT_FALSE(b == Buffer("abcabd", 6));
    EXPECT_FALSE(b == Buffer("abcab", 5));
}

TEST(XoMemData, RawBufferProtocol) {
    Buffer b("abc", 3);
    Buffer sharer(b);
    char* raw = b.getBuffer(10);
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(b.count(), 10u);
    EXPECT_EQ(b.allocCount(), 16u);
    std::memcpy(raw, "written", 7);
    b.releaseBuffer(7);
    EXPECT_EQ(text(b), "written");
    EXPECT_EQ(text(sharer), "abc");
    EXPECT_EQ(b.getBuffer(), b.rawData()) << "0 means the count";
    EXPECT_EQ(b.count(), 7u);
}

TEST(XoMemData, ALockedBlockIsNeitherSharedNorFreed) {
    auto* owner = new Buffer("locked", 6);
    Buffer sharer(*owner);
    char* raw = owner->lockBuffer();
    ASSERT_NE(raw, nullptr);
    XoStrHeaderA* block = owner->header();
    EXPECT_NE(block, sharer.header()) << "locking a shared block copies it first";
    EXPECT_TRUE(owner->isLocked());
    EXPECT_FALSE(owner->isShared());

    Buffer copy(*owner);
    Buffer assigned;
    assigned = *owner;
    EXPECT_NE(copy.header(), block);
    EXPECT_NE(assigned.header(), block);
    EXPECT_EQ(text(copy), "locked");
    EXPECT_EQ(refs(*owner), -1);

    delete owner;
    EXPECT_EQ(block->m_nRefs.load(), -1);
    raw[0] = 'L'; // still the caller's
    EXPECT_EQ(std::string(raw, 6), "Locked");
    _xoFree(block);

    Buffer again("twice", 5);
    again.lockBuffer();
    again.unlockBuffer();
    EXPECT_FALSE(again.isLocked());
    Buffer copyAfter(again);
    EXPECT_EQ(copyAfter.header(), again.header()) << "an ordinary block again";
    EXPECT_EQ(refs(again), 2);
}

TEST(XoMemData, CodePageTravelsIntoNewBlocks) {
    Buffer b = withRoom("abc", 3);
    b.header()->m_nCodePage = 932;
    Buffer copy(b);
    copy[0] = 'A';
    EXPECT_EQ(copy.header()->m_nCodePage, 932);
    b.append('d', 5);
    EXPECT_EQ(b.header()->m_nCodePage, 932);
    EXPECT_EQ(Buffer().header()->m_nCodePage, 0);
}

TEST(XoMemData, AllocationFailureChangesNothing) {
    const std::size_t huge = std::size_t(3) << 30; // refused by _xoMalloc
    Buffer b("abc", 3);
    Buffer sharer(b);
    EXPECT_FALSE(b.copyBeforeWrite(huge));
    EXPECT_EQ(b.header(), sharer.header());
    EXPECT_EQ(b.getBuffer(huge), nullptr);
    b.append('x', huge);
    b.assign('y', huge);
    b.setAllocCount(huge);
    EXPECT_FALSE(b.reallocData(huge, huge));
    EXPECT_EQ(text(b), "abc");
    EXPECT_EQ(b.allocCount(), 8u);

    Buffer alone("abc", 3);
    alone.append('x', huge);
    EXPECT_FALSE(alone.grow(huge));
    EXPECT_EQ(text(alone), "abc");
    EXPECT_FALSE(alone.reallocData(std::size_t(-1), 0)) << "a size that wraps is refused";
}

} // namespace
