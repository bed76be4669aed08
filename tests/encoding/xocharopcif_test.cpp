// XoCharOp::WideCharToMultiByteCIF: a Windows code page with CIF escapes for the rest.
#include <gtest/gtest.h>

#include <string>

#include "XoCharOp.h"
#include "platform/error.h"

namespace {

using Bytes = std::string;

int convert(unsigned winCp, const std::wstring& in, int inLen, Bytes& out) {
    return XoCharOp::WideCharToMultiByteCIF(winCp, 0, in.c_str(), inLen, &out[0], int(out.size()),
                                            0);
}

TEST(XoCharOpCIF, WritesThePageOrTheEscape) {
    Bytes out(32, 'x');
    EXPECT_EQ(convert(1252, L"A\xE9\x4E2D\x20AC", -1, out), 11);
    EXPECT_EQ(out.substr(0, 12), Bytes("A\xE9\\U+4E2D\x80\0x", 12));
    // No best fit: U+0100 would otherwise be "A".
    EXPECT_EQ(convert(1252, L"\x100\x3bb", -1, out), 15);
    EXPECT_EQ(out.substr(0, 15), Bytes("\\U+0100\\U+03BB\0", 15));
    EXPECT_EQ(convert(932, L"\x4E2D\xFF71\xA5", -1, out), 11);
    EXPECT_EQ(out.substr(0, 11), Bytes("\x92\x86\xB1\\U+00A5\0", 11));
}

TEST(XoCharOpCIF, LengthAndTerminator) {
    Bytes out(16, 'x');
    EXPECT_EQ(convert(1252, L"AB", 2, out), 2);
    EXPECT_EQ(out.substr(0, 3), "ABx");
    EXPECT_EQ(convert(1252, std::wstring(L"A\0B", 3), 3, out), 2); // the zero ends it, counted
    EXPECT_EQ(out.substr(0, 3), Bytes("A\0x", 3));
    EXPECT_EQ(convert(1252, L"", -1, out), 1);
    EXPECT_EQ(out[0], '\0');
    out.assign(16, 'x');
    for (int length : {0, -2, -100})
        EXPECT_EQ(convert(1252, L"AB", length, out), 0) << length;
    EXPECT_EQ(out, Bytes(16, 'x'));
}

TEST(XoCharOpCIF, StopsAtThePieceThatDoesNotFit) {
    Bytes out(3, 'x');
    EXPECT_EQ(convert(1252, L"AB\x4E2D", -1, out), 2);
    EXPECT_EQ(out, "ABx");
    out.assign(9, 'x');
    EXPECT_EQ(convert(1252, L"AB\x4E2D", -1, out), 9);
    EXPECT_EQ(out, "AB\\U+4E2D"); // no room for the terminator
    out.assign(2, 'x');
    EXPECT_EQ(convert(932, L"A\x4E2D", -1, out), 1);
    EXPECT_EQ(out, "Ax");
    out.assign(2, 'x');
    EXPECT_EQ(convert(1252, L"ABC", -1, out), 2);
    EXPECT_EQ(out, "AB");
    EXPECT_EQ(XoCharOp::WideCharToMultiByteCIF(1252, 0, L"AB", -1, nullptr, 0, 0), 0);
}

TEST(XoCharOpCIF, ReportsThroughTheLastError) {
    namespace os = xo::platform;
    char out[8] = {};
    for (unsigned invalid : {28586u, 12345u, 0u}) {
        os::setThreadLastError(0);
        EXPECT_EQ(XoCharOp::WideCharToMultiByteCIF(invalid, 0, L"A", -1, out, 8, 0), 0) << invalid;
        EXPECT_EQ(os::threadLastError(), 1001u) << invalid;
    }
    os::setThreadLastError(0);
    EXPECT_EQ(XoCharOp::WideCharToMultiByteCIF(1252, 0, L"A", -1, nullptr, 8, 0), 0);
    EXPECT_EQ(os::threadLastError(), 87u);
    os::setThreadLastError(0);
    EXPECT_EQ(XoCharOp::WideCharToMultiByteCIF(1252, 0, nullptr, 1, out, 8, 0), 0);
    EXPECT_EQ(os::threadLastError(), 87u);
    // The code page is checked first.
    os::setThreadLastError(0);
    EXPECT_EQ(XoCharOp::WideCharToMultiByteCIF(12345, 0, L"A", -1, nullptr, 8, 0), 0);
    EXPECT_EQ(os::threadLastError(), 1001u);
    os::setThreadLastError(0);
    EXPECT_EQ(XoCharOp::WideCharToMultiByteCIF(1252, 0x400, L"A", -1, out, 8, 99), 2);
    EXPECT_EQ(os::threadLastError(), 0u);
}

} // namespace
