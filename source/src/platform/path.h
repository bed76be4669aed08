// Taking paths apart and making them absolute, as the Windows runtime does.
#pragma once

#include <cstddef>

namespace xo::platform {

constexpr std::size_t kMaxPath = 260; // MAX_PATH, terminator included

// Windows: _wsplitpath_s. POSIX: the library's splitter, which follows it
// (platform/pathsplit/). A buffer is null with size 0 when its component is not wanted.
// False for a null path, inconsistent buffer arguments, or a component that does not fit
// (every wanted buffer then empty).
bool splitPath(const wchar_t* path, wchar_t* drive, std::size_t driveSize, wchar_t* dir,
               std::size_t dirSize, wchar_t* name, std::size_t nameSize, wchar_t* ext,
               std::size_t extSize);

// Windows: _wsplitpath. POSIX: the same splitter. Each buffer is null or holds at least
// kMaxPath characters; a component that does not fit the runtime's fixed room leaves
// them empty (as Wine's msvcrt does).
void splitPathUnchecked(const wchar_t* path, wchar_t* drive, wchar_t* dir, wchar_t* name,
                        wchar_t* ext);

// Windows: _wfullpath(out, path, size). POSIX: a relative path joined to the current
// directory, then `.` and `..` folded and doubled `/` dropped by name alone (no symbolic
// link resolved, nothing required to exist); a trailing `/` is kept. False when the
// result and its terminator do not fit size, or the current directory is unknown.
bool fullPath(wchar_t* out, std::size_t size, const wchar_t* path);

} // namespace xo::platform
