/// \file
/// The copy-on-write element buffer under the 8-bit strings. A value is one pointer to
/// its first element; a header in front of the elements, in the same block, holds the
/// reference count and sizes. Copies share the block until one of them writes.
///
/// The library exports one instantiation,
/// XoMemData<char, XoStrHeaderA, XoMemDataAllocator, XoPodReallocator<char>>, and every
/// member of it. Members are defined out of the class on purpose: mingw never exports
/// inline members, and a client that does not inline them would find them missing.
/// append(element, n) is the exception (XOOSBASE_CLIENT_INLINE): inline in clients,
/// which then call the library only when the block must change.
#pragma once

#include "XoMemory.h"
#include "XoOsBaseExport.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

/// The header of an 8-bit string block.
struct XoStrHeaderA {
    /// 1 = one owner, above 1 = shared, -1 = locked by lockBuffer (one owner writing
    /// through a raw pointer). Changed only atomically.
    std::atomic<std::int32_t> m_nRefs;
    std::size_t m_nCount;      ///< elements in use
    std::size_t m_nAllocCount; ///< elements the block has room for
    std::size_t m_nGrowth;     ///< growth quantum
    /// The Windows code page of the bytes; XoMemData only carries it into new blocks.
    std::int32_t m_nCodePage;

    /// What a new block of the same data keeps from the old one: the growth quantum and
    /// the code page. Cannot fail.
    void inheritFrom(const XoStrHeaderA& from) {
        m_nGrowth = from.m_nGrowth;
        m_nCodePage = from.m_nCodePage;
    }
};

static_assert(sizeof(std::atomic<std::int32_t>) == 4, "the reference count is 32-bit");
static_assert(offsetof(XoStrHeaderA, m_nCount) == 8 &&
                  offsetof(XoStrHeaderA, m_nAllocCount) == 16 &&
                  offsetof(XoStrHeaderA, m_nGrowth) == 24 &&
                  offsetof(XoStrHeaderA, m_nCodePage) == 32 && sizeof(XoStrHeaderA) == 40,
              "clients compile against this layout");

/// The allocator of XoMemData blocks: the library's allocation entry points.
/// reallocate, which an allocator may leave out, resizes a block that one value alone
/// holds; it refuses what _xoMalloc refuses.
struct XoMemDataAllocator {
    /// A block of bytes from _xoMalloc; null above 2 GiB or when memory runs out.
    static void* allocate(std::size_t bytes) { return _xoMalloc(bytes); }
    /// The block resized through _xoRealloc; null above 2 GiB or when memory runs out,
    /// the old block then still valid.
    static void* reallocate(void* block, std::size_t bytes) {
        return bytes > 0x80000000u ? nullptr : _xoRealloc(block, bytes);
    }
    /// Frees a block through _xoFree; null is ignored and it cannot fail.
    static void deallocate(void* block) { _xoFree(block); }
};

/// The element operations of XoMemData for elements that are plain bytes: copied by
/// byte copy, moved by overlapping move. None of them checks its pointers or can fail.
template <class T> struct XoPodReallocator {
    /// Copies n elements between ranges that do not overlap (memcpy); nothing for n 0.
    static void copy(T* to, const T* from, std::size_t n) {
        if (n != 0)
            std::memcpy(to, from, n * sizeof(T));
    }
    /// Moves n elements between ranges that may overlap (memmove); nothing for n 0.
    static void move(T* to, const T* from, std::size_t n) {
        if (n != 0)
            std::memmove(to, from, n * sizeof(T));
    }
    /// Stores element into n elements from to.
    static void fill(T* to, const T& element, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i)
            to[i] = element;
    }
};

