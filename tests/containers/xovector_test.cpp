#include "XoVector.h"

#include "VeskCrashRecorder.h"

#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

// An element allocator that can be told to fail.
template <class T> struct FlakyAllocator {
    static inline bool fail = false;
    static T* allocate(std::int32_t n) { return fail ? nullptr : new (std::nothrow) T[n](); }
    static void deallocate(T* elements) { delete[] elements; }
};

struct FailureGuard {
    FailureGuard() { FlakyAllocator<int>::fail = true; }
    ~FailureGuard() { FlakyAllocator<int>::fail = false; }
};

struct Recorder : VeskCrashRecorder {
    XoException* seen = nullptr;
    void recordException(XoException* exception) override { seen = exception; }
};

// The status of the XoErrorStatus that f throws, checking the throw pattern on the way;
// eOk when nothing is thrown.
template <class F> Vesk::ErrorStatus thrownStatus(F f) {
    Recorder recorder;
    veskSetCrashRecorder(&recorder);
    Vesk::ErrorStatus status = Vesk::eOk;
    try {
        f();
    } catch (XoErrorStatus* caught) {
        const std::unique_ptr<XoErrorStatus> owner(caught);
        EXPECT_EQ(recorder.seen, caught) << "the crash recorder is told first";
        EXPECT_STREQ(caught->file(), L"\"\"");
        EXPECT_EQ(caught->line(), 0);
        status = caught->errorType();
    }
    veskSetCrashRecorder(nullptr);
    return status;
}

std::uint32_t emptyBlockRefs() {
    return gpEmptyVectorData->m_nRefs.load();
}

XoVector<int> numbers(int n) {
    XoVector<int> v;
    for (int i = 1; i <= n; ++i)
        v.push_back(i);
    return v;
}

std::vector<int> contents(const XoVector<int>& v) {
    return std::vector<int>(v.begin(), v.end());
}

TEST(XoVector, FirstAppendMakesRoomForTheGrowLength) {
    XoVector<int> v;
    EXPECT_EQ(v.size(), 0);
    EXPECT_EQ(v.capacity(), 0);
    EXPECT_EQ(v.growLength(), 8);
    EXPECT_EQ(std::as_const(v).data(), nullptr);
    v.append() = 7;
    EXPECT_EQ(v.size(), 1);
    EXPECT_EQ(v.capacity(), 8);
    EXPECT_EQ(v[0], 7);
}

TEST(XoVector, GrowingPastTheRoomAddsTheGrowLength) {
    XoVector<int> v;
    v.setPhysicalLength(10);
    v.setLogicalLength(10);
    std::iota(v.begin(), v.end(), 100);
    EXPECT_EQ(v.capacity(), 10);
    v.append() = 110;
    EXPECT_EQ(v.capacity(), 18) << "logical 10 + grow 8";
    v.setLogicalLength(100);
    EXPECT_EQ(v.capacity(), 100) << "the wanted length when larger";
    EXPECT_EQ(v[10], 110);
    EXPECT_EQ(v[0], 100);
    v.setLogicalLength(-5);
    EXPECT_EQ(v.size(), 0);
    EXPECT_EQ(v.capacity(), 100);
}

TEST(XoVector, CopiesShareUntilOneWrites) {
    const XoVector<int> a = numbers(5);
    XoVector<int> b = a;
    EXPECT_TRUE(a.isShared());
    EXPECT_EQ(std::as_const(b)[0], 1);
    EXPECT_EQ(std::as_const(b).data(), a.data()) << "reading does not copy";
    b[0] = 9;
    EXPECT_FALSE(a.isShared());
    EXPECT_EQ(b.capacity(), 8) << "the copy keeps the room";
    EXPECT_EQ(contents(b), (std::vector<int>{9, 2, 3, 4, 5}));
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 3, 4, 5}));

    XoVector<int> shorter = a;
    shorter.setLogicalLength(3);
    EXPECT_EQ(contents(shorter), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(shorter.capacity(), 8);
    XoVector<int> longer = a;
    longer.setLogicalLength(7);
    EXPECT_NE(std::as_const(longer).data(), a.data());
    EXPECT_EQ(std::vector<int>(longer.begin(), longer.begin() + 5), contents(a));
    EXPECT_EQ(a.size(), 5);

    XoVector<int> grown = a;
    grown.push_back(6);
    EXPECT_EQ(a.size(), 5);
    EXPECT_EQ(grown.size(), 6);
}

