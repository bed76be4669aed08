/// \file
/// The reference-counted, copy-on-write dynamic array. A vector is one pointer to a
/// control block (XoVectorData) that holds the reference count and lengths and points to
/// the element array; copies share the block until one of them writes.
///
/// The library exports XoVector<char> and XoVector<wchar_t> (with the default allocator,
/// reference counter and grow policy) with every member; other element types are
/// instantiated from this header. Members are defined out of the class on purpose:
/// mingw never exports inline members, and a client that does not inline them would
/// find them missing. append and push_back are the exception (XOOSBASE_CLIENT_INLINE):
/// inline in clients, which then call the library only when the block must change.
#pragma once

#include "VeskErrorStatus.h"
#include "XoException.h"
#include "XoMemory.h"
#include "XoOsBaseExport.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

/// \cond
// Helpers of the members' definitions, kept out of the API reference.
namespace xo::vector {

// Element types held as plain bytes: copied by byte copy, value-initialised by zeros.
template <class T> constexpr bool kPlain = std::is_trivial_v<T> && !std::is_member_pointer_v<T>;

// In front of an array of plain elements: how many the allocation has room for, which
// may be more than the vector's physical length. 16 bytes keep the elements aligned as
// malloc aligns.
struct ArrayHead {
    std::int64_t room;
    std::int64_t unused;
};

// Whether allocator A resizes arrays of T in place (XoDefaultMemAllocator for plain T).
template <class A, class T, class = void> struct CanReallocate : std::false_type {};
template <class A, class T>
struct CanReallocate<A, T,
                     std::void_t<decltype(A::reallocate(std::declval<T*>(), std::int32_t(0)))>>
    : std::true_type {};

// Whether allocator A tells the room of an array of T (XoDefaultMemAllocator for plain T).
// Such an allocator keeps the room beyond what it was last asked for value-initialised,
// and so does the vector with the room beyond its physical length.
template <class A, class T, class = void> struct KnowsRoom : std::false_type {};
template <class A, class T>
struct KnowsRoom<A, T, std::void_t<decltype(A::room(std::declval<const T*>()))>> : std::true_type {
};

// The step of the physical length by the grow length that appending at the physical
// length makes, taken in a block that one vector alone holds when the array already has
// that room (whose elements are already value-initialised). False when the general case
// must run.
template <class T, class A, class Block> bool stepInRoom(Block* block, int used) {
    if constexpr (KnowsRoom<A, T>::value) {
        const std::int64_t grown = std::int64_t(used) + block->m_nGrowLength;
        if (used != block->m_nPhysicalLength || block->m_pElements == nullptr || grown <= used ||
            grown > std::numeric_limits<std::int32_t>::max() ||
            grown > A::room(static_cast<const T*>(block->m_pElements)))
            return false;
        block->m_nPhysicalLength = int(grown);
        return true;
    } else {
        (void)block;
        (void)used;
        return false;
    }
}

// Whether one vector alone holds the block, so that it may be written in place.
template <class R, class Block> bool ownedAlone(Block* block) {
    return XOOSBASE_LIKELY(block != nullptr && R::count(block->m_nRefs) == 1);
}

// The index of the next element when the block can take it in place (the logical length
// is left to the caller), or -1 when the general case must run.
template <class T, class A, class R, class Block> int nextIndex(Block* block) {
    if (!ownedAlone<R>(block))
        return -1;
    const int used = block->m_nLogicalLength;
    return used < block->m_nPhysicalLength || stepInRoom<T, A>(block, used) ? used : -1;
}

// Appending one element without the general case, which is the usual case. The element
// is stored before the logical length: an element that aliases the length is read before
// it changes, a throwing assignment leaves the length as it was, and a loop of appends
// ran three times faster that way on x86-64 (with the length stored first, the next
// append's read of it waited behind the element store). False when the general case
// must run.
template <class T, class A, class R, class Block> bool storeInRoom(Block* block, const T& element) {
    if (!ownedAlone<R>(block))
        return false;
    const int used = block->m_nLogicalLength;
    if (XOOSBASE_LIKELY(used < block->m_nPhysicalLength) || stepInRoom<T, A>(block, used)) {
        static_cast<T*>(block->m_pElements)[used] = element;
        block->m_nLogicalLength = used + 1;
        return true;
    }
    return false;
}

// append(element) past its short path; out of line, so that the short path stays small
// in the caller.
template <class T, class V>
#if defined(__GNUC__)
__attribute__((noinline))
#endif
void appendCopy(V& vector, const T& element) {
    T copy(element); // the block may be replaced, and the element with it
    T& slot = vector.append();
    try {
        slot = std::move(copy);
    } catch (...) {
        vector.setLogicalLength(vector.size() - 1); // within the room: no allocation
        throw;
    }
}

} // namespace xo::vector
/// \endcond

