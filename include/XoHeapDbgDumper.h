/// \file
/// Heap dump hooks kept for callers that expect them; every call does nothing.
#pragma once

#include "XoOsBaseExport.h"

/// Heap dump hooks kept for callers that expect them; every call does nothing and costs
/// nothing, so none of them can fail.
class XOOSBASE_API XoHeapDbgDumper {
public:
    /// Does nothing; cannot fail.
    static void init();
    /// Does nothing; cannot fail.
    static void uninit();
    /// Does nothing with the block, null or not; cannot fail.
    static void dump(const void* block);

    /// Copies nothing, the class having no state; cannot fail.
    XoHeapDbgDumper& operator=(const XoHeapDbgDumper&) = default;
    /// Moves nothing, the class having no state; cannot fail.
    XoHeapDbgDumper& operator=(XoHeapDbgDumper&&) = default;
};
