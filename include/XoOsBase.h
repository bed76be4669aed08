// Everything the library exports.
#pragma once

#include "PmCodePage.h"
#include "VeskCrashRecorder.h"
#include "VeskErrorStatus.h"
#include "XoAsserter.h"
#include "XoCharMapper.h"
#include "XoCodePageFunctions.h"
#include "XoCodePageMapper.h"
#include "XoException.h"
#include "XoExceptionPointers.h"
#include "XoHeapDbgDumper.h"
#include "XoLocaleHelpers.h"
#include "XoLock.h"
#include "XoMemManager.h"
#include "XoMemory.h"
#include "XoOsBaseExport.h"
#include "XoTracer.h"
