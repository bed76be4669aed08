// Windows' share modes between the opens made through the library, on POSIX.
//
// Every open announces what it holds with open-file-description locks on byte ranges
// far beyond any real data, one region per property: read access, write access, delete
// access, and each share it withholds (read, write, delete). A property is held by
// another open when a write lock over its region would conflict. A descriptor that can
// read takes a shared lock on the region's first byte; a write-only one cannot, so it
// takes an exclusive lock on a free slot of the region instead. The kernel drops the
// locks when the last descriptor of the open file description closes, also when the
// process dies.
//
// What it cannot stop: programs that open the file without the library, and a child
// forked without exec, which keeps its parent's descriptors and so their locks. On a
// network file system the locks are forwarded to the server where it supports byte
// ranges this far out; where the file system refuses them, the open goes ahead
// unguarded, as an open on Windows goes ahead on a server without share modes.
#pragma once

#include <cstdint>

namespace xo::platform {

struct ShareRequest {
    bool read;
    bool write;
    bool remove;         // DELETE access
    std::uint32_t share; // FILE_SHARE_READ, FILE_SHARE_WRITE, FILE_SHARE_DELETE
};

// Takes the locks of an open on fd, or refuses it as CreateFileW would: kErrorSuccess or
// kErrorSharingViolation. An open with no read, write or delete access takes none.
std::uint32_t takeShareLocks(int fd, const ShareRequest& request);

} // namespace xo::platform
