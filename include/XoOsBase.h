// Everything the library exports.
#pragma once

#include "VeskCrashRecorder.h"
#include "VeskErrorStatus.h"
#include "XoAsserter.h"
#include "XoException.h"
#include "XoExceptionPointers.h"
#include "XoHeapDbgDumper.h"
#include "XoLock.h"
#include "XoMemData.h"
#include "XoMemManager.h"
#include "XoMemory.h"
#include "XoOsBaseExport.h"
#include "XoString.h"
#include "XoTracer.h"
#include "XoVector.h"
