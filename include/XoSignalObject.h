/// \file
/// Waitable objects: events, threads and the process, and the waits on one, any or all
/// of them, with the library's result codes.
///
/// Result codes of every wait: 4096 + i when object i was signalled (i = 0 for one
/// object), i when object i was abandoned, 8192 when the time-out elapsed, 0xFFFFFFFF when
/// the wait failed (an object without a handle, too many objects, the same object twice
/// in a wait for all). Time-outs are in milliseconds; 0 polls, 0xFFFFFFFF waits forever.
/// No operation throws.
///
/// On Linux the objects are the library's own with Windows' rules: a wait for any takes
/// the lowest signalled index and consumes only that auto-reset event; a wait for all
/// returns only when all are signalled at one moment and then consumes them together;
/// up to 4096 objects in one wait (Windows takes 64). Suspending a thread that already
/// runs and terminating a thread fail there; a thread created suspended is held until it
/// is resumed. Priorities map onto nice values, and raising one needs privileges.
#pragma once

#include "XoOsBaseExport.h"

#include <cstdint>

class XoSignalObject;

/// Waits for one object: 4096 signalled, 0 abandoned, 8192 timed out, 0xFFFFFFFF failed.
XOOSBASE_API unsigned int xoWaitForSingleObject(XoSignalObject* object, unsigned int timeout);

/// Waits for any (waitAll false) or all of count objects: 4096 + i, i abandoned, 8192
/// or 0xFFFFFFFF.
XOOSBASE_API unsigned int xoWaitForMultipleObject(XoSignalObject** objects, unsigned int count,
                                                  bool waitAll, unsigned int timeout);

/// As xoWaitForMultipleObject, and also wakes when input of a kind in wakeMask (QS_
/// bits) arrives in the calling thread's message queue: that answers 4096 + count,
/// deliberately like a signalled object.
XOOSBASE_API unsigned int xoMsgWaitForMultipleObject(XoSignalObject** objects, unsigned int count,
                                                     unsigned int wakeMask, bool waitAll,
                                                     unsigned int timeout);

/// Something a thread can wait for; holds the platform's handle.
class XOOSBASE_API XoSignalObject {
public:
    /// Closes the handle where the object owns it.
    virtual ~XoSignalObject();
    /// Deletes the object.
    virtual void release();
    /// xoWaitForSingleObject on this object.
    virtual unsigned int wait(unsigned int timeout);
    /// xoMsgWaitForMultipleObject on this object alone (waiting for any).
    virtual unsigned int msgWait(unsigned int wakeMask, unsigned int timeout);

    XoSignalObject(const XoSignalObject&) = delete;
    XoSignalObject& operator=(const XoSignalObject&) = delete;

protected:
    /// An object over handle, which may be null (a creation that failed).
    explicit XoSignalObject(void* handle);

    void* m_hHandle; ///< the platform's handle; null when the creation failed

    friend class XoSignalHandles; // the library's waits
};

/// An event, set and reset by hand; an auto-reset one is reset by the wait it releases.
class XOOSBASE_API XoEvent : public XoSignalObject {
public:
    /// True for an auto-reset event.
    virtual bool isAutoReset() = 0;
    /// Sets (true) or resets (false) the event; false when the platform refused.
    virtual bool setSignaled(bool signaled) = 0;
    /// The name given at creation: the caller's pointer, not a copy.
    virtual const wchar_t* name() = 0;

protected:
    /// An event over handle.
    explicit XoEvent(void* handle);
};

/// A thread: signalled when it ends.
class XOOSBASE_API XoThread : public XoSignalObject {
public:
    /// The thread's identifier.
    virtual unsigned int threadId() = 0;
    /// GetThreadPriority's level; 0x7FFFFFFF on failure.
    virtual int getPriority() = 0;
    /// True when the priority level was applied.
    virtual bool setPriority(int priority) = 0;
    /// The previous suspend count; 0xFFFFFFFF on failure.
    virtual unsigned int suspend() = 0;
    /// The previous suspend count; 0xFFFFFFFF on failure.
    virtual unsigned int resume() = 0;
    /// True when the thread was terminated with exitCode.
    virtual bool terminate(unsigned int exitCode) = 0;
    /// Waits until the thread ends: a wait result code.
    virtual unsigned int waitForExit() = 0;
    /// True when called on the thread the object describes.
    virtual bool isCurrentThread() = 0;

protected:
    /// A thread over handle.
    explicit XoThread(void* handle);
};

