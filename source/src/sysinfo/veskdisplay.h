// The display queries' arithmetic, kept apart from the platform so that it is tested
// with plain numbers.
#pragma once

namespace xo::sysinfo {

// The size class of a width x height monitor, by its long and short sides: 4 from 4097
// long or 2161 short, 3 from 3840 long or 1632 short, 2 from 2048 long, 1 from 1920
// long, else 0.
int monitorSizeClass(int width, int height);

// The display scale at dpi dots per inch: the whole percentage of dpi / 96, truncated,
// over 100.
double dpiScaleForDpi(int dpi);

// Forgets the scale veskGetDPIScale keeps for the process, so that the next call reads
// the display again; only tests call it, between displays.
void forgetDpiScale();

} // namespace xo::sysinfo
