// Opening C runtime streams by wide path, as _wfopen and _wfsopen do.
#pragma once

#include <cstdio>

namespace xo::platform {

// The runtime's share flags (_SH_DENYRW, _SH_DENYWR, _SH_DENYRD, _SH_DENYNO).
constexpr int kShareDenyReadWrite = 0x10;
constexpr int kShareDenyWrite = 0x20;
constexpr int kShareDenyRead = 0x30;
constexpr int kShareDenyNone = 0x40;

// Windows: _wfopen. POSIX: the path as UTF-8 (the file system's encoding) and the mode
// with the Windows-only letters dropped ('t', 'c', 'n', 'S', 'R', 'T', 'D', 'N'); text
// mode is binary there. A mode with "ccs=" fails (errno EINVAL). Null on failure.
std::FILE* openStream(const wchar_t* path, const wchar_t* mode);

// Windows: _wfsopen. POSIX: as openStream, with the share flag enforced against every
// open made through the library (posix/sharelock.h): a refused open fails with errno
// EACCES, as the runtime's does, and a "w" stream truncates only once it is allowed.
std::FILE* openSharedStream(const wchar_t* path, const wchar_t* mode, int shareFlag);

} // namespace xo::platform
