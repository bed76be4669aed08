#include "XoString.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <type_traits>
#include <utility>

#include "containers/xolasttext.h"
#include "platform/faultguard.h"
#include "runtime/xoformatter.h"
#include "runtime/xombcs.h"

namespace {

using xo::mbcs::bytes;
using xo::mbcs::chars;

using Bytes = const unsigned char*;

// What an empty string reads: never the shared empty header's null data.
const char kEmptyText[1] = {0};

// The element pointer of a buffer, writable, without unsharing.
template <class B> auto* charsOf(const B& b) {
    return B::getDataPtr(b.header());
}

// Whether p points into the block of b (its text or its spare room).
template <class B, class T> bool holds(const B& b, const T* p) {
    const std::less<const T*> before;
    const T* first = charsOf(b);
    return b.allocCount() != 0 && !before(p, first) && before(p, first + b.allocCount());
}

// The length of a zero-terminated text handed in by a caller, or false when its bytes
// cannot all be read: the scan runs with access faults turned into that answer.
struct Scan {
    const char* text;
    std::size_t length;
};

void scan(void* context) {
    auto* s = static_cast<Scan*>(context);
    s->length = std::strlen(s->text);
}

bool readableLength(const char* text, std::size_t& length) {
    namespace os = xo::platform;
    Scan s{text, 0};
    if (os::runGuarded(os::kFaultAccessViolation | os::kFaultPageNotReadable, scan, &s) !=
        os::kNoFault)
        return false;
    length = s.length;
    return true;
}

// Bytes held apart from a string while it is rewritten or reallocated: a copy when they
// lie in the string's own block, else the bytes where they are.
template <class B> class Stable {
public:
    using T = std::remove_pointer_t<decltype(charsOf(std::declval<B>()))>;
    Stable(const B& owner, const T* text, std::size_t n) : text_(text) {
        if (text == nullptr || n == 0 || !holds(owner, text))
            return;
        copy_ = static_cast<T*>(XoMemDataAllocator::allocate(n * sizeof(T)));
        text_ = copy_ == nullptr ? nullptr
                                 : static_cast<const T*>(std::memcpy(copy_, text, n * sizeof(T)));
        failed_ = copy_ == nullptr;
    }
    Stable(const Stable&) = delete;
    Stable& operator=(const Stable&) = delete;
    ~Stable() { XoMemDataAllocator::deallocate(copy_); }
    const T* get() const { return text_; }
    // The copy was needed and could not be had.
    bool failed() const { return failed_; }

private:
    T* copy_ = nullptr;
    const T* text_;
    bool failed_ = false;
};

} // namespace

#define XO_STRING template <class T, class H>
#define XO_STRING_T XoStringT<T, H>

XO_STRING XO_STRING_T::XoStringT() : Buffer() {}

XO_STRING XO_STRING_T::XoStringT(std::size_t capacity) : Buffer() {
    setCapacity(capacity);
}

XO_STRING XO_STRING_T::XoStringT(const T* text) : Buffer() {
    assign(text);
}

XO_STRING XO_STRING_T::XoStringT(const T* text, int length) : Buffer() {
    assign(text, length);
}

XO_STRING XO_STRING_T::XoStringT(T ch, int repeat) : Buffer() {
    if (repeat < 1 || !this->copyBeforeWrite(std::size_t(repeat) + 1))
        return;
    T* data = charsOf(*this);
    XoPodReallocator<T>::fill(data, ch, std::size_t(repeat));
    data[repeat] = 0;
}

XO_STRING XO_STRING_T::XoStringT(const XoStringT& other) : Buffer(other) {}

XO_STRING XO_STRING_T::~XoStringT() = default;

XO_STRING XO_STRING_T& XO_STRING_T::operator=(const XoStringT& other) {
    return assign(other);
}

XO_STRING XO_STRING_T& XO_STRING_T::operator=(const T* text) {
    return assign(text);
}

XO_STRING XO_STRING_T& XO_STRING_T::operator=(T ch) {
    return assign(ch);
}

XO_STRING XO_STRING_T& XO_STRING_T::assign(const XoStringT& other) {
    Buffer::assign(other);
    return *this;
}

XO_STRING XO_STRING_T& XO_STRING_T::assign(const T* text) {
    std::size_t length = 0;
    if (text == nullptr || !readableLength(text, length)) {
        Buffer::setEmpty();
        return *this;
    }
    const Stable<Buffer> source(*this, text, length + 1);
    if (!source.failed())
        Buffer::assign(source.get(), length + 1);
    return *this;
}

