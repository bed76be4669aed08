// Writes a conversion's output into an XoVector through a raw pointer. The vector is
// sized once up front; past that the room doubles, so long texts do not grow a
// vector eight elements at a time. The block written is always the vector's own: a
// shared one is copied first. When memory runs out the crash recorder is told and an
// XoErrorStatus* with eOutOfMemory is thrown.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "XoVector.h"
#include "diagnostics/xothrow.h"

namespace xo::encoding {

template <class T> class VectorWriter {
public:
    // Writing starts at index `from`, the elements before it stay. The logical length is
    // first set to from + room (room below 0 counts as 0).
    VectorWriter(XoVector<T>& out, int from, std::int64_t room) : out_(out), position_(from) {
        const std::int64_t wanted = std::int64_t(from) + std::max<std::int64_t>(room, 0);
        if (wanted > std::numeric_limits<int>::max())
            xo::throwErrorStatus(Vesk::eOutOfMemory);
        out_.setLogicalLength(int(wanted));
        if (out_.size() != int(wanted))
            xo::throwErrorStatus(Vesk::eOutOfMemory);
        takeBlock();
    }

    VectorWriter(const VectorWriter&) = delete;
    VectorWriter& operator=(const VectorWriter&) = delete;

    void put(T value) {
        if (position_ == room_)
            grow();
        elements_[position_++] = value;
    }

    int position() const { return position_; }

    // The logical length becomes the number of elements written.
    void finish() { out_.setLogicalLength(position_); }

private:
    void takeBlock() {
        elements_ = out_.data(); // private copy of a shared block; throws when it cannot
        room_ = out_.capacity();
    }

    void grow() {
        constexpr std::int64_t most = std::numeric_limits<int>::max();
        if (position_ == most)
            xo::throwErrorStatus(Vesk::eOutOfMemory);
        const std::int64_t doubled = std::max<std::int64_t>(std::int64_t(room_) * 2, 16);
        const int wanted = int(std::min(doubled, most));
        out_.setLogicalLength(position_); // the elements written so far move with the block
        out_.setPhysicalLength(wanted);
        if (out_.capacity() != wanted)
            xo::throwErrorStatus(Vesk::eOutOfMemory);
        takeBlock();
    }

    XoVector<T>& out_;
    T* elements_ = nullptr;
    int position_;
    int room_ = 0;
};

} // namespace xo::encoding
