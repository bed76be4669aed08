#include "stream/xoviewcopy.h"

#include <cstring>

namespace xo {

bool copyFromView(void* dest, const unsigned char* view, std::size_t count) {
    std::memcpy(dest, view, count);
    return true;
}

} // namespace xo