XO_STRING XO_STRING_T& XO_STRING_T::assign(const T* text, int length) {
    if (text == nullptr || length < 1) {
        Buffer::setEmpty();
        return *this;
    }
    const Stable<Buffer> source(*this, text, std::size_t(length));
    if (!source.failed() && this->copyBeforeWrite(std::size_t(length) + 1)) {
        T* data = charsOf(*this);
        XoPodReallocator<T>::copy(data, source.get(), std::size_t(length));
        data[length] = 0;
    }
    return *this;
}

XO_STRING XO_STRING_T& XO_STRING_T::assign(T ch) {
    return assign(&ch, 1);
}

XO_STRING XO_STRING_T& XO_STRING_T::assign(std::size_t capacity) {
    if (this->copyBeforeWrite(1)) {
        charsOf(*this)[0] = 0;
        setCapacity(capacity);
    }
    return *this;
}

XO_STRING XO_STRING_T& XO_STRING_T::concat(const XoStringT& other) {
    if (isEmpty())
        return assign(other);
    return concat(other.constStr(), other.numOfChars());
}

XO_STRING XO_STRING_T& XO_STRING_T::concat(const T* text) {
    if (text == nullptr)
        return *this;
    return concat(text, int(std::strlen(text)));
}

XO_STRING XO_STRING_T& XO_STRING_T::concat(const T* text, int length) {
    return concat(text, length, nullptr, 0);
}

XO_STRING XO_STRING_T& XO_STRING_T::concat(const T* first, int firstLength, const T* second,
                                           int secondLength) {
    const std::size_t n1 = first != nullptr && firstLength > 0 ? std::size_t(firstLength) : 0;
    const std::size_t n2 = second != nullptr && secondLength > 0 ? std::size_t(secondLength) : 0;
    if (n1 + n2 == 0)
        return *this;
    const Stable<Buffer> one(*this, first, n1);
    const Stable<Buffer> two(*this, second, n2);
    const std::size_t old = std::size_t(numOfChars());
    if (one.failed() || two.failed() || !this->copyBeforeWrite(old + n1 + n2 + 1))
        return *this;
    T* data = charsOf(*this);
    XoPodReallocator<T>::copy(data + old, one.get(), n1);
    XoPodReallocator<T>::copy(data + old + n1, two.get(), n2);
    data[old + n1 + n2] = 0;
    return *this;
}

XO_STRING XO_STRING_T& XO_STRING_T::concat(T ch) {
    // Room behind the text of a block of its own: what the general case ends in.
    H* own = this->header();
    const std::size_t count = own->m_nCount;
    if (count != 0 && count < own->m_nAllocCount &&
        own->m_nRefs.load(std::memory_order_acquire) <= 1) {
        T* data = charsOf(*this);
        data[count - 1] = ch;
        data[count] = 0;
        own->m_nCount = count + 1;
        return *this;
    }
    return concat(&ch, 1);
}

XO_STRING XO_STRING_T& XO_STRING_T::operator+=(const XoStringT& other) {
    return concat(other);
}

XO_STRING XO_STRING_T& XO_STRING_T::operator+=(const T* text) {
    return concat(text);
}

XO_STRING XO_STRING_T& XO_STRING_T::operator+=(T ch) {
    return concat(ch);
}

XO_STRING int XO_STRING_T::compare(const XoStringT& other) const {
    return compare(other.constStr());
}

XO_STRING int XO_STRING_T::compare(const T* text) const {
    if (text == nullptr || *text == 0)
        return isEmpty() ? 0 : 1;
    if (isEmpty())
        return -1;
    return xo::mbcs::cmp(bytes(constStr()), bytes(text));
}

XO_STRING int XO_STRING_T::compareNoCase(const XoStringT& other) const {
    return compareNoCase(other.constStr());
}

XO_STRING int XO_STRING_T::compareNoCase(const T* text) const {
    if (text == nullptr || *text == 0)
        return isEmpty() ? 0 : 1;
    if (isEmpty())
        return -1;
    return xo::mbcs::icmp(bytes(constStr()), bytes(text));
}

namespace {

// The character at index start of text, or null when start is negative or not below
// the character length; start 0 is always the beginning.
Bytes characterAt(Bytes text, int start) {
    if (start < 0)
        return nullptr;
    if (start == 0)
        return text;
    if (std::size_t(start) >= xo::mbcs::len(text))
        return nullptr;
    return xo::mbcs::ninc(text, std::size_t(start));
}

// The character index of the last character whose first byte passes the test.
template <class Test> int lastCharacter(Bytes text, Test test) {
    const std::size_t characters = xo::mbcs::len(text);
    if (characters == 0)
        return -1;
    int index = int(characters - 1);
    for (Bytes p = xo::mbcs::ninc(text, characters - 1); p != nullptr; p = xo::mbcs::dec(text, p)) {
        if (test(*p))
            return index;
        --index;
    }
    return -1;
}

// The character index of the first character from p on (at index) whose first byte
// passes the test.
template <class Test> int firstCharacter(Bytes p, int index, Test test) {
    for (; *p != 0; p = xo::mbcs::inc(p), ++index)
        if (test(*p))
            return index;
    return -1;
}

bool inSet(const char* set, unsigned char b) {
    return std::strchr(set, b) != nullptr;
}

} // namespace

