#include "XoSignalObject.h"

#include <bitset>

#include "platform/waitable.h"

namespace os = xo::platform;

XoProcessImp::XoProcessImp(void* handle, unsigned int processId)
    : XoProcess(handle), m_nProcessId(processId) {}

XoProcessImp::~XoProcessImp() = default;

unsigned int XoProcessImp::processId() {
    return m_nProcessId;
}

int XoProcessImp::processorCount() {
    return int(std::bitset<64>(affinityMask()).count());
}

unsigned long long XoProcessImp::affinityMask() {
    std::uint64_t mask = 0;
    return os::processAffinityMask(m_hHandle, &mask) ? mask : 0;
}

// Built with the library's other statics and never destroyed, so that it outlives every
// caller, also those that run at exit.
XoProcess* getXoCurProcess() {
    static XoProcessImp* const s_process = new XoProcessImp(os::currentProcessHandle(), 0);
    return s_process;
}

namespace {
// Made while the library loads, so that no caller meets it half built.
[[maybe_unused]] XoProcess* const g_madeAtLoad = getXoCurProcess();
} // namespace