/// The default element allocator of XoVector. Element arrays, null when memory runs out;
/// every element up to the physical length is a constructed (value-initialised) object.
/// Other types: new[] and delete[]. Plain types (trivial ones: numbers, characters,
/// pointers, simple structs): the C runtime's malloc, realloc and free, with the array's
/// room kept in front of it, and reallocate, which keeps the first elements, zeroes the
/// room it adds and at least doubles the room when it grows, so that a vector that grows
/// by its grow length reallocates only now and then. The vector's lengths do not change
/// with it: the room beyond the physical length is the allocator's own, and holds zeroes.
template <class T> struct XoDefaultMemAllocator {
    /// An array of n value-initialised elements; null when memory runs out, and for a
    /// negative n with plain types. An exception of T's constructor passes through.
    static T* allocate(std::int32_t n) {
        if constexpr (xo::vector::kPlain<T>) {
            if (n < 0)
                return nullptr;
            auto* head = static_cast<xo::vector::ArrayHead*>(
                std::calloc(1, sizeof(xo::vector::ArrayHead) + std::size_t(n) * sizeof(T)));
            if (head == nullptr)
                return nullptr;
            head->room = n;
            return reinterpret_cast<T*>(head + 1);
        } else {
            return new (std::nothrow) T[n]();
        }
    }
    /// The array resized to room for at least n elements (plain types only), the first
    /// ones kept and the added room zeroed; null when memory runs out, the old array then
    /// still valid.
    template <class U = T, std::enable_if_t<xo::vector::kPlain<U>, int> = 0>
    static T* reallocate(T* elements, std::int32_t n) {
        auto* head = reinterpret_cast<xo::vector::ArrayHead*>(elements) - 1;
        const std::int64_t room = head->room;
        if (n <= room && std::int64_t(n) * 2 > room)
            return elements;
        // Growing at least doubles the room; shrinking to half or less gives memory back.
        std::int64_t wanted = n > room ? std::max<std::int64_t>(n, room + room) : n;
        for (;;) {
            void* moved =
                std::realloc(head, sizeof(xo::vector::ArrayHead) + std::size_t(wanted) * sizeof(T));
            if (moved != nullptr) {
                head = static_cast<xo::vector::ArrayHead*>(moved);
                T* items = reinterpret_cast<T*>(head + 1);
                if (wanted > room)
                    std::memset(static_cast<void*>(items + room), 0,
                                std::size_t(wanted - room) * sizeof(T));
                head->room = wanted;
                return items;
            }
            if (wanted == n)
                return nullptr;
            wanted = n; // no room for the step: exactly what is asked
        }
    }
    /// Elements the array has room for, the physical length or more (plain types only);
    /// unchecked, so elements must be an array of this allocator.
    template <class U = T, std::enable_if_t<xo::vector::kPlain<U>, int> = 0>
    static std::int64_t room(const T* elements) {
        return reinterpret_cast<const xo::vector::ArrayHead*>(elements)[-1].room;
    }
    /// Frees an array of this allocator; null is ignored and it cannot fail.
    static void deallocate(T* elements) {
        if constexpr (xo::vector::kPlain<T>) {
            if (elements != nullptr)
                std::free(reinterpret_cast<xo::vector::ArrayHead*>(elements) - 1);
        } else {
            delete[] elements;
        }
    }
};

/// The reference count of a control block: unsigned 32-bit, changed atomically, so
/// copies of one vector may be made and dropped on different threads. Nothing here can
/// fail.
struct XoRefCounter {
    /// The count's type.
    using Count = std::atomic<std::uint32_t>;
    /// One more reference.
    static void addRef(Count& count) { count.fetch_add(1, std::memory_order_relaxed); }
    /// One reference less; returns the count left.
    static std::uint32_t release(Count& count) {
        return count.fetch_sub(1, std::memory_order_acq_rel) - 1;
    }
    /// The references held.
    static std::uint32_t count(const Count& count) { return count.load(std::memory_order_acquire); }
};

