// What a deep copy of the OS's exception-pointers record needs to know about the
// platform's record types. The copy itself is neutral (diagnostics/); it copies each
// record and the context whole and mends only what this layer names.
#pragma once

#include <cstddef>

namespace xo::platform {

struct ExceptionRecordShape {
    std::size_t pointersSize;     // the pointers record: first exception record, then context
    std::size_t recordSize;       // one exception record of the chain
    std::size_t nextRecordOffset; // where a record holds the next record of its chain
    std::size_t contextSize;      // the machine context
};

ExceptionRecordShape exceptionRecordShape();

// Mends pointers that a context copied whole still holds into its source, so that they
// point into the copy.
void rebaseContextCopy(void* copy, const void* source);

} // namespace xo::platform
