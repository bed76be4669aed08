/// \file
/// The 8-bit strings. A string is one pointer to zero-terminated characters held in an
/// XoMemData block: the header in front of them counts the terminator among the
/// elements, so numOfChars() is the count less one (0 for the shared empty instance,
/// whose count is 0). Copies share the block; every operation that writes first makes
/// it private.
///
/// XoStringT<char, XoStrHeaderA> is the string of the library's interfaces, and
/// XoStringA is the same string whose header carries the Windows code page of its bytes.
/// Both are exported member by member. The members of XoStringT are defined in the
/// library, not here: they walk text through the runtime's multibyte functions, so the
/// one exported instantiation is the only one there is.
///
/// Characters and bytes. Where the multibyte functions are named (length, the XoStringT
/// finds) text is walked in characters of the process's current multibyte code page
/// (_getmbcp; a double-byte character is one character), not in the string's own code
/// page. Everything else counts bytes: numOfChars, indexes of getAt, setAt, insert,
/// removeChars, mid, left, right, and XoStringA's finds.
///
/// Operations kept as entry points only, which leave the text as it is: makeUpper,
/// makeLower, trimLeft, trimRight, remove (returns 0), spanIncluding and spanExcluding
/// (return an empty string), match and matchNoCase (return -1), replace(char, char)
/// (returns 0 when the characters are equal or the string is empty, else -1).
///
/// The XoMemData members stay reachable; they see the terminator as an element.
///
/// Memory: when a block cannot be had, an operation leaves the string as it was (or
/// returns null where it returns a buffer). Threads: copies that share a block may be
/// made and dropped on different threads; one string is not written from two at once.
#pragma once

#include "XoMemData.h"
#include "XoOsBaseExport.h"

#include <cstdarg>
#include <cstddef>

/// The 8-bit string of the library's interfaces, a copy-on-write XoMemData block of
/// zero-terminated characters. Memory: when a block cannot be had, an operation leaves
/// the string as it was (or returns null where it returns a buffer); nothing is thrown.
template <class T, class H>
class XoStringT : public XoMemData<T, H, XoMemDataAllocator, XoPodReallocator<T>> {
public:
    /// The buffer under the string, whose members stay reachable.
    using Buffer = XoMemData<T, H, XoMemDataAllocator, XoPodReallocator<T>>;

    /// The shared empty instance; cannot fail.
    XoStringT();
    /// Empty, with room for capacity characters and the terminator; without the room when
    /// memory runs out.
    explicit XoStringT(std::size_t capacity);
    /// As assign(const T*): a null or unreadable pointer gives the empty string, and so
    /// does memory running out.
    XoStringT(const T* text);
    /// As assign(const T*, int); empty when memory runs out.
    XoStringT(const T* text, int length);
    /// repeat copies of c; repeat below 1 gives the empty string, and so does memory
    /// running out.
    XoStringT(T c, int repeat);
    /// Shares the other's block (a locked one is copied; empty when that copy cannot be
    /// had).
    XoStringT(const XoStringT& other);
    /// Drops the string's reference on its block; cannot fail.
    ~XoStringT();

    /// assign(other): shares the other's block; returns this string.
    XoStringT& operator=(const XoStringT& other);
    /// assign(text), with its failures; returns this string.
    XoStringT& operator=(const T* text);
    /// assign(c), with its failures; returns this string.
    XoStringT& operator=(T c);

    /// Shares the other's block (a locked one is copied; the string stays as it was when
    /// that copy cannot be had). Returns this string.
    XoStringT& assign(const XoStringT& other);
    /// A null pointer, or one whose text cannot be read up to its terminator
    /// (IsBadReadPtr), releases the block: the string becomes empty. Otherwise the
    /// strlen + 1 bytes with the terminator are copied ("" thus gets a block of its own);
    /// the text may lie in the string itself. The string stays as it was when memory runs
    /// out. Returns this string.
    XoStringT& assign(const T* text);
    /// length bytes as they stand, zeros included, then a terminator; a null text or a
    /// length below 1 gives the empty string, and the string stays as it was when memory
    /// runs out. Returns this string.
    XoStringT& assign(const T* text, int length);
    /// The one character c; the string stays as it was when memory runs out.
    XoStringT& assign(T c);
    /// The empty text in a private block with room for capacity characters; the string
    /// stays as it was when memory runs out (or keeps the empty text without the room).
    XoStringT& assign(std::size_t capacity);

