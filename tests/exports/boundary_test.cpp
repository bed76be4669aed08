// What must hold when a client module reaches the library across the DLL (or shared
// object) boundary: exported data is one object, exceptions unwind through library
// frames, and objects made on one side are destroyed on the other.
#include "XoOsBase.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
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

void keepTrace(const wchar_t* text) {
    g_trace = text;
}

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
    EXPECT_TRUE(XoCharMapper::multiByteToWideChar(CODE_PAGE_JAPANESE, "\x82\xA0\\U+00B0", 9, wide,
                                                  true, false));
    EXPECT_EQ(std::wstring(std::as_const(wide).begin(), std::as_const(wide).end()),
              std::wstring(L">\u3042\u00B0") + L'\0');
    EXPECT_EQ(kept.size(), 1);

    XoVector<char> bytes;
    XoCharMapper::wideCharToMultiByte(CODE_PAGE_WIN_WESTERN, L"\u00E9\u4E2D", 2, bytes);
    EXPECT_EQ(std::string(std::as_const(bytes).begin(), std::as_const(bytes).end()),
              std::string("\xE9\\U+4E2D") + '\0');

    ClientBigFontReader reader;
    EXPECT_EQ(XoCharMapper::getCodepageByBigFont(L"fonts/CLIENT", &reader),
              CODE_PAGE_TRADITIONAL_CHINESE);
    EXPECT_EQ(reader.seenPath, L"D:/BIGFONT.INI");
    EXPECT_EQ(XoCharMapper::getCpByBigFont(L"whgtxt", &reader), CODE_PAGE_KOREAN);
}

// Every member of both string classes, called from a client that inlines nothing.
TEST(Boundary, StringsUseTheLibrarysMembers) {
    using Str = XoStringT<char, XoStrHeaderA>;
    const XoStringA layer("layer", 5, 932);
    EXPECT_EQ(layer.codepage(), 932);
    XoStringA shared;
    shared = layer;
    EXPECT_EQ(shared.header(), layer.header());
    const XoStringA copied(layer);
    EXPECT_NE(copied.header(), layer.header());
    EXPECT_EQ(shared.setCodepage(1250), 932);
    EXPECT_NE(shared.header(), layer.header());
    EXPECT_EQ(layer.codepage(), 932);
    EXPECT_EQ(XoStringA('-', 2).length(), 2);
    EXPECT_EQ(XoStringA(std::size_t(16)).capacity(), 16u);
    EXPECT_EQ(XoStringA("abc").find('c', 0), 2);
    EXPECT_EQ(XoStringA("abc", 3).find("bc", 0), 1);
    EXPECT_EQ(XoStringA(Str("t")).numOfChars(), 1);

    Str text("a");
    text = "b";
    text = 'c';
    text = Str("drawing");
    text.assign(Str("d")).assign("e").assign("fg", 1).assign('h').assign(std::size_t(4));
    text.concat(Str("1")).concat("2").concat("34", 1).concat("5", 1, "6", 1).concat('7');
    text += Str("8");
    text += "9";
    text += '0';
    EXPECT_STREQ(text.constStr(), "123567890");
    EXPECT_EQ(text.compare(Str("123567890")), 0);
    EXPECT_GT(text.compare("1"), 0);
    EXPECT_LT(text.compareNoCase(Str("X")), 0);
    EXPECT_EQ(text.compareNoCase("123567890"), 0);
    EXPECT_EQ(text.find('5', 0), 3);
    EXPECT_EQ(text.find("67", 0), 4);
    EXPECT_EQ(text.findRev('9'), 7);
    EXPECT_EQ(text.findRev("89"), 6);
    EXPECT_EQ(text.findOneOf("98"), 6);
    EXPECT_EQ(text.findOneOfRev("12"), 1);
    EXPECT_EQ(text.insert(0, "<"), 10);
    EXPECT_EQ(text.insert(10, '>'), 11);
    EXPECT_EQ(text.remove('<'), 0);
    EXPECT_EQ(text.removeChars(0, 1), 10);
    EXPECT_EQ(text.replace("0>", "0"), 1);
    EXPECT_EQ(text.replace('1', '2'), -1);
    EXPECT_STREQ(text.left(2).constStr(), "12");
    EXPECT_STREQ(text.mid(7).constStr(), "90");
    EXPECT_STREQ(text.mid(1, 2).constStr(), "23");
    EXPECT_STREQ(text.right(1).constStr(), "0");
    EXPECT_TRUE(text.spanIncluding("1").isEmpty());
    EXPECT_TRUE(text.spanExcluding("1").isEmpty());
    EXPECT_EQ(text.match("*"), -1);
    EXPECT_EQ(text.matchNoCase("*"), -1);
    text.makeUpper().makeLower().makeReverse().makeReverse();
    text.trimLeft().trimLeft(' ').trimLeft(" ").trimRight().trimRight(' ').trimRight(" ");
    EXPECT_STREQ(static_cast<const char*>(text), "123567890");
    text.format("%s-%d", "layer", 3);
    EXPECT_STREQ(text.constStr(), "layer-3");
    EXPECT_EQ(text.getAt(0), 'l');
    EXPECT_EQ(text[1], 'a');
    text.setAt(0, 'L');
    text.rawStr()[1] = 'A';
    char* buffer = text.getBuffer(20);
    buffer[0] = 'x';
    buffer[1] = 0;
    text.releaseBuffer();
    EXPECT_STREQ(text.constStr(), "x");
    text.lockBuffer()[0] = 'y';
    text.unlockBuffer();
    text.setCapacity(40);
    EXPECT_EQ(text.capacity(), 40u);
    text.setNumOfChars(1);
    EXPECT_EQ(text.numOfChars(), 1);
    EXPECT_TRUE(text.isAscii());
    EXPECT_FALSE(text.isEmpty());
    text.setEmpty();
    EXPECT_TRUE(text.isEmptyData());
    EXPECT_EQ(Str(std::size_t(3)).capacity(), 3u);
    EXPECT_EQ(Str("ab", 1).numOfChars(), 1);
    EXPECT_EQ(Str('z', 2).numOfChars(), 2);
}

