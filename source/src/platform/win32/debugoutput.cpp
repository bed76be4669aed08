#include "platform/debugoutput.h"

#include <windows.h>

#include <cstdlib>

namespace xo::platform {

void debugOutputW(const wchar_t* text) {
    if (text != nullptr)
        ::OutputDebugStringW(text);
}

void debugOutputA(const char* text) {
    if (text != nullptr)
        ::OutputDebugStringA(text);
}

bool debuggerAttached() {
    return ::IsDebuggerPresent() != FALSE;
}

void abortProcess() {
    std::abort();
}

} // namespace xo::platform
