/// \file
/// The trace hook. Constructing an XoTracer formats the text (Windows meaning: in a wide
/// format "%s" and "%c" take wide arguments, "%S" and "%C" narrow ones) and hands it to the
/// current wide trace function. The 8-bit function is installed and defaulted here for
/// the host's own 8-bit tracing; the constructor does not call it.
#pragma once

#include "XoOsBaseExport.h"

/// The function that receives a wide trace text.
typedef void (*XoTraceFunctionW)(const wchar_t* text);
/// The function that receives an 8-bit trace text.
typedef void (*XoTraceFunctionA)(const char* text);

/// The trace hook; constructing one is the trace.
class XOOSBASE_API XoTracer {
public:
    /// Formats the text and hands it to the current wide trace function (to none when
    /// that is null). Throws XoExceptionWithMsg "Out of memory!!" when the text cannot be
    /// allocated.
    explicit XoTracer(const wchar_t* format, ...);

    /// Installs the wide trace function (null silences tracing) and returns the function
    /// just installed, not the previous one (kept on purpose). Cannot fail.
    static XoTraceFunctionW setTraceFunctionW(XoTraceFunctionW function);
    /// Installs the 8-bit trace function and returns the function just installed, not the
    /// previous one (kept on purpose). Cannot fail.
    static XoTraceFunctionA setTraceFunctionA(XoTraceFunctionA function);

    /// Debugger output: OutputDebugString on Windows; on POSIX, standard error (as
    /// UTF-8) while a debugger is attached, nothing otherwise. A null text or a failed
    /// write is ignored.
    static void defaultTraceW(const wchar_t* text);
    /// The 8-bit form of defaultTraceW, the bytes written as they stand. A null text or a
    /// failed write is ignored.
    static void defaultTraceA(const char* text);

    /// The current wide trace function: a plain pointer, set by the host while it starts.
    static XoTraceFunctionW sm_pfnTraceW;
    /// The current 8-bit trace function: a plain pointer, set by the host while it starts.
    static XoTraceFunctionA sm_pfnTraceA;
};
