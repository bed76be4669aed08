#include "XoStreamBuf.h"

XoStreamBufPos::XoStreamBufPos(XoStreamBuf* stream) : m_nPosition(0), m_pStreamBuf(stream) {}

XoStreamBufPos::XoStreamBufPos(const XoStreamBufPos& other) = default;
