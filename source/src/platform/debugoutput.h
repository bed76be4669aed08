// The debugger's output channel.
#pragma once

namespace xo::platform {

// Windows: OutputDebugString. POSIX: standard error (wide text as UTF-8) while a
// debugger is attached to the process, nothing otherwise.
void debugOutputW(const wchar_t* text);
void debugOutputA(const char* text);

bool debuggerAttached();

// Ends the process at once, as the runtime's abort does, for a check that found state it
// can no longer trust: no exit handlers, no destructors.
[[noreturn]] void abortProcess();

} // namespace xo::platform
