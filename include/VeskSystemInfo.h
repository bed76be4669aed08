/// \file
/// What machine the application runs on: the Windows version code, processor counts,
/// the monitor nearest to a rectangle, the display scale, and loading system libraries.
/// Results that cannot change during a run are computed once and kept for the process.
///
/// On Linux the library stands for Windows 10.0 (code 13), the version its start-up
/// version word already reports; processors come from the kernel's CPU topology,
/// monitors and dots per inch from the X server named by DISPLAY (loaded at run time:
/// without one the queries fail, the size class is 1 and the scale 1.0), and libraries
/// load with dlopen.
#pragma once

#include "XoOsBaseExport.h"

#if defined(_WIN32)
struct tagRECT;     // RECT of <windows.h>
struct HINSTANCE__; // HMODULE
#else
/// RECT of Windows: LONG is 32 bits there.
struct tagRECT {
    int left;   ///< left edge, inclusive
    int top;    ///< top edge, inclusive
    int right;  ///< right edge, exclusive
    int bottom; ///< bottom edge, exclusive
};
struct HINSTANCE__; // a handle dlopen returned
#endif

/// The Windows version code: 1-3 for major versions 1-3, 4 for 4.0 and 5 for 4.x, 6 for
/// 5.0 and 7 for 5.x, 8 + minor for 6.0 to 6.4 (6.1 is 9), 13 for 10.x; -1 when the
/// version cannot be read or is not one of these (then it is read again next time).
/// Each out pointer may be null; they receive the platform's numbers (0xFFFFFFFF when
/// none could be read), the build number's low 16 bits only.
XOOSBASE_API int veskGetWindowsVersion(unsigned* major, unsigned* minor, unsigned* build);

/// Logical processors (logical true) or physical cores (false) of the machine; when the
/// topology cannot be walked both are the number of processors the system reports.
XOOSBASE_API int veskGetProcessorCoreCount(bool logical);

/// The work area (the monitor less task bars) of the monitor nearest to in, into out;
/// false when either pointer is null or no monitor can be asked about.
XOOSBASE_API bool veskGetMonitorRectByRect(const tagRECT* in, tagRECT* out);

/// The size class of the monitor nearest to in (null: the rectangle 10, 10, 20, 20):
/// 4 from 4097 pixels on the long side or 2161 on the short, 3 from 3840 or 1632, 2 from
/// 2048 long, 1 from 1920 long, else 0; 1 when no monitor can be asked about.
XOOSBASE_API int veskGetMonitorResolution(const tagRECT* in);

/// The display scale, 1.0 at 96 dots per inch: the whole percentage of dpi / 96,
/// truncated, over 100 (120 dpi gives 1.25, 100 dpi 1.04). Read once per process; 1.0
/// when the display cannot be asked.
XOOSBASE_API double veskGetDPIScale();

/// Loads fileName from the system's library directory, else by the normal search (so a
/// library beside the program still loads); null for a null name or when neither loads.
XOOSBASE_API HINSTANCE__* veskLoadWindowsSystemLibrary(const wchar_t* fileName);
