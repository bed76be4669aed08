/// \file
/// Runs a list of work items, each on a thread of its own, with at most a set number of
/// threads alive at once, and waits for them with a time-out in milliseconds
/// (0xFFFFFFFF: none). Work functions get the manager's work context, through which they
/// take and release numbered locks the caller made for them. A work function's failure
/// never reaches the manager: a thrown exception is dropped, a processor fault (a null
/// write) is handed to the crash recorder (recordCrash), and the thread ends normally.
///
/// Return codes: 0 done, 1 progress, 2 time-out or busy, 3 more work pending, -1 error.
/// The manager is driven from one thread; only the active count is shared with the work.
#pragma once

#include "XoOsBaseExport.h"
#include "XoVector.h"

#include <atomic>
#include <cstdint>

class XoLock;

/// What a work function receives: the caller's numbered locks.
class XOOSBASE_API VeskConcurrenceWorkContext {
public:
    /// The number of locks (0 when none were made).
    virtual int getLockCount() = 0;
    /// Locks (acquire true) or unlocks lock index; an index outside 0 to count - 1 does
    /// nothing.
    virtual void lockAt(int index, bool acquire) = 0;

protected:
    VeskConcurrenceWorkContext();
    ~VeskConcurrenceWorkContext();
};

// The context's table of virtual operations holds exactly its two operations: it is
// destroyed only as part of its manager, never through a base pointer.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif
/// The work context of a manager: its locks and the count of running work threads.
class XOOSBASE_API VeskConcurrenceWorkContextImp final : public VeskConcurrenceWorkContext {
public:
    /// No locks, nothing running.
    VeskConcurrenceWorkContextImp();
    /// Destroys every lock it owns.
    ~VeskConcurrenceWorkContextImp();
    /// The number of locks.
    int getLockCount() override;
    /// Locks or unlocks lock index; other indexes do nothing.
    void lockAt(int index, bool acquire) override;

    XoVector<XoLock*> m_locks;                ///< owned, in the order they were made
    std::atomic<std::int32_t> m_nActiveCount; ///< work threads started and not finished
};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

/// A work function: the manager's context and the item's data.
using VeskWorkFunction = void (*)(VeskConcurrenceWorkContext* context, void* data);

/// One work item, from pending (no thread) to running (a thread) to finished.
struct VeskConcurrenceWorkItem {
    void* pLaunch;            ///< the block the thread was started with; null before
    VeskWorkFunction pfnWork; ///< the work function
    void* pData;              ///< passed to the work function
    void* hThread;            ///< the thread's handle; null until started
    unsigned int nStackSize;  ///< for the thread; 0 takes the default
    bool bFinished;           ///< set when a wait saw the thread end
};

/// The manager's interface; made by veskCreateConcurrenceWorkflowManager.
class XOOSBASE_API VeskConcurrenceWorkflowManager {
public:
    /// Closes every thread handle, then destroys the locks. Wait for the work first.
    virtual ~VeskConcurrenceWorkflowManager();
    /// Stores n when it is above 0 and no work is active; otherwise ignored.
    virtual void setMaxThreadCount(int n) = 0;
    /// The most threads alive at once.
    virtual int getMaxThreadCount() = 0;
    /// Starts every remaining item and waits for all: 0, 2 (time-out) or -1.
    virtual int execute(unsigned int timeoutMs) = 0;
    /// Adds an item and starts it when a thread is free; runNow runs it here and now
    /// and records nothing; a null function does nothing. Throws XoErrorStatus 2 when the
    /// list cannot grow.
    virtual void addWork(VeskWorkFunction function, void* data, unsigned int stackSize,
                         bool runNow) = 0;
    /// Replaces the locks by count new ones; false while work is active or for a count
    /// below 1.
    virtual bool createLocks(int count) = 0;
    /// The first item, or null when there are none.
    virtual VeskConcurrenceWorkItem* firstWork() = 0;
    /// The data of the item at cursor (null for a null cursor), moving the cursor on; the
    /// cursor becomes null after the last item.
    virtual void* nextWorkData(VeskConcurrenceWorkItem*& cursor) = 0;
    /// Starts at most one more item: 0 (none left), 2 (busy or timed out), 3 (more
    /// pending) or -1.
    virtual int dispatch(bool wait, unsigned int timeoutMs) = 0;
    /// Waits until one running item ends: 0 (none runs), 1 (one ended), 2 (time-out).
    /// Throws XoExceptionWithMsg "Failed to wait threads!" when the wait fails.
    virtual int waitAnyThread(unsigned int timeoutMs) = 0;
    /// Waits until every started item ends: 0 or 2 (time-out); throws as waitAnyThread.
    virtual int waitAllThreads(unsigned int timeoutMs) = 0;
    /// Starts the thread of one item; false when it has no function, already ran, or
    /// no thread could start.
    virtual bool startThread(VeskConcurrenceWorkContext* context,
                             VeskConcurrenceWorkItem& item) = 0;

protected:
    VeskConcurrenceWorkflowManager();
};

