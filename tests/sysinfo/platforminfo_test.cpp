// The version, processor and library queries: their rules fed with numbers, and what
// the machine itself answers.
#include "VeskSystemInfo.h"
#include "platform/sysinfo.h"
#include "platform/version.h"
#include "sysinfo/xoplatforminfo.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace {

namespace info = xo::sysinfo;

struct FakeVersion {
    static inline std::uint32_t major, minor, build;
    static inline bool readable;
    static inline int reads;
    static bool read(std::uint32_t* ma, std::uint32_t* mi, std::uint32_t* bu) {
        ++reads;
        if (!readable)
            return false;
        *ma = major;
        *mi = minor;
        *bu = build;
        return true;
    }
};

class Version : public ::testing::Test {
protected:
    void SetUp() override { previous_ = info::replaceVersionSourceForTests(FakeVersion::read); }
    void TearDown() override { info::replaceVersionSourceForTests(previous_); }
    static void report(std::uint32_t major, std::uint32_t minor) {
        FakeVersion::major = major;
        FakeVersion::minor = minor;
        FakeVersion::build = 7601;
        FakeVersion::readable = true;
        FakeVersion::reads = 0;
        info::replaceVersionSourceForTests(FakeVersion::read);
    }
    info::VersionSource previous_ = nullptr;
};

TEST_F(Version, CodesAndWhichOfThemAreKept) {
    struct Case {
        std::uint32_t major, minor;
        int code;
    };
    const Case cases[] = {{10, 0, 13}, {6, 1, 9},  {6, 0, 8},  {6, 4, 12},  {6, 5, -1},
                          {5, 0, 6},   {5, 1, 7},  {4, 0, 4},  {4, 90, 5},  {3, 51, 3},
                          {1, 0, 1},   {0, 0, -1}, {7, 0, -1}, {11, 0, -1}, {10, 7, 13}};
    for (const Case& c : cases) {
        report(c.major, c.minor);
        unsigned major = 0, minor = 0, build = 0;
        EXPECT_EQ(veskGetWindowsVersion(&major, &minor, &build), c.code)
            << c.major << "." << c.minor;
        EXPECT_EQ(veskGetWindowsVersion(nullptr, nullptr, nullptr), c.code);
        EXPECT_EQ(FakeVersion::reads, c.code == -1 ? 2 : 1) << "an unknown code is read again";
        EXPECT_EQ(major, c.major);
        EXPECT_EQ(minor, c.minor);
        EXPECT_EQ(build, 7601u);
    }
}

TEST_F(Version, UnreadableGivesAllOnesAndMinusOne) {
    report(6, 1);
    FakeVersion::readable = false;
    unsigned major = 0, minor = 0, build = 0;
    EXPECT_EQ(veskGetWindowsVersion(&major, &minor, &build), -1);
    EXPECT_EQ(major, 0xFFFFFFFFu);
    EXPECT_EQ(minor, 0xFFFFFFFFu);
    EXPECT_EQ(build, 0xFFFFFFFFu);
    FakeVersion::readable = true;
    EXPECT_EQ(veskGetWindowsVersion(nullptr, nullptr, nullptr), 9) << "read again";
}

// The library's answer agrees with the version word it captured at load.
TEST(VersionOfThisMachine, AgreesWithTheLoadTimeWord) {
    unsigned major = 0, minor = 0, build = 0;
    const int code = veskGetWindowsVersion(&major, &minor, &build);
    const std::uint32_t word = xo::platform::loadTimeVersionWord();
    EXPECT_EQ(major, word & 0xFF);
    EXPECT_EQ(minor, (word >> 8) & 0xFF);
    EXPECT_EQ(code, info::versionCode(major, minor));
    EXPECT_NE(code, -1);
#if !defined(_WIN32)
    EXPECT_EQ(code, 13);
    EXPECT_EQ(build, 19045u);
#endif
}

