// Random 8-bit text in a random code page through the ANSI text iterator: every walk
// ends and stays inside the text, digit folds consume only what they may, and every
// safe cut is a piece of the text that starts and ends at character boundaries.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>

#include "XoAnsiTextIterator.h"
#include "XoString.h"
#include "encoding/xoescapes.h"
#include "fuzzsupport.h"

namespace {

using fuzzsupport::check;
using fuzzsupport::Reader;

bool isDigit(char c, bool hex) {
    const int value = xo::encoding::hexDigitValue(xo::encoding::charValue(c));
    return value >= 0 && (hex || value < 10);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Reader reader{data, size};
    const auto page = code_page_id(reader.byte() % 47);
    const int limit = int(reader.byte()) - 4;
    const std::uint8_t ops = reader.byte();
    const XoStringA text(reinterpret_cast<const char*>(reader.data), int(reader.size));
    const char* base = text.constStr();
    const char* end = base + text.numOfChars();

    // The whole walk; a 0 result without a step is the end.
    std::set<const char*> boundaries{base};
    XoAnsiTextIterator it(text, page);
    const char* firstZero = nullptr;
    for (std::size_t steps = 0;; ++steps) {
        check(steps <= std::size_t(end - base));
        const char* before = it.currPos();
        const wchar_t c = it.nextChar();
        check(c == *it && c >= 0 && c <= 0xFFFF);
        check(it.currPos() >= before && it.currPos() <= end);
        check(it.currPos() - before <= 8);
        if (c == 0 && firstZero == nullptr)
            firstZero = before;
        if (it.currPos() == before) {
            check(c == 0);
            break;
        }
        boundaries.insert(it.currPos());
    }
    if (XoAnsiTextIterator::XoAnsiTextIteratorNotRequired(text, page)) {
        XoAnsiTextIterator plain(text, page);
        for (const char* p = base; *p != 0; ++p)
            check(plain.nextChar() == wchar_t(static_cast<unsigned char>(*p)));
        check(plain.nextChar() == 0);
    }

    // Safe cuts from the start and from a boundary further on.
    for (int round = 0; round < 2; ++round) {
        XoAnsiTextIterator cut(text, page);
        for (int skip = round * (ops & 7); skip > 0; --skip)
            cut.nextChar();
        const char* start = cut.currPos();
        XoStringA out("x");
        const int result = cut.breakSafely(limit, out);
        check(result == 0 || result == 1 || result == 3);
        check(cut.currPos() >= start && cut.currPos() <= end);
        const std::size_t length = std::size_t(out.numOfChars());
        if (result == 0 || limit < 1)
            check(length == 0);
        else
            check(int(length) < limit);
        check(std::memcmp(out.constStr(), start, length) == 0);
        check(boundaries.count(start + length) == 1);
        if (result == 1 && start <= firstZero)
            check(start + length == firstZero);
    }

    // Digit folds at random points of a walk, then on to the end.
    XoAnsiTextIterator digits(text, page);
    for (int op = 0; op < 8; ++op) {
        const std::uint8_t choice = reader.byte();
        const int count = int(choice & 7) - 2;
        const bool hex = (choice & 8) != 0;
        const char* before = digits.currPos();
        if (choice & 16) {
            digits.appendDigitsNoCheck(count, hex);
            const std::ptrdiff_t room = end - before;
            check(digits.currPos() - before == (count < 1 ? 0 : count < room ? count : room));
        } else {
            digits.appendDigits(count, hex);
            check(digits.currPos() - before <= (count < 0 ? 0 : count));
            for (const char* p = before; p < digits.currPos(); ++p)
                check(isDigit(*p, hex));
        }
        check(digits.currPos() <= end);
        if (choice & 32)
            digits.nextChar();
    }
    for (std::size_t steps = 0;; ++steps) {
        check(steps <= std::size_t(end - base));
        const char* before = digits.currPos();
        digits.nextChar();
        check(digits.currPos() >= before && digits.currPos() <= end);
        if (digits.currPos() == before)
            break;
    }
    return 0;
}
