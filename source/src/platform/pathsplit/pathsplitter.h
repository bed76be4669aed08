// The Windows runtime's path splitting (_wsplitpath_s, _wsplitpath) written once, for
// the targets whose runtime has neither. Windows keeps its own; the file-system tests
// hold this one against msvcrt's under Wine.
#pragma once

#include <cstddef>

namespace xo::pathsplit {

// The runtime's answers (errno values).
constexpr int kSplitDone = 0;
constexpr int kSplitBadArgument = 22; // EINVAL
constexpr int kSplitNoRoom = 34;      // ERANGE

// The room the unchecked form assumes (_MAX_DRIVE, _MAX_DIR, _MAX_FNAME, _MAX_EXT).
constexpr std::size_t kDriveRoom = 3;
constexpr std::size_t kDirRoom = 256;
constexpr std::size_t kNameRoom = 256;
constexpr std::size_t kExtRoom = 256;

// _wsplitpath_s. A buffer is null with size 0 when its component is not wanted. A null
// path, or a buffer without a size or a size without a buffer: 22, nothing written. A
// wanted component that does not fit with its terminator: 34 and every wanted buffer
// empty. Neither failure calls the invalid-parameter handler, as with Wine's msvcrt.
int split(const wchar_t* path, wchar_t* drive, std::size_t driveSize, wchar_t* dir,
          std::size_t dirSize, wchar_t* name, std::size_t nameSize, wchar_t* ext,
          std::size_t extSize);

// _wsplitpath: each buffer null or of the room above. Where the checked form would fail
// every given buffer is left empty, as Wine's msvcrt leaves them.
void splitUnchecked(const wchar_t* path, wchar_t* drive, wchar_t* dir, wchar_t* name, wchar_t* ext);

} // namespace xo::pathsplit
