/// \file
/// Deep copies of the operating system's exception-pointers record, so that a crash
/// handler can keep it after the handler returns.
///
/// Windows: XoExceptionPointers is EXCEPTION_POINTERS, with its EXCEPTION_RECORD chain
/// and CONTEXT. POSIX: the library's own record with the same field names; a signal
/// handler fills XoExceptionRecord from its siginfo_t (ExceptionCode = signal number,
/// ExceptionAddress = fault address, ExceptionInformation[0] = si_code) and points
/// ContextRecord at the ucontext_t it received. The copy keeps the machine state, and
/// its floating-point pointer is rebased into the copy.
#pragma once

#include "XoOsBaseExport.h"

#include <cstdint>

#if defined(_WIN32)
struct _EXCEPTION_POINTERS;
struct _EXCEPTION_RECORD;
typedef struct _EXCEPTION_POINTERS XoExceptionPointers;
typedef struct _EXCEPTION_RECORD XoExceptionRecord;
#else
struct ucontext_t;

/// One exception record, with the field names of EXCEPTION_RECORD.
struct XoExceptionRecord {
    std::uint32_t ExceptionCode;             ///< the signal number
    std::uint32_t ExceptionFlags;            ///< the record's flags, copied as they stand
    XoExceptionRecord* ExceptionRecord;      ///< the next record of the chain, or null
    void* ExceptionAddress;                  ///< the fault address
    std::uint32_t NumberParameters;          ///< how many ExceptionInformation words count
    std::uintptr_t ExceptionInformation[15]; ///< [0] is si_code
};

/// The pointers record, with the field names of EXCEPTION_POINTERS.
struct XoExceptionPointers {
    XoExceptionRecord* ExceptionRecord; ///< the first record of the chain, or null
    ucontext_t* ContextRecord;          ///< the machine state; may be null
};
#endif

extern "C" {
/// A new deep copy (every record of the chain, the context), all from the C runtime
/// heap; null for null or when memory runs out, with nothing left allocated.
XOOSBASE_API XoExceptionPointers* _copyExceptionPointers(XoExceptionPointers* pointers);
/// Frees a copy made by _copyExceptionPointers; null is ignored and it cannot fail.
XOOSBASE_API void _freeExceptionPointers(XoExceptionPointers* pointers);
}
