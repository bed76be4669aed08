// The process-wide table from platform timer identifier to running timer, which the
// timer procedure looks its ticks up in. Locked: every thread with a message loop may
// run timers of its own at the same time. Keyed by the calling thread too: a timer
// belongs to its thread, and the platform numbers a thread's timers on its own.
#pragma once

#include <cstdint>

class VeskWindowsTimer;

namespace xo::scheduling {

bool addTimer(std::uintptr_t id, VeskWindowsTimer* timer); // false when out of memory
void removeTimer(std::uintptr_t id);
VeskWindowsTimer* findTimer(std::uintptr_t id); // null for an unknown identifier

} // namespace xo::scheduling