TEST(Boundary, StringsMadeOnOneSideAreFreedOnTheOther) {
    // Text built by the library (format, mid, concat reallocation) dropped here, and
    // text made here grown and dropped by the library.
    auto* made = new XoStringA("client text");
    made->concat(std::string(200, '.').c_str());
    XoStringT<char, XoStrHeaderA> part = made->mid(0, 6);
    delete made;
    EXPECT_STREQ(part.constStr(), "client");
}

TEST(Boundary, TextIteratorFromTheClient) {
    // Every member called without inlining, so each must be exported.
    const XoStringA text("\\U+00B0\x82\xA0"
                         "ab");
    XoAnsiTextIterator it(text, CODE_PAGE_JAPANESE);
    XoAnsiTextIterator unset;
    unset = it;
    EXPECT_EQ(unset.nextChar(), 0x00B0);
    EXPECT_EQ(unset.nextChar(), 0x82A0);
    EXPECT_EQ(*unset, 0x82A0);
    EXPECT_EQ(unset.currPos(), text.constStr() + 9);
    EXPECT_EQ(it.appendDigits(1, true), 0);
    EXPECT_EQ(it.appendDigitsNoCheck(1, false), 0);
    XoStringA out("client");
    EXPECT_EQ(it.breakSafely(9, out), 3);
    EXPECT_EQ(out.numOfChars(), 8); // "U+00B0" and the pair
    EXPECT_FALSE(XoAnsiTextIterator::XoAnsiTextIteratorNotRequired(text, CODE_PAGE_WIN_WESTERN));
    EXPECT_TRUE(XoAnsiTextIterator::XoAnsiTextIteratorNotRequired("ab", CODE_PAGE_WIN_WESTERN));
}

} // namespace

// A client's own stream supplies only the primitives; the bulk operations it inherits
// run in the library and call back into the client through the virtual table.
class ClientStream final : public XoStreamBuf {
public:
    std::size_t tell() const override { return position; }
    std::size_t length() const override { return bytes.size(); }
    std::size_t seek(std::size_t offset, XoIO::SeekType) override {
        if (offset <= bytes.size())
            position = offset;
        return position;
    }
    unsigned char readByte() override { return bytes.at(position++); }
    void writeByte(unsigned char byte) override { writeBytes(&byte, 1); }
    using XoStreamBuf::readBytes;
    using XoStreamBuf::writeBytes;
    void readBytes(unsigned char* dest, unsigned int count) override {
        std::memcpy(dest, bytes.data() + position, count);
        position += count;
    }
    void writeBytes(const unsigned char* src, unsigned int count) override {
        if (position + count > bytes.size())
            bytes.resize(position + count);
        std::memcpy(&bytes[position], src, count);
        position += count;
    }
    void resize(std::size_t size) override { bytes.resize(size); }

    std::string bytes;
    std::size_t position = 0;
};

TEST(Boundary, ClientStreamsUseTheLibrarysBulkOperations) {
    ClientStream client;
    client.bytes = std::string(5000, 'x') + "tail";
    XoFlatMemBuf flat(0);
    flat.writeBytes(&client, 5004); // from the client's start, in one heap chunk
    EXPECT_EQ(flat.length(), 5004u);
    EXPECT_EQ(flat.getByteByPos(XoStreamBufPos(&flat)), 'x');

    ClientStream copy;
    client.seek(5000, XoIO::kSeekBegin);
    copy.copyFrom(&client, 0, 0); // the rest of the client
    EXPECT_EQ(copy.bytes, "tail");
    EXPECT_EQ(client.tell(), 5000u);
    EXPECT_EQ(copy.getStreamPosition(nullptr), SIZE_MAX);

    unsigned char block[4] = {};
    XoMemStreamWrapperBuf wrapper(block, 4);
    client.seek(5000, XoIO::kSeekBegin);
    wrapper.copyFrom(&client, 5000, 5004);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(block), 4), "tail");
    try {
        wrapper.writeByte(0);
        wrapper.seek(0, XoIO::kSeekFromEnd);
        wrapper.writeByte(0);
        FAIL() << "the wrapper grew past its block";
    } catch (XoException* exception) {
        EXPECT_STREQ(exception->description(), L"_resize failed!");
        delete exception;
    }
}

namespace {

unsigned setTheEvent(void* event) {
    static_cast<XoEvent*>(event)->setSignaled(true);
    return 5;
}

// A thread started by the library runs a client function, and the client's waits see
// the library's objects; the objects are released from this side.
TEST(Boundary, ThreadsAndEventsCrossTheBoundary) {
    XoEvent* event = createXoEvent(false, false, nullptr);
    XoThread* thread = createXoThread(setTheEvent, event, false, 0);
    XoSignalObject* both[] = {thread, event};
    EXPECT_EQ(xoWaitForMultipleObject(both, 2, true, 10000), 4096u);
    unsigned code = 0;
    EXPECT_TRUE(xoGetThreadExitCode(thread, &code));
    EXPECT_EQ(code, 5u);
    thread->release();
    event->release();
}

} // namespace