/// The process: never signalled while it runs.
class XOOSBASE_API XoProcess : public XoSignalObject {
public:
    /// The process identifier (0 for the current-process object).
    virtual unsigned int processId() = 0;
    /// The number of processors in the affinity mask; 0 when it cannot be read.
    virtual int processorCount() = 0;
    /// The process's affinity mask; 0 when it cannot be read.
    virtual unsigned long long affinityMask() = 0;

protected:
    /// A process over handle.
    explicit XoProcess(void* handle);
};

/// The platform's event.
class XOOSBASE_API XoEventImp : public XoEvent {
public:
    /// CreateEventW: manual reset unless autoReset; null handle on failure.
    XoEventImp(bool autoReset, bool initialState, const wchar_t* name);
    /// Closes the handle.
    ~XoEventImp() override;
    /// The auto-reset flag given at creation.
    bool isAutoReset() override;
    /// SetEvent (true) or ResetEvent (false); false when it failed.
    bool setSignaled(bool signaled) override;
    /// The caller's name pointer.
    const wchar_t* name() override;

private:
    bool m_bAutoReset;
    [[maybe_unused]] bool m_bInitialState; ///< the state given at creation, kept for the layout
    const wchar_t* m_pName;
};

/// The platform's thread: one the object started and owns, or one it only describes.
class XOOSBASE_API XoThreadImp : public XoThread {
public:
    /// A thread object over handle and id; attached objects neither wait nor close.
    XoThreadImp(void* handle, unsigned int threadId, bool attached);
    /// For an owned thread: waits for it to end, then closes the handle.
    ~XoThreadImp() override;
    /// The thread's identifier.
    unsigned int threadId() override;
    /// GetThreadPriority; 0x7FFFFFFF on failure.
    int getPriority() override;
    /// SetThreadPriority; false on failure.
    bool setPriority(int priority) override;
    /// SuspendThread: the previous count, 0xFFFFFFFF on failure.
    unsigned int suspend() override;
    /// ResumeThread: the previous count, 0xFFFFFFFF on failure.
    unsigned int resume() override;
    /// TerminateThread; false on failure (always on Linux).
    bool terminate(unsigned int exitCode) override;
    /// Waits without a time-out: a wait result code.
    unsigned int waitForExit() override;
    /// The stored identifier is the calling thread's.
    bool isCurrentThread() override;

private:
    unsigned int m_nThreadId;
    bool m_bAttached;
};

/// The platform's process.
class XOOSBASE_API XoProcessImp : public XoProcess {
public:
    /// A process object over handle and id.
    XoProcessImp(void* handle, unsigned int processId);
    /// Closes nothing: the current process's handle needs no closing.
    ~XoProcessImp() override;
    /// The stored identifier.
    unsigned int processId() override;
    /// Set bits among the 64 of the affinity mask; 0 when it cannot be read.
    int processorCount() override;
    /// The affinity mask; 0 when it cannot be read.
    unsigned long long affinityMask() override;

private:
    unsigned int m_nProcessId;
};

/// A new event; its handle is null when the platform could not make one. The name is
/// stored, not copied.
XOOSBASE_API XoEvent* createXoEvent(bool autoReset, bool initialState, const wchar_t* name);

/// A new thread running function(argument), held until resume() when startSuspended;
/// stackSize 0 takes the default. Destroying the object waits for the thread to end.
/// The handle is null when the thread could not start.
XOOSBASE_API XoThread* createXoThread(unsigned int (*function)(void*), void* argument,
                                      bool startSuspended, unsigned int stackSize);

/// A new object describing the calling thread; its release neither waits nor closes.
XOOSBASE_API XoThread* getXoThreadCurrent();

/// The one object of the current process; never to be released.
XOOSBASE_API XoProcess* getXoCurProcess();

/// The exit code of a thread (259 while it runs); false when it cannot be read.
XOOSBASE_API bool xoGetThreadExitCode(XoThread* thread, unsigned int* exitCode);
