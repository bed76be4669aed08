// The 8-bit strings. A string is one pointer to zero-terminated characters held in an
// XoMemData block: the header in front of them counts the terminator among the
// elements, so numOfChars() is the count less one (0 for the shared empty instance,
// whose count is 0). Copies share the block; every operation that writes first makes
// it private.
//
// XoStringT<char, XoStrHeaderA> is the string of the library's interfaces, and
// XoStringA is the same string whose header carries the Windows code page of its bytes.
// Both are exported member by member. The members of XoStringT are defined in the
// library, not here: they walk text through the runtime's multibyte functions, so the
// one exported instantiation is the only one there is.
//
// Characters and bytes. Where the multibyte functions are named (length, the XoStringT
// finds) text is walked in characters of the process's current multibyte code page
// (_getmbcp; a double-byte character is one character), not in the string's own code
// page. Everything else counts bytes: numOfChars, indexes of getAt, setAt, insert,
// removeChars, mid, left, right, and XoStringA's finds.
//
// Operations kept as entry points only, which leave the text as it is: makeUpper,
// makeLower, trimLeft, trimRight, remove (returns 0), spanIncluding and spanExcluding
// (return an empty string), match and matchNoCase (return -1), replace(char, char)
// (returns 0 when the characters are equal or the string is empty, else -1).
//
// The XoMemData members stay reachable; they see the terminator as an element.
//
// Memory: when a block cannot be had, an operation leaves the string as it was (or
// returns null where it returns a buffer). Threads: copies that share a block may be
// made and dropped on different threads; one string is not written from two at once.
#pragma once

#include "XoMemData.h"
#include "XoOsBaseExport.h"

#include <cstdarg>
#include <cstddef>

template <class T, class H>
class XoStringT : public XoMemData<T, H, XoMemDataAllocator, XoPodReallocator<T>> {
public:
    using Buffer = XoMemData<T, H, XoMemDataAllocator, XoPodReallocator<T>>;

    // The shared empty instance.
    XoStringT();
    // Empty, with room for capacity characters and the terminator.
    explicit XoStringT(std::size_t capacity);
    // As assign(const T*): a null or unreadable pointer gives the empty string.
    XoStringT(const T* text);
    // As assign(const T*, int).
    XoStringT(const T* text, int length);
    // repeat copies of c; repeat below 1 gives the empty string.
    XoStringT(T c, int repeat);
    // Shares the other's block.
    XoStringT(const XoStringT& other);
    ~XoStringT();

    XoStringT& operator=(const XoStringT& other);
    XoStringT& operator=(const T* text);
    XoStringT& operator=(T c);

    // Shares the other's block.
    XoStringT& assign(const XoStringT& other);
    // A null pointer, or one whose text cannot be read up to its terminator
    // (IsBadReadPtr), releases the block: the string becomes empty. Otherwise the
    // strlen + 1 bytes with the terminator are copied ("" thus gets a block of its own).
    XoStringT& assign(const T* text);
    // length bytes as they stand, zeros included, then a terminator; a null text or a
    // length below 1 gives the empty string.
    XoStringT& assign(const T* text, int length);
    // The one character c.
    XoStringT& assign(T c);
    // The empty text in a private block with room for capacity characters.
    XoStringT& assign(std::size_t capacity);

    // Appends through the buffer's growth rule. Appending to an empty string shares the
    // other's block, as XoMemData::append does.
    XoStringT& concat(const XoStringT& other);
    // Nothing for a null text.
    XoStringT& concat(const T* text);
    // length bytes as they stand; nothing for a null text or a length below 1.
    XoStringT& concat(const T* text, int length);
    // Both pieces, first then second, with one reallocation at most; each piece as
    // concat(const T*, int) takes it.
    XoStringT& concat(const T* first, int firstLength, const T* second, int secondLength);
    XoStringT& concat(T c);
    XoStringT& operator+=(const XoStringT& other);
    XoStringT& operator+=(const T* text);
    XoStringT& operator+=(T c);

    // A null or empty text is 0 against the empty string and 1 against any other; the
    // empty string is -1 against a non-empty text; else _mbscmp or _mbsicmp.
    int compare(const XoStringT& other) const;
    int compare(const T* text) const;
    int compareNoCase(const XoStringT& other) const;
    int compareNoCase(const T* text) const;

    // Character indexes: start counts characters from the beginning, the result is the
    // character index of the match, -1 when there is none, when the string is empty,
    // when start is negative or not below the character length (a start of 0 is always
    // allowed) or the text is null. find(T) tests the first byte of each character.
    int find(T c, int start = 0) const;
    int find(const T* text, int start = 0) const;
    // From the last character back; -1 when there is none.
    int findRev(T c) const;
    // The last occurrence, found in reversed copies of both texts.
    int findRev(const T* text) const;
    // The first (last) character whose first byte is in the set, by character index; -1
    // for the empty string or a null or empty set. Trail bytes are never tested.
    int findOneOf(const T* set) const;
    int findOneOfRev(const T* set) const;

