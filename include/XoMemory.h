/// \file
/// The allocation entry points. Small blocks and page blocks come from the library's own
/// pools on 1 MiB segments that it reserves at fixed addresses below 32 GiB; everything
/// else comes from the C runtime heap. Any pointer is routed by its address alone, and
/// no block carries a header.
///
/// Each family frees its own blocks: _xoMalloc/_xoAllocate/_xoRealloc/_xoReallocate
/// blocks go back through _xoFree/_xoDeallocate; xoAllocPage/xoAllocPageHeap blocks
/// through xoFreePage/xoFreePageHeap; raw pages through xoFreeRawPage.
///
/// The pools are built on first use, so allocation works from any static initialiser,
/// the library's or a client's; they are given back at process exit, after which
/// freeing a pool block does nothing and new blocks come from the C runtime heap.
///
/// Each thread keeps a few free blocks of each small size in a cache of its own, so most
/// calls take no lock. Cached blocks count as in use, so a segment whose other blocks are
/// all free is given back only once they return to their pool (the cache is bounded, and
/// emptied when the thread exits).
#pragma once

#include "XoOsBaseExport.h"

#include <cstddef>

extern "C" {

/// A block of size bytes: _xoAllocate for sizes up to 2 GiB. Null for sizes above 2 GiB
/// and when the C runtime heap has nothing either; nothing is thrown.
XOOSBASE_API void* _xoMalloc(std::size_t size);
/// A block of size bytes. Size 0 counts as 1. Sizes 1-256, 500-512, 1000-1024,
/// 2000-2048 and 4000-4096 are pooled; the rest, and any size whose pool is exhausted,
/// use the C runtime malloc. Null when malloc fails too; nothing is thrown.
XOOSBASE_API void* _xoAllocate(std::size_t size);
/// _xoReallocate, except that size 0 returns the pointer unchanged and frees nothing
/// (unlike realloc). Null on failure, the old block then still valid.
XOOSBASE_API void* _xoRealloc(void* pointer, std::size_t size);
/// Resizes a block, keeping its contents up to the smaller size. A pool block always
/// moves, also when shrinking; on failure null is returned and the old block stays
/// valid. Other pointers (null included) go to the C runtime realloc, with its results.
XOOSBASE_API void* _xoReallocate(void* pointer, std::size_t size);
/// Frees a block of the _xoMalloc family; null is ignored. Cannot fail: a pool block
/// freed after the pools were given back at exit is simply dropped.
XOOSBASE_API void _xoFree(void* pointer);
/// Frees a block of the _xoMalloc family as _xoFree does; null is ignored and it cannot
/// fail.
XOOSBASE_API void _xoDeallocate(void* pointer);
/// A copy, from _xoMalloc, of a terminated string of 16-bit units. Neither the argument
/// nor the allocation is checked for null: a null text, or memory running out, faults
/// instead of returning null.
XOOSBASE_API wchar_t* _xoStrdup(const wchar_t* text);
/// Frees a copy made by _xoStrdup, as _xoFree; null is ignored and it cannot fail.
XOOSBASE_API void _xoStrdupFree(void* pointer);

/// Debug allocation is not provided: always null, allocating nothing.
XOOSBASE_API void* _xoMallocDbg(std::size_t size, const char* file, int line);
/// Debug allocation is not provided: always null, allocating nothing.
XOOSBASE_API void* _xoAllocateDbg(std::size_t size, const char* file, int line);
/// Debug allocation is not provided: always null, and the block is left as it was.
XOOSBASE_API void* _xoReallocDbg(void* pointer, std::size_t size, const char* file, int line);
/// Debug allocation is not provided: always null, and the block is left as it was.
XOOSBASE_API void* _xoReallocateDbg(void* pointer, std::size_t size, const char* file, int line);
/// Frees a block of the _xoMalloc family as _xoFree does; null is ignored and it cannot
/// fail.
XOOSBASE_API void _xoFreeDbg(void* pointer);
/// Frees a block of the _xoMalloc family as _xoFree does; null is ignored and it cannot
/// fail.
XOOSBASE_API void _xoDeallocateDbg(void* pointer);

/// One block of exactly 1 MiB whatever the count (the argument is not used), as
/// xoAllocPageHeap gives it; null when neither the page pool nor malloc has one.
XOOSBASE_API void* xoAllocPage(std::size_t count);
/// A page block of size bytes (0 counts as 1). Whole multiples of 4096 up to 1 MiB come
/// from the page pool; other sizes, and any size once the pool has none, from malloc.
/// Null when malloc fails too; nothing is thrown.
XOOSBASE_API void* xoAllocPageHeap(std::size_t size);
/// Frees a block of xoAllocPage or xoAllocPageHeap; null is ignored. Cannot fail: a
/// pool block freed after the pools were given back at exit is simply dropped.
XOOSBASE_API void xoFreePage(void* pointer);
/// The same as xoFreePage; null is ignored and it cannot fail.
XOOSBASE_API void xoFreePageHeap(void* pointer);
/// A whole 1 MiB segment, committed read-write, belonging to no pool; null on failure.
XOOSBASE_API void* xoAllocRawPage();
/// Gives back a segment of xoAllocRawPage; null is ignored and it cannot fail.
XOOSBASE_API void xoFreeRawPage(void* pointer);
}
