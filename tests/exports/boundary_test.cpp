// What must hold when a client module reaches the library across the DLL (or shared
// object) boundary: exported data is one object, exceptions unwind through library
// frames, and objects made on one side are destroyed on the other.
#include "XoOsBase.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>

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

TEST(Boundary, CodePageTableAndLocaleHelpersAreReachable) {
    EXPECT_EQ(XoCodePageMapper::arrAnsiVeskCpMapper[CODE_PAGE_ISO8859_6], 28586);
    EXPECT_EQ(XoCodePageMapper::veskCpToAnsiCp(CODE_PAGE_JOHAB), 1361);
    EXPECT_EQ(XoCharMapper::getCodepageByCharset(128), CODE_PAGE_JAPANESE);
    EXPECT_EQ(mapCodepage('4'), CODE_PAGE_JOHAB);
    // Bound by ordinal on Windows, by name elsewhere.
    EXPECT_EQ(getAnsiCpCount(), 14);
    EXPECT_EQ(getLcidByCharSet(129), 1042u);
    EXPECT_EQ(getCharSetForChar(L'\x3042', 0x0409, 0x0411), 128u);
    EXPECT_EQ(getCharScriptClass(L'\xE000'), 25);
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


using XoCharData = XoMemData<char, XoStrHeaderA, XoMemDataAllocator, XoPodReallocator<char>>;

TEST(Boundary, TheCategoryInstanceIsTheLibrarysOwnAndReady) {
    EXPECT_EQ(XoCharCategory::instance(), &XoCharCategory::s_instance);
    EXPECT_TRUE(XoCharCategory::s_instance.isPunctuation(L'\x3002'));
    char copied[8];
    EXPECT_EQ(XoCharOp::copy(copied, sizeof copied, "abc"), 0);
    EXPECT_EQ(XoCharOp::length(copied), 3u);
}

TEST(Boundary, CopyOnWriteBuffersUseTheLibrarysInstantiation) {
    XoCharData empty;
    EXPECT_TRUE(empty.isEmptyData());
    EXPECT_EQ(empty.growth(), 8u);
    XoCharData text("drawing", 7);
    XoCharData copy(text);
    EXPECT_TRUE(text.isShared());
    copy.append("s", 1);
    EXPECT_FALSE(text.isShared());
    EXPECT_EQ(std::string(copy.rawData(), copy.count()), "drawings");
    EXPECT_EQ(std::string(std::as_const(text).rawData(), text.count()), "drawing");
    char* raw = text.lockBuffer();
    raw[0] = 'D';
    const XoCharData locked(text);
    EXPECT_NE(locked.header(), text.header());
    text.unlockBuffer();
    EXPECT_TRUE(locked == XoCharData("Drawing", 7));
    copy.setEmpty();
    EXPECT_TRUE(copy.isEmptyData());
}

TEST(Boundary, VectorsUseTheLibrarysInstantiationsAndEmptyBlock) {
    XoVector<wchar_t> wide;
    for (wchar_t c : std::wstring(L"layer 0"))
        wide.push_back(c);
    XoVector<wchar_t> copy = wide;
    copy[0] = L'L';
    EXPECT_EQ(std::wstring(std::as_const(wide).begin(), std::as_const(wide).end()), L"layer 0");
    EXPECT_EQ(std::wstring(copy.begin(), copy.end()), L"Layer 0");

    const std::uint32_t before = gpEmptyVectorData->m_nRefs.load();
    XoVector<char> bytes;
    bytes.push_back('x');
    bytes.clear();
    EXPECT_EQ(gpEmptyVectorData->m_nRefs.load(), before + 1) << "one empty block";

    try {
        wide.at(99);
        ADD_FAILURE() << "nothing thrown";
    } catch (XoErrorStatus* caught) {
        const std::unique_ptr<XoErrorStatus> owner(caught);
        EXPECT_EQ(caught->errorType(), Vesk::eIndexOutOfRange);
    }
    // An element type of the client's own throws through the library as well.
    XoVector<double> local;
    try {
        local.at(-1);
        ADD_FAILURE() << "nothing thrown";
    } catch (XoException* caught) {
        const std::unique_ptr<XoException> owner(caught);
        ASSERT_NE(dynamic_cast<XoErrorStatus*>(caught), nullptr);
        EXPECT_EQ(static_cast<XoErrorStatus*>(caught)->errorType(), Vesk::eIndexOutOfRange);
    }
}

TEST(Boundary, WildcardMatchingFromTheClient) {
    int start = -7;
    int end = -7;
    EXPECT_EQ(WildcardsStringMatch(L"plan-A12.dwg", L"*.dwg", &start, &end), 5100);
    EXPECT_EQ(start, 0);
    EXPECT_EQ(end, 11);
    EXPECT_EQ(WildcardsStringMatch(L"x1a", L"#@", &start, &end), 5100);
    EXPECT_EQ(start, 1);
    EXPECT_EQ(end, 2);
    EXPECT_EQ(WildcardsStringMatch(nullptr, L"*", &start, &end), -5001);
}

// A reader made by the client: the library calls it through the client's vtable.
class ClientBigFontReader final : public CReadUserDefBigfontIni {
public:
    void read(const wchar_t* path, std::map<std::wstring, int>& map) override {
        seenPath = path;
        map[L"client.shx"] = 2;
    }
    bool find(wchar_t* buffer, int capacity, const wchar_t* fileName) override {
        ++finds;
        return std::swprintf(buffer, std::size_t(capacity), L"D:/%ls", fileName) > 0;
    }
    std::wstring seenPath;
    int finds = 0;
};

TEST(Boundary, ConversionsFillClientVectorsAndCallClientReaders) {
    XoVector<wchar_t> wide;
    wide.push_back(L'>');
    const XoVector<wchar_t> kept = wide;
    EXPECT_TRUE(XoCharMapper::multiByteToWideChar(CODE_PAGE_JAPANESE, "\x82\xA0\\U+00B0", 9, wide, true, false));
    EXPECT_EQ(std::wstring(std::as_const(wide).begin(), std::as_const(wide).end()), std::wstring(L">\u3042\u00B0") + L'\0');
    EXPECT_EQ(kept.size(), 1);

    XoVector<char> bytes;
    XoCharMapper::wideCharToMultiByte(CODE_PAGE_WIN_WESTERN, L"\u00E9\u4E2D", 2, bytes);
    EXPECT_EQ(std::string(std::as_const(bytes).begin(), std::as_const(bytes).end()), std::string("\xE9\\U+4E2D") + '\0');

    ClientBigFontReader reader;
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"fonts/CLIENT", &reader), CODE_PAGE_TRADITIONAL_CHINESE);
    EXPECT_EQ(reader.seenPath, L"D:/BIGFONT.INI");
    EXPECT_EQ(XoCharMapper::getCpByBigFont(L"whgtxt", &reader), CODE_PAGE_KOREAN);
}

} // namespace