/// How the physical length follows the logical one. Nothing here can fail.
struct XoVectorDefaultGrowPolicy {
    /// The grow length of a block made when there was none.
    static constexpr std::int32_t kGrowLength = 8;

    /// Room when the logical length must pass the physical one: the larger of the wanted
    /// length and the logical length plus the grow length, at most the largest int.
    static std::int32_t grownLength(std::int32_t logical, std::int32_t growLength,
                                    std::int32_t wanted) {
        const std::int64_t stepped = std::int64_t(logical) + growLength;
        if (stepped <= wanted)
            return wanted;
        const std::int64_t most = std::numeric_limits<std::int32_t>::max();
        return std::int32_t(stepped > most ? most : stepped);
    }
    /// Room of a private copy: the old room, 16 when there was none.
    static std::int32_t copyLength(std::int32_t physical) { return physical == 0 ? 16 : physical; }
};

/// The control block of a vector, allocated with _xoMalloc. Its layout is shared with
/// client modules.
struct XOOSBASE_API XoVectorData {
    XoRefCounter::Count m_nRefs;    ///< the vectors that share the block
    std::int32_t m_nLogicalLength;  ///< elements in use
    std::int32_t m_nPhysicalLength; ///< elements allocated
    std::int32_t m_nGrowLength;     ///< the least growth when appending needs room
    void* m_pElements;              ///< from the vector's element allocator; null for none

    /// Tells the crash recorder and throws a new XoErrorStatus with the status (line 0,
    /// file `""`): how every vector fails, whatever its element type. Never returns.
    [[noreturn]] static void throwErrorStatus(Vesk::ErrorStatus status);
};

static_assert(offsetof(XoVectorData, m_nLogicalLength) == 4 &&
                  offsetof(XoVectorData, m_nPhysicalLength) == 8 &&
                  offsetof(XoVectorData, m_nGrowLength) == 12 &&
                  offsetof(XoVectorData, m_pElements) == 16 && sizeof(XoVectorData) == 24,
              "clients compile against this layout");

/// The shared empty block: reference count 1 (never freed), lengths 0, grow length 8, no
/// elements. Vectors emptied by clear() or setPhysicalLength(0) point at it.
extern XOOSBASE_API XoVectorData* const gpEmptyVectorData;

/// The reference-counted, copy-on-write dynamic array.
///
/// Lengths and indexes are int (32-bit), as in the control block. A default vector has
/// no block at all; both that and the shared empty block mean no elements.
///
/// Copy-on-write: copying shares the block (one atomic increment). Every writable access
/// (non-const data, begin, end, operator[], at, front, back) first gives a shared vector
/// a private copy, so read through a const reference where no write is meant. Elements
/// between the logical and the physical length stay constructed: shrinking keeps them,
/// and growing within the room shows them again.
///
/// Failures: append and writable access throw XoErrorStatus* (Vesk::eOutOfMemory = 2)
/// when they cannot get storage, at() throws XoErrorStatus* (Vesk::eIndexOutOfRange = 24)
/// for an index outside [0, size()); the catcher deletes the exception. An append whose
/// element assignment throws leaves the logical length as it was. setLogicalLength,
/// setPhysicalLength and setGrowLength change nothing when memory runs out. Exceptions of
/// the element type's constructors and assignments pass through.
///
/// Threads: copies sharing a block may live on different threads; one vector is written
/// by one thread at a time.
template <class T, class Allocator = XoDefaultMemAllocator<T>, class RefCounter = XoRefCounter,
          class GrowPolicy = XoVectorDefaultGrowPolicy>
class XoVector {
public:
    using value_type = T;             ///< the element type
    using size_type = int;            ///< lengths and indexes
    using reference = T&;             ///< a writable element
    using const_reference = const T&; ///< a read-only element
    using pointer = T*;               ///< a writable element pointer
    using const_pointer = const T*;   ///< a read-only element pointer
    using iterator = T*;              ///< a writable iterator
    using const_iterator = const T*;  ///< a read-only iterator

