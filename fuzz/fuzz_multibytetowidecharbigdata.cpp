// Random bytes through multiByteToWideCharBigData. The text is an exactly sized copy
// without a terminator, so ASan catches any read past text + length. The output is
// written from index 0 into the one sizing (length + 1 units) and terminated; where the
// first multiByteToWideChar form converts everything, both give the same units.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "XoCharMapper.h"
#include "fuzzsupport.h"

namespace {

using fuzzsupport::check;

const code_page_id kIds[] = {CODE_PAGE_JAPANESE,    CODE_PAGE_SIMPLIFIED_CHINESE,
                             CODE_PAGE_WIN_WESTERN, CODE_PAGE_UTF8,
                             CODE_PAGE_KOREAN,      CODE_PAGE_TRADITIONAL_CHINESE,
                             CODE_PAGE_JOHAB,       CODE_PAGE_KOREAN_SECOND,
                             CODE_PAGE_SYSTEM_ANSI, CODE_PAGE_WIN_THAI,
                             CODE_PAGE_ISO8859_6,   CODE_PAGE_UNDEFINED};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    const code_page_id id = kIds[data[0] % (sizeof kIds / sizeof kIds[0])];
    const int length = int(size - 1);
    const std::unique_ptr<char[]> text(new char[std::size_t(length ? length : 1)]);
    std::memcpy(text.get(), data + 1, std::size_t(length));
    const std::size_t bytes = strnlen(text.get(), std::size_t(length));

    XoVector<wchar_t> out;
    for (int i = 0; i < (data[0] >> 4); ++i)
        out.push_back(L'o');
    const XoVector<wchar_t> before = out;
    const int held = out.size();
    XoCharMapper::multiByteToWideCharBigData(id, text.get(), length, out);
    check(before.size() == held);
    for (int i = 0; i < held; ++i)
        check(before[i] == L'o');
    if (length == 0) {
        check(out.size() == held + 1 && out[held] == 0);
        return 0;
    }
    check(out.size() >= 1 && std::size_t(out.size()) <= bytes + 1 && out[out.size() - 1] == 0);
    check(out.capacity() >= length + 1);

    XoVector<wchar_t> first;
    if (XoCharMapper::multiByteToWideChar(id, text.get(), length, first, true, false)) {
        check(first.size() == out.size());
        for (int i = 0; i < out.size(); ++i)
            check(first[i] == out[i]);
    }
    return 0;
}
