#include "XoAnsiTextIterator.h"

#include <cstring>

#include "XoCharMapper.h"
#include "XoCodePageFunctions.h"
#include "encoding/xoescapes.h"
#include "platform/codepage.h"

namespace {

using xo::encoding::charValue;

// The value of the byte as a digit of the base, or -1.
int digitValue(char c, bool hex) {
    const int value = xo::encoding::hexDigitValue(charValue(c));
    return hex || value < 10 ? value : -1;
}

} // namespace

// Unset on purpose: callers declare iterators before they have a text.
XoAnsiTextIterator::XoAnsiTextIterator() {}

XoAnsiTextIterator::XoAnsiTextIterator(const XoStringA& text, code_page_id codePage) {
    init(text, codePage);
}

XoAnsiTextIterator& XoAnsiTextIterator::operator=(const XoAnsiTextIterator& other) {
    m_base = other.m_base;
    m_cursor = other.m_cursor;
    m_length = other.m_length;
    m_codePage = other.m_codePage;
    m_current = other.m_current;
    m_charStart = other.m_charStart;
    m_end = other.m_end;
    m_multiByte = other.m_multiByte;
    return *this;
}

void XoAnsiTextIterator::init(const XoStringA& text, code_page_id codePage) {
    m_base = text.constStr();
    m_cursor = m_base;
    m_charStart = m_base;
    m_length = unsigned(text.numOfChars());
    m_end = m_base + m_length;
    m_codePage = codePage;
    m_current = 0;
    m_multiByte = IsMultiByteCodePage(codePage);
}

wchar_t XoAnsiTextIterator::nextChar() {
    m_charStart = m_cursor;
    m_current = 0;
    if ((m_length != 0 && m_cursor >= m_end) || *m_cursor == 0)
        return 0;

    // The escapes' digits are folded by appendDigits, as a caller would fold more.
    if (xo::encoding::cifEscapeAt(m_cursor, m_end) >= 0) {
        m_cursor += 3;
        return appendDigits(4, true);
    }
    xo::encoding::MifEscape mif;
    if (xo::encoding::mifEscapeAt(m_cursor, m_end, '0', '5', &mif)) {
        m_cursor += 4;
        return appendDigits(4, true);
    }

    const unsigned char byte = static_cast<unsigned char>(*m_cursor++);
    m_current = byte;
    if (m_multiByte && m_cursor < m_end && *m_cursor != 0 &&
        XoCharMapper::isLeadByte(byte, m_codePage)) {
        m_current = static_cast<unsigned short>(byte << 8 | static_cast<unsigned char>(*m_cursor));
        ++m_cursor;
    }
    return m_current;
}

wchar_t XoAnsiTextIterator::operator*() const {
    return m_current;
}

const char* XoAnsiTextIterator::currPos() const {
    return m_cursor;
}

wchar_t XoAnsiTextIterator::appendDigits(int count, bool hex) {
    const unsigned base = hex ? 16 : 10;
    for (int i = 0; i < count && m_cursor < m_end; ++i) {
        const int digit = digitValue(*m_cursor, hex);
        if (digit < 0)
            break;
        m_current = static_cast<unsigned short>(m_current * base + unsigned(digit));
        ++m_cursor;
    }
    return m_current;
}

wchar_t XoAnsiTextIterator::appendDigitsNoCheck(int count, bool hex) {
    const unsigned base = hex ? 16 : 10;
    for (int i = 0; i < count && m_cursor < m_end; ++i) {
        const int digit = digitValue(*m_cursor, hex);
        m_current = static_cast<unsigned short>(m_current * base + unsigned(digit < 0 ? 0 : digit));
        ++m_cursor;
    }
    return m_current;
}

int XoAnsiTextIterator::breakSafely(int maxBytes, XoStringA& out) {
    const char* start = m_cursor;
    nextChar();
    // Built aside and assigned last, so that out may be the very string being walked.
    XoStringA piece;
    piece.setCodepage(int(xo::platform::systemAnsiCodePage()));
    if ((m_length != 0 && m_cursor >= m_end) || *m_cursor == 0) {
        out = piece;
        return 0;
    }
    while (m_current != 0 && m_cursor - start < maxBytes)
        nextChar();

    const int count = int(m_charStart - start);
    char* bytes = count > 0 ? piece.getBuffer(count) : nullptr;
    if (bytes != nullptr) {
        std::memcpy(bytes, start, std::size_t(count));
        piece.releaseBuffer(count);
    }
    out = piece;
    return m_current != 0 ? 3 : 1;
}

bool XoAnsiTextIterator::XoAnsiTextIteratorNotRequired(const XoStringA& text,
                                                       code_page_id codePage) {
    return !IsMultiByteCodePage(codePage) && std::strchr(text.constStr(), '\\') == nullptr;
}
