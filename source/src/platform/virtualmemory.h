// Address space and pages, for the allocator's fixed-address segments and the memory
// manager's regions. Sizes are multiples of the page size.
#pragma once

#include <cstddef>

namespace xo::platform {

// The page of both targets (x86-64): the unit of commits, of the pools' page classes and
// of the page-by-page reads that ask first whether memory can be read.
constexpr std::size_t kPageSize = 4096;

// Reserves exactly [address, address + size) with no access, never replacing anything
// already there; false when any of it is taken.
bool reserveAt(void* address, std::size_t size);
// Reserves size bytes somewhere, aligned to alignment (a power of two, at least the
// page size); null when the address space is exhausted.
void* reserveAligned(std::size_t size, std::size_t alignment);
// Makes reserved pages readable and writable (zero-filled on first touch).
bool commit(void* address, std::size_t size);
// Gives the pages' memory back to the system; the range stays reserved, without access.
void decommit(void* address, std::size_t size);
// Ends a reservation made by reserveAt or reserveAligned, over its whole size.
void release(void* address, std::size_t size);

} // namespace xo::platform
