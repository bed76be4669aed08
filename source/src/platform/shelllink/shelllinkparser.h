// The target path stored in a Windows shortcut (.lnk, the published Shell Link binary
// format), read without the shell: the ID list's drive and long names where it is made of
// nothing else (they are UTF-16), else the link information's local base path or network
// share path, each followed by the common path suffix. Built into the POSIX library
// (getLinkedPathName) and, on Windows, only to be compared with the shell's answer.
// The file is untrusted: every size and offset is checked against the bytes given.
#pragma once

#include <cstddef>
#include <string>

namespace xo::platform {

// Shortcuts are small; a larger file is read only this far.
constexpr std::size_t kMaxShellLinkSize = 1 << 20;

// False when the bytes are not a shortcut or store no target path the format can tell
// without the shell (a link that has only an ID list).
bool parseShellLinkTarget(const unsigned char* bytes, std::size_t size, std::wstring& target);

} // namespace xo::platform
