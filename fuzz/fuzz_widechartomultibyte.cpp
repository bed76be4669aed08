// Random UTF-16 through wideCharToMultiByte and its large-input twin. The units are an
// exactly sized copy without a terminator, so ASan catches any read past text + length.
// The output is appended and terminated; both forms agree; and a text without
// backslashes comes back unchanged through the first multiByteToWideChar form, since
// what the code page lacks is written as CIF escapes. Private use units are left out of
// that: some pages write them as bytes that MB_ERR_INVALID_CHARS then refuses (932 A0
// for U+F8F0), as Windows does.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "XoCharMapper.h"
#include "fuzzsupport.h"

namespace {

using fuzzsupport::check;

const code_page_id kIds[] = {CODE_PAGE_JAPANESE,    CODE_PAGE_SIMPLIFIED_CHINESE,
                             CODE_PAGE_WIN_WESTERN, CODE_PAGE_UTF8,
                             CODE_PAGE_KOREAN,      CODE_PAGE_TRADITIONAL_CHINESE,
                             CODE_PAGE_JOHAB,       CODE_PAGE_WIN_CYRILLIC,
                             CODE_PAGE_WIN_GREEK,   CODE_PAGE_DOS_US,
                             CODE_PAGE_ISO8859_6};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    const code_page_id id = kIds[data[0] % (sizeof kIds / sizeof kIds[0])];
    const int length = int((size - 1) / 2);
    const std::unique_ptr<wchar_t[]> text(new wchar_t[std::size_t(length ? length : 1)]);
    int read = length;
    bool unchecked = false; // a backslash or a private use unit
    for (int i = 0; i < length; ++i) {
        text[std::size_t(i)] = wchar_t(data[1 + 2 * i] | data[2 + 2 * i] << 8);
        if (text[std::size_t(i)] == 0 && read == length)
            read = i;
        const unsigned unit = unsigned(text[std::size_t(i)]);
        unchecked = unchecked || (i < read && (unit == '\\' || (unit >= 0xE000 && unit <= 0xF8FF)));
    }

    XoVector<char> out;
    out.push_back('p');
    const XoVector<char> shared = out;
    XoCharMapper::wideCharToMultiByte(id, text.get(), length, out);
    check(shared.size() == 1 && out.size() >= 2 && out[0] == 'p' && out[out.size() - 1] == 0);
    check(out.size() - 2 <= 7 * read); // at most a CIF escape a unit

    XoVector<char> big;
    XoCharMapper::wideCharToMultiByteBigData(id, text.get(), length, big);
    check(big.size() == out.size() - 1);
    for (int i = 0; i < big.size(); ++i)
        check(big[i] == out[i + 1]);

    if (!unchecked) {
        XoVector<wchar_t> back;
        check(XoCharMapper::multiByteToWideChar(id, big.data(), big.size() - 1, back, true, false));
        check(back.size() == read + 1);
        for (int i = 0; i < read; ++i)
            check(back[i] == text[std::size_t(i)]);
    }
    return 0;
}
