#include "platform/faultguard.h"
#include "platform/virtualmemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <signal.h>
#include <unistd.h>
#endif

namespace {

namespace os = xo::platform;

// A page reserved without access, right after a readable one: reading it is an access
// violation on both targets.
class NoAccessPage : public ::testing::Test {
protected:
    void SetUp() override {
        base_ = static_cast<char*>(os::reserveAligned(2 * os::kPageSize, 65536));
        ASSERT_NE(base_, nullptr);
        ASSERT_TRUE(os::commit(base_, os::kPageSize));
        for (std::size_t i = 0; i < os::kPageSize; ++i)
            base_[i] = char(i * 7 + 1);
    }
    void TearDown() override { os::release(base_, 2 * os::kPageSize); }
    static void touch(void* page) { (void)*static_cast<const volatile char*>(page); }
    void* page() const { return base_ + os::kPageSize; }
    char* base_ = nullptr;
};

TEST_F(NoAccessPage, OwnedFaultIsReturnedAndTheWorkBeforeItKept) {
    struct Work {
        void* page;
        int steps;
    } work{page(), 0};
    const auto body = [](void* context) {
        auto* w = static_cast<Work*>(context);
        w->steps = 1;
        touch(w->page);
        w->steps = 2;
    };
    EXPECT_EQ(os::runGuarded(os::kFaultAccessViolation, body, &work), os::kFaultAccessViolation);
    EXPECT_EQ(work.steps, 1);
    EXPECT_EQ(os::runGuarded(
                  os::kFaultAccessViolation, [](void*) {}, nullptr),
              os::kNoFault);
}

TEST_F(NoAccessPage, NestedGuardsGiveTheFaultToTheOneThatOwnsIt) {
    struct Nest {
        void* page;
        os::FaultKinds inner;
    } nest{page(), 99};
    const auto outerBody = [](void* context) {
        auto* n = static_cast<Nest*>(context);
        n->inner = os::runGuarded(os::kFaultPageNotReadable, touch, n->page);
    };
    EXPECT_EQ(os::runGuarded(os::kFaultAccessViolation, outerBody, &nest),
              os::kFaultAccessViolation);
    EXPECT_EQ(nest.inner, 99u) << "the inner guard never returned";
    EXPECT_EQ(os::runGuarded(os::kFaultAccessViolation, touch, page()), os::kFaultAccessViolation)
        << "the jump out of the inner guard left no stale guard behind";
}

// Each path of the copy (bytes, words, the string move from 256 bytes on), ending just
// before the unreadable page or running into it.
TEST_F(NoAccessPage, GuardedCopyCopiesExactlyOrReportsTheFault) {
    struct Case {
        std::size_t before; // bytes of the readable page before the end of the source
        std::size_t count;
    };
    const Case cases[] = {{0, 0},       {1, 1}, {7, 7},  {8, 8},   {13, 13},   {300, 300},
                          {4096, 4096}, {1, 2}, {8, 16}, {13, 14}, {100, 300}, {255, 256}};
    std::vector<char> dest(os::kPageSize + 16);
    for (const Case& c : cases) {
        const char* src = static_cast<const char*>(page()) - c.before;
        std::fill(dest.begin(), dest.end(), '\0');
        const bool fits = c.count <= c.before;
        EXPECT_EQ(os::copyGuarded(dest.data(), src, c.count, os::kFaultAccessViolation), fits)
            << c.before << " " << c.count;
        if (fits) {
            EXPECT_TRUE(std::equal(src, src + c.count, dest.begin())) << c.count;
        }
        EXPECT_EQ(dest[c.count], '\0') << "nothing written beyond the count";
    }
}

TEST_F(NoAccessPage, GuardedCopyLeavesAFaultItDoesNotOwnToTheGuardsAround) {
    struct Copy {
        void* src;
        bool copied;
    } copy{page(), true};
    const auto body = [](void* context) {
        auto* c = static_cast<Copy*>(context);
        char byte;
        c->copied = os::copyGuarded(&byte, c->src, 1, os::kFaultPageNotReadable);
    };
    EXPECT_EQ(os::runGuarded(os::kFaultAccessViolation, body, &copy), os::kFaultAccessViolation);
    EXPECT_TRUE(copy.copied) << "the copy never returned";
}

TEST_F(NoAccessPage, ThreadsFaultingAtOnceEachGetTheirOwn) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 200;
    std::atomic<int> caught{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i)
                if (os::runGuarded(os::kFaultAccessViolation, touch, page()) ==
                    os::kFaultAccessViolation)
                    ++caught;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(caught.load(), kThreads * kRounds);
}

