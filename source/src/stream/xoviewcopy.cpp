#include "stream/xoviewcopy.h"

#include <cstring>

#include "platform/faultguard.h"

namespace xo {

namespace {

struct Copy {
    void* dest;
    const unsigned char* view;
    std::size_t count;
};

void copy(void* context) {
    const auto* c = static_cast<const Copy*>(context);
    std::memcpy(c->dest, c->view, c->count);
}

} // namespace

// Only the page that cannot be brought in is owned here: any other fault is a fault of
// the caller and stays one.
bool copyFromView(void* dest, const unsigned char* view, std::size_t count) {
    Copy c{dest, view, count};
    return platform::runGuarded(platform::kFaultPageNotReadable, copy, &c) == platform::kNoFault;
}

} // namespace xo
