// Exercises what the library offers so far and says what it did.
#include "XoOsBase.h"

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string narrow(const wchar_t* text) {
    std::string result;
    for (; *text; ++text)
        result += *text < 0x80 ? static_cast<char>(*text) : '?';
    return result;
}

void showPooledLocks() {
    constexpr int kThreads = 4;
    constexpr int kRounds = 100000;
    long shared[2] = {0, 0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&shared, t] {
            long& counter = shared[t % 2];
            for (int i = 0; i < kRounds; ++i) {
                XoAutoLockInPool guard(&counter); // the counter's address is the lock
                ++counter;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    std::printf("lock pool: %d threads added %ld and %ld under address locks (expected %d each)\n",
                kThreads, shared[0], shared[1], kThreads / 2 * kRounds);
}

void showRecursiveLocker() {
    XoLocker locker;
    {
        XoAutoLocker outer(&locker);
        XoAutoLocker inner(&locker);
    }
    std::printf("locker: taken twice by one thread and released\n");
}

struct PrintingRecorder : VeskCrashRecorder {
    void recordException(XoException* exception) override {
        std::printf("crash recorder: told of \"%s\" before the throw\n",
                    narrow(exception->description()).c_str());
    }
};

void showErrorStatus() {
    PrintingRecorder recorder;
    veskSetCrashRecorder(&recorder);
    XoErrorStatus* status = new XoErrorStatus(Vesk::eFileNotFound, L"drawing.dwg", L"demo", 1);
    veskGetCrashRecorder()->recordException(status);
    try {
        throw status;
    } catch (XoException* caught) {
        std::printf("caught: %s (class %s)\n", narrow(caught->description()).c_str(),
                    narrow(caught->className()).c_str());
        delete caught;
    }
    veskSetCrashRecorder(nullptr);
}

void showCopyOnWrite() {
    using Text = XoMemData<char, XoStrHeaderA, XoMemDataAllocator, XoPodReallocator<char>>;
    Text layer("walls", 5);
    Text copy(layer);
    const bool sharedAtFirst = copy.header() == layer.header();
    copy.append("-old", 4);
    std::printf("buffer: a copy shared its block (%s) until it wrote; now \"%.*s\" and "
                "\"%.*s\", room %u\n",
                sharedAtFirst ? "yes" : "no", int(layer.count()), layer.rawData(),
                int(copy.count()), copy.rawData(), unsigned(copy.allocCount()));

    XoStringA name("site plan", 9, 932);
    XoStringA alias;
    alias = name;
    std::printf("string: \"%s\", code page %d, shared by assignment (%s); \"plan\" at byte %d\n",
                name.constStr(), name.codepage(), alias.header() == name.header() ? "yes" : "no",
                name.find("plan", 0));

    XoVector<wchar_t> units;
    for (wchar_t c : std::wstring(L"plan"))
        units.push_back(c);
    std::printf("vector: %d units in room for %d\n", units.size(), units.capacity());
    try {
        units.at(units.size());
    } catch (XoErrorStatus* caught) {
        std::printf("vector: reading past the end threw error type %d\n", int(caught->errorType()));
        delete caught;
    }
}

std::wstring g_lastTrace;

void keepTrace(const wchar_t* text) {
    g_lastTrace = text;
}

void showTracer() {
    XoTracer::setTraceFunctionW(keepTrace);
    XoTracer(L"%s has %d layers and %S", L"site plan", 12, "3 views");
    std::printf("tracer: formatted \"%s\"\n", narrow(g_lastTrace.c_str()).c_str());
    XoTracer::setTraceFunctionW(XoTracer::defaultTraceW);
}

} // namespace

int main() {
    showRecursiveLocker();
    showPooledLocks();
    showErrorStatus();
    showTracer();
    showCopyOnWrite();
    return 0;
}
