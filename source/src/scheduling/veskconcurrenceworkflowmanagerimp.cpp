// The scheduling every platform shares: the list of items, the cursor of the next one to
// start, and the charging of elapsed ticks against a finite time-out.
#include "VeskConcurrenceWorkflowManager.h"

#include "XoLock.h"
#include "diagnostics/xothrow.h"
#include "platform/waitable.h"
#include "scheduling/xoguardedwork.h"

namespace os = xo::platform;

namespace {

constexpr unsigned int kForever = 0xFFFFFFFFu;
enum Result { kDone = 0, kProgress = 1, kBusy = 2, kMorePending = 3, kError = -1 };

// Takes the ticks since start off a finite time-out; false when it ran out, or when the
// tick count went backwards (deliberately a time-out).
bool charge(unsigned int& remaining, std::uint32_t start) {
    if (remaining == kForever)
        return true;
    const std::uint32_t now = os::tickCount();
    if (now < start || now - start >= remaining)
        return false;
    remaining -= now - start;
    return true;
}

} // namespace

VeskConcurrenceWorkflowManager::VeskConcurrenceWorkflowManager() = default;

VeskConcurrenceWorkflowManager::~VeskConcurrenceWorkflowManager() = default;

VeskConcurrenceWorkflowManagerImp::VeskConcurrenceWorkflowManagerImp() : m_nNextIndex(-1) {}

// The items go first; the context, declared before them, destroys its locks after.
VeskConcurrenceWorkflowManagerImp::~VeskConcurrenceWorkflowManagerImp() {
    m_items.clear();
}

void VeskConcurrenceWorkflowManagerImp::setMaxThreadCount(int) {}

int VeskConcurrenceWorkflowManagerImp::getMaxThreadCount() {
    return 1;
}

void VeskConcurrenceWorkflowManagerImp::addWork(VeskWorkFunction function, void* data,
                                                unsigned int stackSize, bool runNow) {
    if (function == nullptr)
        return;
    if (runNow) {
        xo::scheduling::runWorkGuarded(&m_context, function, data);
        return;
    }
    m_items.append({nullptr, function, data, nullptr, stackSize, false});
    if (m_items.empty())
        xo::throwErrorStatus(Vesk::eOutOfMemory);
    dispatch(false, kForever);
}

bool VeskConcurrenceWorkflowManagerImp::createLocks(int count) {
    if (m_context.m_nActiveCount.load() > 0 || count < 1)
        return false;
    for (int i = 0; i < m_context.m_locks.size(); ++i)
        delete m_context.m_locks[i];
    m_context.m_locks.clear();
    for (int i = 0; i < count; ++i) {
        XoLock* lock = createXoLock();
        m_context.m_locks.append(lock);
        if (m_context.m_locks.size() != i + 1) {
            delete lock;
            xo::throwErrorStatus(Vesk::eOutOfMemory);
        }
    }
    return true;
}

VeskConcurrenceWorkItem* VeskConcurrenceWorkflowManagerImp::firstWork() {
    return m_items.empty() ? nullptr : &m_items[0];
}

void* VeskConcurrenceWorkflowManagerImp::nextWorkData(VeskConcurrenceWorkItem*& cursor) {
    if (cursor == nullptr)
        return nullptr;
    void* data = cursor->pData;
    const int next = int(cursor - m_items.data()) + 1;
    cursor = next < m_items.size() ? &m_items[next] : nullptr;
    return data;
}

int VeskConcurrenceWorkflowManagerImp::dispatch(bool wait, unsigned int timeoutMs) {
    if (m_items.empty())
        return kDone;
    if (m_nNextIndex < 0)
        m_nNextIndex = 0;
    if (m_nNextIndex >= m_items.size())
        return kDone;
    const int limit = getMaxThreadCount();
    if (m_context.m_nActiveCount.load() >= limit && !wait)
        return kBusy;
    unsigned int remaining = timeoutMs;
    while (m_context.m_nActiveCount.load() >= limit) {
        const std::uint32_t start = os::tickCount();
        const int waited = waitAnyThread(remaining);
        if (waited == kDone || waited == kBusy)
            return waited;
        if (waited != kProgress && waited != kMorePending)
            return kError;
        if (!charge(remaining, start))
            return kBusy;
    }
    for (;;) {
        const int i = m_nNextIndex++;
        if (i >= m_items.size())
            break;
        VeskConcurrenceWorkItem& item = m_items[i];
        if (item.pfnWork == nullptr || item.hThread != nullptr || item.bFinished)
            continue;
        ++m_context.m_nActiveCount;
        if (startThread(&m_context, item))
            break;
        --m_context.m_nActiveCount;
    }
    return m_nNextIndex < m_items.size() ? kMorePending : kDone;
}

int VeskConcurrenceWorkflowManagerImp::execute(unsigned int timeoutMs) {
    unsigned int remaining = timeoutMs;
    while ((m_nNextIndex < 0 ? 0 : m_nNextIndex) < m_items.size()) {
        const std::uint32_t start = os::tickCount();
        const int dispatched = dispatch(true, remaining);
        if (dispatched == kBusy)
            return kBusy;
        if (dispatched != kDone && dispatched != kProgress && dispatched != kMorePending)
            return kError;
        if (!charge(remaining, start))
            return kBusy;
    }
    while (m_context.m_nActiveCount.load() > 0) {
        const std::uint32_t start = os::tickCount();
        waitAnyThread(remaining);
        if (!charge(remaining, start))
            return kBusy;
    }
    const int all = waitAllThreads(remaining);
    if (all == kBusy)
        return kBusy;
    return all == kDone || all == kProgress || all == kMorePending ? kDone : kError;
}