    /// No block at all: no elements. Cannot fail.
    XoVector() noexcept;
    /// Shares the other's block; cannot fail.
    XoVector(const XoVector& other) noexcept;
    /// Takes the other's block, leaving the other without one; cannot fail.
    XoVector(XoVector&& other) noexcept;
    /// Drops the vector's reference; the last one destroys the elements and frees the
    /// block. Cannot fail unless an element's destructor throws.
    ~XoVector();
    /// Shares the other's block, dropping the own one; returns this vector.
    XoVector& operator=(const XoVector& other);
    /// Takes the other's block, dropping the own one and leaving the other without one;
    /// cannot fail.
    XoVector& operator=(XoVector&& other) noexcept;

    /// The logical length; 0 without a block. Cannot fail.
    int size() const;
    /// Whether the logical length is 0; cannot fail.
    bool empty() const;
    /// The physical length; 0 without a block. Cannot fail.
    int capacity() const;
    /// The grow length of the block; 8 without a block. Cannot fail.
    int growLength() const;
    /// Sets the grow length of this vector's block (a shared block is copied first). When
    /// memory runs out nothing changes.
    void setGrowLength(int growLength);
    /// Whether other vectors share the block; cannot fail.
    bool isShared() const;

    /// Sets the logical length. Within the room a shared block is copied first (room
    /// kept, 16 if it was 0); past the room the physical length becomes
    /// max(n, size() + growLength()). Negative counts as 0. When memory runs out nothing
    /// changes.
    void setLogicalLength(int n);
    /// Room for exactly n elements in a new private block, keeping the first
    /// min(n, size()); n <= 0 attaches the shared empty block. When memory runs out
    /// nothing changes.
    void setPhysicalLength(int n);
    /// setPhysicalLength(n) when n is above the physical length; nothing changes when
    /// memory runs out.
    void reserve(int n);
    /// Drops the storage: the vector attaches the shared empty block. Cannot fail.
    void clear();

    /// Appends one element and returns it for the caller to fill: value-initialised, or
    /// whatever shrinking left at that index. Throws XoErrorStatus* (Vesk::eOutOfMemory)
    /// when the storage cannot be had, also at the largest int length.
    T& append();
    /// Appends a copy of element, which may lie in this vector. Throws XoErrorStatus*
    /// (Vesk::eOutOfMemory) when the storage cannot be had; when the element's assignment
    /// throws, the logical length stays as it was.
    void append(const T& element);
    /// append(element), with its failures.
    void push_back(const T& element);

    /// The element at index, read-only; unchecked.
    const T& operator[](int index) const;
    /// The element at index, writable after unsharing; unchecked. Throws XoErrorStatus*
    /// (Vesk::eOutOfMemory) when the private copy cannot be had.
    T& operator[](int index);
    /// The first element, read-only; unchecked.
    const T& front() const;
    /// The first element, writable after unsharing; unchecked. Throws XoErrorStatus*
    /// (Vesk::eOutOfMemory) when the private copy cannot be had.
    T& front();
    /// The last element, read-only; unchecked.
    const T& back() const;
    /// The last element, writable after unsharing; unchecked. Throws XoErrorStatus*
    /// (Vesk::eOutOfMemory) when the private copy cannot be had.
    T& back();
    /// The element at index, read-only. Throws XoErrorStatus* (Vesk::eIndexOutOfRange)
    /// for an index outside [0, size()).
    const T& at(int index) const;
    /// The element at index, writable after unsharing. Throws XoErrorStatus*
    /// (Vesk::eIndexOutOfRange) for an index outside [0, size()), and
    /// (Vesk::eOutOfMemory) when the private copy cannot be had.
    T& at(int index);