/// The copy-on-write element buffer: one pointer to the first element, the header in
/// front of it. Header must be an aggregate with the five fields of XoStrHeaderA, in that
/// order, and inheritFrom. Indexes are not checked unless a member says so.
///
/// Memory: reallocation failures are silent (no exception, no error code). An operation
/// that writes elements then leaves the value as it was; copyBeforeWrite, copyIfShared,
/// reallocData and grow report it (false), getBuffer and lockBuffer return null. A
/// writable reference taken while memory runs out may point into the still shared block.
///
/// Threads: values that share a block may be copied and destroyed on different threads;
/// one value is not written from two threads at once.
template <class T, class Header, class Allocator, class Reallocator> class XoMemData {
public:
    /// The shared empty instance, one more reference on it; cannot fail.
    XoMemData();
    /// Shares the other's block (one atomic increment); a locked block is copied instead,
    /// and when that copy cannot be had the value stays at the shared empty instance.
    XoMemData(const XoMemData& other);
    /// From the empty instance: copyBeforeWrite(n), then the elements. When memory runs
    /// out the value stays empty.
    XoMemData(const T* elements, std::size_t n);
    /// From the empty instance: n copies of element. When memory runs out the value stays
    /// empty.
    XoMemData(const T& element, std::size_t n);
    /// Drops the value's reference (release); cannot fail.
    ~XoMemData();

    /// assign(other); returns this value.
    XoMemData& operator=(const XoMemData& other);
    /// Shares the other's block (assigning a value its own block keeps it); a locked
    /// block is copied instead, so it never gains a second owner. When that copy cannot be
    /// had the value stays as it was.
    void assign(const XoMemData& other);
    /// copyBeforeWrite(n), then the n elements from the start; the value stays as it was
    /// when memory runs out.
    void assign(const T* elements, std::size_t n);
    /// copyBeforeWrite(n), then n copies of element; the value stays as it was when
    /// memory runs out.
    void assign(const T& element, std::size_t n);

    /// Drops this value's reference (freeing the block with the last one), unless the
    /// block is locked. Low level: the value then holds no reference, so it must get a
    /// block right after (as setEmpty and reallocation do). Cannot fail.
    void release();
    /// One more reference on the own block. Low level, like release; cannot fail.
    void addRef();
    /// Whether other values share the block; a locked block counts as not shared.
    bool isShared() const;
    /// Whether lockBuffer has locked the block; cannot fail.
    bool isLocked() const;
    /// Whether the value is still at the shared empty instance; cannot fail.
    bool isEmptyData() const;

    /// The elements in use; cannot fail.
    std::size_t count() const;
    /// The elements the block has room for; cannot fail.
    std::size_t allocCount() const;
    /// The growth quantum of the block; cannot fail.
    std::size_t growth() const;
    /// copyBeforeWrite(n) unless n is the count; the value stays as it was when memory
    /// runs out.
    void setCount(std::size_t n);
    /// Room for n elements, never less than the count. n = 0 drops the block only when it
    /// holds elements: an allocated empty block stays. The value stays as it was when
    /// memory runs out.
    void setAllocCount(std::size_t n);
    /// Sets the growth quantum, written in place, shared or not: on a value at the shared
    /// empty instance this sets the growth of every block made from the empty instance
    /// from then on. Cannot fail.
    void setGrowth(std::size_t n);
    /// Whether the count is 0; cannot fail.
    bool isEmpty() const;
    /// Releases the block and points at the shared empty instance; cannot fail.
    void setEmpty();
    /// Whether index is below the room (allocCount), not the count; cannot fail.
    bool isValidIndex(std::size_t index) const;

    /// The first element, read-only; null when the count is 0.
    const T* rawData() const;
    /// The first element, read-only; null when the count is 0.
    const T* begin() const;
    /// One past the last element, read-only; null when the count is 0.
    const T* end() const;
    /// The last element, read-only; unchecked, so the count must not be 0.
    const T& back() const;
    /// The element at index, read-only and unchecked.
    const T& operator[](std::size_t index) const;
    /// The element at index, read-only and unchecked (same as operator[]).
    const T& at(std::size_t index) const;

    /// The first element, writable: the block is unshared first (a private copy with room
    /// for exactly the count). Null without copying when the count is 0; when the copy
    /// cannot be had it points into the still shared block.
    T* rawData();
    /// The same as the writable rawData, with its failure.
    T* begin();
    /// One past the last element, writable: unshares as rawData does, then null when the
    /// count is 0; when the copy cannot be had it points into the still shared block.
    T* end();
    /// The first element, writable after unsharing; unchecked, and in the still shared
    /// block when the copy cannot be had.
    T& front();
    /// The last element, writable after unsharing; unchecked, and in the still shared
    /// block when the copy cannot be had.
    T& back();
    /// The element at index, writable after unsharing; unchecked, and in the still shared
    /// block when the copy cannot be had.
    T& operator[](std::size_t index);
    /// The same as the writable operator[], with its failure.
    T& at(std::size_t index);
    /// Stores element at index after unsharing, unchecked; stores nothing when the copy
    /// cannot be had.
    void setAt(std::size_t index, const T& element);
    /// Writes the n elements at the start of the data: the index is not used. Writes
    /// nothing when the private copy cannot be had.
    void setAt(std::size_t index, const T* elements, std::size_t n);
    /// copyBeforeWrite(count), then every element set to this one; nothing changes when
    /// memory runs out.
    void setAll(const T& element);

    /// Appends the other's elements; appending to an empty value shares the other's block
    /// (as assign does). The value stays as it was when memory runs out.
    void append(const XoMemData& other);
    /// copyBeforeWrite(count + n), then the elements behind the old ones; the value stays
    /// as it was when memory runs out.
    void append(const T* elements, std::size_t n);
    /// n copies of element behind the old ones. One element into room of an own block is
    /// compiled into the caller; the rest goes to the library. The value stays as it was
    /// when memory runs out.
    void append(const T& element, std::size_t n);
    /// allocAt, then the n elements into the gap. An index beyond the count inserts
    /// nothing, and so does memory running out.
    void insertAt(std::size_t index, const T* elements, std::size_t n);
    /// allocAt, then n copies of element into the gap. An index beyond the count inserts
    /// nothing, and so does memory running out.
    void insertAt(std::size_t index, const T& element, std::size_t n);
    /// Removes n elements at index after unsharing. The count drops by n whatever the
    /// index: callers keep index + n within the count. Nothing changes for n 0 or when the
    /// private copy cannot be had.
    void removeAt(std::size_t index, std::size_t n);
    /// The first position at or after start holding the element, into position; false
    /// (position untouched) when there is none.
    bool find(const T& element, std::size_t& position, std::size_t start = 0) const;
    /// The last position holding the element, into position; false (position untouched)
    /// when there is none.
    bool findRev(const T& element, std::size_t& position) const;
    /// Equal counts and equal bytes; cannot fail.
    bool operator==(const XoMemData& other) const;

    /// Raw buffer protocol. getBuffer(n): private room for n elements (0 = the count) and
    /// a count of n; the caller may write up to allocCount. Null when memory runs out,
    /// the value then as it was.
    T* getBuffer(std::size_t n = 0);
    /// Stores n as the count, nothing else; cannot fail.
    void releaseBuffer(std::size_t n);
    /// Makes the block private and locks it: copies of the value copy it, and release
    /// leaves it alone, so it outlives the value (also when a later reallocation moves
    /// the value to a new block). Returns the first element; null when the private block
    /// cannot be had, nothing then locked.
    T* lockBuffer();
    /// Makes a locked block an ordinary single-owner block again; a block that is not
    /// locked is left alone. Cannot fail.
    void unlockBuffer();

    /// Makes the block private with room for n elements and sets the count to n.
    /// Shared: a new block with room n rounded up to the growth quantum. Shrinking never
    /// reallocates. Growing past the room adds the larger of min(room, 65536) and
    /// max(shortfall, growth), so room doubles while small. False when memory runs out,
    /// the value then as it was.
    bool copyBeforeWrite(std::size_t n);
    /// Room for k more elements, grown as copyBeforeWrite grows; true when it reallocated,
    /// false when the room was already there and when memory runs out.
    bool grow(std::size_t k);
    /// A shared block becomes a private copy with room for exactly the count. True when
    /// the value is then private; false when memory runs out, the value still sharing.
    bool copyIfShared();
    /// A new block with the given count and room for max(count, room), keeping the first
    /// min(old count, count) elements, the growth and what Header::inheritFrom keeps. A
    /// block that this value alone holds is resized where it lies when the allocator can
    /// (Allocator::reallocate), with the same outcome. False when memory runs out, the
    /// value then as it was.
    bool reallocData(std::size_t count, std::size_t room);

    /// The header in front of the elements; never null.
    Header* header() const;
    /// The first element behind a header; unchecked.
    static T* getDataPtr(Header* header);
    /// Bytes of a block for n elements: the header and n elements; unchecked for overflow.
    static std::size_t getDataSize(std::size_t n);

protected:
    /// Takes the header's block (one more reference) after releasing the own one; taking
    /// the own block changes nothing. Cannot fail.
    void assign(Header* header);
    /// Opens a gap of n elements at the index (at most the count); returns the new count,
    /// which is the old one when n is 0 or memory runs out.
    std::size_t allocAt(std::size_t index, std::size_t n);

    /// The shared empty instance: reference count 1 (never freed), count and room 0,
    /// growth 8, code page 0.
    static Header s_emptyHeader;

private:
    T* m_pData;
};

