// What must hold when a client module reaches the library across the DLL (or shared
// object) boundary: exported data is one object, exceptions unwind through library
// frames, and objects made on one side are destroyed on the other.
#include "XoOsBase.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

namespace {

// A client's static initialiser may allocate before main, in any order with the
// library's own start-up.
struct AllocatesWhileLoading {
    void* block = _xoMalloc(24);
    void* page = xoAllocPageHeap(4096);
};
const AllocatesWhileLoading g_loading;

std::wstring g_trace;

void keepTrace(const wchar_t* text) { g_trace = text; }

[[noreturn]] void throwingTrace(const wchar_t* text) {
    throw new XoExceptionWithMsg(L"client", 1, text);
}

TEST(Boundary, ExportedHookSlotsAreTheLibrarysOwn) {
    const XoTraceFunctionW before = XoTracer::sm_pfnTraceW;
    XoTracer::setTraceFunctionW(keepTrace);
    EXPECT_EQ(XoTracer::sm_pfnTraceW, &keepTrace);
    XoTracer(L"%s=%d", L"layers", 4);
    EXPECT_EQ(g_trace, L"layers=4");
    XoTracer::sm_pfnTraceW = before; // written from the client, read by the library
    EXPECT_EQ(XoTracer::setTraceFunctionW(before), before);
}

TEST(Boundary, ExceptionsUnwindThroughLibraryFrames) {
    XoTracer::setTraceFunctionW(throwingTrace);
    try {
        XoTracer(L"thrown from %s", L"the hook");
        ADD_FAILURE() << "nothing thrown";
    } catch (XoException* caught) {
        const std::unique_ptr<XoException> owner(caught);
        EXPECT_STREQ(caught->description(), L"thrown from the hook");
    }
    XoTracer::setTraceFunctionW(XoTracer::defaultTraceW);
}

TEST(Boundary, ObjectsCrossBothWays) {
    auto* status = new XoErrorStatus(Vesk::eFileSharingViolation, L"a.dwg", L"f", 1);
    EXPECT_STREQ(status->description(), L"error type: 433\tmessage:a.dwg");
    XoException* base = status;
    EXPECT_NE(dynamic_cast<XoErrorStatus*>(base), nullptr) << "type information is shared";
    delete base;

    std::unique_ptr<XoLock> lock(createXoLock());
    lock->lock();
    lock->unlock();
}

TEST(Boundary, StaticInitialisersOfClientsCanAllocate) {
    ASSERT_NE(g_loading.block, nullptr);
    ASSERT_NE(g_loading.page, nullptr);
    static_cast<char*>(g_loading.block)[23] = 1;
    static_cast<char*>(g_loading.page)[4095] = 1;
    void* moved = _xoRealloc(g_loading.block, 48);
    EXPECT_EQ(static_cast<char*>(moved)[23], 1);
    _xoFree(moved);
    xoFreePageHeap(g_loading.page);
}

TEST(Boundary, PooledAddressLocksWorkFromTheClient) {
    long counter = 0;
    std::thread other([&] {
        for (int i = 0; i < 10000; ++i) {
            XoAutoLockInPool guard(&counter);
            ++counter;
        }
    });
    for (int i = 0; i < 10000; ++i) {
        XoAutoLockInPool guard(&counter);
        ++counter;
    }
    other.join();
    EXPECT_EQ(counter, 20000);
}

} // namespace