    /// The elements, read-only; null when there is no element storage (physical
    /// length 0).
    const T* data() const;
    /// The elements, writable after unsharing; null when there is no element storage.
    /// Throws XoErrorStatus* (Vesk::eOutOfMemory) when the private copy cannot be had.
    T* data();
    /// The first element, read-only; null when there is no element storage.
    const T* begin() const;
    /// One past the last element, read-only; null when there is no element storage.
    const T* end() const;
    /// begin() of a const vector.
    const T* cbegin() const;
    /// end() of a const vector.
    const T* cend() const;
    /// The first element, writable after unsharing; null when there is no element
    /// storage. Throws XoErrorStatus* (Vesk::eOutOfMemory) when the private copy cannot be
    /// had.
    T* begin();
    /// One past the last element, writable after unsharing; null when there is no element
    /// storage. Throws XoErrorStatus* (Vesk::eOutOfMemory) when the private copy cannot be
    /// had.
    T* end();

private:
    T* elements() const;
    // The elements, after a private copy if the block is shared.
    T* writable();
    void checkIndex(int index) const;
    // Takes one more reference on the block and drops the old one.
    void attach(XoVectorData* block);
    // Drops a reference; the last one frees the elements and the block.
    static void detach(XoVectorData* block);
    // A new block with reference count 0 and room for physical elements, or null.
    static XoVectorData* newBlock(int physical, int growLength);
    // Moves or copies the first min(keep, size()) elements into the fresh block.
    void transfer(XoVectorData* fresh, int keep);
    // Private copy for writing: room as GrowPolicy::copyLength, the first
    // min(keep, size()) elements. False when memory runs out.
    bool makePrivate(int keep);

    XoVectorData* m_pData;
};

/// \cond
// The definitions stay out of the API reference: doxygen cannot match them to the
// declarations, whose template parameters are named differently.
template <class T, class A, class R, class G>
XoVector<T, A, R, G>::XoVector() noexcept : m_pData(nullptr) {}

template <class T, class A, class R, class G>
XoVector<T, A, R, G>::XoVector(const XoVector& other) noexcept : m_pData(nullptr) {
    attach(other.m_pData);
}

template <class T, class A, class R, class G>
XoVector<T, A, R, G>::XoVector(XoVector&& other) noexcept : m_pData(other.m_pData) {
    other.m_pData = nullptr;
}

template <class T, class A, class R, class G> XoVector<T, A, R, G>::~XoVector() {
    detach(m_pData);
}

template <class T, class A, class R, class G>
XoVector<T, A, R, G>& XoVector<T, A, R, G>::operator=(const XoVector& other) {
    attach(other.m_pData);
    return *this;
}

template <class T, class A, class R, class G>
XoVector<T, A, R, G>& XoVector<T, A, R, G>::operator=(XoVector&& other) noexcept {
    if (this != &other) {
        detach(m_pData);
        m_pData = other.m_pData;
        other.m_pData = nullptr;
    }
    return *this;
}

template <class T, class A, class R, class G> int XoVector<T, A, R, G>::size() const {
    return m_pData ? m_pData->m_nLogicalLength : 0;
}

template <class T, class A, class R, class G> bool XoVector<T, A, R, G>::empty() const {
    return size() == 0;
}

template <class T, class A, class R, class G> int XoVector<T, A, R, G>::capacity() const {
    return m_pData ? m_pData->m_nPhysicalLength : 0;
}

template <class T, class A, class R, class G> int XoVector<T, A, R, G>::growLength() const {
    return m_pData ? m_pData->m_nGrowLength : G::kGrowLength;
}

template <class T, class A, class R, class G> bool XoVector<T, A, R, G>::isShared() const {
    return m_pData && R::count(m_pData->m_nRefs) > 1;
}

template <class T, class A, class R, class G> void XoVector<T, A, R, G>::reserve(int n) {
    if (n > capacity())
        setPhysicalLength(n);
}

template <class T, class A, class R, class G> void XoVector<T, A, R, G>::clear() {
    setPhysicalLength(0);
}

// Nothing moves on the short path, so the element may well live in this block.
template <class T, class A, class R, class G>
XOOSBASE_CLIENT_INLINE void XoVector<T, A, R, G>::append(const T& element) {
    if (!xo::vector::storeInRoom<T, A, R>(m_pData, element))
        xo::vector::appendCopy(*this, element);
}

template <class T, class A, class R, class G>
XOOSBASE_CLIENT_INLINE void XoVector<T, A, R, G>::push_back(const T& element) {
    append(element);
}

template <class T, class A, class R, class G>
const T& XoVector<T, A, R, G>::operator[](int index) const {
    return elements()[index];
}

template <class T, class A, class R, class G> T& XoVector<T, A, R, G>::operator[](int index) {
    return writable()[index];
}

