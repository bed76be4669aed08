// Random shortcut files: the reader must stay inside the bytes it is given, and when it
// finds a target, find a non-empty one, the same when asked again.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "fuzzsupport.h"
#include "platform/shelllink/shelllinkparser.h"

using fuzzsupport::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // An exactly sized copy, so that ASan sees any read past the end.
    std::unique_ptr<unsigned char[]> bytes(new unsigned char[size == 0 ? 1 : size]);
    if (size != 0)
        std::memcpy(bytes.get(), data, size);
    std::wstring target = L"unchanged";
    const bool found = xo::platform::parseShellLinkTarget(bytes.get(), size, target);
    if (!found)
        return 0;
    check(!target.empty());
    std::wstring again;
    check(xo::platform::parseShellLinkTarget(bytes.get(), size, again));
    check(again == target);
    return 0;
}
