#include "XoVector.h"

#include "diagnostics/xothrow.h"

namespace {
// Its one permanent reference keeps it from ever being freed.
XoVectorData g_emptyVectorData = {{1}, 0, 0, XoVectorDefaultGrowPolicy::kGrowLength, nullptr};
} // namespace

XoVectorData* const gpEmptyVectorData = &g_emptyVectorData;

void XoVectorData::throwErrorStatus(Vesk::ErrorStatus status) {
    xo::throwErrorStatus(status);
}

// The header's explicit instantiation declarations already carry the export attribute,
// so GCC calls these redundant; they stay for compilers that read it here.
#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wattributes"
#endif

// The instantiations that the library's signatures use; clients link against these.
template class XOOSBASE_API
    XoVector<char, XoDefaultMemAllocator<char>, XoRefCounter, XoVectorDefaultGrowPolicy>;
template class XOOSBASE_API
    XoVector<wchar_t, XoDefaultMemAllocator<wchar_t>, XoRefCounter, XoVectorDefaultGrowPolicy>;
