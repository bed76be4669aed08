// The host's crash recorder. The library calls only recordException, with every
// exception it is about to throw; the other operations are the host's own business.
#pragma once

#include "XoExceptionPointers.h"
#include "XoOsBaseExport.h"

class XoException;

// Slot order is part of the contract: recordException is the fourth virtual operation.
class VeskCrashRecorder {
public:
    virtual ~VeskCrashRecorder() = default;
    virtual void recordCrash(XoExceptionPointers* pointers) { (void)pointers; }
    virtual void recordMessage(const wchar_t* text) { (void)text; }
    virtual void recordException(XoException* exception) = 0;
};

// One process-wide slot, a plain pointer meant to be set once while the host starts;
// null removes the recorder. The library never owns or frees it.
XOOSBASE_API void veskSetCrashRecorder(VeskCrashRecorder* recorder);
XOOSBASE_API VeskCrashRecorder* veskGetCrashRecorder();
