#include "VeskTimer.h"

VeskBaseTimer::VeskBaseTimer(Callback callback, void* data, unsigned int interval)
    : m_pfnCallback(callback), m_pData(data), m_nInterval(interval), m_nTickCount(0),
      m_bInCallback(false), m_bSingleShot(false) {}

VeskBaseTimer::~VeskBaseTimer() = default;

VeskTimer::Callback VeskBaseTimer::getCallback() {
    return m_pfnCallback;
}

unsigned int VeskBaseTimer::getInterval() {
    return m_nInterval;
}

bool VeskBaseTimer::setInterval(int milliseconds) {
    m_nInterval = unsigned(milliseconds);
    return true;
}
