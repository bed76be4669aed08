/// \file
/// The host's crash recorder. The library calls recordException with every exception it
/// is about to throw, and, when a work item of the workflow manager faults, recordMessage
/// with the site "source/src/veskconcurrenceworkflowmanagerimp(258)" and then
/// recordCrash with the fault's record.
#pragma once

#include "XoExceptionPointers.h"
#include "XoOsBaseExport.h"

class XoException;

/// The crash recorder a host installs with veskSetCrashRecorder. Slot order is part of
/// the contract: recordException is the fourth virtual operation.
class VeskCrashRecorder {
public:
    /// Destroys the recorder; the library never does, since it never owns one.
    virtual ~VeskCrashRecorder() = default;
    /// The host's record of a crash: called for a fault inside a work item, with its
    /// exception record (the machine state may be null). This default ignores it.
    virtual void recordCrash(XoExceptionPointers* pointers) { (void)pointers; }
    /// The host's record of a message: the site of a work item's fault, before
    /// recordCrash. This default ignores the text and cannot fail.
    virtual void recordMessage(const wchar_t* text) { (void)text; }
    /// Called by the library with every exception it is about to throw, which the
    /// recorder must neither delete nor keep. An exception thrown from here propagates
    /// instead of the library's, whose object is then never deleted.
    virtual void recordException(XoException* exception) = 0;
};

/// Installs the recorder in the one process-wide slot, a plain pointer meant to be set
/// once while the host starts; null removes the recorder. The library never owns or frees
/// it. Not synchronised with throws on other threads; cannot fail.
XOOSBASE_API void veskSetCrashRecorder(VeskCrashRecorder* recorder);
/// The recorder installed last, or null when there is none; cannot fail.
XOOSBASE_API VeskCrashRecorder* veskGetCrashRecorder();