XO_STRING int XO_STRING_T::find(T ch, int start) const {
    if (isEmpty())
        return -1;
    const Bytes from = characterAt(bytes(constStr()), start);
    if (from == nullptr)
        return -1;
    const unsigned char wanted = static_cast<unsigned char>(ch);
    return firstCharacter(from, start, [wanted](unsigned char b) { return b == wanted; });
}

XO_STRING int XO_STRING_T::find(const T* text, int start) const {
    if (isEmpty() || text == nullptr)
        return -1;
    const Bytes all = bytes(constStr());
    const Bytes from = characterAt(all, start);
    if (from == nullptr)
        return -1;
    const Bytes found = xo::mbcs::str(from, bytes(text));
    if (found == nullptr)
        return -1;
    return int(xo::mbcs::len(all) - xo::mbcs::len(found));
}

XO_STRING int XO_STRING_T::findRev(T ch) const {
    if (isEmpty())
        return -1;
    const unsigned char wanted = static_cast<unsigned char>(ch);
    return lastCharacter(bytes(constStr()), [wanted](unsigned char b) { return b == wanted; });
}

// Out of memory it finds nothing: reversing a copy that could not be had would write
// past the shared empty header.
XO_STRING int XO_STRING_T::findRev(const T* text) const {
    if (isEmpty() || text == nullptr)
        return -1;
    return xo::lastTextIndex<XoMemDataAllocator>(constStr(), text);
}

XO_STRING int XO_STRING_T::findOneOf(const T* set) const {
    if (isEmpty() || set == nullptr || *set == 0)
        return -1;
    return firstCharacter(bytes(constStr()), 0, [set](unsigned char b) { return inSet(set, b); });
}

XO_STRING int XO_STRING_T::findOneOfRev(const T* set) const {
    if (isEmpty() || set == nullptr || *set == 0)
        return -1;
    return lastCharacter(bytes(constStr()), [set](unsigned char b) { return inSet(set, b); });
}

XO_STRING int XO_STRING_T::insert(int index, const T* text) {
    const std::size_t n = text == nullptr ? 0 : std::strlen(text);
    if (n == 0)
        return numOfChars();
    if (this->count() == 0) {
        concat(text, int(n));
        return numOfChars();
    }
    const std::size_t at = index < 0 ? 0 : std::min(std::size_t(index), std::size_t(numOfChars()));
    const Stable<Buffer> source(*this, text, n);
    const std::size_t old = this->count();
    if (!source.failed() && this->allocAt(at, n) == old + n)
        XoPodReallocator<T>::copy(charsOf(*this) + at, source.get(), n);
    return numOfChars();
}

XO_STRING int XO_STRING_T::insert(int index, T ch) {
    if (this->count() == 0) {
        concat(ch);
        return numOfChars();
    }
    const std::size_t at = index < 0 ? 0 : std::min(std::size_t(index), std::size_t(numOfChars()));
    const std::size_t old = this->count();
    if (this->allocAt(at, 1) == old + 1)
        charsOf(*this)[at] = ch;
    return numOfChars();
}

// Deliberately leaves the text as it is (see spanIncluding).
XO_STRING int XO_STRING_T::remove(T ch) {
    (void)find(ch, 0);
    return 0;
}

XO_STRING int XO_STRING_T::removeChars(int start, int n) {
    const int length = numOfChars();
    if (length == 0 || start < 0 || start >= length)
        return 0;
    if (n > 0)
        this->removeAt(std::size_t(start), std::size_t(std::min(n, length - start)));
    return numOfChars();
}

