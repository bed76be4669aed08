// The threads and waits under the scheduling, through the platform's waitable objects.
#include "VeskConcurrenceWorkflowManager.h"

#include "VeskSystemInfo.h"
#include "diagnostics/xothrow.h"
#include "platform/waitable.h"
#include "scheduling/xoguardedwork.h"

namespace os = xo::platform;

namespace {

constexpr unsigned int kForever = 0xFFFFFFFFu;
constexpr int kMostInOneWait = 64; // the platform's limit for one wait on Windows
constexpr unsigned kFailedStart = 0xFFFFFFFFu;

struct Launch {
    VeskConcurrenceWorkContext* context;
    VeskWorkFunction function;
    void* data;
};

unsigned runItem(void* block) {
    const auto* launch = static_cast<const Launch*>(block);
    if (launch == nullptr || launch->context == nullptr || launch->function == nullptr)
        return kFailedStart;
    xo::scheduling::runWorkGuarded(launch->context, launch->function, launch->data);
    --static_cast<VeskConcurrenceWorkContextImp*>(launch->context)->m_nActiveCount;
    return 0;
}

[[noreturn]] void failedWait() {
    xo::throwWithMessage(L"Failed to wait threads!");
}

bool running(const VeskConcurrenceWorkItem& item) {
    return item.hThread != nullptr && !item.bFinished;
}

} // namespace

VeskWindowsConcurrenceWorkflowManager::VeskWindowsConcurrenceWorkflowManager() {
    const int logical = veskGetProcessorCoreCount(true);
    m_nMaxThreads = 2 * (logical < 1 ? 1 : logical);
}

VeskWindowsConcurrenceWorkflowManager::~VeskWindowsConcurrenceWorkflowManager() {
    for (int i = 0; i < m_items.size(); ++i) {
        os::closeWaitHandle(m_items[i].hThread);
        delete static_cast<Launch*>(m_items[i].pLaunch);
    }
}

void VeskWindowsConcurrenceWorkflowManager::setMaxThreadCount(int n) {
    if (n > 0 && m_context.m_nActiveCount.load() < 1)
        m_nMaxThreads = n;
}

int VeskWindowsConcurrenceWorkflowManager::getMaxThreadCount() {
    return m_nMaxThreads;
}

bool VeskWindowsConcurrenceWorkflowManager::startThread(VeskConcurrenceWorkContext* context,
                                                        VeskConcurrenceWorkItem& item) {
    if (item.pfnWork == nullptr || item.hThread != nullptr || item.bFinished)
        return false;
    auto* launch = new Launch{context, item.pfnWork, item.pData};
    item.pLaunch = launch;
    os::StartedThread started{nullptr, 0};
    if (!os::startThread(runItem, launch, false, item.nStackSize, &started)) {
        item.pLaunch = nullptr;
        delete launch;
        return false;
    }
    item.hThread = started.handle;
    return true;
}

int VeskWindowsConcurrenceWorkflowManager::waitAnyThread(unsigned int timeoutMs) {
    os::WaitHandle handles[kMostInOneWait];
    int indexes[kMostInOneWait];
    int n = 0;
    for (int i = 0; i < m_items.size() && n < kMostInOneWait; ++i) {
        if (running(m_items[i])) {
            handles[n] = m_items[i].hThread;
            indexes[n++] = i;
        }
    }
    if (n == 0)
        return 0;
    const std::uint32_t answer = os::waitForObjects(std::uint32_t(n), handles, false, timeoutMs);
    if (answer == os::kWaitFailed)
        failedWait();
    if (answer == os::kWaitTimeout)
        return 2;
    if (answer >= std::uint32_t(n))
        xo::throwWithMessage(L"Failed to wait threads, unexpected return value!");
    m_items[indexes[answer]].bFinished = true;
    return 1;
}

int VeskWindowsConcurrenceWorkflowManager::waitAllThreads(unsigned int timeoutMs) {
    unsigned int remaining = timeoutMs;
    os::WaitHandle handles[kMostInOneWait];
    int n = 0;
    const auto waitGroup = [&]() -> bool {
        const std::uint32_t start = os::tickCount();
        const std::uint32_t answer = os::waitForObjects(std::uint32_t(n), handles, true, remaining);
        if (answer == os::kWaitFailed)
            failedWait();
        if (answer == os::kWaitTimeout)
            return false;
        if (remaining != kForever) {
            const std::uint32_t spent = os::tickCount() - start;
            remaining = spent >= remaining ? 0 : remaining - spent;
        }
        n = 0;
        return true;
    };
    for (int i = 0; i < m_items.size(); ++i) {
        if (!running(m_items[i]))
            continue;
        handles[n++] = m_items[i].hThread;
        if (n == kMostInOneWait && !waitGroup())
            return 2;
    }
    if (n > 0 && !waitGroup())
        return 2;
    for (int i = 0; i < m_items.size(); ++i) {
        if (m_items[i].hThread != nullptr)
            m_items[i].bFinished = true;
    }
    return 0;
}

VeskConcurrenceWorkflowManager* veskCreateConcurrenceWorkflowManager() {
    return new VeskWindowsConcurrenceWorkflowManager;
}
