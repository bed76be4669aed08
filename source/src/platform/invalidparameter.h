// The C runtime's invalid-parameter handler: the Windows runtime's own on Windows, the
// library's on POSIX. The default handler ends the process, as Windows does.
#pragma once

#include "XoCharOp.h"

namespace xo::platform {

XoInvalidParameterHandler setInvalidParameterHandler(XoInvalidParameterHandler handler);

// Calls the handler in force; returns only when it returns.
void reportInvalidParameter();

} // namespace xo::platform
