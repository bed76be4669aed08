#include "VeskCrashRecorder.h"

#include "diagnostics/xothrow.h"

namespace {
VeskCrashRecorder* g_recorder = nullptr;
} // namespace

void veskSetCrashRecorder(VeskCrashRecorder* recorder) {
    g_recorder = recorder;
}

VeskCrashRecorder* veskGetCrashRecorder() {
    return g_recorder;
}

namespace xo {

void notifyCrashRecorder(XoException* exception) {
    if (VeskCrashRecorder* recorder = g_recorder)
        recorder->recordException(exception);
}

} // namespace xo
