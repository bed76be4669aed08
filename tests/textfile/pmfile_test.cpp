// The encoded text file: marks, readers and writers with their stream positions.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "PmFILE.h"
#include "XoCodePageMapper.h"

namespace {

namespace fs = std::filesystem;

class TextFile : public ::testing::Test {
protected:
    void SetUp() override {
        path_ = fs::temp_directory_path() / ("xo_pmfile_" + std::to_string(counter_++) + ".txt");
    }
    void TearDown() override {
        file_.fclose();
        std::error_code ignored;
        fs::remove(path_, ignored);
    }

    // Opens a file holding exactly these bytes for reading.
    PmFILE& holding(const std::string& bytes) {
        std::ofstream(path_, std::ios::binary) << bytes;
        file_ = PmFILE();
        EXPECT_NE(file_.fopen(path_.wstring().c_str(), L"rb"), nullptr);
        return file_;
    }

    PmFILE& forWriting(unsigned format) {
        file_ = PmFILE();
        EXPECT_NE(file_.fopen(path_.wstring().c_str(), L"wb"), nullptr);
        file_.setCharFormat(format);
        return file_;
    }

    std::string written() {
        file_.fclose();
        std::ifstream in(path_, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    std::wstring readAll() {
        std::wstring text;
        for (int ch; (ch = file_.fgetc()) >= 0;)
            text += wchar_t(ch);
        return text;
    }

    fs::path path_;
    PmFILE file_;
    static inline int counter_ = 0;
};

TEST_F(TextFile, MarksAndWhereTheyLeaveTheStream) {
    PmFILE& f = holding(std::string("\xFF\xFE\x00\x00"
                                    "A\x00",
                                    6));
    EXPECT_TRUE(f.readBOM());
    EXPECT_EQ(f.getCharFormat(), 3u); // a UTF-32 little-endian mark reads as UTF-16
    EXPECT_EQ(f.fgetc(), 0);
    EXPECT_EQ(f.fgetc(), 'A');
    f.fclose();

    PmFILE& g = holding("\xEF\xBB"
                        "A");
    EXPECT_FALSE(g.readBOM());
    EXPECT_EQ(g.getCharFormat(), 1u);
    EXPECT_EQ(g.fgetc(), 0xEF); // rewound to the start; 0xEF alone reads through the ANSI page
}

TEST_F(TextFile, MarksOnlyAtTheStart) {
    PmFILE& f = holding("ab");
    EXPECT_EQ(f.fgetc(), 'a');
    EXPECT_FALSE(f.readBOM());
    EXPECT_EQ(f.fgetc(), 'b');
    EXPECT_EQ(f.fgetc(), -1);
    f.fclose();
    PmFILE& g = holding(std::string("\x00\x00\xFE\xFF", 4));
    EXPECT_TRUE(g.readBOM());
    EXPECT_EQ(g.getCharFormat(), 6u);
    EXPECT_EQ(g.fgetc(), -1); // UTF-32 is recognised, never read
}

TEST_F(TextFile, AnsiEscapesAndLineEnds) {
    PmFILE& f = holding("\\U+00b0x\r\ny\rz");
    f.setUseCIF(true);
    f.setExpandLF(true);
    EXPECT_EQ(readAll(), L"\x00B0x\ny\rz");
    f.fclose();
    PmFILE& g = holding("\\U+00b0");
    EXPECT_EQ(readAll(), L"\\U+00b0"); // seven characters without useCIF
    g.fclose();
    PmFILE& h = holding("\\U+0g");
    h.setUseCIF(true);
    EXPECT_EQ(readAll(), L"\\U+0g"); // not an escape: the bytes are read again
}

TEST_F(TextFile, Utf8EndsAtCharactersBeyondTheBasicPlane) {
    PmFILE& f = holding("a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80"
                        "b");
    f.setCharFormat(2);
    EXPECT_EQ(f.fgetc(), 'a');
    EXPECT_EQ(f.fgetc(), 0x00E9);
    EXPECT_EQ(f.fgetc(), 0x4E2D);
    EXPECT_EQ(f.fgetc(), -1);
}

TEST_F(TextFile, Utf16BothOrdersAndTheCarriageReturnAtTheEnd) {
    PmFILE& f = holding(std::string("\x00\x41\x00\x0D\x00\x0A\x00\x0D", 8));
    f.setCharFormat(4);
    f.setExpandLF(true);
    EXPECT_EQ(readAll(), L"A\n\r");
    EXPECT_EQ(f.ungetc(L'A'), -1); // every UTF-16 character is two bytes
}

TEST_F(TextFile, LinesAndPushBack) {
    PmFILE& f = holding("one\ntwo");
    wchar_t line[16];
    wchar_t tiny[1] = {L'x'};
    EXPECT_EQ(f.fgets(tiny, 1), nullptr);
    EXPECT_EQ(tiny[0], 0);
    EXPECT_EQ(f.fgets(line, 16), line);
    EXPECT_STREQ(line, L"one\n");
    EXPECT_EQ(f.fgets(line, 3), line);
    EXPECT_STREQ(line, L"tw");
    EXPECT_EQ(f.ungetc(L'w'), 'w');
    EXPECT_EQ(f.fgetc(), 'w');
    EXPECT_EQ(f.fgetc(), 'o');
    EXPECT_EQ(f.fgets(line, 16), nullptr);
    EXPECT_EQ(f.fscanf(L"%d"), -1);
}

TEST_F(TextFile, WritingEveryFormat) {
    PmFILE& f = forWriting(4);
    f.setExpandLF(true);
    EXPECT_TRUE(f.writeBOM());
    EXPECT_FALSE(f.writeBOM()); // only at the start
    EXPECT_EQ(f.fputc(L'\n'), '\n');
    EXPECT_EQ(written(), std::string("\xFE\xFF\x00\x0D\x00\x0A", 6));

    PmFILE& g = forWriting(2);
    EXPECT_EQ(g.fputs(L"a\x00E9"), 0);
    EXPECT_EQ(g.fprintf(L"%d|%s", 42, L"x"), 4);
    EXPECT_EQ(g.fputs(L""), 0);
    EXPECT_EQ(written(), "a\xC3\xA9"
                         "42|x");

    PmFILE& h = forWriting(5);
    EXPECT_EQ(h.fputc(L'a'), 'a'); // UTF-32 receives nothing
    EXPECT_EQ(written(), "");
}

TEST_F(TextFile, OwnsNothing) {
    std::FILE* stream = std::tmpfile();
    ASSERT_NE(stream, nullptr);
    {
        PmFILE borrowed(stream);
        PmFILE copy = borrowed;
        EXPECT_EQ(copy.pFILE(), stream);
        EXPECT_EQ(copy.getExpandLF(), false);
        EXPECT_EQ(copy.fputc(L'q'), 'q');
    }
    EXPECT_EQ(std::fseek(stream, 0, SEEK_SET), 0); // still open after both went away
    EXPECT_EQ(std::fgetc(stream), 'q');
    PmFILE file;
    file.attach(stream);
    EXPECT_EQ(file.detach(), stream);
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.fclose(), 0);
    std::fclose(stream);
}

// The runtime's share flags: 0x10 denies both, 0x20 writers, 0x30 readers, 0x40 none.
TEST_F(TextFile, ShareFlagsRefuseWhatTheHolderDenies) {
    std::ofstream(path_, std::ios::binary) << "kept";
    const std::wstring wide = path_.wstring();
    struct Case {
        int held;
        const wchar_t* mode;
        int asked;
        bool opens;
    };
    const Case cases[] = {
        {0x20, L"rb", 0x40, true},  {0x20, L"wb", 0x40, false}, {0x10, L"rb", 0x40, false},
        {0x30, L"rb", 0x40, false}, {0x30, L"ab", 0x40, true},  {0x40, L"rb", 0x20, true},
        {0x40, L"rb", 0x10, false}, // the holder reads, which the second open would deny
    };
    for (const Case& c : cases) {
        PmFILE holder;
        ASSERT_NE(holder.fsopen(wide.c_str(), L"rb", c.held), nullptr);
        PmFILE second;
        EXPECT_EQ(second.fsopen(wide.c_str(), c.mode, c.asked) != nullptr, c.opens)
            << std::hex << c.held << " " << c.asked;
        second.fclose();
        holder.fclose();
        std::ifstream in(path_, std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "kept")
            << "a refused \"w\" truncates nothing";
    }
}

TEST_F(TextFile, RoundTripsThroughEveryWrittenFormat) {
    const std::wstring text = L"line one\nZ\x00E9\x4E2D\\U+0041\n";
    for (unsigned format : {2u, 3u, 4u}) {
        for (bool expand : {false, true}) {
            PmFILE& out = forWriting(format);
            out.setExpandLF(expand);
            ASSERT_TRUE(out.writeBOM());
            ASSERT_EQ(out.fputs(text.c_str()), 0);
            out.fclose();
            file_ = PmFILE();
            ASSERT_NE(file_.fopen(path_.wstring().c_str(), L"rb"), nullptr);
            file_.setExpandLF(expand);
            ASSERT_TRUE(file_.readBOM());
            EXPECT_EQ(file_.getCharFormat(), format);
            EXPECT_EQ(readAll(), text) << format << expand;
            file_.fclose();
        }
    }
}

TEST_F(TextFile, AnsiKeepsWhatTheCodePageLacksAsEscapes) {
    if (XoCodePageMapper::currentSystemAnsiCp() != 1252)
        GTEST_SKIP() << "written for a Western system code page";
    PmFILE& out = forWriting(1);
    out.setUseCIF(true);
    out.setExpandLF(true);
    ASSERT_EQ(out.fputs(L"Z\x00E9\x4E2D\n"), 0);
    EXPECT_EQ(written(), "Z\xE9\\U+4E2D\r\n");
    PmFILE& in = holding("Z\xE9\\U+4E2D\r\n");
    in.setUseCIF(true);
    in.setExpandLF(true);
    EXPECT_EQ(readAll(), L"Z\x00E9\x4E2D\n");
}

} // namespace
