#include "XoStreamBuf.h"

XoBuffer::XoBuffer() : m_pData(nullptr), m_nSize(0) {}

void XoBuffer::clear() {
    m_pData = nullptr;
    m_nSize = 0;
}

unsigned char* XoBuffer::data() const {
    return m_pData;
}

unsigned int XoBuffer::size() const {
    return m_nSize;
}

void XoBuffer::set(unsigned char* data, unsigned int size) {
    m_pData = data;
    m_nSize = size;
}
