// Values that share one block, copied, written and dropped on several threads at once:
// the reference counts must stay exact and a write must never reach another holder.
#include "XoString.h"
#include "XoVector.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using Str = XoStringT<char, XoStrHeaderA>;

std::int32_t refs(const Str& s) {
    return s.header()->m_nRefs.load();
}

constexpr int kThreads = 4;
constexpr int kRounds = 3000;

template <class Body> void onThreads(Body body) {
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back(body, t);
    for (std::thread& thread : threads)
        thread.join();
}

TEST(SharingAcrossThreads, StringsCopiedAndDroppedKeepExactCounts) {
    const std::int32_t emptyBefore = refs(Str()) - 1;
    const XoStringA source("text that every thread shares", 29, 932);
    const Str plain("plain");
    onThreads([&](int t) {
        for (int i = 0; i < kRounds; ++i) {
            Str copy(source);
            XoStringA assigned;
            assigned = source;
            Str second = plain.mid(0, 5); // shares
            Str empty;
            if (i % 50 == 0) {
                // Writers get private blocks; the shared text stays as it was.
                copy += char('0' + t);
                assigned.setAt(0, 'T');
                second.replace("plain", "other");
                ASSERT_EQ(copy.numOfChars(), 30);
                ASSERT_EQ(copy.getAt(29), char('0' + t));
                ASSERT_EQ(assigned.getAt(0), 'T');
                ASSERT_EQ(assigned.codepage(), 932);
                ASSERT_STREQ(second.constStr(), "other");
            }
            ASSERT_EQ(source.getAt(0), 't');
            const XoStringA own(source); // copies: its header is its own
            ASSERT_EQ(refs(own), 1);
        }
    });
    EXPECT_EQ(refs(source), 1);
    EXPECT_EQ(refs(plain), 1);
    EXPECT_STREQ(source.constStr(), "text that every thread shares");
    EXPECT_EQ(refs(Str()) - 1, emptyBefore);
}

TEST(SharingAcrossThreads, VectorsCopiedAndDroppedKeepExactCounts) {
    const std::uint32_t emptyBefore = gpEmptyVectorData->m_nRefs.load();
    XoVector<wchar_t> source;
    for (wchar_t c : std::wstring(L"shared elements"))
        source.push_back(c);
    const XoVector<wchar_t>& reader = source;
    XoVector<int> numbers;
    for (int i = 0; i < 100; ++i)
        numbers.push_back(i);
    const XoVector<int>& numbersReader = numbers;
    onThreads([&](int t) {
        for (int i = 0; i < kRounds; ++i) {
            XoVector<wchar_t> copy(reader);
            XoVector<int> others;
            others = numbersReader;
            XoVector<wchar_t> dropped(copy);
            dropped.clear();
            if (i % 50 == 0) {
                copy.push_back(wchar_t(L'0' + t));
                others[0] = t + 1;
                ASSERT_EQ(copy.size(), 16);
                ASSERT_EQ(copy[15], wchar_t(L'0' + t));
                ASSERT_EQ(others[0], t + 1);
                others.clear();
            }
            ASSERT_EQ(reader[0], L's');
            ASSERT_EQ(numbersReader[0], 0);
        }
    });
    EXPECT_FALSE(source.isShared());
    EXPECT_FALSE(numbers.isShared());
    EXPECT_EQ(std::wstring(reader.begin(), reader.end()), L"shared elements");
    EXPECT_EQ(numbersReader[99], 99);
    EXPECT_EQ(gpEmptyVectorData->m_nRefs.load(), emptyBefore);
}

} // namespace
