#include "platform/invalidparameter.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace xo::platform {

namespace {
std::atomic<XoInvalidParameterHandler> gHandler{nullptr};
}

XoInvalidParameterHandler setInvalidParameterHandler(XoInvalidParameterHandler handler) {
    return gHandler.exchange(handler);
}

void reportInvalidParameter() {
    if (const XoInvalidParameterHandler handler = gHandler.load()) {
        handler(nullptr, nullptr, nullptr, 0, 0);
        return;
    }
    std::fputs("Invalid parameter passed to C runtime function.\n", stderr);
    std::abort();
}

} // namespace xo::platform
