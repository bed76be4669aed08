#include "XoTracer.h"

#include "diagnostics/xothrow.h"
#include "platform/debugoutput.h"
#include "runtime/xoformatter.h"

#include <cstdarg>
#include <cstdlib>
#include <memory>

XoTraceFunctionW XoTracer::sm_pfnTraceW = XoTracer::defaultTraceW;
XoTraceFunctionA XoTracer::sm_pfnTraceA = XoTracer::defaultTraceA;

XoTracer::XoTracer(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    va_list measuring;
    va_copy(measuring, args);
    const int length = xo::XoFormatter::formatV(nullptr, 0, format, measuring);
    va_end(measuring);
    const std::size_t capacity = length > 0 ? static_cast<std::size_t>(length) + 1 : 1;
    auto* text = static_cast<wchar_t*>(std::malloc(capacity * sizeof(wchar_t)));
    if (text == nullptr) {
        va_end(args);
        xo::throwWithMessage(L"Out of memory!!");
    }
    const std::unique_ptr<wchar_t, void (*)(void*)> owner(text, std::free);
    xo::XoFormatter::formatV(text, capacity, format, args);
    va_end(args);
    if (XoTraceFunctionW function = sm_pfnTraceW)
        function(text);
}

XoTraceFunctionW XoTracer::setTraceFunctionW(XoTraceFunctionW function) {
    sm_pfnTraceW = function;
    return function;
}

XoTraceFunctionA XoTracer::setTraceFunctionA(XoTraceFunctionA function) {
    sm_pfnTraceA = function;
    return function;
}

void XoTracer::defaultTraceW(const wchar_t* text) {
    xo::platform::debugOutputW(text);
}

void XoTracer::defaultTraceA(const char* text) {
    xo::platform::debugOutputA(text);
}
