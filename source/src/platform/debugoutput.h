// The debugger's output channel.
#pragma once

namespace xo::platform {

// Windows: OutputDebugString. POSIX: standard error (wide text as UTF-8) while a
// debugger is attached to the process, nothing otherwise.
void debugOutputW(const wchar_t* text);
void debugOutputA(const char* text);

bool debuggerAttached();

} // namespace xo::platform
