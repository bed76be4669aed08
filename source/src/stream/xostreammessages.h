// The texts the memory streams throw. One and three exclamation marks tell a sequential
// overrun from a position-addressed one; callers compare them, so they never change.
#pragma once

namespace xo {

inline constexpr const wchar_t* kEndOfStreamBuffer = L"End of stream buffer!";
inline constexpr const wchar_t* kOutOfStreamBuffer = L"Out of stream buffer!";
inline constexpr const wchar_t* kOutOfStreamBufferByPos = L"Out of stream buffer!!!";
inline constexpr const wchar_t* kResizeFailed = L"_resize failed!";

} // namespace xo
