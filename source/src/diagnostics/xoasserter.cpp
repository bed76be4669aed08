#include "XoAsserter.h"

#include "platform/debugoutput.h"
#include "runtime/xoformatter.h"

#include <cstdlib>
#include <cwchar>

namespace {

std::size_t lengthOrOne(const wchar_t* text) {
    return text ? std::wcslen(text) : 1;
}

// The initial assertion function: a report to the debugger output; execution goes on.
void reportAssertion(const wchar_t* expression, const wchar_t* file, int line) {
    const std::size_t capacity = lengthOrOne(expression) + lengthOrOne(file) + 75;
    auto* text = static_cast<wchar_t*>(std::malloc(capacity * sizeof(wchar_t)));
    if (text == nullptr)
        return;
    const int length = xo::XoFormatter::format(
        text, capacity, L"\nASSERT FAIL!!!\nExpression:\"%s\"\nOccur at:\"%s(line %d)\"\n",
        expression, file, line);
    if (length > 0)
        xo::platform::debugOutputW(text);
    std::free(text);
}

} // namespace

XoAssertFunction XoAsserter::sm_pfnAssert = reportAssertion;

XoAsserter::XoAsserter(const wchar_t* expression, const wchar_t* file, int line) {
    if (XoAssertFunction function = sm_pfnAssert)
        function(expression, file, line);
}

XoAssertFunction XoAsserter::setAssertFunction(XoAssertFunction function) {
    const XoAssertFunction previous = sm_pfnAssert;
    sm_pfnAssert = function;
    return previous;
}

void XoAsserter::defaultAssert(const wchar_t*, const wchar_t*, int) {}

void pmutAssertMessage(const wchar_t*, const wchar_t*, int, const wchar_t*) {}
