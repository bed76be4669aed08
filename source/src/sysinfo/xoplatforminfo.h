// The rules behind the version and processor queries, reachable by tests with numbers
// of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace xo::sysinfo {

// The library's code for a Windows version; -1 for one it does not know (major 0, 6.5
// and above, majors 7 to 9 and above 10).
int versionCode(std::uint32_t major, std::uint32_t minor);

// Where the version numbers come from (platform::readVersionNumbers); a test puts its
// own in, which also forgets the cached code. Returns the one before.
using VersionSource = bool (*)(std::uint32_t* major, std::uint32_t* minor, std::uint32_t* build);
VersionSource replaceVersionSourceForTests(VersionSource source);

// Where the processor records come from (platform::processorRecords), and the count
// used when they cannot be walked (platform::systemProcessorCount); a test puts its own
// in, which also forgets the cached counts.
using ProcessorSource = bool (*)(std::vector<unsigned char>& records);
using CountSource = int (*)();
void replaceProcessorSourcesForTests(ProcessorSource records, CountSource count);

} // namespace xo::sysinfo
