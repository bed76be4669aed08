// The last place one multibyte text occurs in another, found the way the string's
// callers have always had it: both texts are reversed in copies (a double-byte
// character keeps its bytes in order), the reversed needle is searched for in the
// reversed text, and the index is worked out from the lengths.
#pragma once

#include <cstddef>
#include <cstring>

#include "runtime/xombcs.h"

namespace xo {

// The character index of the last NEEDLE in TEXT, or -1 when there is none or when
// Allocator (allocate(bytes), deallocate(block)) cannot give the copies.
template <class Allocator> int lastTextIndex(const char* text, const char* needle) {
    const std::size_t textBytes = std::strlen(text) + 1;
    const std::size_t needleBytes = std::strlen(needle) + 1;
    auto* reversedText = static_cast<unsigned char*>(Allocator::allocate(textBytes));
    auto* reversedNeedle = static_cast<unsigned char*>(Allocator::allocate(needleBytes));
    int index = -1;
    if (reversedText != nullptr && reversedNeedle != nullptr) {
        mbcs::rev(static_cast<unsigned char*>(std::memcpy(reversedText, text, textBytes)));
        mbcs::rev(static_cast<unsigned char*>(std::memcpy(reversedNeedle, needle, needleBytes)));
        if (const unsigned char* found = mbcs::str(reversedText, reversedNeedle))
            index = static_cast<int>(mbcs::len(found) - mbcs::len(reversedNeedle));
    }
    if (reversedText != nullptr)
        Allocator::deallocate(reversedText);
    if (reversedNeedle != nullptr)
        Allocator::deallocate(reversedNeedle);
    return index;
}

} // namespace xo
