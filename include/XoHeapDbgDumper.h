// Heap dump hooks kept for callers that expect them; every call does nothing.
#pragma once

#include "XoOsBaseExport.h"

class XOOSBASE_API XoHeapDbgDumper {
public:
    static void init();
    static void uninit();
    static void dump(const void* block);

    XoHeapDbgDumper& operator=(const XoHeapDbgDumper&) = default;
    XoHeapDbgDumper& operator=(XoHeapDbgDumper&&) = default;
};