template <class T, class A, class R, class G> const T& XoVector<T, A, R, G>::front() const {
    return elements()[0];
}

template <class T, class A, class R, class G> T& XoVector<T, A, R, G>::front() {
    return writable()[0];
}

template <class T, class A, class R, class G> const T& XoVector<T, A, R, G>::back() const {
    return elements()[size() - 1];
}

template <class T, class A, class R, class G> T& XoVector<T, A, R, G>::back() {
    return writable()[size() - 1];
}

template <class T, class A, class R, class G> const T& XoVector<T, A, R, G>::at(int index) const {
    checkIndex(index);
    return elements()[index];
}

template <class T, class A, class R, class G> T& XoVector<T, A, R, G>::at(int index) {
    checkIndex(index);
    return writable()[index];
}

template <class T, class A, class R, class G> const T* XoVector<T, A, R, G>::data() const {
    return elements();
}

template <class T, class A, class R, class G> T* XoVector<T, A, R, G>::data() {
    return writable();
}

template <class T, class A, class R, class G> const T* XoVector<T, A, R, G>::begin() const {
    return elements();
}

template <class T, class A, class R, class G> const T* XoVector<T, A, R, G>::end() const {
    const T* first = elements();
    return first ? first + size() : nullptr;
}

template <class T, class A, class R, class G> const T* XoVector<T, A, R, G>::cbegin() const {
    return begin();
}

template <class T, class A, class R, class G> const T* XoVector<T, A, R, G>::cend() const {
    return end();
}

template <class T, class A, class R, class G> T* XoVector<T, A, R, G>::begin() {
    return writable();
}

template <class T, class A, class R, class G> T* XoVector<T, A, R, G>::end() {
    T* first = writable();
    return first ? first + size() : nullptr;
}

template <class T, class A, class R, class G> T* XoVector<T, A, R, G>::elements() const {
    return m_pData ? static_cast<T*>(m_pData->m_pElements) : nullptr;
}

template <class T, class A, class R, class G> T* XoVector<T, A, R, G>::writable() {
    if (isShared() && !makePrivate(size()))
        XoVectorData::throwErrorStatus(Vesk::eOutOfMemory);
    return elements();
}

template <class T, class A, class R, class G>
void XoVector<T, A, R, G>::checkIndex(int index) const {
    if (index < 0 || index >= size())
        XoVectorData::throwErrorStatus(Vesk::eIndexOutOfRange);
}

template <class T, class A, class R, class G>
void XoVector<T, A, R, G>::attach(XoVectorData* block) {
    if (block == m_pData)
        return;
    if (block != nullptr)
        R::addRef(block->m_nRefs);
    XoVectorData* old = m_pData;
    m_pData = block;
    detach(old);
}

template <class T, class A, class R, class G>
void XoVector<T, A, R, G>::detach(XoVectorData* block) {
    if (block == nullptr)
        return;
    // A count of 1 is the caller's own reference, and nobody can take another meanwhile:
    // the last owner frees without the locked decrement.
    if ((R::count(block->m_nRefs) != 1 && R::release(block->m_nRefs) != 0) ||
        block == gpEmptyVectorData)
        return;
    A::deallocate(static_cast<T*>(block->m_pElements));
    block->~XoVectorData();
    _xoFree(block);
}

template <class T, class A, class R, class G>
XoVectorData* XoVector<T, A, R, G>::newBlock(int physical, int growLength) {
    void* raw = _xoMalloc(sizeof(XoVectorData));
    if (raw == nullptr)
        return nullptr;
    T* items = nullptr;
    if (physical > 0) {
        try {
            items = A::allocate(physical);
        } catch (...) {
            _xoFree(raw);
            throw;
        }
        if (items == nullptr) {
            _xoFree(raw);
            return nullptr;
        }
    }
    return new (raw) XoVectorData{{0}, 0, physical, growLength, items};
}

template <class T, class A, class R, class G>
void XoVector<T, A, R, G>::transfer(XoVectorData* fresh, int keep) {
    const int n = std::min(keep, size());
    T* from = elements();
    T* to = static_cast<T*>(fresh->m_pElements);
    // A block nobody else holds is about to be freed: its elements may move.
    if constexpr (std::is_nothrow_move_assignable_v<T>) {
        if (n > 0 && R::count(m_pData->m_nRefs) == 1) {
            std::move(from, from + n, to);
            fresh->m_nLogicalLength = n;
            return;
        }
    }
    try {
        std::copy(from, from + n, to);
    } catch (...) {
        fresh->m_nRefs.store(1);
        detach(fresh);
        throw;
    }
    fresh->m_nLogicalLength = n;
}