    // Inserts the bytes at a byte index, clamped to [0, numOfChars()]; returns the new
    // numOfChars(). A null or empty text inserts nothing.
    int insert(int index, const T* text);
    int insert(int index, T c);
    // Looks for c and leaves the text as it is; returns 0.
    int remove(T c);
    // Removes n bytes at start (fewer when the text ends first) and returns the new
    // numOfChars(); returns 0 and changes nothing when the string is empty, start is
    // negative or not below numOfChars().
    int removeChars(int start, int n);
    // Replaces every occurrence of oldText, left to right, also in pieces behind
    // embedded zeros, and returns how many; 0 for the empty string, a null or empty
    // oldText, or no occurrence (the block is private afterwards in every case but the
    // first two). A null newText is the empty text. The string ends as long as the
    // rewritten text; when it shrinks the block keeps its room.
    int replace(const T* oldText, const T* newText);
    // Changes nothing: 0 when a equals b or the string is empty, -1 otherwise.
    int replace(T a, T b);

    // Byte ranges. mid: start below 0 counts as 0; empty when the string is empty, n is
    // below 1 or start is not below numOfChars(); n is cut to the bytes that remain; the
    // whole text shares the block. mid(start) is everything from start.
    XoStringT left(int n) const; // mid(0, n)
    XoStringT mid(int start) const;
    XoStringT mid(int start, int n) const;
    // mid(numOfChars() - n, n) when n is below numOfChars(), else the whole string
    // (shared).
    XoStringT right(int n) const;
    // The empty string, whatever the set.
    XoStringT spanIncluding(const T* set) const;
    XoStringT spanExcluding(const T* set) const;
    // -1, whatever the pattern.
    int match(const T* pattern) const;
    int matchNoCase(const T* pattern) const;

    // Return the string unchanged.
    XoStringT& makeUpper();
    XoStringT& makeLower();
    // Reverses the characters in place (_mbsrev): double-byte characters keep their byte
    // order.
    XoStringT& makeReverse();
    // Return the string unchanged.
    XoStringT& trimLeft();
    XoStringT& trimLeft(T c);
    XoStringT& trimLeft(const T* set);
    XoStringT& trimRight();
    XoStringT& trimRight(T c);
    XoStringT& trimRight(const T* set);

    // printf formatting with the Windows runtime's meaning (%s a narrow string, %S a wide
    // one). A result shorter than one character leaves room for the present length; the
    // count becomes strlen + 1 of the result. Arguments may point into this string.
    void format(const T* fmt, ...);
    void formatV(const T* fmt, va_list args);

    // The byte at index, unchecked; the empty string reads a static empty text.
    T getAt(int index) const;
    // Makes the block private and stores c at the byte index, unchecked.
    void setAt(int index, T c);
    T operator[](int index) const;
    // The text; the static empty text for an empty string.
    operator const T*() const;
    const T* constStr() const;
    // The writable text after making the block private; an empty string gets a block of
    // its own holding just the terminator.
    T* rawStr();

    // Private room for at least max(n, numOfChars()) characters and the terminator,
    // keeping the text; the length is then that much. Null when memory runs out.
    T* getBuffer(int n);
    // Ends writing through getBuffer: the length becomes n, or the length up to the first
    // zero when n is negative, at most the room less the terminator; a terminator is
    // written behind it.
    void releaseBuffer(int n = -1);
    // A private block with a terminator, locked: copies of the string copy it and
    // dropping the string leaves it (XoMemData::lockBuffer).
    T* lockBuffer();
    void unlockBuffer();

    // Room for characters, without the terminator.
    std::size_t capacity() const;
    // Room for max(n, numOfChars()) characters and the terminator; nothing for an
    // empty string at the shared empty instance and n = 0.
    void setCapacity(std::size_t n);
    int numOfChars() const;
    // 0 (or below) releases the block and attaches the shared empty instance; the
    // present length changes nothing; any other length makes the block private with
    // room for n + 1 and writes a terminator at n (bytes beyond the old text are not
    // set).
    void setNumOfChars(int n);
    bool isEmpty() const;
    // Every byte of the text, as a signed char, at least 32; true for the empty string.
    bool isAscii() const;
    // setNumOfChars(0).
    void setEmpty();
};

extern template class XOOSBASE_API XoStringT<char, XoStrHeaderA>;

// The 8-bit text of drawings. Every constructor builds its text, then makes the header
// private and stores a code page in it: GetACP() of the moment, or the code page given
// to the three-argument constructor. No two XoStringA share a header when they are
// made, so an empty XoStringA owns a private empty block and a copy constructor copies
// the bytes (and takes GetACP(), not the source's code page). Assignment shares, code
// page included.
class XOOSBASE_API XoStringA : public XoStringT<char, XoStrHeaderA> {
public:
    XoStringA();
    explicit XoStringA(std::size_t capacity);
    XoStringA(const char* text);
    XoStringA(const char* text, int length);
    XoStringA(const char* text, int length, int codePage);
    XoStringA(char c, int repeat);
    XoStringA(const XoStringT<char, XoStrHeaderA>& text);
    XoStringA(const XoStringA& other);
    ~XoStringA();

    XoStringA& operator=(const XoStringA& other);

    // Characters (_mbslen in the current multibyte code page), 0 for the empty string.
    int length() const;
    int codepage() const;
    // Makes the block private and stores the code page; returns the previous one.
    int setCodepage(int codePage);
    // Byte offsets: -1 when the string is empty, start is negative or start is greater
    // than length() (characters, though start is a byte offset); else strchr or strstr
    // from byte start, and the byte offset of the match.
    int find(char c, int start = 0) const;
    int find(const char* text, int start = 0) const;
};