    /// Appends through the buffer's growth rule. Appending to an empty string shares the
    /// other's block, as XoMemData::append does. The string stays as it was when memory
    /// runs out. Returns this string.
    XoStringT& concat(const XoStringT& other);
    /// Appends the terminated text (which may lie in the string itself); nothing for a
    /// null text, and the string stays as it was when memory runs out.
    XoStringT& concat(const T* text);
    /// length bytes as they stand; nothing for a null text or a length below 1, and the
    /// string stays as it was when memory runs out.
    XoStringT& concat(const T* text, int length);
    /// Both pieces, first then second, with one reallocation at most; each piece as
    /// concat(const T*, int) takes it. The string stays as it was when memory runs out.
    XoStringT& concat(const T* first, int firstLength, const T* second, int secondLength);
    /// Appends one character (a 0 too); the string stays as it was when memory runs out.
    XoStringT& concat(T c);
    /// concat(other), with its failures; returns this string.
    XoStringT& operator+=(const XoStringT& other);
    /// concat(text), with its failures; returns this string.
    XoStringT& operator+=(const T* text);
    /// concat(c), with its failures; returns this string.
    XoStringT& operator+=(T c);

    /// Compares with the other's text: a null or empty text is 0 against the empty string
    /// and 1 against any other; the empty string is -1 against a non-empty text; else
    /// _mbscmp (-1, 0 or 1). Cannot fail.
    int compare(const XoStringT& other) const;
    /// compare against a terminated text, with the same rules; cannot fail.
    int compare(const T* text) const;
    /// compare with case folded as _mbsicmp folds it; the same rules for empty and null
    /// texts. Cannot fail.
    int compareNoCase(const XoStringT& other) const;
    /// compareNoCase against a terminated text; cannot fail.
    int compareNoCase(const T* text) const;

    /// Character indexes: start counts characters from the beginning, the result is the
    /// character index of the match, -1 when there is none, when the string is empty,
    /// when start is negative or not below the character length (a start of 0 is always
    /// allowed) or the text is null. find(T) tests the first byte of each character.
    int find(T c, int start = 0) const;
    /// The first occurrence of text from character start, found as _mbsstr finds it; -1
    /// under the same rules as find(T).
    int find(const T* text, int start = 0) const;
    /// From the last character back, testing first bytes; -1 when there is none or the
    /// string is empty.
    int findRev(T c) const;
    /// The last occurrence, found in reversed copies of both texts; -1 when there is none,
    /// for an empty string or a null text, and when the copies cannot be had.
    int findRev(const T* text) const;
    /// The first character whose first byte is in the set, by character index; -1 for
    /// none, the empty string or a null or empty set. Trail bytes are never tested.
    int findOneOf(const T* set) const;
    /// The last character whose first byte is in the set, by character index; -1 as
    /// findOneOf gives it.
    int findOneOfRev(const T* set) const;

