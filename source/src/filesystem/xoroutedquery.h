// A query handed to the file system's worker with a time-out. The caller waits
// XoFileSystem::m_nTimeout milliseconds for the worker's answer. Where the platform can
// cancel the worker's synchronous I/O (Windows), it does so and waits for the answer.
// Where it cannot (POSIX), nothing could ever end a call stuck on a dead volume, so the
// caller gives up: a query still queued is skipped when its turn comes, and a worker
// stuck in one is left behind and replaced by a fresh thread, so that the queries behind
// it are served. The stuck call works on the record's own copies of the arguments and
// answers, never on the caller's memory, since the caller is gone when it returns.
//
// At most kMaxLeftBehind threads are left behind at a time. Past that, a caller that
// gives up leaves the stuck worker in place (no thread is added): the queries behind it
// then fail at their own time-outs until it returns and serves them again.
//
// The volume of a query given up on (its mount, read from the kernel's table without
// asking the volume) is remembered until the stuck call returns; routed queries on it
// fail at once meanwhile, so that a dead share costs one time-out, not one per query.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

#include "VeskSystemInfo.h"
#include "XoFileSystem.h"
#include "filesystem/xotaskthread.h"
#include "platform/filesystem.h"

namespace xo::filesystem {

constexpr int kMaxLeftBehind = 8;

// Threads left behind in calls that have not returned yet.
int leftBehindThreads();

// True while a call given up on for the volume holding path has not returned. Asks no
// volume; nothing at all while no such call is pending.
bool volumeIsHung(const std::wstring& path);

// What the worker and the caller agree on through the record's state.
enum QueryState : int {
    kQueued,    // waiting in the queue
    kRunning,   // the worker runs it
    kDone,      // answered: the caller takes the result
    kAbandoned, // the caller left before the worker took it, or left the worker behind
    kOrphaned,  // the caller left with the worker still serving (past kMaxLeftBehind)
};

// Shared by the caller and the task, either of which may be the last to let go (a
// caller that gave up leaves first); counted by hand so that no shared-pointer machinery
// of the standard library is exported with the library.
struct Completion {
    Completion() = default;
    Completion(const Completion&) = delete;
    Completion& operator=(const Completion&) = delete;
    virtual ~Completion() = default;
    void hold() { refs.fetch_add(1, std::memory_order_relaxed); }
    void release() {
        if (refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }

    std::atomic<int> refs{1};
    std::mutex mutex;
    std::condition_variable signal;
    bool done = false;
    std::atomic<int> state{kQueued};
    bool keyed = false; // the volume key below was found
    std::uint64_t volume = 0;
};

// The worker takes a query: false when its caller has left already.
bool claim(Completion& record);
// The worker has run the query: true when its caller still waits for the answer.
// Otherwise the volume is released and, when the caller left this thread behind, the
// thread is marked to end after the task.
bool finish(Completion& record);

enum class GiveUp { kAnswered, kLeft };
// The caller's time-out passed on a platform that cannot cancel: leaves unless the
// answer came meanwhile (kAnswered: wait for it).
GiveUp giveUp(Completion& record, const std::wstring& path, XoTaskThread& worker);

// Query: a copyable object holding copies of the arguments and room for the answers,
// with `Result run()` (the OS call on those copies), `void deliver() const` (the answers
// copied to the caller's buffers) and `std::wstring path` (the path it asks about).
template <class Query, class Result> struct Record : Completion {
    explicit Record(const Query& q) : query(q) {}
    Query query;
    Result result{};
};

// Holds one reference to a record for the scope it lives in.
template <class R> class Held {
public:
    explicit Held(R* record) : record_(record) {}
    Held(const Held& other) : record_(other.record_) { record_->hold(); }
    Held& operator=(const Held&) = delete;
    ~Held() { record_->release(); }
    R* operator->() const { return record_; }
    R& operator*() const { return *record_; }

private:
    R* record_;
};

template <class Result, class Query> Result routeQuery(const Query& query, Result failure) {
    XoTaskThread* worker = XoFileSystem::m_pThread.get();
    if (volumeIsHung(query.path))
        return failure;
    const Held<Record<Query, Result>> record(new Record<Query, Result>(query));
    std::unique_lock<std::mutex> lock(record->mutex);
    const bool posted = worker->post([record, failure] {
        if (!claim(*record))
            return;
        const Result result = volumeIsHung(record->query.path) ? failure : record->query.run();
        if (!finish(*record))
            return;
        {
            const std::lock_guard<std::mutex> answered(record->mutex);
            record->result = result;
            record->done = true;
        }
        record->signal.notify_one();
    });
    if (!posted) {
        record->result = record->query.run();
        record->query.deliver();
        return record->result;
    }
    const int timeout = XoFileSystem::m_nTimeout;
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout > 0 ? timeout : 0);
    const auto answered = [&record] { return record->done; };
    if (!record->signal.wait_until(lock, deadline, answered)) {
        void* handle = worker->stopping() ? nullptr : worker->nativeHandle();
        if (xo::platform::cancelSynchronousIo(handle) ||
            giveUp(*record, query.path, *worker) == GiveUp::kAnswered) {
            record->signal.wait(lock, answered);
        } else {
            return failure;
        }
    }
    record->query.deliver();
    return record->result;
}

// The call directly on the caller's thread, or through the worker while it is on (and
// the platform is not older than Windows Vista, which cannot cancel). The query's copies
// are made only when it goes to the worker.
template <class Result, class Direct, class MakeQuery>
Result routed(Direct direct, MakeQuery makeQuery, Result failure) {
    if (!XoFileSystem::m_pThread || veskGetWindowsVersion(nullptr, nullptr, nullptr) < 8)
        return direct();
    return routeQuery<Result>(makeQuery(), failure);
}

} // namespace xo::filesystem