XO_STRING int XO_STRING_T::replace(const T* oldText, const T* newText) {
    const std::size_t length = std::size_t(numOfChars());
    if (length == 0 || oldText == nullptr || *oldText == 0)
        return 0;
    const std::size_t oldLength = std::strlen(oldText);
    const std::size_t newLength = newText == nullptr ? 0 : std::strlen(newText);
    const Stable<Buffer> from(*this, oldText, oldLength + 1);
    const Stable<Buffer> to(*this, newText, newLength);
    if (from.failed() || to.failed() || !this->copyIfShared())
        return 0;

    // Occurrences, a match at a time, and on past embedded zeros up to the count.
    T* data = charsOf(*this);
    std::size_t hits = 0;
    for (const T* p = data; p < data + length;) {
        if (const Bytes found = xo::mbcs::str(bytes(p), bytes(from.get()))) {
            ++hits;
            p = chars(found) + oldLength;
        } else {
            p += std::strlen(p) + 1;
        }
    }
    if (hits == 0)
        return 0;

    const bool grows = newLength > oldLength;
    const std::size_t finalLength =
        grows ? length + (newLength - oldLength) * hits : length - (oldLength - newLength) * hits;
    if (grows && !this->copyBeforeWrite(finalLength + 1))
        return 0;
    data = charsOf(*this);
    // Growing, the old text first moves to the end of the room, so that the rewrite,
    // left to right, never writes over bytes it has still to read.
    const T* read = data;
    if (grows) {
        XoPodReallocator<T>::move(data + (finalLength - length), data, length + 1);
        read = data + (finalLength - length);
    }
    const T* const readEnd = read + length;
    T* write = data;
    while (read < readEnd) {
        const Bytes found = xo::mbcs::str(bytes(read), bytes(from.get()));
        const std::size_t keep =
            found != nullptr ? std::size_t(chars(found) - read) : std::strlen(read);
        XoPodReallocator<T>::move(write, read, keep);
        write += keep;
        read += keep;
        if (found != nullptr) {
            XoPodReallocator<T>::copy(write, to.get(), newLength);
            write += newLength;
            read += oldLength;
        } else if (read < readEnd) {
            *write++ = *read++; // an embedded zero
        }
    }
    *write = 0;
    this->copyBeforeWrite(finalLength + 1); // private and not growing: sets the count
    return int(hits);
}

// Deliberately changes nothing (see spanIncluding).
XO_STRING int XO_STRING_T::replace(T a, T b) {
    return a == b || isEmpty() ? 0 : -1;
}

XO_STRING XO_STRING_T XO_STRING_T::left(int n) const {
    return mid(0, n);
}

XO_STRING XO_STRING_T XO_STRING_T::mid(int start) const {
    return mid(start, numOfChars());
}

XO_STRING XO_STRING_T XO_STRING_T::mid(int start, int n) const {
    if (start < 0)
        start = 0;
    const int length = numOfChars();
    if (length == 0 || n < 1 || start >= length)
        return XoStringT();
    if (n > length - start)
        n = length - start;
    if (start == 0 && n == length)
        return *this;
    return XoStringT(constStr() + start, n);
}

XO_STRING XO_STRING_T XO_STRING_T::right(int n) const {
    const int length = numOfChars();
    return n < length ? mid(length - n, n) : *this;
}

// From here to makeLower, members that deliberately do nothing or answer a constant:
// the application links against them and relies on those results, so they must not be
// "fixed" into working versions (remove, replace of one character and the trims are
// the same kind).
XO_STRING XO_STRING_T XO_STRING_T::spanIncluding(const T*) const {
    return XoStringT();
}

XO_STRING XO_STRING_T XO_STRING_T::spanExcluding(const T*) const {
    return XoStringT();
}

XO_STRING int XO_STRING_T::match(const T*) const {
    return -1;
}

XO_STRING int XO_STRING_T::matchNoCase(const T*) const {
    return -1;
}

XO_STRING XO_STRING_T& XO_STRING_T::makeUpper() {
    return *this;
}

XO_STRING XO_STRING_T& XO_STRING_T::makeLower() {
    return *this;
}

XO_STRING XO_STRING_T& XO_STRING_T::makeReverse() {
    if (!isEmpty() && this->copyIfShared())
        xo::mbcs::rev(bytes(charsOf(*this)));
    return *this;
}

// The trims deliberately trim nothing (see spanIncluding): setting the present length
// is all they do.
XO_STRING XO_STRING_T& XO_STRING_T::trimLeft() {
    setNumOfChars(numOfChars());
    return *this;
}

XO_STRING XO_STRING_T& XO_STRING_T::trimLeft(T) {
    return trimLeft();
}

XO_STRING XO_STRING_T& XO_STRING_T::trimLeft(const T*) {
    return trimLeft();
}

XO_STRING XO_STRING_T& XO_STRING_T::trimRight() {
    setNumOfChars(numOfChars());
    return *this;
}

XO_STRING XO_STRING_T& XO_STRING_T::trimRight(T) {
    return trimRight();
}

XO_STRING XO_STRING_T& XO_STRING_T::trimRight(const T*) {
    return trimRight();
}

