// The C runtime's multibyte string functions (_mbslen, _mbsinc, _mbsstr, ...), written
// once for both targets: lead-byte-aware walks over the process's current multibyte
// code page (xo::platform::multiByteCodePage, _getmbcp on Windows). A lead byte followed
// by the terminator is not a character: lengths and counted walks stop before it, and
// inc steps over it alone; no walk passes the terminator.
#pragma once

#include <cstddef>

namespace xo::mbcs {

// The walks take bytes and the library's text is char: the one place that casts.
inline unsigned char* bytes(char* s) {
    return reinterpret_cast<unsigned char*>(s);
}
inline const unsigned char* bytes(const char* s) {
    return reinterpret_cast<const unsigned char*>(s);
}
inline char* chars(unsigned char* s) {
    return reinterpret_cast<char*>(s);
}
inline const char* chars(const unsigned char* s) {
    return reinterpret_cast<const char*>(s);
}

// Whether byte b is a lead byte of the current multibyte code page.
bool isLeadByte(unsigned char b);

unsigned char* inc(const unsigned char* p);                                     // _mbsinc
unsigned char* ninc(const unsigned char* p, std::size_t count);                 // _mbsninc
unsigned char* dec(const unsigned char* start, const unsigned char* p);         // _mbsdec
std::size_t len(const unsigned char* s);                                        // _mbslen
unsigned char* str(const unsigned char* haystack, const unsigned char* needle); // _mbsstr

int cmp(const unsigned char* a, const unsigned char* b);                      // _mbscmp
int ncmp(const unsigned char* a, const unsigned char* b, std::size_t count);  // _mbsncmp
int icmp(const unsigned char* a, const unsigned char* b);                     // _mbsicmp
int nicmp(const unsigned char* a, const unsigned char* b, std::size_t count); // _mbsnicmp

// Collation in the C locale, where it is the order of characters: as cmp and ncmp,
// case-insensitive as icmp and nicmp.
int coll(const unsigned char* a, const unsigned char* b);
int ncoll(const unsigned char* a, const unsigned char* b, std::size_t count);
int icoll(const unsigned char* a, const unsigned char* b);
int nicoll(const unsigned char* a, const unsigned char* b, std::size_t count);

unsigned char* rev(unsigned char* s); // _mbsrev: double-byte characters keep their order
unsigned char* upr(unsigned char* s); // _mbsupr
unsigned char* lwr(unsigned char* s); // _mbslwr

// Characters: a single byte, or lead << 8 | trail. Case follows the code page: a
// character is a letter when its UTF-16 unit is (Latin, Greek, Cyrillic, full-width
// forms), and maps when the page has the other case in the same width. Whole strings
// (upr, lwr, icmp) map only ASCII among single bytes, as the runtime's do. Beyond ASCII
// the digits are the superscript and full-width ones, the spaces the no-break and the
// ideographic space.
unsigned int toUpper(unsigned int c); // _mbctoupper
unsigned int toLower(unsigned int c); // _mbctolower
bool isLower(unsigned int c);         // _ismbclower
bool isUpper(unsigned int c);         // _ismbcupper
bool isSpace(unsigned int c);         // _ismbcspace
bool isDigit(unsigned int c);         // _ismbcdigit

} // namespace xo::mbcs
