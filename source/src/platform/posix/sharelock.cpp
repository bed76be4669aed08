#include "platform/posix/sharelock.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>

#include "platform/error.h"

namespace xo::platform {

namespace {

enum Property { kHasRead, kHasWrite, kHasDelete, kDeniesRead, kDeniesWrite, kDeniesDelete, kCount };

constexpr std::uint32_t kShareRead = 0x1;
constexpr std::uint32_t kShareWrite = 0x2;
constexpr std::uint32_t kShareDelete = 0x4;

// Far above any file a disk can hold, below the kernel's largest lock offset.
constexpr off_t kFirstRegion = off_t(1) << 62;
constexpr off_t kSlots = 4096;                // write-only opens of one file at once
constexpr off_t kRegionLength = 1 + kSlots;   // the shared byte, then the slots
constexpr int kAttempts = 12;                 // racing openers back off this often
constexpr long kBackoffNanoseconds = 250'000; // times the attempt, plus a jitter

off_t regionStart(Property p) {
    return kFirstRegion + off_t(p) * kRegionLength;
}

bool lockRange(int fd, short type, off_t start, off_t length) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = length;
    int rc;
    do {
        rc = ::fcntl(fd, F_OFD_SETLK, &lock);
    } while (rc != 0 && errno == EINTR);
    return rc == 0;
}

// Locks of this open file description never conflict with themselves, so only other
// opens are seen.
bool heldByAnother(int fd, Property p) {
    struct flock probe = {};
    probe.l_type = F_WRLCK;
    probe.l_whence = SEEK_SET;
    probe.l_start = regionStart(p);
    probe.l_len = kRegionLength;
    return ::fcntl(fd, F_OFD_GETLK, &probe) == 0 && probe.l_type != F_UNLCK;
}

struct Wanted {
    bool has[kCount];
};

Wanted propertiesOf(const ShareRequest& r) {
    Wanted w{};
    w.has[kHasRead] = r.read;
    w.has[kHasWrite] = r.write;
    w.has[kHasDelete] = r.remove;
    w.has[kDeniesRead] = (r.share & kShareRead) == 0;
    w.has[kDeniesWrite] = (r.share & kShareWrite) == 0;
    w.has[kDeniesDelete] = (r.share & kShareDelete) == 0;
    return w;
}

// Each access meets the share the other side withholds, both ways round.
constexpr Property kOpposite[kCount] = {kDeniesRead, kDeniesWrite, kDeniesDelete,
                                        kHasRead,    kHasWrite,    kHasDelete};

bool conflicts(int fd, const Wanted& w) {
    for (int p = 0; p < kCount; ++p) {
        if (w.has[p] && heldByAnother(fd, kOpposite[p]))
            return true;
    }
    return false;
}

void releaseAll(int fd) {
    lockRange(fd, F_UNLCK, kFirstRegion, off_t(kCount) * kRegionLength);
}

bool announceOne(int fd, bool canRead, Property p, off_t firstSlot) {
    if (canRead)
        return lockRange(fd, F_RDLCK, regionStart(p), 1);
    for (off_t i = 0; i < kSlots; ++i) {
        const off_t slot = 1 + (firstSlot + i) % kSlots;
        if (lockRange(fd, F_WRLCK, regionStart(p) + slot, 1))
            return true;
        if (errno != EAGAIN && errno != EACCES)
            return false;
    }
    errno = ENOLCK;
    return false;
}

// False with errno set when the file system will not take the locks at all.
bool announce(int fd, const Wanted& w) {
    const int mode = ::fcntl(fd, F_GETFL) & O_ACCMODE;
    const off_t firstSlot = off_t(::getpid()) * 61 + fd;
    for (int p = 0; p < kCount; ++p) {
        if (w.has[p] && !announceOne(fd, mode != O_WRONLY, Property(p), firstSlot)) {
            releaseAll(fd);
            return false;
        }
    }
    return true;
}

void backOff(int attempt) {
    struct timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    const long jitter = (now.tv_nsec ^ long(::getpid()) * 7919) % kBackoffNanoseconds;
    struct timespec pause = {0, kBackoffNanoseconds * (attempt + 1) / 2 + jitter};
    ::nanosleep(&pause, nullptr);
}

// Threads of this process never race each other between announcing and checking.
std::mutex& openersHere() {
    static std::mutex m;
    return m;
}

} // namespace

std::uint32_t takeShareLocks(int fd, const ShareRequest& request) {
    if (!request.read && !request.write && !request.remove)
        return kErrorSuccess;
    const Wanted wanted = propertiesOf(request);
    const std::lock_guard<std::mutex> lock(openersHere());
    // Announce first, then look: of two openers racing each other, at least one sees the
    // other. Both may, so both step back and try again at different moments; an open
    // already there is seen before announcing, and refuses at once.
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (conflicts(fd, wanted))
            return kErrorSharingViolation;
        if (!announce(fd, wanted))
            return kErrorSuccess; // a file system without these locks: unguarded
        if (!conflicts(fd, wanted))
            return kErrorSuccess;
        releaseAll(fd);
        backOff(attempt);
    }
    return kErrorSharingViolation;
}

} // namespace xo::platform