TEST(XoVector, TheSharedEmptyBlock) {
    EXPECT_EQ(gpEmptyVectorData->m_nLogicalLength, 0);
    EXPECT_EQ(gpEmptyVectorData->m_nPhysicalLength, 0);
    EXPECT_EQ(gpEmptyVectorData->m_nGrowLength, 8);
    EXPECT_EQ(gpEmptyVectorData->m_pElements, nullptr);
    const std::uint32_t before = emptyBlockRefs();
    {
        XoVector<int> v = numbers(3);
        v.clear();
        EXPECT_EQ(emptyBlockRefs(), before + 1);
        EXPECT_EQ(v.size(), 0);
        EXPECT_EQ(v.capacity(), 0);
        EXPECT_TRUE(v.isShared());
        XoVector<int> copy(v);
        EXPECT_EQ(emptyBlockRefs(), before + 2);

        EXPECT_NE(v.data(), nullptr);
        EXPECT_EQ(v.capacity(), 16) << "a private copy of no room gets 16";
        EXPECT_EQ(v.size(), 0);
        EXPECT_EQ(emptyBlockRefs(), before + 1);
        v.setPhysicalLength(-3);
        EXPECT_EQ(emptyBlockRefs(), before + 2);

        XoVector<int> never;
        never.setPhysicalLength(0);
        EXPECT_EQ(emptyBlockRefs(), before + 2) << "no room to drop";
    }
    EXPECT_EQ(emptyBlockRefs(), before);
}

TEST(XoVector, SetPhysicalLengthKeepsTheFirstElements) {
    XoVector<int> v = numbers(6);
    const XoVector<int> keep = v;
    v.setPhysicalLength(4);
    EXPECT_EQ(v.capacity(), 4);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(keep.size(), 6);
    const int* before = std::as_const(v).data();
    v.setPhysicalLength(4);
    EXPECT_EQ(std::as_const(v).data(), before);
    v.reserve(2);
    EXPECT_EQ(v.capacity(), 4);
    v.reserve(30);
    EXPECT_EQ(v.capacity(), 30);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2, 3, 4}));

    XoVector<int> fresh;
    fresh.setPhysicalLength(5);
    EXPECT_EQ(fresh.capacity(), 5);
    EXPECT_EQ(fresh.size(), 0);
}

// Plain elements of a private vector are resized where they lie; the vector must end as
// it would with a new block: same lengths, the kept elements, zeros after them.
TEST(XoVector, ResizingInPlaceEndsAsANewBlockWould) {
    XoVector<int> v = numbers(6);
    v.setLogicalLength(2);
    v.setPhysicalLength(12);
    EXPECT_EQ(v.capacity(), 12);
    v.setLogicalLength(12);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    v.setPhysicalLength(3);
    EXPECT_EQ(v.size(), 3);
    v.setPhysicalLength(5);
    v.setLogicalLength(5);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2, 0, 0, 0}));

    // Many growth steps of the grow length keep the arithmetic and every element.
    XoVector<int> long_run;
    for (int i = 0; i < 5000; ++i) {
        long_run.push_back(i);
        ASSERT_EQ(long_run.capacity(), (i / 8 + 1) * 8);
    }
    const XoVector<int>& reader = long_run;
    for (int i = 0; i < 5000; ++i)
        ASSERT_EQ(reader[i], i);
    long_run.setPhysicalLength(10);
    EXPECT_EQ(contents(long_run), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));

    // Steps of the grow length into room the array kept from a larger length show zeros,
    // not what that room held; a block shared with a copy is not stepped in place.
    XoVector<int> reused;
    for (int i = 1; i <= 40; ++i)
        reused.push_back(-i);
    reused.setPhysicalLength(30);
    reused.push_back(1);
    EXPECT_EQ(reused.capacity(), 38);
    reused.setLogicalLength(38);
    reused.append() = 2;
    EXPECT_EQ(reused.capacity(), 46);
    reused.setLogicalLength(46);
    const std::vector<int> stepped = contents(reused);
    EXPECT_EQ(std::vector<int>(stepped.begin() + 29, stepped.end()),
              (std::vector<int>{-30, 1, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0}));
    const XoVector<int> before = reused;
    reused.push_back(3);
    EXPECT_EQ(before.size(), 46);
    EXPECT_EQ(before.capacity(), 46);
    EXPECT_EQ(reused.capacity(), 54);
    EXPECT_EQ(std::as_const(reused)[46], 3);
}

TEST(XoVector, GrowLengthBelongsToTheBlock) {
    XoVector<int> v;
    v.setGrowLength(3);
    v.push_back(1);
    EXPECT_EQ(v.capacity(), 3);
    v.push_back(2);
    v.push_back(3);
    v.push_back(4);
    EXPECT_EQ(v.capacity(), 6) << "logical 3 + grow 3";

    XoVector<int> w = v;
    w.setGrowLength(20);
    EXPECT_EQ(v.growLength(), 3);
    EXPECT_EQ(w.growLength(), 20);
    EXPECT_EQ(contents(w), contents(v));

    XoVector<int> cleared = numbers(2);
    cleared.clear();
    cleared.setGrowLength(5);
    EXPECT_EQ(cleared.growLength(), 5);
    EXPECT_EQ(gpEmptyVectorData->m_nGrowLength, 8);
    cleared.setLogicalLength(2);
    EXPECT_EQ(cleared.capacity(), 5);
}

