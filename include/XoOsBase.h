// Everything the library exports.
#pragma once

#include "VeskCrashRecorder.h"
#include "VeskErrorStatus.h"
#include "XoAsserter.h"
#include "XoException.h"
#include "XoExceptionPointers.h"
#include "XoLock.h"
#include "XoOsBaseExport.h"
#include "XoTracer.h"
