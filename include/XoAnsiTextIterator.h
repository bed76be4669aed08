/// \file
/// Walks 8-bit drawing text one character at a time without converting it. A character
/// is one byte, a lead byte with its trail byte in a double-byte code page, a CIF escape
/// (`\U+XXXX`, giving its UTF-16 unit) or a MIF escape (`\M+DXXXX`, giving the raw
/// double-byte code XXXX, not a unit; here the digit may be "0" to "5"). A double-byte
/// character has its lead byte in the high 8 bits.
///
/// The iterator does not own the text: the string must outlive it and stay unchanged.
#pragma once

#include "XoCodePageMapper.h"
#include "XoOsBaseExport.h"
#include "XoString.h"

/// An iterator over the characters of 8-bit drawing text. Nothing it does allocates
/// except breakSafely, and nothing throws.
class XOOSBASE_API XoAnsiTextIterator {
public:
    /// Leaves every field unset; assign an iterator before use.
    XoAnsiTextIterator();
    /// At the first byte of the text, no character read yet. The code page decides
    /// which bytes lead a double-byte character; cannot fail.
    XoAnsiTextIterator(const XoStringA& text, code_page_id codePage);
    /// The same text at the same place; cannot fail.
    XoAnsiTextIterator(const XoAnsiTextIterator&) = default;
    /// Takes over the other's text and place; cannot fail.
    XoAnsiTextIterator& operator=(const XoAnsiTextIterator& other);

    /// Reads the next character and returns it; 0 at the end of the text (a 0 byte or
    /// the string's length), which is also the answer for every call after it.
    wchar_t nextChar();

    /// The character last read (0 before the first, and at the end).
    wchar_t operator*() const;
    /// The next byte to read; cannot fail.
    const char* currPos() const;

    /// Folds up to count decimal (or hexadecimal, either case) digits at the cursor into
    /// the current character, value = value * base + digit in 16 bits, and returns it. The
    /// first byte that is not a digit ends the fold and is not consumed, nor is anything
    /// at the end of the text; neither is a failure.
    wchar_t appendDigits(int count, bool hex);
    /// The same, but a byte that is not a digit counts as 0 and is consumed. The end of
    /// the text still ends the fold: nothing beyond it is read.
    wchar_t appendDigitsNoCheck(int count, bool hex);

    /// Copies into out the characters from the cursor that lie wholly before maxBytes
    /// bytes from it, less the one that reached the limit, even when it ends exactly at
    /// it. Returns 3 when text remains after the cut, 1 when the end was reached, and 0
    /// (out empty) when at most one character was left. out takes the Windows code page
    /// number of the system ANSI code page. The iterator is left after the character
    /// that ended the cut. When memory runs out, out is left empty and the result still
    /// says where the cut fell; out may be the string being walked.
    int breakSafely(int maxBytes, XoStringA& out);

    /// True when walking the bytes gives the same characters as the iterator: the code
    /// page is not double-byte and the text holds no backslash. Cannot fail.
    static bool XoAnsiTextIteratorNotRequired(const XoStringA& text, code_page_id codePage);

private:
    void init(const XoStringA& text, code_page_id codePage);

    const char* m_base;
    const char* m_cursor;
    unsigned int m_length;
    code_page_id m_codePage;
    unsigned short m_current;
    const char* m_charStart;
    const char* m_end;
    bool m_multiByte;
};