XO_STRING void XO_STRING_T::format(const T* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    formatV(fmt, args);
    va_end(args);
}

XO_STRING void XO_STRING_T::formatV(const T* fmt, va_list args) {
    va_list measuring;
    va_copy(measuring, args);
    int length = xo::XoFormatter::formatV(static_cast<T*>(nullptr), 0, fmt, measuring);
    va_end(measuring);
    if (length < 1)
        length = numOfChars();
    // The arguments may point into the present block: it stays alive, and unwritten,
    // until the text is formatted into a new one.
    const Buffer keep(*this);
    if (!this->copyBeforeWrite(std::size_t(length) + 1))
        return;
    T* data = charsOf(*this);
    xo::XoFormatter::formatV(data, std::size_t(length) + 1, fmt, args);
    this->copyBeforeWrite(std::strlen(data) + 1);
}

XO_STRING T XO_STRING_T::getAt(int index) const {
    return constStr()[index];
}

XO_STRING void XO_STRING_T::setAt(int index, T ch) {
    Buffer::setAt(std::size_t(index), ch);
}

XO_STRING T XO_STRING_T::operator[](int index) const {
    return constStr()[index];
}

XO_STRING XO_STRING_T::operator const T*() const {
    return constStr();
}

XO_STRING const T* XO_STRING_T::constStr() const {
    return this->count() == 0 ? kEmptyText : charsOf(*this);
}

XO_STRING T* XO_STRING_T::rawStr() {
    if (this->count() == 0) {
        if (!this->copyBeforeWrite(1))
            return const_cast<T*>(kEmptyText); // out of memory: the text to read stays ""
        charsOf(*this)[0] = 0;
        return charsOf(*this);
    }
    this->copyIfShared();
    return charsOf(*this);
}

XO_STRING T* XO_STRING_T::getBuffer(int n) {
    const int length = numOfChars();
    if (n < length)
        n = length;
    if (!this->copyBeforeWrite(std::size_t(n) + 1))
        return nullptr;
    T* data = charsOf(*this);
    data[n] = 0;
    return data;
}

XO_STRING void XO_STRING_T::releaseBuffer(int n) {
    if (this->count() == 0 || !this->copyIfShared())
        return;
    T* data = charsOf(*this);
    const std::size_t most = this->allocCount() - 1;
    std::size_t length = std::min(std::size_t(n), most);
    if (n < 0) {
        const void* zero = std::memchr(data, 0, most);
        length = zero != nullptr ? std::size_t(static_cast<const T*>(zero) - data) : most;
    }
    data[length] = 0;
    this->header()->m_nCount = length + 1;
}

XO_STRING T* XO_STRING_T::lockBuffer() {
    if (this->count() == 0) {
        if (!this->copyBeforeWrite(1))
            return nullptr;
        charsOf(*this)[0] = 0;
    }
    return Buffer::lockBuffer();
}

XO_STRING void XO_STRING_T::unlockBuffer() {
    Buffer::unlockBuffer();
}

XO_STRING std::size_t XO_STRING_T::capacity() const {
    return this->allocCount() == 0 ? 0 : this->allocCount() - 1;
}

XO_STRING void XO_STRING_T::setCapacity(std::size_t n) {
    if (n == 0 && this->count() == 0)
        return;
    std::size_t room = n + 1;
    if (room < this->count() || room == 0)
        room = this->count();
    Buffer::setAllocCount(room);
}

XO_STRING int XO_STRING_T::numOfChars() const {
    return this->count() == 0 ? 0 : int(this->count() - 1);
}

XO_STRING void XO_STRING_T::setNumOfChars(int n) {
    if (n <= 0) {
        Buffer::setEmpty();
        return;
    }
    if (n == numOfChars())
        return;
    if (this->copyBeforeWrite(std::size_t(n) + 1))
        charsOf(*this)[n] = 0;
}

XO_STRING bool XO_STRING_T::isEmpty() const {
    return numOfChars() == 0;
}

XO_STRING bool XO_STRING_T::isAscii() const {
    const T* text = constStr();
    const int length = numOfChars();
    for (int i = 0; i < length; ++i)
        if (static_cast<signed char>(text[i]) < 32)
            return false;
    return true;
}

XO_STRING void XO_STRING_T::setEmpty() {
    setNumOfChars(0);
}

#undef XO_STRING_T
#undef XO_STRING

// The header's explicit instantiation declaration already carries the export attribute,
// so GCC calls this one redundant; it stays for compilers that read it here.
#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wattributes"
#endif

template class XOOSBASE_API XoStringT<char, XoStrHeaderA>;