    /// Inserts the bytes at a byte index, clamped to [0, numOfChars()]; returns the new
    /// numOfChars(). A null or empty text inserts nothing, and neither does memory running
    /// out.
    int insert(int index, const T* text);
    /// Inserts one byte at a byte index, clamped to [0, numOfChars()]; returns the new
    /// numOfChars(), unchanged when memory runs out.
    int insert(int index, T c);
    /// Looks for c and leaves the text as it is; returns 0.
    int remove(T c);
    /// Removes n bytes at start (fewer when the text ends first) and returns the new
    /// numOfChars(); returns 0 and changes nothing when the string is empty, start is
    /// negative or not below numOfChars(). A private copy that cannot be had removes
    /// nothing.
    int removeChars(int start, int n);
    /// Replaces every occurrence of oldText, left to right, also in pieces behind
    /// embedded zeros, and returns how many; 0 for the empty string, a null or empty
    /// oldText, or no occurrence (the block is private afterwards in every case but the
    /// first two), and 0 with the text unchanged when memory runs out. A null newText is
    /// the empty text. The string ends as long as the rewritten text; when it shrinks the
    /// block keeps its room.
    int replace(const T* oldText, const T* newText);
    /// Changes nothing: 0 when a equals b or the string is empty, -1 otherwise.
    int replace(T a, T b);

    /// mid(0, n): the first n bytes, or the empty string as mid gives it.
    XoStringT left(int n) const;
    /// Everything from byte start: mid(start, numOfChars()).
    XoStringT mid(int start) const;
    /// Byte ranges. mid: start below 0 counts as 0; empty when the string is empty, n is
    /// below 1 or start is not below numOfChars(); n is cut to the bytes that remain; the
    /// whole text shares the block. Empty when memory runs out.
    XoStringT mid(int start, int n) const;
    /// mid(numOfChars() - n, n) when n is below numOfChars(), else the whole string
    /// (shared).
    XoStringT right(int n) const;
    /// The empty string, whatever the set.
    XoStringT spanIncluding(const T* set) const;
    /// The empty string, whatever the set.
    XoStringT spanExcluding(const T* set) const;
    /// -1, whatever the pattern.
    int match(const T* pattern) const;
    /// -1, whatever the pattern.
    int matchNoCase(const T* pattern) const;

    /// Returns the string unchanged.
    XoStringT& makeUpper();
    /// Returns the string unchanged.
    XoStringT& makeLower();
    /// Reverses the characters in place (_mbsrev): double-byte characters keep their byte
    /// order. Nothing changes when the private copy cannot be had.
    XoStringT& makeReverse();
    /// Returns the string unchanged.
    XoStringT& trimLeft();
    /// Returns the string unchanged, whatever c.
    XoStringT& trimLeft(T c);
    /// Returns the string unchanged, whatever the set.
    XoStringT& trimLeft(const T* set);
    /// Returns the string unchanged.
    XoStringT& trimRight();
    /// Returns the string unchanged, whatever c.
    XoStringT& trimRight(T c);
    /// Returns the string unchanged, whatever the set.
    XoStringT& trimRight(const T* set);

    /// printf formatting with the Windows runtime's meaning ("%s" a narrow string, "%S" a
    /// wide one). A result shorter than one character leaves room for the present length;
    /// the count becomes strlen + 1 of the result. Arguments may point into this string.
    /// The string stays as it was when memory runs out.
    void format(const T* fmt, ...);
    /// The va_list form of format, with the same rules and failure.
    void formatV(const T* fmt, va_list args);

    /// The byte at index, unchecked; the empty string reads a static empty text.
    T getAt(int index) const;
    /// Makes the block private and stores c at the byte index, unchecked; stores nothing
    /// when the private copy cannot be had.
    void setAt(int index, T c);
    /// getAt(index): the byte at index, unchecked.
    T operator[](int index) const;
    /// The text; the static empty text for an empty string. Never null.
    operator const T*() const;
    /// The text; the static empty text for an empty string. Never null.
    const T* constStr() const;
    /// The writable text after making the block private; an empty string gets a block of
    /// its own holding just the terminator. When memory runs out an empty string gets the
    /// static empty text (not to be written), and a shared one its still shared block.
    T* rawStr();