// Records of GetLogicalProcessorInformation's shape: mask, relationship, 16 bytes more.
std::vector<unsigned char> g_records;
bool g_recordsReadable = true;
int g_recordReads = 0;
constexpr int kSystemCount = 6;

bool fakeRecords(std::vector<unsigned char>& out) {
    ++g_recordReads;
    out = g_records;
    return g_recordsReadable;
}

int fakeCount() {
    return kSystemCount;
}

void add(std::uint64_t mask, std::uint32_t relationship) {
    unsigned char record[32] = {};
    std::memcpy(record, &mask, 8);
    std::memcpy(record + 8, &relationship, 4);
    g_records.insert(g_records.end(), record, record + 32);
}

class Processors : public ::testing::Test {
protected:
    void SetUp() override { reset(); }
    void TearDown() override {
        info::replaceProcessorSourcesForTests(xo::platform::processorRecords,
                                              xo::platform::systemProcessorCount);
    }
    static void reset() {
        g_records.clear();
        g_recordsReadable = true;
        g_recordReads = 0;
        info::replaceProcessorSourcesForTests(fakeRecords, fakeCount);
    }
};

TEST_F(Processors, CoresAndTheirLogicalProcessorsAreCounted) {
    add(0x3, 2); // a cache first: passed over
    for (int core = 0; core < 4; ++core) {
        add(std::uint64_t(0x3) << (2 * core), 0);
        add(0, 1 + core % 3); // NUMA node, cache, package between them
    }
    EXPECT_EQ(veskGetProcessorCoreCount(true), 8);
    EXPECT_EQ(veskGetProcessorCoreCount(false), 4);
    EXPECT_EQ(veskGetProcessorCoreCount(true), 8);
    EXPECT_EQ(g_recordReads, 1) << "kept after the first walk";
}

TEST_F(Processors, WhatTheWalkCannotTrustFallsBackToTheSystemCount) {
    const auto unknownRelationship = [] {
        add(0x3, 0);
        add(0x3, 4);
    };
    const auto unreadable = [] { g_recordsReadable = false; };
    for (const auto& arrange : {+unknownRelationship, +unreadable}) {
        reset();
        arrange();
        EXPECT_EQ(veskGetProcessorCoreCount(false), kSystemCount);
        EXPECT_EQ(veskGetProcessorCoreCount(true), kSystemCount);
        EXPECT_EQ(g_recordReads, 1);
    }
}

TEST_F(Processors, LessThanOneRecordAnswersZeroAndKeepsNothing) {
    g_records.assign(31, 0);
    EXPECT_EQ(veskGetProcessorCoreCount(true), 0);
    EXPECT_EQ(veskGetProcessorCoreCount(true), 0);
    EXPECT_EQ(g_recordReads, 2);
}

TEST(ProcessorsOfThisMachine, AsManyLogicalAsTheRuntimeSees) {
    const int logical = veskGetProcessorCoreCount(true);
    const int physical = veskGetProcessorCoreCount(false);
    EXPECT_EQ(unsigned(logical), std::thread::hardware_concurrency());
    EXPECT_GE(physical, 1);
    EXPECT_LE(physical, logical);
}

TEST(SystemLibraries, SystemFolderFirstThenBesideTheProgram) {
#if defined(_WIN32)
    const wchar_t* system = L"kernel32.dll";
    const wchar_t* beside = L"xo_beside.dll";
#else
    const wchar_t* system = L"libc.so.6";
    const wchar_t* beside = L"xo_beside.so";
#endif
    EXPECT_EQ(veskLoadWindowsSystemLibrary(nullptr), nullptr);
    EXPECT_NE(veskLoadWindowsSystemLibrary(system), nullptr);
    EXPECT_EQ(xo::platform::loadSystemLibrary(beside), nullptr) << "not a system library";
    EXPECT_NE(veskLoadWindowsSystemLibrary(beside), nullptr);
    EXPECT_EQ(veskLoadWindowsSystemLibrary(L"xo_no_such_library_anywhere"), nullptr);
}

} // namespace
