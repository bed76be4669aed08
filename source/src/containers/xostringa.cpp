#include "XoString.h"

#include <cstring>

#include "platform/codepage.h"
#include "runtime/xombcs.h"

namespace {

using xo::mbcs::bytes;
using xo::mbcs::chars;

int ansiCodePage() {
    return int(xo::platform::systemAnsiCodePage());
}

// Every constructor ends here: the header becomes the string's own (a shared one, the
// empty instance included, is copied), then takes the code page.
void ownHeader(XoStringA& s, int codePage) {
    if (s.copyIfShared() && !s.isEmptyData())
        s.header()->m_nCodePage = codePage;
}

} // namespace

XoStringA::XoStringA() {
    ownHeader(*this, ansiCodePage());
}

XoStringA::XoStringA(std::size_t capacity) : XoStringT(capacity) {
    ownHeader(*this, ansiCodePage());
}

XoStringA::XoStringA(const char* text) : XoStringT(text) {
    ownHeader(*this, ansiCodePage());
}

XoStringA::XoStringA(const char* text, int length) : XoStringT(text, length) {
    ownHeader(*this, ansiCodePage());
}

XoStringA::XoStringA(const char* text, int length, int codePage) : XoStringT(text, length) {
    ownHeader(*this, codePage);
}

XoStringA::XoStringA(char c, int repeat) : XoStringT(c, repeat) {
    ownHeader(*this, ansiCodePage());
}

XoStringA::XoStringA(const XoStringT<char, XoStrHeaderA>& text) : XoStringT(text) {
    ownHeader(*this, ansiCodePage());
}

XoStringA::XoStringA(const XoStringA& other) : XoStringT(other) {
    ownHeader(*this, ansiCodePage());
}

XoStringA::~XoStringA() = default;

XoStringA& XoStringA::operator=(const XoStringA& other) {
    XoStringT::operator=(other);
    return *this;
}

int XoStringA::length() const {
    return isEmpty() ? 0 : int(xo::mbcs::len(bytes(constStr())));
}

int XoStringA::codepage() const {
    return header()->m_nCodePage;
}

int XoStringA::setCodepage(int codePage) {
    const int previous = codepage();
    if (copyIfShared() && !isEmptyData())
        header()->m_nCodePage = codePage;
    return previous;
}

int XoStringA::find(char c, int start) const {
    if (isEmpty() || start < 0 || start > length())
        return -1;
    const char* text = constStr();
    const char* found = std::strchr(text + start, c);
    return found == nullptr ? -1 : int(found - text);
}

int XoStringA::find(const char* text, int start) const {
    if (isEmpty() || text == nullptr || start < 0 || start > length())
        return -1;
    const char* all = constStr();
    const char* found = std::strstr(all + start, text);
    return found == nullptr ? -1 : int(found - all);
}
