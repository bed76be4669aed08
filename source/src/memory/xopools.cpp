#include "memory/xopools.h"

namespace xo {

XoPools::~XoPools() {
    closed.store(true);
    small.tearDown();
    pages.tearDown();
}

XoPools& XoPools::instance() {
    static XoPools pools;
    return pools;
}

namespace {
// Builds the tables while the library loads, before any client call.
[[maybe_unused]] const XoPools& g_builtAtLoad = XoPools::instance();
} // namespace

} // namespace xo
