#include "VeskTimer.h"

VeskTimer::VeskTimer() = default;

VeskTimer::~VeskTimer() = default;
