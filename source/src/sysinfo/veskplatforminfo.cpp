// The version, processor and library queries. Their caches are atomics read and written
// without ordering: two threads that fill one at once compute the same value.
#include "VeskSystemInfo.h"

#include <atomic>
#include <bitset>
#include <cstring>

#include "platform/sysinfo.h"
#include "sysinfo/xoplatforminfo.h"

namespace os = xo::platform;

namespace {

constexpr int kUnknownCode = -1;
constexpr std::uint32_t kUnread = 0xFFFFFFFFu;

std::atomic<int> g_code{kUnknownCode};
std::atomic<std::uint32_t> g_major{kUnread};
std::atomic<std::uint32_t> g_minor{kUnread};
std::atomic<std::uint32_t> g_build{kUnread};
std::atomic<xo::sysinfo::VersionSource> g_versionSource{os::readVersionNumbers};

std::atomic<int> g_logical{0};
std::atomic<int> g_physical{0};
std::atomic<xo::sysinfo::ProcessorSource> g_recordsSource{os::processorRecords};
std::atomic<xo::sysinfo::CountSource> g_countSource{os::systemProcessorCount};

constexpr auto kRelaxed = std::memory_order_relaxed;

void copyOut(unsigned* major, unsigned* minor, unsigned* build) {
    if (major)
        *major = g_major.load(kRelaxed);
    if (minor)
        *minor = g_minor.load(kRelaxed);
    if (build)
        *build = g_build.load(kRelaxed);
}

// The processor core records (relationship 0) give the counts; NUMA nodes, caches and
// packages (1 to 3) are passed over; anything else means the walk cannot be trusted.
enum Relationship : std::uint32_t { kCore = 0, kLastSkipped = 3 };

bool walk(const std::vector<unsigned char>& records, int* logical, int* physical) {
    *logical = *physical = 0;
    for (std::size_t at = 0; records.size() - at >= os::kProcessorRecordSize;
         at += os::kProcessorRecordSize) {
        std::uint64_t mask;
        std::uint32_t relationship;
        std::memcpy(&mask, &records[at], sizeof mask);
        std::memcpy(&relationship, &records[at + os::kProcessorRecordRelationship],
                    sizeof relationship);
        if (relationship == kCore) {
            ++*physical;
            *logical += int(std::bitset<64>(mask).count());
        } else if (relationship > kLastSkipped) {
            return false;
        }
    }
    return true;
}

int fallBack() {
    const int count = g_countSource.load(kRelaxed)();
    g_logical.store(count, kRelaxed);
    g_physical.store(count, kRelaxed);
    return count;
}

} // namespace

int xo::sysinfo::versionCode(std::uint32_t major, std::uint32_t minor) {
    constexpr std::uint32_t kLastMinorOf6 = 4;
    switch (major) {
    case 1:
    case 2:
    case 3:
        return int(major);
    case 4:
        return minor == 0 ? 4 : 5;
    case 5:
        return minor == 0 ? 6 : 7;
    case 6:
        return minor <= kLastMinorOf6 ? 8 + int(minor) : kUnknownCode;
    case 10:
        return 13;
    default:
        return kUnknownCode;
    }
}

xo::sysinfo::VersionSource xo::sysinfo::replaceVersionSourceForTests(VersionSource source) {
    g_code.store(kUnknownCode, kRelaxed);
    return g_versionSource.exchange(source, kRelaxed);
}

void xo::sysinfo::replaceProcessorSourcesForTests(ProcessorSource records, CountSource count) {
    g_recordsSource.store(records, kRelaxed);
    g_countSource.store(count, kRelaxed);
    g_logical.store(0, kRelaxed);
    g_physical.store(0, kRelaxed);
}

// A code of -1 is never kept, so an unknown version is read again next time.
int veskGetWindowsVersion(unsigned* major, unsigned* minor, unsigned* build) {
    const int cached = g_code.load(kRelaxed);
    if (cached != kUnknownCode) {
        copyOut(major, minor, build);
        return cached;
    }
    std::uint32_t ma = kUnread, mi = kUnread, bu = kUnread;
    const bool read = g_versionSource.load(kRelaxed)(&ma, &mi, &bu);
    g_major.store(ma, kRelaxed);
    g_minor.store(mi, kRelaxed);
    g_build.store(bu, kRelaxed);
    const int code = read ? xo::sysinfo::versionCode(ma, mi) : kUnknownCode;
    g_code.store(code, kRelaxed);
    copyOut(major, minor, build);
    return code;
}

namespace {

// Kept out of line, so that the cached answer costs no stack frame.
[[gnu::noinline]] int countProcessors(bool logical) {
    g_logical.store(0, kRelaxed);
    g_physical.store(0, kRelaxed);
    std::vector<unsigned char> records;
    if (!g_recordsSource.load(kRelaxed)(records))
        return fallBack();
    if (records.size() < os::kProcessorRecordSize)
        return 0; // deliberately: nothing to walk, nothing to fall back on
    int logicalCount = 0, physicalCount = 0;
    if (!walk(records, &logicalCount, &physicalCount))
        return fallBack();
    g_logical.store(logicalCount, kRelaxed);
    g_physical.store(physicalCount, kRelaxed);
    return logical ? logicalCount : physicalCount;
}

} // namespace

int veskGetProcessorCoreCount(bool logical) {
    const int cached = (logical ? g_logical : g_physical).load(kRelaxed);
    return cached > 0 ? cached : countProcessors(logical);
}

HINSTANCE__* veskLoadWindowsSystemLibrary(const wchar_t* fileName) {
    if (fileName == nullptr)
        return nullptr;
    void* library = os::loadSystemLibrary(fileName);
    if (library == nullptr)
        library = os::loadLibrary(fileName); // deliberately: found beside the program too
    return static_cast<HINSTANCE__*>(library);
}