TEST(XoVector, CheckedAccessThrowsIndexOutOfRange) {
    XoVector<int> five = numbers(5);
    EXPECT_EQ(thrownStatus([&] { five.at(5); }), Vesk::eIndexOutOfRange);
    EXPECT_EQ(thrownStatus([&] { five.at(-1); }), Vesk::eIndexOutOfRange);
    EXPECT_EQ(thrownStatus([&] { std::as_const(five).at(5); }), Vesk::eIndexOutOfRange);
    EXPECT_EQ(thrownStatus([&] { XoVector<wchar_t>().at(0); }), Vesk::eIndexOutOfRange);
    EXPECT_EQ(thrownStatus([&] { five.at(4) = 50; }), Vesk::eOk);
    EXPECT_EQ(five[4], 50);
}

TEST(XoVector, NoStorageThrowsOutOfMemory) {
    using Flaky = XoVector<int, FlakyAllocator<int>>;
    Flaky v;
    {
        FailureGuard failing;
        EXPECT_EQ(thrownStatus([&] { v.append(); }), Vesk::eOutOfMemory);
        EXPECT_EQ(v.size(), 0);
    }
    for (int i = 0; i < 8; ++i)
        v.push_back(i);
    Flaky sharer = v;
    {
        FailureGuard failing;
        EXPECT_EQ(thrownStatus([&] { v.push_back(8); }), Vesk::eOutOfMemory);
        EXPECT_EQ(thrownStatus([&] { v[0] = 1; }), Vesk::eOutOfMemory);
        v.setLogicalLength(20);
        v.setLogicalLength(2);
        v.setPhysicalLength(3);
        v.setGrowLength(1);
        EXPECT_EQ(v.size(), 8);
        EXPECT_EQ(v.capacity(), 8);
        EXPECT_EQ(v.growLength(), 8);
        EXPECT_TRUE(v.isShared());
    }
    EXPECT_EQ(std::as_const(v)[7], 7);
}

TEST(XoVector, ElementsWithResourcesAreCopiedMovedAndFreed) {
    XoVector<std::string> v;
    for (int i = 0; i < 20; ++i)
        v.push_back("a string long enough for the heap #" + std::to_string(i));
    XoVector<std::string> w = v;
    w[3] = "changed";
    EXPECT_EQ(std::as_const(v)[3], "a string long enough for the heap #3");
    while (v.size() < v.capacity())
        v.push_back("filler that also lives on the heap, not in the object");
    v.push_back(std::as_const(v)[0]); // from the block that the append replaces
    EXPECT_EQ(std::as_const(v).back(), "a string long enough for the heap #0");
    EXPECT_EQ(std::as_const(w)[19], "a string long enough for the heap #19");
}

// An element whose copy throws on demand.
struct Touchy {
    static inline bool failing = false;
    int value = 0;
    Touchy() = default;
    explicit Touchy(int v) : value(v) {}
    Touchy(const Touchy&) = default;
    Touchy& operator=(const Touchy& other) {
        if (failing)
            throw std::runtime_error("refused");
        value = other.value;
        return *this;
    }
};

// A failed append, in the room or past it, leaves the vector as it was.
TEST(XoVector, AppendWhoseElementThrowsKeepsTheLength) {
    XoVector<Touchy> v;
    v.push_back(Touchy(1));
    Touchy::failing = true;
    EXPECT_THROW(v.push_back(Touchy(2)), std::runtime_error);
    EXPECT_EQ(v.size(), 1);
    Touchy::failing = false;
    while (v.size() < v.capacity())
        v.push_back(Touchy(3));
    Touchy::failing = true;
    EXPECT_THROW(v.append(Touchy(4)), std::runtime_error);
    Touchy::failing = false;
    EXPECT_EQ(v.size(), 8);
    EXPECT_EQ(std::as_const(v).back().value, 3);
}

// An int appended from the vector's own length field is read before the length changes.
TEST(XoVector, AppendingTheLengthItself) {
    XoVector<int> v = numbers(3);
    const XoVector<int>& reader = v;
    const int* length = &reinterpret_cast<XoVectorData* const&>(reader)->m_nLogicalLength;
    v.push_back(*length);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2, 3, 3}));
}

TEST(XoVector, IterationAndMoves) {
    XoVector<int> v = numbers(4);
    const XoVector<int> reader = v;
    int sum = 0;
    for (int x : reader)
        sum += x;
    EXPECT_EQ(sum, 10);
    EXPECT_TRUE(v.isShared());
    for (int& x : v)
        x *= 2;
    EXPECT_EQ(contents(v), (std::vector<int>{2, 4, 6, 8}));
    EXPECT_EQ(contents(reader), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(v.front(), 2);
    EXPECT_EQ(std::as_const(v).front(), 2);

    XoVector<int> moved(std::move(v));
    EXPECT_EQ(moved.size(), 4);
    EXPECT_EQ(v.size(), 0); // NOLINT: a moved-from vector is empty
    EXPECT_EQ(std::as_const(v).begin(), std::as_const(v).end());
    v = std::move(moved);
    EXPECT_EQ(v.size(), 4);

    XoVector<int> none;
    XoVector<int> copyOfNone(none);
    EXPECT_FALSE(copyOfNone.isShared());
    EXPECT_EQ(copyOfNone.data(), nullptr);
    EXPECT_EQ(copyOfNone.begin(), copyOfNone.end());
}

} // namespace
