// Whether memory can be read without faulting: IsBadReadPtr's question.
#pragma once

#include <cstddef>

namespace xo::platform {

// True when some byte of [address, address + size) cannot be read; a size of 0 is never
// bad. Windows asks IsBadReadPtr. POSIX writes one byte of each page in the range into a
// private pipe: the kernel copies it from the process's memory and fails the write with
// EFAULT, instead of raising a signal, when the page cannot be read (unmapped, or mapped
// without read access). Neither faults. Each page costs one system call on POSIX (about
// 0.4 us on the development machine). As with IsBadReadPtr the answer may be stale by the
// time the caller reads, if another thread unmaps the memory in between.
bool isBadReadPtr(const void* address, std::size_t size);

} // namespace xo::platform
