// The trace hook. Constructing an XoTracer formats the text (Windows meaning: in a wide
// format %s and %c take wide arguments, %S and %C narrow ones) and hands it to the
// current wide trace function. The 8-bit function is installed and defaulted here for
// the host's own 8-bit tracing; the constructor does not call it.
#pragma once

#include "XoOsBaseExport.h"

typedef void (*XoTraceFunctionW)(const wchar_t* text);
typedef void (*XoTraceFunctionA)(const char* text);

class XOOSBASE_API XoTracer {
public:
    // Throws XoExceptionWithMsg "Out of memory!!" when the text cannot be allocated.
    explicit XoTracer(const wchar_t* format, ...);

    // Both return the function just installed, not the previous one (kept on purpose).
    static XoTraceFunctionW setTraceFunctionW(XoTraceFunctionW function);
    static XoTraceFunctionA setTraceFunctionA(XoTraceFunctionA function);

    // Debugger output: OutputDebugString on Windows; on POSIX, standard error (as
    // UTF-8) while a debugger is attached, nothing otherwise.
    static void defaultTraceW(const wchar_t* text);
    static void defaultTraceA(const char* text);

    static XoTraceFunctionW sm_pfnTraceW; // plain pointers, set by the host while it starts
    static XoTraceFunctionA sm_pfnTraceA;
};
