// The deep copy behind _copyExceptionPointers, written once for the platforms' record
// types. Records are copied whole, one block each, linked in the source's order; the
// context is copied whole; every block comes from the C runtime heap.
#pragma once

#include <cstdlib>
#include <cstring>

namespace xo {

template <class Record> void freeRecordChain(Record* record) {
    while (record != nullptr) {
        Record* next = record->ExceptionRecord;
        std::free(record);
        record = next;
    }
}

template <class Record> Record* copyRecordChain(const Record* source) {
    Record* first = nullptr;
    Record** link = &first;
    for (; source != nullptr; source = source->ExceptionRecord) {
        auto* copy = static_cast<Record*>(std::malloc(sizeof(Record)));
        if (copy == nullptr) {
            freeRecordChain(first);
            return nullptr;
        }
        std::memcpy(copy, source, sizeof(Record));
        copy->ExceptionRecord = nullptr;
        *link = copy;
        link = &copy->ExceptionRecord;
    }
    return first;
}

// RebaseContext(copy, source) mends pointers that the context holds into itself.
template <class Pointers, class Record, class Context, class RebaseContext>
Pointers* copyExceptionPointers(const Pointers* source, RebaseContext rebase) {
    if (source == nullptr)
        return nullptr;
    Record* records = copyRecordChain<Record>(source->ExceptionRecord);
    if (source->ExceptionRecord != nullptr && records == nullptr)
        return nullptr;
    Context* context = nullptr;
    if (source->ContextRecord != nullptr) {
        context = static_cast<Context*>(std::malloc(sizeof(Context)));
        if (context != nullptr) {
            std::memcpy(context, source->ContextRecord, sizeof(Context));
            rebase(context, source->ContextRecord);
        }
    }
    auto* copy = static_cast<Pointers*>(std::malloc(sizeof(Pointers)));
    if (copy == nullptr || (source->ContextRecord != nullptr && context == nullptr)) {
        std::free(copy);
        std::free(context);
        freeRecordChain(records);
        return nullptr;
    }
    copy->ExceptionRecord = records;
    copy->ContextRecord = context;
    return copy;
}

template <class Pointers> void freeExceptionPointers(Pointers* pointers) {
    if (pointers == nullptr)
        return;
    freeRecordChain(pointers->ExceptionRecord);
    std::free(pointers->ContextRecord);
    std::free(pointers);
}

} // namespace xo