template <class T, class A, class R, class G> bool XoVector<T, A, R, G>::makePrivate(int keep) {
    XoVectorData* fresh = newBlock(G::copyLength(capacity()), growLength());
    if (fresh == nullptr)
        return false;
    transfer(fresh, keep);
    attach(fresh);
    return true;
}

template <class T, class A, class R, class G> void XoVector<T, A, R, G>::setLogicalLength(int n) {
    if (n < 0)
        n = 0;
    const int logical = size();
    if (n == logical)
        return;
    if (n <= capacity()) {
        if (isShared() && !makePrivate(std::min(n, logical)))
            return;
    } else {
        setPhysicalLength(G::grownLength(logical, growLength(), n));
        if (capacity() < n)
            return;
    }
    m_pData->m_nLogicalLength = n;
}

template <class T, class A, class R, class G> void XoVector<T, A, R, G>::setPhysicalLength(int n) {
    if (n == capacity())
        return;
    if (n <= 0) {
        attach(gpEmptyVectorData);
        return;
    }
    if constexpr (xo::vector::CanReallocate<A, T>::value) {
        // A block of its own keeps its place and resizes its array, which ends as a new
        // block would: the first min(n, size()) elements, the rest value-initialised.
        if (m_pData != nullptr && m_pData->m_pElements != nullptr &&
            R::count(m_pData->m_nRefs) == 1 && m_pData != gpEmptyVectorData) {
            T* resized = A::reallocate(elements(), n);
            if (resized == nullptr)
                return;
            const int kept = std::min(n, size());
            // Past the kept elements, value-initialised: up to n, and where the array
            // still has them up to the old physical length, since the room beyond the
            // physical length stays value-initialised.
            std::int64_t cleared = n;
            if constexpr (xo::vector::KnowsRoom<A, T>::value)
                cleared = std::min<std::int64_t>(std::max(n, capacity()), A::room(resized));
            std::fill(resized + kept, resized + cleared, T());
            m_pData->m_pElements = resized;
            m_pData->m_nPhysicalLength = n;
            m_pData->m_nLogicalLength = kept;
            return;
        }
    }
    XoVectorData* fresh = newBlock(n, m_pData ? m_pData->m_nGrowLength : G::kGrowLength);
    if (fresh == nullptr)
        return;
    transfer(fresh, n);
    attach(fresh);
}

template <class T, class A, class R, class G>
void XoVector<T, A, R, G>::setGrowLength(int growLength) {
    if (capacity() == 0) {
        // Nothing to copy: a block of its own without elements carries the length.
        if (m_pData == nullptr || isShared()) {
            if (XoVectorData* fresh = newBlock(0, growLength))
                attach(fresh);
            return;
        }
    } else if (isShared() && !makePrivate(size())) {
        return;
    }
    m_pData->m_nGrowLength = growLength;
}

template <class T, class A, class R, class G> T& XoVector<T, A, R, G>::append() {
    const int next = xo::vector::nextIndex<T, A, R>(m_pData);
    if (next >= 0) {
        m_pData->m_nLogicalLength = next + 1;
        return elements()[next];
    }
    const int logical = size();
    if (logical == std::numeric_limits<int>::max())
        XoVectorData::throwErrorStatus(Vesk::eOutOfMemory);
    setLogicalLength(logical + 1);
    if (size() != logical + 1)
        XoVectorData::throwErrorStatus(Vesk::eOutOfMemory);
    if (isShared() && !makePrivate(logical + 1))
        XoVectorData::throwErrorStatus(Vesk::eOutOfMemory);
    return elements()[logical];
}

/// \endcond

extern template class XOOSBASE_API
    XoVector<char, XoDefaultMemAllocator<char>, XoRefCounter, XoVectorDefaultGrowPolicy>;
extern template class XOOSBASE_API
    XoVector<wchar_t, XoDefaultMemAllocator<wchar_t>, XoRefCounter, XoVectorDefaultGrowPolicy>;
