// The monitor and display-scale queries. Not yet asked of the display: every query
// answers as it does where no display can be reached.
#include "VeskSystemInfo.h"

bool veskGetMonitorRectByRect(const tagRECT*, tagRECT*) {
    return false;
}

int veskGetMonitorResolution(const tagRECT*) {
    return 1;
}

double veskGetDPIScale() {
    return 1.0;
}
