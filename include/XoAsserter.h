/// \file
/// The assertion hook. Constructing an XoAsserter is the report: it calls the current
/// assertion function with the failed expression and its source position.
#pragma once

#include "XoOsBaseExport.h"

/// The function that reports a failed assertion: the expression's text, the source
/// file and the line.
typedef void (*XoAssertFunction)(const wchar_t* expression, const wchar_t* file, int line);

/// The assertion hook; constructing one is the report.
class XOOSBASE_API XoAsserter {
public:
    /// Reports a failed assertion through the current assertion function, or not at all
    /// when that is null. The built-in report to the debugger output skips the report when
    /// it cannot allocate its text; nothing is thrown.
    XoAsserter(const wchar_t* expression, const wchar_t* file, int line);

    /// Installs a function (null silences assertions) and returns the one it replaces.
    /// Not synchronised with reports on other threads; cannot fail.
    static XoAssertFunction setAssertFunction(XoAssertFunction function);
    /// Does nothing: install it to silence assertions. The initial function is the
    /// built-in report to the debugger output. Cannot fail.
    static void defaultAssert(const wchar_t* expression, const wchar_t* file, int line);

    /// The current assertion function: a plain pointer, set by the host while it starts;
    /// null reports nothing.
    static XoAssertFunction sm_pfnAssert;
};

/// Does nothing, by design; cannot fail.
XOOSBASE_API void pmutAssertMessage(const wchar_t* expression, const wchar_t* file, int line,
                                    const wchar_t* message);
