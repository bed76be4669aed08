// The assertion hook. Constructing an XoAsserter is the report: it calls the current
// assertion function with the failed expression and its source position.
#pragma once

#include "XoOsBaseExport.h"

typedef void (*XoAssertFunction)(const wchar_t* expression, const wchar_t* file, int line);

class XOOSBASE_API XoAsserter {
public:
    XoAsserter(const wchar_t* expression, const wchar_t* file, int line);

    // Installs a function and returns the one it replaces.
    static XoAssertFunction setAssertFunction(XoAssertFunction function);
    // Does nothing: install it to silence assertions. The initial function is the
    // built-in report to the debugger output.
    static void defaultAssert(const wchar_t* expression, const wchar_t* file, int line);

    static XoAssertFunction sm_pfnAssert; // plain pointer, set by the host while it starts
};

// Does nothing, by design.
XOOSBASE_API void pmutAssertMessage(const wchar_t* expression, const wchar_t* file, int line,
                                    const wchar_t* message);
