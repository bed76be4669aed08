// What the system says about itself: its version numbers, its processors, and where
// its own libraries live.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace xo::platform {

// The version numbers, each set to 0 before it is asked for; false when none could be
// read. Windows: RtlGetNtVersionNumbers, looked up in ntdll at run time (build number's
// low 16 bits), else GetVersionExW. POSIX: 10.0.19045, the Windows the library stands
// for (the load-time version word says the same).
bool readVersionNumbers(std::uint32_t* major, std::uint32_t* minor, std::uint32_t* build);

// SYSTEM_LOGICAL_PROCESSOR_INFORMATION records, 32 bytes each: the 64-bit mask of the
// logical processors, then the 32-bit relationship (0 a processor core). Windows:
// GetLogicalProcessorInformation, looked up in kernel32 at run time, with a buffer grown
// while it answers 122. POSIX: one core record per distinct (package, core) pair of the
// online processors in the kernel's CPU topology. False when they cannot be had.
constexpr std::size_t kProcessorRecordSize = 32;
constexpr std::size_t kProcessorRecordRelationship = 8;
bool processorRecords(std::vector<unsigned char>& records);

// GetSystemInfo's number of processors; POSIX: the processors online.
int systemProcessorCount();

// LoadLibraryW of the system directory, a backslash and the name, when that fits in 260
// characters. POSIX: dlopen of the name in the first system library directory that
// holds it. Null when it does not load.
void* loadSystemLibrary(const wchar_t* name);

// LoadLibraryW with the normal search order, which starts beside the program. POSIX:
// the program's directory first, then dlopen's own search. Null when it does not load.
void* loadLibrary(const wchar_t* name);

} // namespace xo::platform