#if defined(_WIN32)

std::atomic<DWORD> g_passedOn{0};

LONG CALLBACK hostHandler(EXCEPTION_POINTERS* pointers) {
    const DWORD code = pointers->ExceptionRecord->ExceptionCode;
    if (code != EXCEPTION_ACCESS_VIOLATION && code != EXCEPTION_IN_PAGE_ERROR)
        return EXCEPTION_CONTINUE_SEARCH;
    g_passedOn = code;
    return EXCEPTION_CONTINUE_EXECUTION; // raised by RaiseException: resumes after it
}

void raise(void* code) {
    ::RaiseException(DWORD(reinterpret_cast<std::uintptr_t>(code)), 0, 0, nullptr);
}

TEST(FaultGuard, InPageErrorIsOwnedAndOtherCodesReachTheHost) {
    void* host = ::AddVectoredExceptionHandler(0, hostHandler);
    const auto code = [](DWORD value) { return reinterpret_cast<void*>(std::uintptr_t(value)); };
    EXPECT_EQ(os::runGuarded(os::kFaultPageNotReadable, raise, code(EXCEPTION_IN_PAGE_ERROR)),
              os::kFaultPageNotReadable);
    EXPECT_EQ(g_passedOn.load(), 0u);
    EXPECT_EQ(os::runGuarded(os::kFaultPageNotReadable, raise, code(EXCEPTION_ACCESS_VIOLATION)),
              os::kNoFault);
    EXPECT_EQ(g_passedOn.load(), DWORD(EXCEPTION_ACCESS_VIOLATION));
    ::RemoveVectoredExceptionHandler(host);
}

// Wine reports a view whose file was cut short as an access violation, and Windows will
// not cut a mapped file: the page that cannot be brought in is made here, by turning the
// access violation on the test's page into the code Windows raises for it.
std::atomic<const char*> g_pageNotBroughtIn{nullptr};

LONG CALLBACK pageNotBroughtIn(EXCEPTION_POINTERS* pointers) {
    EXCEPTION_RECORD* record = pointers->ExceptionRecord;
    const auto* at = reinterpret_cast<const char*>(record->ExceptionInformation[1]);
    const char* page = g_pageNotBroughtIn.load();
    if (record->ExceptionCode == EXCEPTION_ACCESS_VIOLATION && at >= page && at < page + 4096)
        record->ExceptionCode = EXCEPTION_IN_PAGE_ERROR;
    return EXCEPTION_CONTINUE_SEARCH;
}

TEST_F(NoAccessPage, GuardedCopyOwnsThePageThatCannotBeBroughtIn) {
    char byte = 0;
    ASSERT_TRUE(os::copyGuarded(&byte, base_, 1, os::kFaultPageNotReadable)); // installs
    g_pageNotBroughtIn = static_cast<const char*>(page());
    void* converter = ::AddVectoredExceptionHandler(1, pageNotBroughtIn);
    char bytes[300];
    for (std::size_t count : {1u, 40u, 300u})
        EXPECT_FALSE(os::copyGuarded(bytes, page(), count, os::kFaultPageNotReadable)) << count;
    ::RemoveVectoredExceptionHandler(converter);
}

#else

void hostHandler(int) {
    ::_exit(42);
}

// In a process of its own, so that the host's handler is there before the guard's.
TEST_F(NoAccessPage, FaultNotOwnedReachesTheHostsHandler) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            struct sigaction action = {};
            action.sa_handler = hostHandler;
            ::sigaction(SIGSEGV, &action, nullptr);
            os::runGuarded(os::kFaultPageNotReadable, touch, page());
        },
        ::testing::ExitedWithCode(42), "");
    EXPECT_EXIT(
        {
            struct sigaction action = {};
            action.sa_handler = hostHandler;
            ::sigaction(SIGSEGV, &action, nullptr);
            char byte;
            os::copyGuarded(&byte, page(), 1, os::kFaultPageNotReadable);
        },
        ::testing::ExitedWithCode(42), "");
}

#endif

} // namespace
