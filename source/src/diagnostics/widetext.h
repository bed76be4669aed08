#pragma once

#include <cwchar>

namespace xo {

// A new[] copy of a terminated wide text.
inline wchar_t* copyWideText(const wchar_t* text) {
    const std::size_t size = std::wcslen(text) + 1;
    wchar_t* copy = new wchar_t[size];
    std::wmemcpy(copy, text, size);
    return copy;
}

} // namespace xo
