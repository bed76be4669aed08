#include "platform/memoryprobe.h"
#include "platform/virtualmemory.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <mutex>

namespace xo::platform {

namespace {

constexpr std::uintptr_t kPage = kPageSize;

// The kernel reads what is written to a pipe from the writer's memory and answers EFAULT,
// instead of raising a signal, when it cannot. Bytes written are thrown away: the ends
// do not block, and a full pipe is drained before the next byte.
class ProbePipe {
public:
    ProbePipe() { opened_ = pipe2(ends_, O_CLOEXEC | O_NONBLOCK) == 0; }
    ProbePipe(const ProbePipe&) = delete;
    ProbePipe& operator=(const ProbePipe&) = delete;
    ~ProbePipe() {
        if (opened_) {
            close(ends_[0]);
            close(ends_[1]);
        }
    }

    // False when the byte cannot be read; true also when there is no pipe to ask.
    bool readable(const void* byte) {
        if (!opened_)
            return true;
        const std::lock_guard<std::mutex> lock(mutex_);
        for (;;) {
            if (write(ends_[1], byte, 1) == 1)
                return true;
            if (errno == EAGAIN)
                drain();
            else if (errno != EINTR)
                return false;
        }
    }

private:
    void drain() {
        char sink[4096];
        for (;;) {
            const ssize_t got = read(ends_[0], sink, sizeof sink);
            if (got <= 0 && !(got < 0 && errno == EINTR))
                return;
        }
    }

    std::mutex mutex_;
    int ends_[2] = {-1, -1};
    bool opened_ = false;
};

ProbePipe& probePipe() {
    static ProbePipe pipe;
    return pipe;
}

} // namespace

bool isBadReadPtr(const void* address, std::size_t size) {
    if (size == 0)
        return false;
    const auto first = reinterpret_cast<std::uintptr_t>(address);
    if (first == 0 || size - 1 > UINTPTR_MAX - first)
        return true; // null, or a range past the end of the address space
    // One byte of each page: the first of the range, then the start of each page after.
    const std::uintptr_t last = first + (size - 1);
    for (std::uintptr_t byte = first;;) {
        if (!probePipe().readable(reinterpret_cast<const void*>(byte)))
            return true;
        const std::uintptr_t page = byte & ~(kPage - 1);
        if (last - page < kPage)
            return false;
        byte = page + kPage;
    }
}

} // namespace xo::platform