/// \cond
// The definitions stay out of the API reference: doxygen cannot match them to the
// declarations, whose template parameters are named differently.
namespace xo::memdata {

// A new block with reference count 0, the given count and room for max(count, room),
// holding the first min(keep, count) elements of data and what like passes on; null
// when it cannot be had.
template <class T, class H, class A, class R>
H* newBlock(const H& like, const T* data, std::size_t keep, std::size_t count, std::size_t room) {
    const std::size_t size = count > room ? count : room;
    if (size > (std::numeric_limits<std::size_t>::max() - sizeof(H)) / sizeof(T))
        return nullptr;
    void* block = A::allocate(size * sizeof(T) + sizeof(H));
    if (block == nullptr)
        return nullptr;
    H* fresh = new (block) H{0, count, size, 0, 0};
    fresh->inheritFrom(like);
    R::copy(reinterpret_cast<T*>(fresh + 1), data, keep < count ? keep : count);
    return fresh;
}

// append(element, n) past its fast case; out of line, so that the fast case needs no
// stack frame.
template <class T, class H, class A, class R>
#if defined(__GNUC__)
__attribute__((noinline))
#endif
void appendFilled(XoMemData<T, H, A, R>& value, const T& element, std::size_t n) {
    const std::size_t old = value.count();
    if (value.copyBeforeWrite(old + n))
        R::fill(XoMemData<T, H, A, R>::getDataPtr(value.header()) + old, element, n);
}

template <class A, class = void> struct CanReallocate : std::false_type {};
template <class A>
struct CanReallocate<A, std::void_t<decltype(A::reallocate(nullptr, std::size_t(0)))>>
    : std::true_type {};

// The block of a header that one value alone holds, resized in place where the allocator
// can (a large block grows without a copy) to the given count and room for
// max(count, room); null when it cannot be had, the old block then unchanged.
template <class T, class H, class A> H* resizeBlock(H* own, std::size_t count, std::size_t room) {
    const std::size_t size = count > room ? count : room;
    if (size > (std::numeric_limits<std::size_t>::max() - sizeof(H)) / sizeof(T))
        return nullptr;
    H* moved = static_cast<H*>(A::reallocate(own, size * sizeof(T) + sizeof(H)));
    if (moved != nullptr) {
        moved->m_nCount = count;
        moved->m_nAllocCount = size;
    }
    return moved;
}

} // namespace xo::memdata

