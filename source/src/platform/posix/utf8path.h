// Wide paths to the file system's bytes: the UTF-8 form of the UTF-16 path.
#pragma once

#include <string>

namespace xo::platform {

// False for a null path; a lone surrogate becomes U+FFFD, as the converter makes it.
bool pathToUtf8(const wchar_t* wide, std::string& out);

// The file system's bytes back to the wide form; invalid UTF-8 becomes U+FFFD.
std::wstring pathFromUtf8(const std::string& narrow);

} // namespace xo::platform
