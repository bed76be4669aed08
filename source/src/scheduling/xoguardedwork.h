// Runs one work function so that its failure stays in its thread: a thrown exception is
// dropped; a processor fault is handed to the crash recorder and ends the function.
#pragma once

#include "VeskConcurrenceWorkflowManager.h"

namespace xo::scheduling {

void runWorkGuarded(VeskConcurrenceWorkContext* context, VeskWorkFunction function, void* data);

} // namespace xo::scheduling