template <class T, class H, class A, class R>
H XoMemData<T, H, A, R>::s_emptyHeader = {1, 0, 0, 8, 0};

template <class T, class H, class A, class R>
XoMemData<T, H, A, R>::XoMemData() : m_pData(getDataPtr(&s_emptyHeader)) {
    addRef();
}

template <class T, class H, class A, class R>
XoMemData<T, H, A, R>::XoMemData(const XoMemData& other) : m_pData(other.m_pData) {
    if (!other.isLocked()) {
        addRef();
        return;
    }
    m_pData = getDataPtr(&s_emptyHeader);
    addRef();
    assign(other);
}

template <class T, class H, class A, class R>
XoMemData<T, H, A, R>::XoMemData(const T* elements, std::size_t n)
    : m_pData(getDataPtr(&s_emptyHeader)) {
    addRef();
    assign(elements, n);
}

template <class T, class H, class A, class R>
XoMemData<T, H, A, R>::XoMemData(const T& element, std::size_t n)
    : m_pData(getDataPtr(&s_emptyHeader)) {
    addRef();
    assign(element, n);
}

template <class T, class H, class A, class R> XoMemData<T, H, A, R>::~XoMemData() {
    release();
}

template <class T, class H, class A, class R>
XoMemData<T, H, A, R>& XoMemData<T, H, A, R>::operator=(const XoMemData& other) {
    assign(other);
    return *this;
}

