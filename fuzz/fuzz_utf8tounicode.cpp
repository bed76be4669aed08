// Random bytes through utf8ToUnicode. The conversion reads the byte at index length
// (it stops only once past text + length), so the copy holds exactly length bytes and
// a terminator there; ASan catches any read beyond it. Every unit takes at least one
// byte, and a length of 0 reads up to the terminator.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "XoCharMapper.h"
#include "fuzzsupport.h"

namespace {

using fuzzsupport::check;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    const bool unbounded = data[0] & 1;
    const bool shared = data[0] & 2;
    const int length = int(size - 1);
    const std::unique_ptr<char[]> text(new char[std::size_t(length) + 1]);
    std::memcpy(text.get(), data + 1, std::size_t(length));
    text[std::size_t(length)] = 0;

    XoVector<wchar_t> out;
    out.push_back(L'x');
    const XoVector<wchar_t> other = out;
    XoCharMapper::utf8ToUnicode(text.get(), unbounded ? 0 : length, out);
    const std::size_t read = std::strlen(text.get());
    check(out.size() >= 1 && std::size_t(out.size()) <= read + 1);
    check(out[out.size() - 1] == 0);
    // Overlong forms may give 0 units inside the text (C0 80 is one).
    for (int i = 0; i + 1 < out.size(); ++i)
        check(unsigned(out[i]) <= 0xFFFF);
    if (shared)
        check(other.size() == 1 && other[0] == L'x');
    return 0;
}
