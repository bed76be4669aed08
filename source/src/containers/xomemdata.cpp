#include "XoMemData.h"

// The header's explicit instantiation declaration already carries the export attribute,
// so GCC calls this one redundant; it stays for compilers that read it here.
#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wattributes"
#endif

// The one instantiation that clients link against instead of making their own.
template class XOOSBASE_API
    XoMemData<char, XoStrHeaderA, XoMemDataAllocator, XoPodReallocator<char>>;
