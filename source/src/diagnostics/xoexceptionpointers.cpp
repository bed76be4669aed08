// Deep copies of the exception-pointers record. Records are copied whole, one block
// each, linked in the source's order; the context is copied whole and rebased; every
// block comes from the C runtime heap, so that a crash handler may free it anywhere.
#include "XoExceptionPointers.h"

#include <cstdlib>
#include <cstring>

#include "platform/exceptionrecords.h"

namespace {

namespace os = xo::platform;

// The pointers record, as every platform lays it out (each platform file checks it).
struct PointersView {
    void* record;
    void* context;
};

void* nextRecord(const void* record, const os::ExceptionRecordShape& shape) {
    void* next = nullptr;
    std::memcpy(&next, static_cast<const char*>(record) + shape.nextRecordOffset, sizeof next);
    return next;
}

void setNextRecord(void* record, void* next, const os::ExceptionRecordShape& shape) {
    std::memcpy(static_cast<char*>(record) + shape.nextRecordOffset, &next, sizeof next);
}

void freeRecordChain(void* record, const os::ExceptionRecordShape& shape) {
    while (record != nullptr) {
        void* next = nextRecord(record, shape);
        std::free(record);
        record = next;
    }
}

// Null for an empty chain as for a failure; the caller tells them apart.
void* copyRecordChain(const void* source, const os::ExceptionRecordShape& shape) {
    void* first = nullptr;
    void* last = nullptr;
    for (; source != nullptr; source = nextRecord(source, shape)) {
        void* copy = std::malloc(shape.recordSize);
        if (copy == nullptr) {
            freeRecordChain(first, shape);
            return nullptr;
        }
        std::memcpy(copy, source, shape.recordSize);
        setNextRecord(copy, nullptr, shape);
        if (last == nullptr)
            first = copy;
        else
            setNextRecord(last, copy, shape);
        last = copy;
    }
    return first;
}

void* copyContext(const void* source, const os::ExceptionRecordShape& shape) {
    void* copy = std::malloc(shape.contextSize);
    if (copy != nullptr) {
        std::memcpy(copy, source, shape.contextSize);
        os::rebaseContextCopy(copy, source);
    }
    return copy;
}

PointersView viewOf(const XoExceptionPointers* pointers) {
    PointersView view;
    std::memcpy(&view, pointers, sizeof view);
    return view;
}

} // namespace

XoExceptionPointers* _copyExceptionPointers(XoExceptionPointers* pointers) {
    if (pointers == nullptr)
        return nullptr;
    const os::ExceptionRecordShape shape = os::exceptionRecordShape();
    const PointersView source = viewOf(pointers);
    PointersView copy{copyRecordChain(source.record, shape), nullptr};
    if (source.record != nullptr && copy.record == nullptr)
        return nullptr;
    if (source.context != nullptr)
        copy.context = copyContext(source.context, shape);
    void* block = std::malloc(shape.pointersSize);
    if (block == nullptr || (source.context != nullptr && copy.context == nullptr)) {
        std::free(block);
        std::free(copy.context);
        freeRecordChain(copy.record, shape);
        return nullptr;
    }
    std::memcpy(block, &copy, sizeof copy);
    return static_cast<XoExceptionPointers*>(block);
}

void _freeExceptionPointers(XoExceptionPointers* pointers) {
    if (pointers == nullptr)
        return;
    const os::ExceptionRecordShape shape = os::exceptionRecordShape();
    const PointersView view = viewOf(pointers);
    freeRecordChain(view.record, shape);
    std::free(view.context);
    std::free(pointers);
}