template <class T, class H, class A, class R> void XoMemData<T, H, A, R>::assign(H* fresh) {
    if (fresh == header())
        return;
    fresh->m_nRefs.fetch_add(1, std::memory_order_relaxed);
    release();
    m_pData = getDataPtr(fresh);
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::assign(const XoMemData& other) {
    if (!other.isLocked()) {
        assign(other.header());
        return;
    }
    const std::size_t n = other.count();
    if (H* copy = xo::memdata::newBlock<T, H, A, R>(*other.header(), other.m_pData, n, n, n))
        assign(copy);
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::assign(const T* elements, std::size_t n) {
    if (copyBeforeWrite(n))
        R::copy(m_pData, elements, n);
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::assign(const T& element, std::size_t n) {
    if (copyBeforeWrite(n))
        R::fill(m_pData, element, n);
}

template <class T, class H, class A, class R> void XoMemData<T, H, A, R>::release() {
    H* own = header();
    const std::int32_t refs = own->m_nRefs.load(std::memory_order_acquire);
    if (refs == -1)
        return;
    // A count of 1 is this value's own reference, and nobody can take another meanwhile
    // (that would be copying this value while it is written), so the last owner frees
    // without the locked decrement, which costs as much as a 1 KiB copy.
    if ((refs == 1 || own->m_nRefs.fetch_sub(1, std::memory_order_acq_rel) == 1) &&
        own != &s_emptyHeader) {
        own->~H();
        A::deallocate(own);
    }
}

template <class T, class H, class A, class R> void XoMemData<T, H, A, R>::addRef() {
    header()->m_nRefs.fetch_add(1, std::memory_order_relaxed);
}

template <class T, class H, class A, class R> bool XoMemData<T, H, A, R>::isShared() const {
    return header()->m_nRefs.load(std::memory_order_acquire) > 1;
}

template <class T, class H, class A, class R> bool XoMemData<T, H, A, R>::isLocked() const {
    return header()->m_nRefs.load(std::memory_order_acquire) == -1;
}

template <class T, class H, class A, class R> bool XoMemData<T, H, A, R>::isEmptyData() const {
    return header() == &s_emptyHeader;
}

template <class T, class H, class A, class R> std::size_t XoMemData<T, H, A, R>::count() const {
    return header()->m_nCount;
}

template <class T, class H, class A, class R>
std::size_t XoMemData<T, H, A, R>::allocCount() const {
    return header()->m_nAllocCount;
}

template <class T, class H, class A, class R> std::size_t XoMemData<T, H, A, R>::growth() const {
    return header()->m_nGrowth;
}

template <class T, class H, class A, class R> void XoMemData<T, H, A, R>::setCount(std::size_t n) {
    if (n != count())
        copyBeforeWrite(n);
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::setAllocCount(std::size_t n) {
    if (n == 0) {
        if (count() != 0)
            setEmpty();
    } else if (n != allocCount()) {
        reallocData(count(), n);
    }
}

template <class T, class H, class A, class R> void XoMemData<T, H, A, R>::setGrowth(std::size_t n) {
    header()->m_nGrowth = n;
}

template <class T, class H, class A, class R> bool XoMemData<T, H, A, R>::isEmpty() const {
    return count() == 0;
}

template <class T, class H, class A, class R> void XoMemData<T, H, A, R>::setEmpty() {
    assign(&s_emptyHeader);
}

template <class T, class H, class A, class R>
bool XoMemData<T, H, A, R>::isValidIndex(std::size_t index) const {
    return index < allocCount();
}

template <class T, class H, class A, class R> const T* XoMemData<T, H, A, R>::rawData() const {
    return count() == 0 ? nullptr : m_pData;
}

template <class T, class H, class A, class R> const T* XoMemData<T, H, A, R>::begin() const {
    return rawData();
}

template <class T, class H, class A, class R> const T* XoMemData<T, H, A, R>::end() const {
    return count() == 0 ? nullptr : m_pData + count();
}

template <class T, class H, class A, class R> const T& XoMemData<T, H, A, R>::back() const {
    return m_pData[count() - 1];
}

template <class T, class H, class A, class R>
const T& XoMemData<T, H, A, R>::operator[](std::size_t index) const {
    return m_pData[index];
}

template <class T, class H, class A, class R>
const T& XoMemData<T, H, A, R>::at(std::size_t index) const {
    return m_pData[index];
}

template <class T, class H, class A, class R> T* XoMemData<T, H, A, R>::rawData() {
    if (count() == 0)
        return nullptr;
    copyIfShared();
    return m_pData;
}

template <class T, class H, class A, class R> T* XoMemData<T, H, A, R>::begin() {
    return rawData();
}

template <class T, class H, class A, class R> T* XoMemData<T, H, A, R>::end() {
    copyIfShared();
    return count() == 0 ? nullptr : m_pData + count();
}

template <class T, class H, class A, class R> T& XoMemData<T, H, A, R>::front() {
    copyIfShared();
    return m_pData[0];
}

template <class T, class H, class A, class R> T& XoMemData<T, H, A, R>::back() {
    copyIfShared();
    return m_pData[count() - 1];
}

template <class T, class H, class A, class R>
T& XoMemData<T, H, A, R>::operator[](std::size_t index) {
    copyIfShared();
    return m_pData[index];
}

template <class T, class H, class A, class R> T& XoMemData<T, H, A, R>::at(std::size_t index) {
    return operator[](index);
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::setAt(std::size_t index, const T& element) {
    if (copyIfShared())
        m_pData[index] = element;
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::setAt(std::size_t index, const T* elements, std::size_t n) {
    (void)index;
    if (copyIfShared())
        R::copy(m_pData, elements, n);
}

template <class T, class H, class A, class R> void XoMemData<T, H, A, R>::setAll(const T& element) {
    if (copyBeforeWrite(count()))
        R::fill(m_pData, element, count());
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::append(const XoMemData& other) {
    if (count() == 0) {
        assign(other);
        return;
    }
    const std::size_t theirs = other.count();
    if (theirs == 0)
        return;
    // Appending a value to itself works too: a reallocated block keeps the old elements
    // at its start, and other.m_pData is then that block.
    const std::size_t old = count();
    if (copyBeforeWrite(old + theirs))
        R::copy(m_pData + old, other.m_pData, theirs);
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::append(const T* elements, std::size_t n) {
    const std::size_t old = count();
    if (copyBeforeWrite(old + n))
        R::copy(m_pData + old, elements, n);
}

template <class T, class H, class A, class R>
XOOSBASE_CLIENT_INLINE void XoMemData<T, H, A, R>::append(const T& element, std::size_t n) {
    // One element into a block of its own with room to spare, the usual case by far:
    // what copyBeforeWrite does then, without its other cases.
    H* own = reinterpret_cast<H*>(m_pData) - 1; // not header(): a call in a client
    const std::size_t used = own->m_nCount;
    if (n == 1 && used < own->m_nAllocCount && own->m_nRefs.load(std::memory_order_acquire) <= 1) {
        // The element before the count: an element that aliases the count is read
        // before the count changes, and the next append's read of the count does not
        // wait behind the element store.
        m_pData[used] = element;
        own->m_nCount = used + 1;
        return;
    }
    xo::memdata::appendFilled<T, H, A, R>(*this, element, n);
}

template <class T, class H, class A, class R>
std::size_t XoMemData<T, H, A, R>::allocAt(std::size_t index, std::size_t n) {
    const std::size_t old = count();
    if (n == 0 || !copyBeforeWrite(old + n))
        return count();
    if (index < old && index + n < allocCount())
        R::move(m_pData + index + n, m_pData + index, old - index);
    return count();
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::insertAt(std::size_t index, const T* elements, std::size_t n) {
    const std::size_t old = count();
    if (index <= old && allocAt(index, n) == old + n)
        R::copy(m_pData + index, elements, n);
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::insertAt(std::size_t index, const T& element, std::size_t n) {
    const std::size_t old = count();
    if (index <= old && allocAt(index, n) == old + n)
        R::fill(m_pData + index, element, n);
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::removeAt(std::size_t index, std::size_t n) {
    if (n == 0 || !copyIfShared())
        return;
    const std::size_t old = count();
    if (index + n < old && old - index != n)
        R::move(m_pData + index, m_pData + index + n, old - index - n);
    header()->m_nCount = old - n;
}

template <class T, class H, class A, class R>
bool XoMemData<T, H, A, R>::find(const T& element, std::size_t& position, std::size_t start) const {
    const std::size_t n = count();
    for (std::size_t i = start; i < n; ++i)
        if (m_pData[i] == element) {
            position = i;
            return true;
        }
    return false;
}

template <class T, class H, class A, class R>
bool XoMemData<T, H, A, R>::findRev(const T& element, std::size_t& position) const {
    for (std::size_t i = count(); i-- > 0;)
        if (m_pData[i] == element) {
            position = i;
            return true;
        }
    return false;
}

template <class T, class H, class A, class R>
bool XoMemData<T, H, A, R>::operator==(const XoMemData& other) const {
    const std::size_t n = count();
    return n == other.count() &&
           (n == 0 || std::memcmp(m_pData, other.m_pData, n * sizeof(T)) == 0);
}

template <class T, class H, class A, class R> T* XoMemData<T, H, A, R>::getBuffer(std::size_t n) {
    if (n == 0)
        n = count();
    return copyBeforeWrite(n) ? m_pData : nullptr;
}

template <class T, class H, class A, class R>
void XoMemData<T, H, A, R>::releaseBuffer(std::size_t n) {
    header()->m_nCount = n;
}

template <class T, class H, class A, class R> T* XoMemData<T, H, A, R>::lockBuffer() {
    if (!copyBeforeWrite(count()))
        return nullptr;
    header()->m_nRefs.store(-1, std::memory_order_release);
    return m_pData;
}

template <class T, class H, class A, class R> void XoMemData<T, H, A, R>::unlockBuffer() {
    std::int32_t locked = -1;
    header()->m_nRefs.compare_exchange_strong(locked, 1, std::memory_order_acq_rel);
}

template <class T, class H, class A, class R>
bool XoMemData<T, H, A, R>::copyBeforeWrite(std::size_t n) {
    const std::size_t quantum = growth();
    if (isShared()) {
        const std::size_t step = quantum == 0 ? 1 : quantum;
        const std::size_t rounded = (n + step - 1) / step * step;
        return reallocData(n, rounded < n ? n : rounded);
    }
    const std::size_t old = count();
    const std::size_t room = allocCount();
    if (n > old && n > room) {
        const std::size_t doubling = room < 65536 ? room : 65536;
        const std::size_t least = n - old > quantum ? n - old : quantum;
        std::size_t grown = room + (doubling > least ? doubling : least);
        if (grown < n)
            grown = n; // wrapped around: the allocation then fails
        if (!reallocData(old, grown))
            return false;
    }
    header()->m_nCount = n;
    return true;
}

template <class T, class H, class A, class R> bool XoMemData<T, H, A, R>::grow(std::size_t k) {
    const std::size_t room = allocCount();
    if (k == 0 || count() + k <= room)
        return false;
    const std::size_t doubling = room < 65536 ? room : 65536;
    const std::size_t least = growth() > k ? growth() : k;
    return reallocData(count(), room + (doubling > least ? doubling : least));
}

template <class T, class H, class A, class R> bool XoMemData<T, H, A, R>::copyIfShared() {
    return !isShared() || reallocData(count(), count());
}

template <class T, class H, class A, class R>
bool XoMemData<T, H, A, R>::reallocData(std::size_t newCount, std::size_t room) {
    if constexpr (xo::memdata::CanReallocate<A>::value) {
        // A block this value alone holds (not shared, not locked, not the empty
        // instance) ends the same way when it is resized where it lies: same fields,
        // the elements kept, the old block gone.
        H* own = header();
        if (own != &s_emptyHeader && own->m_nRefs.load(std::memory_order_acquire) == 1) {
            H* moved = xo::memdata::resizeBlock<T, H, A>(own, newCount, room);
            if (moved == nullptr)
                return false;
            m_pData = getDataPtr(moved);
            return true;
        }
    }
    H* fresh = xo::memdata::newBlock<T, H, A, R>(*header(), m_pData, count(), newCount, room);
    if (fresh == nullptr)
        return false;
    assign(fresh);
    return true;
}

template <class T, class H, class A, class R> H* XoMemData<T, H, A, R>::header() const {
    return reinterpret_cast<H*>(m_pData) - 1;
}

template <class T, class H, class A, class R> T* XoMemData<T, H, A, R>::getDataPtr(H* header) {
    return reinterpret_cast<T*>(header + 1);
}

template <class T, class H, class A, class R>
std::size_t XoMemData<T, H, A, R>::getDataSize(std::size_t n) {
    return n * sizeof(T) + sizeof(H);
}

/// \endcond

extern template class XOOSBASE_API
    XoMemData<char, XoStrHeaderA, XoMemDataAllocator, XoPodReallocator<char>>;
