#include "scheduling/xoguardedwork.h"

#include "VeskCrashRecorder.h"
#include "diagnostics/xothrow.h"
#include "platform/faultguard.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace xo::scheduling {

namespace {

// Where the application's crash records have always said a work item failed.
constexpr const wchar_t* kFaultSite = L"source/src/veskconcurrenceworkflowmanagerimp(258)";

struct Call {
    VeskConcurrenceWorkContext* context;
    VeskWorkFunction function;
    void* data;
};

// The C++ exception is caught inside the guarded frame: it never crosses the jump.
void call(void* context) {
    const auto* c = static_cast<const Call*>(context);
    try {
        c->function(c->context, c->data);
    } catch (...) {
        deleteCaughtException();
    }
}

// EXCEPTION_RECORD on Windows, the library's record of the same shape elsewhere.
template <class Record> Record recordOf(const platform::FaultReport& fault) {
    Record record = {};
    record.ExceptionCode = fault.code;
    record.ExceptionAddress = fault.address;
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = fault.information[0];
    record.ExceptionInformation[1] = fault.information[1];
    return record;
}

void record(const platform::FaultReport& fault) {
    VeskCrashRecorder* recorder = veskGetCrashRecorder();
    if (recorder == nullptr)
        return;
#if defined(_WIN32)
    EXCEPTION_RECORD record = recordOf<EXCEPTION_RECORD>(fault);
    CONTEXT machine = {};
    ::RtlCaptureContext(&machine); // the fault's own state is gone with the jump
    EXCEPTION_POINTERS pointers = {&record, &machine};
#else
    XoExceptionRecord record = recordOf<XoExceptionRecord>(fault);
    XoExceptionPointers pointers = {&record, nullptr};
#endif
    recorder->recordMessage(kFaultSite);
    recorder->recordCrash(&pointers);
}

} // namespace

void runWorkGuarded(VeskConcurrenceWorkContext* context, VeskWorkFunction function, void* data) {
    Call c{context, function, data};
    platform::FaultReport fault{};
    if (platform::runGuardedReporting(platform::kFaultAccessViolation |
                                          platform::kFaultPageNotReadable,
                                      call, &c, &fault) != platform::kNoFault)
        record(fault);
}

} // namespace xo::scheduling
