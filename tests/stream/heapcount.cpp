// Replaces the array forms of operator new and delete for this executable so that the
// stream tests can see which scratch blocks a transfer takes.
#include "streamtestsupport.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool counting = false;
thread_local std::size_t sizes[64];
thread_local std::size_t taken = 0;
thread_local std::size_t given = 0;
thread_local bool failNext = false;

} // namespace

void* operator new[](std::size_t size) {
    if (failNext) {
        failNext = false;
        throw std::bad_alloc();
    }
    if (counting && taken < 64)
        sizes[taken++] = size;
    if (void* block = std::malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}

void operator delete[](void* block) noexcept {
    if (counting && block != nullptr)
        ++given;
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    operator delete[](block);
}

namespace streamtest {

void failNextArrayNew() {
    failNext = true;
}

HeapCount::HeapCount() {
    taken = given = 0;
    counting = true;
}

HeapCount::~HeapCount() {
    counting = false;
}

std::vector<std::size_t> HeapCount::sizes() const {
    return std::vector<std::size_t>(::sizes, ::sizes + taken);
}

std::size_t HeapCount::freed() const {
    return given;
}

} // namespace streamtest