    /// Private room for at least max(n, numOfChars()) characters and the terminator,
    /// keeping the text; the length is then that much. Null when memory runs out.
    T* getBuffer(int n);
    /// Ends writing through getBuffer: the length becomes n, or the length up to the first
    /// zero when n is negative, at most the room less the terminator; a terminator is
    /// written behind it. Nothing for an empty string or when the private copy cannot be
    /// had.
    void releaseBuffer(int n = -1);
    /// A private block with a terminator, locked: copies of the string copy it and
    /// dropping the string leaves it (XoMemData::lockBuffer). Null when memory runs out.
    T* lockBuffer();
    /// Makes a locked block an ordinary one again; nothing for a block that is not
    /// locked. Cannot fail.
    void unlockBuffer();

    /// Room for characters, without the terminator; cannot fail.
    std::size_t capacity() const;
    /// Room for max(n, numOfChars()) characters and the terminator; nothing for an
    /// empty string at the shared empty instance and n = 0. The room stays as it was when
    /// memory runs out.
    void setCapacity(std::size_t n);
    /// The bytes of the text before the terminator (the count less one); cannot fail.
    int numOfChars() const;
    /// 0 (or below) releases the block and attaches the shared empty instance; the
    /// present length changes nothing; any other length makes the block private with
    /// room for n + 1 and writes a terminator at n (bytes beyond the old text are not
    /// set). The string stays as it was when memory runs out.
    void setNumOfChars(int n);
    /// Whether numOfChars() is 0; cannot fail.
    bool isEmpty() const;
    /// Every byte of the text, as a signed char, at least 32; true for the empty string.
    bool isAscii() const;
    /// setNumOfChars(0): the shared empty instance; cannot fail.
    void setEmpty();
};

extern template class XOOSBASE_API XoStringT<char, XoStrHeaderA>;

/// The 8-bit text of drawings. Every constructor builds its text, then makes the header
/// private and stores a code page in it: GetACP() of the moment, or the code page given
/// to the three-argument constructor. No two XoStringA share a header when they are
/// made, so an empty XoStringA owns a private empty block and a copy constructor copies
/// the bytes (and takes GetACP(), not the source's code page). Assignment shares, code
/// page included. When memory runs out a constructor leaves the string empty or shared,
/// and the code page is then not stored (the shared header's is read instead).
class XOOSBASE_API XoStringA : public XoStringT<char, XoStrHeaderA> {
public:
    /// Empty, in a private block with GetACP()'s code page.
    XoStringA();
    /// Empty with room for capacity characters, with GetACP()'s code page.
    explicit XoStringA(std::size_t capacity);
    /// A copy of the terminated text (null or unreadable: empty), with GetACP()'s code
    /// page.
    XoStringA(const char* text);
    /// length bytes of text as they stand (null or below 1: empty), with GetACP()'s code
    /// page.
    XoStringA(const char* text, int length);
    /// length bytes of text as they stand (null or below 1: empty), with the code page
    /// given.
    XoStringA(const char* text, int length, int codePage);
    /// repeat copies of c (below 1: empty), with GetACP()'s code page.
    XoStringA(char c, int repeat);
    /// A private copy of the text's bytes, with GetACP()'s code page.
    XoStringA(const XoStringT<char, XoStrHeaderA>& text);
    /// A private copy of the other's bytes, with GetACP()'s code page, not the other's.
    XoStringA(const XoStringA& other);
    /// Drops the string's reference on its block; cannot fail.
    ~XoStringA();

    /// Shares the other's block, code page included; returns this string.
    XoStringA& operator=(const XoStringA& other);

    /// Characters (_mbslen in the current multibyte code page), 0 for the empty string.
    int length() const;
    /// The Windows code page stored in the header; cannot fail.
    int codepage() const;
    /// Makes the block private and stores the code page; returns the previous one. The
    /// code page is not stored when the private block cannot be had.
    int setCodepage(int codePage);
    /// Byte offsets: -1 when the string is empty, start is negative or start is greater
    /// than length() (characters, though start is a byte offset); else strchr or strstr
    /// from byte start, and the byte offset of the match, -1 when there is none.
    int find(char c, int start = 0) const;
    /// The byte offset of text from byte start (strstr); -1 under the same rules as
    /// find(char) and for a null text.
    int find(const char* text, int start = 0) const;
};
