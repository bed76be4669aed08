#include "platform/sysinfo.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "platform/posix/utf8path.h"
#include "platform/version.h"

namespace xo::platform {

namespace {

constexpr const char* kCpuFolder = "/sys/devices/system/cpu/";
constexpr int kMaskBits = 64;

#if defined(__x86_64__)
#define XO_MULTIARCH "x86_64-linux-gnu"
#elif defined(__aarch64__)
#define XO_MULTIARCH "aarch64-linux-gnu"
#endif

// Where the system keeps its own libraries, most specific first.
constexpr const char* kSystemLibraryFolders[] = {
#if defined(XO_MULTIARCH)
    "/lib/" XO_MULTIARCH,
    "/usr/lib/" XO_MULTIARCH,
#endif
    "/lib64",
    "/usr/lib64",
    "/lib",
    "/usr/lib",
};

bool readNumber(const char* path, long* value) {
    std::FILE* file = std::fopen(path, "r");
    if (file == nullptr)
        return false;
    const bool read = std::fscanf(file, "%ld", value) == 1;
    std::fclose(file);
    return read;
}

// The kernel's list of online processors ("0-3,6,8-9"), as ranges.
struct Range {
    int first, last;
};
constexpr int kMaxRanges = 256;

int onlineRanges(Range* ranges) {
    std::FILE* file = std::fopen("/sys/devices/system/cpu/online", "r");
    if (file == nullptr)
        return 0;
    int count = 0;
    for (;;) {
        Range r{};
        if (count == kMaxRanges || std::fscanf(file, "%d", &r.first) != 1 || r.first < 0)
            break;
        r.last = r.first;
        int next = std::fgetc(file);
        if (next == '-' && (std::fscanf(file, "%d", &r.last) != 1 || r.last < r.first))
            break;
        if (next == '-')
            next = std::fgetc(file);
        ranges[count++] = r;
        if (next != ',')
            break;
    }
    std::fclose(file);
    return count;
}

struct Core {
    long package, core;
    int logical;
};

// One entry per distinct (package, core) pair; the lists are short enough to search.
bool countCore(Core* cores, int* used, int cpu) {
    char folder[96];
    std::snprintf(folder, sizeof folder, "%scpu%d/topology/", kCpuFolder, cpu);
    char path[128];
    long package = 0, core = 0;
    std::snprintf(path, sizeof path, "%sphysical_package_id", folder);
    if (!readNumber(path, &package))
        return false;
    std::snprintf(path, sizeof path, "%score_id", folder);
    if (!readNumber(path, &core))
        return false;
    for (int i = 0; i < *used; ++i) {
        if (cores[i].package == package && cores[i].core == core) {
            ++cores[i].logical;
            return true;
        }
    }
    cores[(*used)++] = {package, core, 1};
    return true;
}

void appendCoreRecord(std::vector<unsigned char>& records, std::uint64_t mask) {
    unsigned char record[kProcessorRecordSize] = {};
    std::memcpy(record, &mask, sizeof mask); // the relationship after it stays 0, a core
    records.insert(records.end(), record, record + kProcessorRecordSize);
}

bool existsAt(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0;
}

void* open(const std::string& path) {
    return ::dlopen(path.c_str(), RTLD_NOW);
}

std::string programFolder() {
    char exe[4096];
    const ssize_t length = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (length <= 0)
        return {};
    const std::string path(exe, std::size_t(length));
    return path.substr(0, path.find_last_of('/'));
}

} // namespace

bool readVersionNumbers(std::uint32_t* major, std::uint32_t* minor, std::uint32_t* build) {
    const std::uint32_t word = loadTimeVersionWord();
    *major = word & 0xFF;
    *minor = (word >> 8) & 0xFF;
    *build = word >> 16;
    return true;
}

// Only standard members the runtime library already provides are used here: any other
// implicit instantiation would be exported from the shared library.
bool processorRecords(std::vector<unsigned char>& records) {
    Range ranges[kMaxRanges];
    const int rangeCount = onlineRanges(ranges);
    int cpus = 0;
    for (int r = 0; r < rangeCount; ++r)
        cpus += ranges[r].last - ranges[r].first + 1;
    if (cpus == 0)
        return false;
    const std::unique_ptr<Core[]> cores(new (std::nothrow) Core[std::size_t(cpus)]);
    if (!cores)
        return false;
    int used = 0;
    for (int r = 0; r < rangeCount; ++r) {
        for (int cpu = ranges[r].first; cpu <= ranges[r].last; ++cpu) {
            if (!countCore(cores.get(), &used, cpu))
                return false;
        }
    }
    // Only the number of bits in a mask counts, so a core's bits are its first ones.
    records.clear();
    for (int i = 0; i < used; ++i) {
        const int logical = cores[i].logical;
        appendCoreRecord(records, logical >= kMaskBits ? ~std::uint64_t(0)
                                                       : (std::uint64_t(1) << logical) - 1);
    }
    return true;
}

int systemProcessorCount() {
    const long online = ::sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? int(online) : 1;
}

void* loadSystemLibrary(const wchar_t* name) {
    std::string narrow;
    if (!pathToUtf8(name, narrow) || narrow.empty())
        return nullptr;
    for (const char* folder : kSystemLibraryFolders) {
        const std::string path = std::string(folder) + "/" + narrow;
        if (existsAt(path)) {
            if (void* library = open(path))
                return library;
        }
    }
    return nullptr;
}

void* loadLibrary(const wchar_t* name) {
    std::string narrow;
    if (!pathToUtf8(name, narrow) || narrow.empty())
        return nullptr;
    if (narrow.find('/') == std::string::npos) {
        const std::string beside = programFolder() + "/" + narrow;
        if (existsAt(beside)) {
            if (void* library = open(beside))
                return library;
        }
    }
    return open(narrow);
}

} // namespace xo::platform
