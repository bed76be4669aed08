// The Windows runtime's wide character classes in the C locale, the same on every
// target (tables generated from the runtime by tools/wctypegen).
#pragma once

namespace xo::widectype {

bool isLower(unsigned int unit); // iswlower
bool isSpace(unsigned int unit); // iswspace
bool isDigit(unsigned int unit); // iswdigit

// towupper and towlower of the C locale: ASCII letters only.
unsigned int toUpper(unsigned int unit);
unsigned int toLower(unsigned int unit);

} // namespace xo::widectype
