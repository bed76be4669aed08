// The texts the streams throw. One and three exclamation marks tell a sequential
// overrun from a position-addressed one; callers compare them, so they never change.
#pragma once

namespace xo {

inline constexpr const wchar_t* kEndOfStreamBuffer = L"End of stream buffer!";
inline constexpr const wchar_t* kOutOfStreamBuffer = L"Out of stream buffer!";
inline constexpr const wchar_t* kOutOfStreamBufferByPos = L"Out of stream buffer!!!";
inline constexpr const wchar_t* kResizeFailed = L"_resize failed!";

// The file streams'. The input stream reports a failed mapping with the write-worded
// text, deliberately: callers match it.
inline constexpr const wchar_t* kFileInternalError = L"File internal error!";
inline constexpr const wchar_t* kWriteFileError = L"Write file error!";
inline constexpr const wchar_t* kOutOfFileStreamBuffer = L"Out of file stream buffer!";
inline constexpr const wchar_t* kEndOfFile = L"End of file!";
inline constexpr const wchar_t* kInPageError = L"InPageError!";
inline constexpr const wchar_t* kCannotOpenFileForWrite = L"Cannot open file for write!";
inline constexpr const wchar_t* kReleaseThrow = L"XO_RELEASE_THROW";

} // namespace xo
