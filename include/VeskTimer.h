/// \file
/// Timers that call a client function every so many milliseconds, or once, on the thread
/// that started them, while that thread dispatches its message queue: the thread's
/// Windows queue on Windows, the library's queue on Linux (XoMessageQueue.h: a thread
/// runs its ticks with xoPeekMessage and xoDispatchMessage). Ticks are due at start +
/// n × interval; a thread that dispatched late gets one tick, not a burst.
///
/// Timers belong to the thread that started them: start, stop and destroy a timer there.
/// The table from timer identifier to timer is shared by every thread, locked, and keyed
/// by thread as well (the platform numbers each thread's timers on its own), so threads
/// that each run their own timers may do so at once.
#pragma once

#include "XoOsBaseExport.h"

#include <cstdint>

struct HWND__;

/// A timer, created with veskCreateTimer and deleted by its owner.
class XOOSBASE_API VeskTimer {
public:
    /// The function a tick calls: the tick number since start (1 first), the user data.
    using Callback = void (*)(int tick, void* data);

    /// Stops a running timer and frees it.
    virtual ~VeskTimer();
    /// The callback given at creation; may be null.
    virtual Callback getCallback() = 0;
    /// The interval in milliseconds.
    virtual unsigned int getInterval() = 0;
    /// Changes the interval; false (and no change) while the timer runs.
    virtual bool setInterval(int milliseconds) = 0;
    /// Stops the timer; returns the ticks delivered since the last start.
    virtual int stop() = 0;
    /// Starts the timer, repeating or for one tick; the tick count starts again at 0.
    /// Stop a running timer before starting it again.
    virtual void start(bool singleShot) = 0;

protected:
    VeskTimer();
};

/// The fields and accessors every timer shares.
class XOOSBASE_API VeskBaseTimer : public VeskTimer {
public:
    /// A stopped timer with its callback, data and interval as given.
    VeskBaseTimer(Callback callback, void* data, unsigned int interval);
    /// Frees the timer.
    ~VeskBaseTimer() override;
    /// The callback given at creation.
    Callback getCallback() override;
    /// The interval in milliseconds.
    unsigned int getInterval() override;
    /// Stores the interval; true.
    bool setInterval(int milliseconds) override;

protected:
    Callback m_pfnCallback;   ///< called on each tick; may be null
    void* m_pData;            ///< passed to the callback untouched
    unsigned int m_nInterval; ///< milliseconds
    int m_nTickCount;         ///< ticks since the last start
    bool m_bInCallback;       ///< true while the callback runs
    bool m_bSingleShot;       ///< set by start
};

/// A timer on the platform's message-queue timers.
class XOOSBASE_API VeskWindowsTimer : public VeskBaseTimer {
public:
    /// A stopped timer; the interval is kept within 10 to 0x7FFFFFFF milliseconds.
    VeskWindowsTimer(Callback callback, void* data, unsigned int interval);
    /// Stops the timer first, so that no tick reaches a deleted timer.
    ~VeskWindowsTimer() override;
    /// False while running; true otherwise, storing the value only when it is above 9
    /// (a smaller one is ignored, deliberately).
    bool setInterval(int milliseconds) override;
    /// Kills the platform timer; returns the ticks since the last start.
    int stop() override;
    /// Sets the platform timer; it stays stopped when the platform refuses.
    void start(bool singleShot) override;

private:
    static void timerProc(HWND__* window, std::uint32_t message, std::uintptr_t id,
                          std::uint32_t time);

    std::uintptr_t m_nTimerId; ///< the platform's timer; 0 while stopped
};

/// A new timer calling callback(tick, data) every intervalMs (kept within 10 to
/// 0x7FFFFFFF), started at once to repeat when startNow; delete it when done.
XOOSBASE_API VeskTimer* veskCreateTimer(void (*callback)(int, void*), unsigned int intervalMs,
                                        void* data, bool startNow);
