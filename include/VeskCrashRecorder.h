/// \file
/// The host's crash recorder. The library calls only recordException, with every
/// exception it is about to throw; the other operations are the host's own business.
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
    /// The host's record of a crash; the library never calls it. This default ignores
    /// the pointers and cannot fail.
    virtual void recordCrash(XoExceptionPointers* pointers) { (void)pointers; }
    /// The host's record of a message; the library never calls it. This default ignores
    /// the text and cannot fail.
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
