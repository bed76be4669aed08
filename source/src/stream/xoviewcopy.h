// Copies out of a mapped file view, where the file can fail under the reader (truncated
// by another process, a device gone): such a read is reported, not a crash.
#pragma once

#include <cstddef>

namespace xo {

// False when the view's pages could not be read; dest is then partly written.
bool copyFromView(void* dest, const unsigned char* view, std::size_t count);

} // namespace xo
