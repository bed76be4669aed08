#include "platform/invalidparameter.h"

#include <stdlib.h>
#include <windows.h>

namespace xo::platform {

XoInvalidParameterHandler setInvalidParameterHandler(XoInvalidParameterHandler handler) {
    return reinterpret_cast<XoInvalidParameterHandler>(
        ::_set_invalid_parameter_handler(reinterpret_cast<_invalid_parameter_handler>(handler)));
}

void reportInvalidParameter() {
    if (const _invalid_parameter_handler handler = ::_get_invalid_parameter_handler()) {
        handler(nullptr, nullptr, nullptr, 0, 0);
        return;
    }
    // The runtime's default: STATUS_INVALID_CRUNTIME_PARAMETER.
    ::TerminateProcess(::GetCurrentProcess(), 0xC0000417);
}

} // namespace xo::platform