/// The scheduling every platform shares.
class XOOSBASE_API VeskConcurrenceWorkflowManagerImp : public VeskConcurrenceWorkflowManager {
public:
    /// No items, no locks, nothing running.
    VeskConcurrenceWorkflowManagerImp();
    /// Releases the items, then the locks.
    ~VeskConcurrenceWorkflowManagerImp() override;
    /// See VeskConcurrenceWorkflowManager.
    void setMaxThreadCount(int n) override;
    /// See VeskConcurrenceWorkflowManager.
    int getMaxThreadCount() override;
    /// See VeskConcurrenceWorkflowManager.
    int execute(unsigned int timeoutMs) override;
    /// See VeskConcurrenceWorkflowManager.
    void addWork(VeskWorkFunction function, void* data, unsigned int stackSize,
                 bool runNow) override;
    /// See VeskConcurrenceWorkflowManager.
    bool createLocks(int count) override;
    /// See VeskConcurrenceWorkflowManager.
    VeskConcurrenceWorkItem* firstWork() override;
    /// See VeskConcurrenceWorkflowManager.
    void* nextWorkData(VeskConcurrenceWorkItem*& cursor) override;
    /// See VeskConcurrenceWorkflowManager.
    int dispatch(bool wait, unsigned int timeoutMs) override;

protected:
    VeskConcurrenceWorkContextImp m_context;   ///< what work functions receive
    XoVector<VeskConcurrenceWorkItem> m_items; ///< in the order they were added
    std::int32_t m_nNextIndex;                 ///< the next item to start; -1 at first
};

/// The threads and waits of the platform.
class XOOSBASE_API VeskWindowsConcurrenceWorkflowManager
    : public VeskConcurrenceWorkflowManagerImp {
public:
    /// The thread limit is twice the logical processors (at least 2).
    VeskWindowsConcurrenceWorkflowManager();
    /// Closes every thread handle.
    ~VeskWindowsConcurrenceWorkflowManager() override;
    /// See VeskConcurrenceWorkflowManager.
    void setMaxThreadCount(int n) override;
    /// See VeskConcurrenceWorkflowManager.
    int getMaxThreadCount() override;
    /// Watches at most the first 64 running items.
    int waitAnyThread(unsigned int timeoutMs) override;
    /// Waits in groups of at most 64.
    int waitAllThreads(unsigned int timeoutMs) override;
    /// See VeskConcurrenceWorkflowManager.
    bool startThread(VeskConcurrenceWorkContext* context, VeskConcurrenceWorkItem& item) override;

private:
    std::int32_t m_nMaxThreads;
};

/// A new manager; the caller deletes it.
XOOSBASE_API VeskConcurrenceWorkflowManager* veskCreateConcurrenceWorkflowManager();
