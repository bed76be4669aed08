#include "filesystem/xoroutedquery.h"

namespace xo::filesystem {

namespace {

// Volumes with a call given up on, each with the number of such calls pending.
struct HungVolume {
    std::uint64_t key;
    int calls;
};

std::mutex g_hungLock; // guards g_hung and the give-up / finish hand-over of a record
HungVolume g_hung[kMaxLeftBehind * 2];
std::atomic<int> g_hungCalls{0};
std::atomic<int> g_leftBehind{0};

// Under g_hungLock.
void rememberVolume(std::uint64_t key) {
    HungVolume* free = nullptr;
    for (HungVolume& volume : g_hung) {
        if (volume.calls > 0 && volume.key == key) {
            ++volume.calls;
            g_hungCalls.fetch_add(1, std::memory_order_relaxed);
            return;
        }
        if (volume.calls == 0 && free == nullptr)
            free = &volume;
    }
    if (free == nullptr)
        return; // not remembered: its queries then cost their time-outs
    *free = {key, 1};
    g_hungCalls.fetch_add(1, std::memory_order_relaxed);
}

// Under g_hungLock.
void forgetVolume(std::uint64_t key) {
    for (HungVolume& volume : g_hung) {
        if (volume.calls > 0 && volume.key == key) {
            --volume.calls;
            g_hungCalls.fetch_sub(1, std::memory_order_relaxed);
            return;
        }
    }
}

} // namespace

// Acquire, paired with the release of finish: a caller that sees the count fall knows
// the calls behind it have returned.
int leftBehindThreads() {
    return g_leftBehind.load(std::memory_order_acquire);
}

bool volumeIsHung(const std::wstring& path) {
    if (g_hungCalls.load(std::memory_order_relaxed) == 0)
        return false;
    std::uint64_t key = 0;
    if (!xo::platform::volumeKey(path.c_str(), &key))
        return false;
    const std::lock_guard<std::mutex> lock(g_hungLock);
    for (const HungVolume& volume : g_hung) {
        if (volume.calls > 0 && volume.key == key)
            return true;
    }
    return false;
}

bool claim(Completion& record) {
    int expected = kQueued;
    return record.state.compare_exchange_strong(expected, kRunning);
}

bool finish(Completion& record) {
    int expected = kRunning;
    if (record.state.compare_exchange_strong(expected, kDone))
        return true;
    const std::lock_guard<std::mutex> lock(g_hungLock);
    if (record.keyed)
        forgetVolume(record.volume);
    if (expected == kAbandoned) {
        g_leftBehind.fetch_sub(1, std::memory_order_release);
        XoTaskThread::leaveThisThreadBehind();
    }
    return false;
}

GiveUp giveUp(Completion& record, const std::wstring& path, XoTaskThread& worker) {
    std::uint64_t key = 0;
    const bool keyed = xo::platform::volumeKey(path.c_str(), &key);
    bool replace = false;
    {
        const std::lock_guard<std::mutex> lock(g_hungLock);
        int expected = kQueued;
        if (record.state.compare_exchange_strong(expected, kAbandoned))
            return GiveUp::kLeft; // skipped when its turn comes
        if (expected != kRunning)
            return GiveUp::kAnswered;
        record.keyed = keyed;
        record.volume = key;
        replace =
            g_leftBehind.load(std::memory_order_relaxed) < kMaxLeftBehind && !worker.stopping();
        if (!record.state.compare_exchange_strong(expected, replace ? kAbandoned : kOrphaned))
            return GiveUp::kAnswered;
        if (replace)
            g_leftBehind.fetch_add(1, std::memory_order_relaxed);
        if (keyed)
            rememberVolume(key);
    }
    if (replace)
        worker.replaceStuckThread();
    return GiveUp::kLeft;
}

} // namespace xo::filesystem
