// Random bytes through every code page in both directions, into buffers of random
// size: conversions must stay inside their buffers, counting must agree with
// converting, and a short buffer may only ever fail with 122.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fuzzsupport.h"
#include "platform/charconverter.h"
#include "platform/codepages/codepagedata.h"
#include "platform/codepages/codepageengine.h"

namespace {

using fuzzsupport::check;

namespace cp = xo::codepages;

unsigned pickPage(std::uint8_t selector) {
    std::size_t count = 0;
    const cp::PageData* const* pages = cp::allPages(&count);
    return selector % (count + 1) == count ? cp::kUtf8 : pages[selector % (count + 1)]->codePage;
}

void toWide(unsigned page, unsigned flags, const char* src, int srcLen, int capacity) {
    const cp::Outcome counted = cp::multiByteToWideChar(page, flags, src, srcLen, nullptr, 0);
    std::vector<wchar_t> out(std::size_t(capacity) + 1);
    const cp::Outcome converted =
        cp::multiByteToWideChar(page, flags, src, srcLen, out.data(), capacity);
    if (counted.count == 0) {
        check(converted.count == 0 && converted.error == counted.error);
        return;
    }
    if (converted.count == 0)
        check(converted.error == cp::kErrorInsufficientBuffer && capacity < counted.count);
    else
        check(converted.count == counted.count &&
              counted.count <= (page == cp::kUtf8 ? 2 : 1) * srcLen);
}

void toBytes(unsigned page, unsigned flags, const wchar_t* src, int srcLen, int capacity) {
    bool used = false;
    bool* usedFlag = page == cp::kUtf8 ? nullptr : &used;
    const cp::Outcome counted =
        cp::wideCharToMultiByte(page, flags, src, srcLen, nullptr, 0, nullptr, usedFlag);
    std::vector<char> out(std::size_t(capacity) + 1);
    const cp::Outcome converted =
        cp::wideCharToMultiByte(page, flags, src, srcLen, out.data(), capacity, nullptr, usedFlag);
    if (counted.count == 0) {
        check(converted.count == 0);
        return;
    }
    if (converted.count == 0)
        check(converted.error == cp::kErrorInsufficientBuffer && capacity < counted.count);
    else
        check(converted.count == counted.count && counted.count <= 3 * srcLen);
}

void oneByOne(unsigned page, const char* src, int srcLen) {
    const xo::platform::CharConverter converter(page);
    for (int i = 0; i < srcLen;) {
        char16_t unit = 0;
        bool invalid = false;
        const int taken = converter.decodeOne(src + i, srcLen - i, &unit, &invalid);
        check(taken >= 1 && taken <= srcLen - i);
        char bytes[4];
        check(converter.encodeOne(unit, bytes, nullptr) <= 4);
        i += taken;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3)
        return 0;
    const unsigned page = pickPage(data[0]);
    const int capacity = data[1] % 32;
    const bool strict = data[2] & 1;
    const char* bytes = reinterpret_cast<const char*>(data + 3);
    const int length = int(size - 3);
    if (length == 0)
        return 0;
    toWide(page, strict ? cp::kMbErrInvalidChars : 0, bytes, length, capacity);
    oneByOne(page, bytes, length);
    std::vector<wchar_t> wide(std::size_t(length) / 2);
    for (std::size_t i = 0; i < wide.size(); ++i)
        wide[i] = wchar_t(data[3 + 2 * i] | (data[4 + 2 * i] << 8));
    if (!wide.empty()) {
        const unsigned flags = page == cp::kUtf8 ? (strict ? cp::kWcErrInvalidChars : 0)
                                                 : (strict ? cp::kWcNoBestFitChars : 0);
        toBytes(page, flags, wide.data(), int(wide.size()), capacity);
    }
    return 0;
}
