// The process-wide pools behind the allocation entry points.
#pragma once

#include "memory/xopagepool.h"
#include "memory/xosegmenttable.h"
#include "memory/xosmallblockpool.h"

#include <atomic>

namespace xo {

struct XoPools {
    XoSegmentTable segments;
    XoSmallBlockPool small{segments};
    XoPagePool pages{segments};
    std::atomic<bool> closed{false}; // set at exit: freeing a pool block then does nothing

    XoPools() = default;
    XoPools(const XoPools&) = delete;
    XoPools& operator=(const XoPools&) = delete;
    ~XoPools();

    // Built on first use, which is before any allocation whatever the order of static
    // initialisers; torn down at exit in reverse order of construction.
    static XoPools& instance();
};

} // namespace xo
