// xoconv end to end: the built command run on sample files, as a user runs it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include <csignal>
#include <fcntl.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>
#endif

namespace {

namespace fs = std::filesystem;

std::string slurp(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void spit(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

// A path as the command interpreter of the target reads it (under Wine, Unix paths sit
// on drive Z:).
std::string native(const fs::path& path) {
    std::string text = path.string();
#if defined(_WIN32)
    if (!text.empty() && text[0] == '/')
        text = "Z:" + text;
    for (char& c : text)
        if (c == '/')
            c = '\\';
#endif
    return "\"" + text + "\"";
}

class Xoconv : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = fs::temp_directory_path() /
               ("xo_xoconv_" + std::to_string(std::rand()) + "_" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::create_directories(dir_);
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(dir_, ignored);
    }

    // Runs xoconv with arguments; stdout and stderr land in out_ and err_.
    // Standard input is the file named input, else the null device (as a terminal, no
    // text: xoconv then converts its bundled sample). With piped, both standard input
    // and standard output are pipes.
    int run(const std::string& arguments, const std::string& input = "", bool piped = false) {
        std::string command = native(XOCONV_EXE) + " " + arguments;
#if defined(_WIN32)
        const std::string nothing = "NUL";
#else
        const std::string nothing = "/dev/null";
#endif
        if (piped)
            command = "cat " + native(dir_ / input) + " | " + command + " | cat";
        else
            command += " < " + (input.empty() ? nothing : native(dir_ / input));
        command += " > " + native(dir_ / "stdout") + " 2> " + native(dir_ / "stderr");
#if defined(_WIN32)
        command = "\"" + command + "\"";
#endif
        const int status = std::system(command.c_str());
        out_ = slurp(dir_ / "stdout");
        err_ = slurp(dir_ / "stderr");
#if defined(_WIN32)
        return status;
#else
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
    }

#if !defined(_WIN32)
    // Runs xoconv as its own process and calls beforeStart with its process id before
    // it runs a line of its code, so that files named after that id can be planted.
    template <class BeforeStart>
    int spawn(const std::vector<std::string>& arguments, BeforeStart beforeStart) {
        int gate[2];
        if (::pipe(gate) != 0)
            return -1;
        const pid_t child = ::fork();
        if (child == 0) {
            char go = 0;
            ::close(gate[1]);
            if (::read(gate[0], &go, 1) != 1)
                ::_exit(126);
            const int out = ::open((dir_ / "stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            const int err = ::open((dir_ / "stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            ::dup2(out, 1);
            ::dup2(err, 2);
            std::vector<char*> argv{const_cast<char*>(XOCONV_EXE)};
            for (const std::string& argument : arguments)
                argv.push_back(const_cast<char*>(argument.c_str()));
            argv.push_back(nullptr);
            ::execv(XOCONV_EXE, argv.data());
            ::_exit(127);
        }
        ::close(gate[0]);
        beforeStart(child);
        const char go = 1;
        const bool started = ::write(gate[1], &go, 1) == 1;
        ::close(gate[1]);
        int status = 0;
        ::waitpid(child, &status, 0);
        out_ = slurp(dir_ / "stdout");
        err_ = slurp(dir_ / "stderr");
        return started && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
#endif

    fs::path at(const std::string& name) const {
        return dir_ / name;
    }

    // A table's conversion of the file "in.txt": its options and bytes, the status
    // expected, and standard output then (status 0, not --detect) or what the output
    // or a message holds.
    struct Conversion {
        std::string options, in;
        int status;
        std::string out;
    };
    void expectConversions(const std::vector<Conversion>& cases) {
        for (const Conversion& c : cases) {
            SCOPED_TRACE(c.options);
            spit(at("in.txt"), c.in);
            ASSERT_EQ(run(c.options + " " + native(at("in.txt"))), c.status) << err_;
            if (c.status == 0 && c.options.find("--detect") == std::string::npos)
                EXPECT_EQ(out_, c.out);
            else
                EXPECT_NE((out_ + err_).find(c.out), std::string::npos) << out_ << err_;
        }
    }

    fs::path dir_;
    std::string out_, err_;
};

const std::string kSample = std::string(XOCONV_SAMPLE_DIR) + "/drawing-cp932.txt";

TEST_F(Xoconv, TheBundledSampleReadsAsUtf8) {
    ASSERT_EQ(run(""), 0) << err_;
    EXPECT_NE(out_.find("\xE9\x83\xA8\xE5\x93\x81\xE8\xA1\xA8"), std::string::npos); // 部品表
    EXPECT_NE(out_.find("\xE2\x8C\x80"), std::string::npos); // the CIF escape of U+2300
    EXPECT_NE(out_.find("\xE5\x95\x8A"), std::string::npos); // the MIF escape, from 936
    EXPECT_NE(out_.find("\r\n"), std::string::npos);
    ASSERT_EQ(run("--lf " + native(kSample) + " --from 932"), 0) << err_;
    EXPECT_EQ(out_.find('\r'), std::string::npos);
}

TEST_F(Xoconv, EachDirectionAndBack) {
    spit(at("in.txt"), "caf\xC3\xA9 \xE4\xB8\xAD\n");
    ASSERT_EQ(
        run("--from utf-8 --to utf-16be -o " + native(at("be.txt")) + " " + native(at("in.txt"))),
        0)
        << err_;
    EXPECT_EQ(slurp(at("be.txt")), std::string("\xFE\xFF\x00"
                                               "c\x00"
                                               "a\x00"
                                               "f\x00\xE9\x00 \x4E\x2D\x00\n",
                                               16));
    ASSERT_EQ(run("--to 936 -o " + native(at("gbk.txt")) + " " + native(at("be.txt"))), 0) << err_;
    EXPECT_EQ(slurp(at("gbk.txt")), "caf\xA8\xA6 \xD6\xD0\n");
    ASSERT_EQ(run("--from cp936 --to utf-8 " + native(at("gbk.txt"))), 0) << err_;
    EXPECT_EQ(out_, "caf\xC3\xA9 \xE4\xB8\xAD\n");
}

// A character the target lacks is an error, as with iconv, unless the user chose what
// to write instead.
TEST_F(Xoconv, WhatTheTargetLacksIsAnErrorUnlessAChoiceWasMade) {
    spit(at("in.txt"), "\xC3\xA9\xE4\xB8\xAD");
    struct Case {
        const char* option;
        int status;
        std::string out;
        const char* message;
    };
    const Case cases[] = {
        {"", 1, "", "(U+4E2D)"},          {"--replace", 0, "\xE9?", "1 character"},
        {"-c", 0, "\xE9", "left out"},    {"--drop", 0, "\xE9", "left out"},
        {"--cif", 0, "\xE9\\U+4E2D", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.option);
        EXPECT_EQ(
            run(std::string("--from utf-8 --to 1252 ") + c.option + " " + native(at("in.txt"))),
            c.status)
            << err_;
        EXPECT_EQ(out_, c.out);
        EXPECT_NE(err_.find(c.message), std::string::npos) << err_;
    }
    spit(at("esc.txt"), "a\\U+4E2Db");
    ASSERT_EQ(run("--from 1252 --to utf-8 --no-escapes " + native(at("esc.txt"))), 0);
    EXPECT_EQ(out_, "a\\U+4E2Db");
}

// A lossy conversion writes nothing anywhere and leaves the input as it was.
TEST_F(Xoconv, ALossyConversionWritesNothing) {
    const std::string text = "ok \xE4\xB8\xAD\n";
    struct Case {
        const char* destination; // "D" stands for the output folder
        const char* output;      // what must not exist afterwards; empty: none
    };
    const Case cases[] = {
        {"-o D/out.txt", "D/out.txt"},
        {"--output-dir D", "D/in.txt"},
        {"--in-place", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.destination);
        fs::remove_all(at("d"));
        fs::create_directories(at("d"));
        spit(at("in.txt"), text);
        std::string destination = c.destination;
        const std::size_t d = destination.find('D');
        if (d != std::string::npos)
            destination.replace(d, 1, at("d").string());
        EXPECT_EQ(run("--from utf-8 --to 1252 " + destination + " " + native(at("in.txt"))), 1);
        EXPECT_EQ(slurp(at("in.txt")), text);
        EXPECT_TRUE(fs::is_empty(at("d")));
        int leftovers = 0;
        for (const auto& entry : fs::directory_iterator(dir_))
            leftovers += entry.path().filename().string().find(".tmp") != std::string::npos;
        EXPECT_EQ(leftovers, 0);
    }
}

// Only --in-place may write onto an input, whichever way the output is named.
TEST_F(Xoconv, AnOutputOntoAnInputNeedsInPlace) {
    const std::string text = "caf\xE9\n";
    const std::string cases[] = {
        "--output-dir " + native(dir_),
        "-o " + native(at("in.txt")),
        "--output-dir " + native(at("sub/..")),
    };
    fs::create_directories(at("sub"));
    for (const std::string& destination : cases) {
        SCOPED_TRACE(destination);
        spit(at("in.txt"), text);
        EXPECT_EQ(run("--from 1252 --to utf-16le " + destination + " " + native(at("in.txt"))), 2);
        EXPECT_NE(err_.find("--in-place"), std::string::npos) << err_;
        EXPECT_EQ(slurp(at("in.txt")), text);
    }
}

// A zero byte is a character like any other, also in 8-bit text with escapes on, where
// the library's conversion stops at one.
TEST_F(Xoconv, ZeroBytesAreKept) {
    using namespace std::string_literals;
    expectConversions({
        {"--from 1252 --to utf-8", "a\0b\nc\n"s, 0, "a\0b\nc\n"s},
        {"--from 1252 --to utf-8", "\0\0\xE9\0"s, 0, "\0\0\xC3\xA9\0"s},
        {"--from 1252 --to utf-8 --no-escapes", "a\0b\nc\n"s, 0, "a\0b\nc\n"s},
        {"--from 932 --to utf-8", "\x82\xA0\0\\U+4E2D\0"s, 0, "\xE3\x81\x82\0\xE4\xB8\xAD\0"s},
        {"--from utf-8 --to 1252", "a\0\xC3\xA9\n"s, 0, "a\0\xE9\n"s},
        {"--from utf-8 --to 1252 --cif", "a\0\xE4\xB8\xAD\0"s, 0, "a\0\\U+4E2D\0"s},
        {"--from utf-8 --to utf-16le --no-bom", "a\0b"s, 0, "a\0\0\0b\0"s},
        {"--from utf-16le --to utf-8", "a\0\0\0b\0"s, 0, "a\0b"s},
    });
}

TEST_F(Xoconv, ByteOrderMarksDecideTheInput) {
    spit(at("le.txt"), std::string("\xFF\xFE"
                                   "A\x00\r\x00\n\x00",
                                   8));
    ASSERT_EQ(run(native(at("le.txt"))), 0) << err_;
    EXPECT_EQ(out_, "A\r\n");
    ASSERT_EQ(run("--from utf-8 " + native(at("le.txt"))), 1);
    EXPECT_NE(err_.find("byte-order mark"), std::string::npos) << err_;
    ASSERT_EQ(run("--detect " + native(at("le.txt")) + " " + native(kSample)), 0);
    EXPECT_NE(out_.find("le.txt: byte-order mark UTF-16LE"), std::string::npos) << out_;
    EXPECT_NE(out_.find("most plausible first: 932 "), std::string::npos) << out_;
}

// UTF-32 of both byte orders, read by its mark or by name, and written.
TEST_F(Xoconv, Utf32BothOrders) {
    using namespace std::string_literals;
    expectConversions({
        {"", "\xFF\xFE\0\0A\0\0\0\xE9\0\0\0"s, 0, "A\xC3\xA9"},
        {"", "\0\0\xFE\xFF\0\0\0A\0\0\0\xE9"s, 0, "A\xC3\xA9"},
        {"--from utf-32be", "\0\0\0A\0\0\0\xE9"s, 0, "A\xC3\xA9"},
        {"--from utf-32le --to utf-16le --no-bom", "\xD0\xF4\x01\0"s, 0, "\x3D\xD8\xD0\xDC"s},
        {"--from utf-16le --to utf-32le", "\x3D\xD8\xD0\xDC"s, 0, "\xFF\xFE\0\0\xD0\xF4\x01\0"s},
        {"--from 1252 --to utf-32be --no-bom", "\xE9"s, 0, "\0\0\0\xE9"s},
        {"--from utf-16le", "\xFF\xFE\0\0A\0"s, 0, "\0A"s}, // the UTF-16 mark, then U+0000
        // Marks that are text in the form stated, and one that is not.
        {"--from utf-16le --to utf-16be --no-bom", "\xEF\xBB\xBF\x63"s, 0, "\xBB\xEF\x63\xBF"s},
        {"--from utf-16le --to utf-16be --no-bom", "\0\0\xFE\xFF"s, 0, "\0\0\xFF\xFE"s},
        {"--from utf-32le --to utf-32be --no-bom", "\xFF\xFE\x01\0"s, 0, "\0\x01\xFE\xFF"s},
        {"--from utf-16 --to utf-16be --no-bom", "\xFE\xFF\0A"s, 0, "\0A"s},
        {"--from utf-16be",
         "\xFF\xFE"
         "A\0"s,
         1, "the byte-order mark says UTF-16LE"},
        {"--from utf-32be", "\xFF\xFE\0\0"s, 1, "the byte-order mark says UTF-32LE"},
        {"--detect", "\xFF\xFE\0\0A\0\0\0"s, 0, "byte-order mark UTF-32LE"},
        {"--detect", "\0\0\xFE\xFF\0\0\0A"s, 0, "byte-order mark UTF-32BE"},
        {"--from utf-32le", "A\0\0\0\0\0\x11\0"s, 1, "byte 4: not a UTF-32 character"},
        {"--from utf-32le", "A\0\0\0B\0"s, 1, "byte 4: a partial character"},
        {"--from utf-16le --to utf-32le", "\x3D\xD8"s, 1, "lone surrogate"},
    });
}

// Characters beyond U+FFFF: a surrogate pair in UTF-16 (or two CIF escapes making
// one) is one four-byte UTF-8 sequence, and back.
TEST_F(Xoconv, CharactersBeyondTheBasicPlane) {
    using namespace std::string_literals;
    const std::string utf8 = "\xF0\x9F\x93\x90"; // U+1F4D0
    expectConversions({
        {"--from utf-16le", "\x3D\xD8\xD0\xDC"s, 0, utf8},
        {"--from utf-16be", "\xFE\xFF\xD8\x3D\xDC\xD0"s, 0, utf8},
        {"--from utf-8 --to utf-16le --no-bom", "a" + utf8, 0, "a\0\x3D\xD8\xD0\xDC"s},
        {"--from utf-8 --to utf-8", utf8 + "\xF4\x8F\xBF\xBF", 0, utf8 + "\xF4\x8F\xBF\xBF"},
        {"--from utf-8 --to utf-32be --no-bom", utf8, 0, "\0\x01\xF4\xD0"s},
        {"--from 1252", "x\\U+D83D\\U+DCD0", 0, "x" + utf8},
        {"--from 932", "\\U+d83d\\U+dcd0\x82\xA0", 0, utf8 + "\xE3\x81\x82"},
        {"--from utf-8 --to 1252 --cif", utf8, 0, "\\U+D83D\\U+DCD0"},
        {"--from utf-8", "ab\xF8\x88\x80\x80\x80", 1, "byte 2: not UTF-8"},
        {"--from utf-8", "a\xED\xA0\x80", 1, "byte 1: not UTF-8"},
        {"--from utf-8", "a\xF4\x90\x80\x80", 1, "byte 1: not UTF-8"},
        {"--from utf-8", "a\xF0\x9F\x93", 1, "byte 1: not UTF-8"},
        {"--from utf-16le", "a\0\x3D\xD8"s, 1, "character 1 (U+D83D, a lone surrogate)"},
        {"--from utf-16le --replace", "\xD0\xDC"s, 0, "\xEF\xBF\xBD"},
        // A code page lacks the character, not each half of its pair.
        {"--from utf-8 --to 1252", "a" + utf8, 1, "character 1 (U+1F4D0) and 0 other(s)"},
        {"--from utf-8 --to 932 --replace", "a" + utf8 + "b", 0, "a?b"},
    });
}

// iconv's conventions: the common names, attached values, utf-16 by its mark.
TEST_F(Xoconv, IconvNamesAndConventions) {
    using namespace std::string_literals;
    const std::string a = "\xE3\x81\x82"; // あ
    expectConversions({
        {"-f SHIFT_JIS", "\x82\xA0", 0, a},
        {"-f sjis", "\x82\xA0", 0, a},
        {"-f CP932", "\x82\xA0", 0, a},
        {"-f Windows-31J", "\x82\xA0", 0, a},
        {"-fcp932", "\x82\xA0", 0, a},
        {"-f windows-1252", "\x80", 0, "\xE2\x82\xAC"},
        {"-f latin1", "\xE9", 0, "\xC3\xA9"},
        {"-f ISO-8859-1", "\xE9", 0, "\xC3\xA9"},
        {"-f iso_8859-2", "\xB1", 0, "\xC4\x85"},
        {"-f GBK", "\xD6\xD0", 0, "\xE4\xB8\xAD"},
        {"-f BIG5", "\xA4\xA4", 0, "\xE4\xB8\xAD"},
        {"-f EUC-KR", "\xC7\xD1", 0, "\xED\x95\x9C"},
        {"-f ibm850", "\x82", 0, "\xC3\xA9"},
        {"-f utf-8 -tUTF-16LE --no-bom", "A", 0, "A\0"s},
        {"-f UTF-16", "\xFE\xFF\0A"s, 0, "A"},
        {"-f UTF-16",
         "\xFF\xFE"
         "A\0"s,
         0, "A"},
        {"-f utf-16", "A\0"s, 0, "A"},
        {"-f UTF-32", "\0\0\xFE\xFF\0\0\0A"s, 0, "A"},
        {"-f utf-8 -t UTF-16", "A", 0,
         "\xFF\xFE"
         "A\0"s},
        {"-f utf-8 -t utf-32", "A", 0, "\xFF\xFE\0\0A\0\0\0"s},
    });
    spit(at("in.txt"), "\x82\xA0");
    ASSERT_EQ(run("-fcp932 -tutf-16be -o" + native(at("out.txt")) + " " + native(at("in.txt"))), 0)
        << err_;
    EXPECT_EQ(slurp(at("out.txt")), "\xFE\xFF\x30\x42");
    EXPECT_EQ(run("-f no-such-page " + native(at("in.txt"))), 2);
    for (const char* list : {"-l", "--list"}) {
        ASSERT_EQ(run(list), 0) << err_;
        for (const char* line :
             {"932  CODE_PAGE_JAPANESE ", "shift_jis", "1252  CODE_PAGE_WIN_WESTERN",
              "windows-1252", "euc-kr", "big5", "gbk", "latin1", "utf-16le"})
            EXPECT_NE(out_.find(line), std::string::npos) << line;
    }
    ASSERT_EQ(run("--version"), 0);
    EXPECT_EQ(out_.compare(0, 16, "xoconv (XoOsBase"), 0) << out_;
}

// Without --from: the mark, else UTF-8 when the text is valid UTF-8, else the system's
// code page; --verbose says which.
TEST_F(Xoconv, TheInputEncodingWhenNoneIsGiven) {
    struct Case {
        std::string in, out, says;
    };
    const Case cases[] = {
        {"caf\xC3\xA9 \xE4\xB8\xAD", "caf\xC3\xA9 \xE4\xB8\xAD",
         "read as UTF-8 (no byte-order mark"},
        {"caf\xE9", "caf\xC3\xA9", "(no byte-order mark; not UTF-8)"},
        {"\xEF\xBB\xBF"
         "a",
         "a", "read as UTF-8 (its byte-order mark)"},
        {"caf\xE9", "caf\xC3\xA9", "read as code page 1252 (--from)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.says);
        spit(at("in.txt"), c.in);
        const bool given = c.says.find("--from") != std::string::npos;
        ASSERT_EQ(run(std::string(given ? "-f 1252 " : "") + "-v " + native(at("in.txt"))), 0)
            << err_;
        EXPECT_EQ(out_, c.out);
        EXPECT_NE(err_.find(c.says), std::string::npos) << err_;
    }
}

// The folder under one of roots (or their subfolders one level down, as in
// /usr/lib/python3.11) that holds name; empty when none does.
fs::path findFolder(const std::vector<fs::path>& roots, const fs::path& name) {
    std::error_code ignored;
    for (const fs::path& root : roots) {
        if (fs::exists(root / name, ignored))
            return root / name;
        for (const auto& entry : fs::directory_iterator(root, ignored))
            if (fs::exists(entry.path() / name, ignored))
                return entry.path() / name;
    }
    return {};
}

// Where real texts nobody here wrote are: vim's tutor files (Debian's vim-runtime), then
// Python's encoded samples (Debian's libpython3.11-testsuite, or a pyenv build's own).
// An empty path for either that is missing.
std::vector<fs::path> realTextFolders() {
    const char* home = std::getenv("HOME");
    std::vector<fs::path> pythons{"/usr/lib"};
    std::error_code ignored;
    for (const auto& entry :
         fs::directory_iterator(fs::path(home ? home : "/") / ".pyenv/versions", ignored))
        pythons.push_back(entry.path() / "lib");
    return {findFolder({"/usr/share/vim"}, "tutor"), findFolder(pythons, "test/cjkencodings")};
}

// --detect answers with the mark, UTF-8, or the code pages that read the text, the
// most plausible first: measured on texts nobody here wrote, vim's tutor files and
// Python's encoded samples.
TEST_F(Xoconv, DetectRanksTheCodePages) {
    spit(at("utf8.txt"), "caf\xC3\xA9");
    spit(at("ascii.txt"), "plain");
    ASSERT_EQ(run("--detect " + native(at("utf8.txt")) + " " + native(at("ascii.txt")) + " " +
                  native(kSample)),
              0);
    EXPECT_NE(out_.find("utf8.txt: UTF-8 (no byte-order mark)"), std::string::npos) << out_;
    EXPECT_NE(out_.find("ascii.txt: ASCII only"), std::string::npos) << out_;
    EXPECT_NE(out_.find("most plausible first: 932 "), std::string::npos) << out_;

    const std::vector<fs::path> folders = realTextFolders();
    struct File {
        int folder; // as realTextFolders() lists them
        const char* name;
        const char* page; // the first answer; empty: UTF-8
    };
    const File files[] = {
        {0, "tutor.ja.sjis", "932"},    {0, "tutor.ko.euc", "949"},
        {0, "tutor.zh.euc", "936"},     {0, "tutor.zh.big5", "950"},
        {0, "tutor.cs.cp1250", "1250"}, {0, "tutor.hr.cp1250", "1250"},
        {0, "tutor.hu.cp1250", "1250"}, {0, "tutor.pl.cp1250", "1250"},
        {0, "tutor.sk.cp1250", "1250"}, {0, "tutor.ru.cp1251", "1251"},
        {0, "tutor.el", "1253"},        {0, "tutor.tr.iso9", "1254"},
        {0, "tutor.fr", "1252"},        {0, "tutor.de", "1252"},
        {0, "tutor.es", "1252"},        {0, "tutor.it", "1252"},
        {0, "tutor.pt", "1252"},        {0, "tutor.da", "1252"},
        {0, "tutor.sv", "1252"},        {0, "tutor.nb", "1252"},
        {0, "tutor.ja.utf-8", ""},      {1, "shift_jis.txt", "932"},
        {1, "cp949.txt", "949"},        {1, "euc_kr.txt", "949"},
        {1, "gbk.txt", "936"},          {1, "gb2312.txt", "936"},
        {1, "big5.txt", "950"},
    };
    std::error_code ignored;
    for (const File& file : files) {
        SCOPED_TRACE(file.name);
        const fs::path path = folders[std::size_t(file.folder)] / file.name;
        if (folders[std::size_t(file.folder)].empty() || !fs::exists(path, ignored))
            continue;
        ASSERT_EQ(run("--detect " + native(path)), 0) << err_;
        const std::string expected = *file.page
                                         ? std::string("most plausible first: ") + file.page + " "
                                         : "UTF-8 (no byte-order mark)";
        EXPECT_NE(out_.find(expected), std::string::npos) << out_;
    }
}

// With escapes written (--cif), literal text that looks like an escape reads back as
// itself after a round trip through an 8-bit page.
// Whatever the tool writes in a code page, it reads back. Windows writes cp932
// U+F8F0-F8F3 as A0, FD, FE, FF yet refuses those bytes in a strict reading: the tool
// counts them as lacking, and --cif writes their escapes.
TEST_F(Xoconv, WhatIsWrittenReadsBack) {
    spit(at("pua.txt"), "a\xEF\xA3\xB0"
                        "b\n"); // U+F8F0
    EXPECT_EQ(run("--from utf-8 --to 932 " + native(at("pua.txt"))), 1) << err_;
    EXPECT_NE(err_.find("U+F8F0"), std::string::npos) << err_;
    ASSERT_EQ(run("--from utf-8 --to 932 --cif -o " + native(at("cif.txt")) + " " +
                  native(at("pua.txt"))),
              0)
        << err_;
    EXPECT_EQ(slurp(at("cif.txt")), "a\\U+F8F0b\n");
    ASSERT_EQ(run("--from 932 --to utf-8 " + native(at("cif.txt"))), 0) << err_;
    EXPECT_EQ(out_, "a\xEF\xA3\xB0"
                    "b\n");

    std::string everything; // every unit of the basic plane above ASCII, as UTF-8
    for (unsigned u = 0x80; u < 0xFFFE; ++u) {
        if (u >= 0xD800 && u <= 0xDFFF)
            continue;
        if (u < 0x800) {
            everything += char(0xC0 | u >> 6);
        } else {
            everything += char(0xE0 | u >> 12);
            everything += char(0x80 | ((u >> 6) & 0x3F));
        }
        everything += char(0x80 | (u & 0x3F));
    }
    spit(at("all.txt"), everything);
    for (const char* page : {"932", "936", "949", "950", "1252"}) {
        SCOPED_TRACE(page);
        const std::string written = native(at(std::string("in-") + page + ".txt"));
        ASSERT_EQ(run(std::string("--from utf-8 -c --to ") + page + " -o " + written + " " +
                      native(at("all.txt"))),
                  0)
            << err_;
        EXPECT_EQ(run(std::string("--from ") + page + " --to utf-8 --no-escapes " + written), 0)
            << err_;
    }
}

TEST_F(Xoconv, EscapeLikeTextSurvivesARoundTrip) {
    const std::string texts[] = {
        "\\U+0041", "C:\\M+1815C",  "a\\\\U+4E2D",          "\\u+00e9 \\m+21234",
        "\\U+004",  "\\Uxyz \\M+x", "\xE4\xB8\xAD\\U+0041", "\\\\",
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        spit(at("in.txt"), text);
        ASSERT_EQ(
            run("-f utf-8 -t 1252 --cif -o " + native(at("mid.txt")) + " " + native(at("in.txt"))),
            0)
            << err_;
        ASSERT_EQ(run("-f 1252 -t utf-8 " + native(at("mid.txt"))), 0) << err_;
        EXPECT_EQ(out_, text);
    }
}

TEST_F(Xoconv, ErrorsNameTheFileAndTheByte) {
    spit(at("bad.txt"), "abc\xC3\x28xyz");
    EXPECT_EQ(run("--from utf-8 " + native(at("bad.txt"))), 1);
    EXPECT_NE(err_.find("bad.txt: byte 3"), std::string::npos) << err_;
    EXPECT_EQ(run(native(at("missing.txt"))), 3);
    EXPECT_NE(err_.find("missing.txt"), std::string::npos);
    EXPECT_EQ(run("--frobnicate"), 2);
    EXPECT_EQ(run("--help"), 0);
    EXPECT_NE(out_.find("Usage: xoconv"), std::string::npos);
}

// Failures give the system's reason and the path that failed, the temporary file
// when that is what failed; code pages are named by number.
TEST_F(Xoconv, MessagesSayWhatFailedAndWhy) {
    spit(at("in.txt"), "caf\xE9\n");
    spit(at("file"), "x");
    spit(at("cjk.txt"), "\xE4\xB8\xAD");
    spit(at("bad.txt"), "ab\x81 \n");
    fs::create_directories(at("folder"));
    const std::string in = " " + native(at("in.txt"));
    struct Case {
        std::string arguments;
        int status;
        std::vector<std::string> says;
    };
    std::vector<Case> cases = {
        {"-f 1252 " + native(at("folder")), 3, {"folder: Is a directory"}},
        {"-f 1252 " + native(at("missing.txt")), 3, {"missing.txt: No such file or directory"}},
        {"-f 1252 --output-dir " + native(at("file/out")) + in, 3, {"out: Not a directory"}},
        {"-f 1252 -o " + native(at("nowhere/out.txt")) + in,
         3,
         {"out.txt.xoconv-", ".tmp: No such file or directory"}},
        {"-f 1252 -o " + native(at("folder")) + in, 3, {"folder: Is a directory"}},
        {"-f utf-8 -t 1252 " + native(at("cjk.txt")), 1, {"not in code page 1252"}},
        {"-f cp932 " + native(at("bad.txt")), 1, {"byte 2: not a character of code page 932"}},
        {"-f utf-8 -t ansi " + native(at("cjk.txt")), 1, {"not in code page ", "(the system's)"}},
    };
#if !defined(_WIN32)
    cases.push_back({"-f 1252 -o /dev/full" + in, 3, {"/dev/full: No space left on device"}});
#endif
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments);
        EXPECT_EQ(run(c.arguments), c.status) << err_;
        for (const std::string& part : c.says)
            EXPECT_NE(err_.find(part), std::string::npos) << part << " in " << err_;
    }
}

TEST_F(Xoconv, AnInputIsNeverDamaged) {
    const std::string bad = "good\n\xFF\xFE\xFD";
    spit(at("bad.txt"), bad);
    EXPECT_EQ(run("--from utf-8 --in-place " + native(at("bad.txt"))), 1);
    EXPECT_EQ(slurp(at("bad.txt")), bad);
    int files = 0;
    for (const auto& entry : fs::directory_iterator(dir_))
        files += entry.path().filename().string().find(".tmp") != std::string::npos;
    EXPECT_EQ(files, 0);
    spit(at("ok.txt"), "plain\r\n");
    ASSERT_EQ(run("--from 1252 --to utf-16le --lf --in-place " + native(at("ok.txt"))), 0) << err_;
    EXPECT_EQ(slurp(at("ok.txt")), std::string("\xFF\xFEp\0l\0a\0i\0n\0\n\0", 14));
}

TEST_F(Xoconv, FoldersFilteredByWildcards) {
    fs::create_directories(at("src"));
    spit(at("src/a.txt"), "a\n");
    spit(at("src/b.csv"), "b\n");
    spit(at("src/c.dwg"), "c\n");
    ASSERT_EQ(run("--from 1252 --to utf-16le --dir " + native(at("src")) +
                  " --match \"*.txt,*.csv\" --output-dir " + native(at("out"))),
              0)
        << err_;
    EXPECT_TRUE(fs::exists(at("out/a.txt")));
    EXPECT_TRUE(fs::exists(at("out/b.csv")));
    EXPECT_FALSE(fs::exists(at("out/c.dwg")));
    // Without a destination, several outputs follow each other on standard output.
    ASSERT_EQ(run("--from 1252 " + native(at("src/a.txt")) + " " + native(at("src/b.csv"))), 0)
        << err_;
    EXPECT_EQ(out_, "a\nb\n");
}

// Names are any text the system allows, also in the patterns: the selection used to
// abort on the first name that was not ASCII.
TEST_F(Xoconv, NamesBeyondAscii) {
    const fs::path names[] = {fs::u8path("a.txt"), fs::u8path("\xE8\xA1\xA8.txt"),
                              fs::u8path("caf\xC3\xA9.txt"), fs::u8path("\xF0\x9F\x93\x90.txt")};
    struct Case {
        std::string match;
        std::vector<int> selected; // indexes into names
    };
    // Names are matched as UTF-16: a character beyond U+FFFF is two units.
    std::vector<Case> cases = {
        {"?.txt", {0, 1}},
        {"??.txt", {3}},
        {"????.txt", {2}},
        {"caf?.txt,a.txt", {0, 2}},
    };
#if !defined(_WIN32) // the arguments of a Windows program come in its ANSI code page
    cases.push_back({"\xE8\xA1\xA8.txt", {1}});
    cases.push_back({"caf\xC3\xA9.txt", {2}});
    cases.push_back({"\xF0\x9F\x93\x90.txt,?.txt", {0, 1, 3}});
    cases.push_back({"???.txt", {4}});
    cases.push_back({"*.txt", {0, 1, 2, 3, 4}});
    cases.push_back({"caf*", {2}});
    cases.push_back({"*\xE8\xA1\xA8*", {1}});
#endif
    fs::create_directories(at("src"));
    for (const fs::path& name : names)
        spit(at("src") / name, "x\n");
#if !defined(_WIN32)
    spit(at("src/\xE9t\xE9.txt"), "x\n"); // Latin-1, not UTF-8: only wildcards match it
#endif
    for (const Case& c : cases) {
        SCOPED_TRACE(c.match);
        fs::remove_all(at("out"));
        ASSERT_EQ(run("--from 1252 --dir " + native(at("src")) + " --match \"" + c.match +
                      "\" --output-dir " + native(at("out"))),
                  0)
            << err_;
        std::vector<int> made;
        for (int i = 0; i < 5; ++i) {
            const fs::path name = i < 4 ? names[i] : fs::path("\xE9t\xE9.txt");
            if (fs::exists(at("out") / name))
                made.push_back(i);
        }
        EXPECT_EQ(made, c.selected);
    }
}

// A pattern matches when it consumes the whole name, stars anywhere in it.
TEST_F(Xoconv, StarsMatchAnyRunAnywhere) {
    const char* names[] = {"x1.jis.txt", "xab", "a.b.txt", "abc.txt", "jis", "ax"};
    struct Case {
        const char* match;
        std::vector<std::string> selected;
    };
    const Case cases[] = {
        {"x*", {"x1.jis.txt", "xab"}},
        {"*jis*", {"jis", "x1.jis.txt"}},
        {"*.txt", {"a.b.txt", "abc.txt", "x1.jis.txt"}},
        {"a*x", {"ax"}},
        {"*", {"a.b.txt", "abc.txt", "ax", "jis", "x1.jis.txt", "xab"}},
        {"a?*", {"a.b.txt", "abc.txt", "ax"}},
        {"*b*t", {"a.b.txt", "abc.txt"}},
        {"~*.txt", {"ax", "jis", "xab"}},
        {"x*,*s", {"jis", "x1.jis.txt", "xab"}},
    };
    fs::create_directories(at("src"));
    for (const char* name : names)
        spit(at("src") / name, "x\n");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.match);
        fs::remove_all(at("out"));
        ASSERT_EQ(run("--from 1252 --dir " + native(at("src")) + " --match \"" + c.match +
                      "\" --output-dir " + native(at("out"))),
                  0)
            << err_;
        std::vector<std::string> made;
        for (const auto& entry : fs::directory_iterator(at("out")))
            made.push_back(entry.path().filename().string());
        std::sort(made.begin(), made.end());
        EXPECT_EQ(made, c.selected);
    }
    // Nothing selected is an error the user sees, not a silent success.
    for (const char* match : {"nothing*", "*.csv", "x"}) {
        SCOPED_TRACE(match);
        EXPECT_EQ(run("--from 1252 --dir " + native(at("src")) + " --match \"" + match +
                      "\" --output-dir " + native(at("none"))),
                  1);
        EXPECT_NE(err_.find("no file matches"), std::string::npos) << err_;
    }
}

// Two inputs of one name into one folder: the second would replace the first.
TEST_F(Xoconv, InputsOfOneNameIntoOneFolderAreRefused) {
    fs::create_directories(at("a"));
    fs::create_directories(at("b"));
    spit(at("a/x.txt"), "from a\n");
    spit(at("b/x.txt"), "from b\n");
    spit(at("a/y.txt"), "y\n");
    const std::string cases[] = {
        native(at("a/x.txt")) + " " + native(at("b/x.txt")),
        native(at("a/y.txt")) + " " + native(at("a/x.txt")) + " " + native(at("b/x.txt")),
        native(at("a/x.txt")) + " " + native(at("a/x.txt")),
    };
    for (const std::string& inputs : cases) {
        SCOPED_TRACE(inputs);
        fs::remove_all(at("out"));
        EXPECT_EQ(run("--from 1252 --output-dir " + native(at("out")) + " " + inputs), 2);
        EXPECT_NE(err_.find("x.txt would both be written to"), std::string::npos) << err_;
        EXPECT_FALSE(fs::exists(at("out/x.txt")));
        EXPECT_FALSE(fs::exists(at("out/y.txt")));
    }
    ASSERT_EQ(run("--from 1252 --output-dir " + native(at("out")) + " " + native(at("a/x.txt")) +
                  " " + native(at("a/y.txt"))),
              0)
        << err_;
    EXPECT_EQ(slurp(at("out/x.txt")), "from a\n");
}

#if defined(_WIN32)
// -o onto a Windows device writes into it: before, the rename onto NUL failed.
TEST_F(Xoconv, OutputsOntoWindowsDevices) {
    spit(at("in.txt"), "caf\xE9\n");
    for (const char* device : {"NUL", "nul"}) {
        SCOPED_TRACE(device);
        EXPECT_EQ(run(std::string("-f 1252 -o ") + device + " " + native(at("in.txt"))), 0) << err_;
        EXPECT_EQ(err_, "");
        int temporaries = 0;
        for (const auto& entry : fs::directory_iterator(dir_))
            temporaries += entry.path().filename().string().find(".tmp") != std::string::npos;
        EXPECT_EQ(temporaries, 0);
    }
}
#endif

TEST_F(Xoconv, StandardInputAndOutput) {
    using namespace std::string_literals;
    spit(at("in"), "x\xE9");
    spit(at("more"), "y\n");
    struct Case {
        const char* arguments; // "M" stands for the file "more"
        bool piped;
        std::string out;
    };
    std::vector<Case> cases = {
        {"--from 1252 -", false, "x\xC3\xA9"},
        {"--from 1252", false, "x\xC3\xA9"}, // no input named: standard input
        {"--from 1252 --to utf-16le", false, "\xFF\xFEx\0\xE9\0"s},
        {"--from 1252 --to utf-16be - M", false, "\xFE\xFF\0x\0\xE9\0y\0\n"s},
        {"--from 1252 --to utf-8 --bom M -", false, "\xEF\xBB\xBFy\nx\xC3\xA9"},
    };
#if !defined(_WIN32)
    cases.push_back({"--from 1252", true, "x\xC3\xA9"});
    cases.push_back({"--from 1252 --to utf-16le", true, "\xFF\xFEx\0\xE9\0"s});
    cases.push_back({"--from 1252 --to utf-8 --bom - M", true, "\xEF\xBB\xBFx\xC3\xA9y\n"});
#endif
    for (const Case& c : cases) {
        std::string arguments = c.arguments;
        const std::size_t m = arguments.find(" M");
        if (m != std::string::npos)
            arguments.replace(m + 1, 1, native(at("more")));
        SCOPED_TRACE(arguments + (c.piped ? " (piped)" : ""));
        ASSERT_EQ(run(arguments, "in", c.piped), 0) << err_;
        EXPECT_EQ(out_, c.out);
    }
}

#if !defined(_WIN32)
// Before, the temporary file was "<target>.xoconv-<pid>.tmp", opened through any link
// at that name: a link planted there made the output land in the file it pointed to.
TEST_F(Xoconv, ALinkAtTheOldTemporaryNameIsNeverFollowed) {
    struct Case {
        const char* how;
        std::vector<std::string> arguments; // after -f 1252; "T" and "I" are replaced
        const char* target;
    };
    const Case cases[] = {
        {"-o", {"-o", "T", "I"}, "out.txt"},
        {"--output-dir", {"--output-dir", "T", "I"}, "outdir/in.txt"},
        {"--in-place", {"--in-place", "I"}, "in.txt"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.how);
        fs::remove_all(at("outdir"));
        fs::create_directories(at("outdir"));
        fs::remove(at("out.txt"));
        spit(at("in.txt"), "caf\xE9\n");
        spit(at("victim.txt"), "precious\n");
        std::vector<std::string> arguments{"-f", "1252"};
        for (const std::string& argument : c.arguments)
            arguments.push_back(argument == "T"
                                    ? at(std::string(c.how) == "-o" ? "out.txt" : "outdir").string()
                                : argument == "I" ? at("in.txt").string()
                                                  : argument);
        fs::path planted;
        ASSERT_EQ(spawn(arguments,
                        [&](int pid) {
                            planted = at(std::string(c.target) + ".xoconv-" + std::to_string(pid) +
                                         ".tmp");
                            fs::create_symlink(at("victim.txt"), planted);
                        }),
                  0)
            << err_;
        EXPECT_EQ(slurp(at("victim.txt")), "precious\n");
        EXPECT_FALSE(fs::is_symlink(at(c.target)));
        EXPECT_EQ(slurp(at(c.target)), "caf\xC3\xA9\n");
        EXPECT_TRUE(fs::is_symlink(planted)); // not removed, not replaced
        fs::remove(planted);
    }
}

// -o onto a link replaces the file it names and keeps the link; onto a FIFO or a
// device it writes into it. Before, each became a regular file.
TEST_F(Xoconv, OutputsThatAreNotRegularFiles) {
    spit(at("in.txt"), "caf\xE9\n");
    const std::string expected = "caf\xC3\xA9\n";
    const std::string convert = "-f 1252 " + native(at("in.txt")) + " -o ";

    struct Link {
        const char* name;
        std::vector<std::pair<const char*, const char*>> links; // link, what it names
        const char* file;                                       // where the output lands
    };
    const Link links[] = {
        {"to a file", {{"link", "file.txt"}}, "file.txt"},
        {"through two links", {{"link", "link2"}, {"link2", "sub/file.txt"}}, "sub/file.txt"},
        {"to a missing file", {{"link", "sub/new.txt"}}, "sub/new.txt"},
        {"absolute", {{"link", "ABS"}}, "sub/abs.txt"},
    };
    for (const Link& c : links) {
        SCOPED_TRACE(c.name);
        fs::remove_all(at("sub"));
        fs::create_directories(at("sub"));
        spit(at("file.txt"), "old\n");
        spit(at("sub/file.txt"), "old\n");
        for (const auto& link : c.links) {
            fs::remove(at(link.first));
            fs::create_symlink(std::string(link.second) == "ABS" ? at("sub/abs.txt").string()
                                                                 : link.second,
                               at(link.first));
        }
        ASSERT_EQ(run(convert + native(at("link"))), 0) << err_;
        for (const auto& link : c.links)
            EXPECT_TRUE(fs::is_symlink(at(link.first))) << link.first;
        EXPECT_EQ(slurp(at(c.file)), expected);
    }

    {
        SCOPED_TRACE("FIFO");
        ASSERT_EQ(::mkfifo(at("fifo").c_str(), 0644), 0);
        const int reader = ::open(at("fifo").c_str(), O_RDONLY | O_NONBLOCK);
        ASSERT_GE(reader, 0);
        ASSERT_EQ(run(convert + native(at("fifo"))), 0) << err_;
        char buffer[64] = {};
        const ssize_t got = ::read(reader, buffer, sizeof buffer);
        ::close(reader);
        EXPECT_EQ(std::string(buffer, got > 0 ? std::size_t(got) : 0), expected);
        struct stat facts {};
        ASSERT_EQ(::lstat(at("fifo").c_str(), &facts), 0);
        EXPECT_TRUE(S_ISFIFO(facts.st_mode));
    }
    if (::geteuid() == 0) {
        SCOPED_TRACE("device");
        ASSERT_EQ(::mknod(at("null").c_str(), S_IFCHR | 0666, makedev(1, 3)), 0);
        ASSERT_EQ(run(convert + native(at("null"))), 0) << err_;
        struct stat facts {};
        ASSERT_EQ(::lstat(at("null").c_str(), &facts), 0);
        EXPECT_TRUE(S_ISCHR(facts.st_mode));
    }
    {
        SCOPED_TRACE("folder");
        fs::create_directories(at("folder"));
        EXPECT_EQ(run(convert + native(at("folder"))), 3);
        EXPECT_NE(err_.find("folder: Is a directory"), std::string::npos) << err_;
        EXPECT_TRUE(fs::is_directory(at("folder")));
    }
}

// In place keeps what the file was: its owner, group, mode and attributes, its
// links, its other names.
TEST_F(Xoconv, InPlaceKeepsTheFileAsItWas) {
    struct Case {
        int mode;
        unsigned uid, gid; // changed only when the test runs as root
    };
    const Case cases[] = {{0750, 1234, 5678}, {0640, 0, 4321}, {02755, 4321, 0}, {0604, 0, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        spit(at("in.txt"), "caf\xE9\n");
        const bool root = ::geteuid() == 0;
        if (root) {
            ASSERT_EQ(::chown(at("in.txt").c_str(), c.uid, c.gid), 0);
        }
        ASSERT_EQ(::chmod(at("in.txt").c_str(), mode_t(c.mode)), 0);
        const bool attribute = ::setxattr(at("in.txt").c_str(), "user.xoconv", "kept", 4, 0) == 0;
        ASSERT_EQ(run("-f 1252 --in-place " + native(at("in.txt"))), 0) << err_;
        EXPECT_EQ(slurp(at("in.txt")), "caf\xC3\xA9\n");
        struct stat facts {};
        ASSERT_EQ(::stat(at("in.txt").c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777, mode_t(c.mode));
        if (root) {
            EXPECT_EQ(facts.st_uid, c.uid);
            EXPECT_EQ(facts.st_gid, c.gid);
        }
        if (attribute) {
            char value[8] = {};
            EXPECT_EQ(::getxattr(at("in.txt").c_str(), "user.xoconv", value, sizeof value), 4);
            EXPECT_STREQ(value, "kept");
        }
    }
    {
        SCOPED_TRACE("a link");
        fs::create_directories(at("real"));
        spit(at("real/file.txt"), "caf\xE9\n");
        fs::create_symlink("real/file.txt", at("link.txt"));
        ASSERT_EQ(run("-f 1252 --in-place " + native(at("link.txt"))), 0) << err_;
        EXPECT_TRUE(fs::is_symlink(at("link.txt")));
        EXPECT_EQ(slurp(at("real/file.txt")), "caf\xC3\xA9\n");
    }
    {
        SCOPED_TRACE("hard links");
        spit(at("one.txt"), "caf\xE9\n");
        fs::create_hard_link(at("one.txt"), at("two.txt"));
        EXPECT_EQ(run("-f 1252 --in-place " + native(at("one.txt"))), 3);
        EXPECT_NE(err_.find("hard links"), std::string::npos) << err_;
        EXPECT_TRUE(fs::equivalent(at("one.txt"), at("two.txt")));
        EXPECT_EQ(slurp(at("two.txt")), "caf\xE9\n");
    }
}

// On a terminal the progress line is redrawn a few times a second, not once a line
// (before: a line of output per input line, more terminal output than text).
TEST_F(Xoconv, TheProgressLineRedrawsAFewTimesASecond) {
    std::string text;
    for (int i = 0; i < (1 << 17); ++i)
        text += "a\n";
    spit(at("in.txt"), text);
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_GE(child, 0);
    if (child == 0) {
        const int out = ::open(at("stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ::dup2(out, 1);
        ::execl(XOCONV_EXE, XOCONV_EXE, "-f", "1252", at("in.txt").c_str(), nullptr);
        ::_exit(127);
    }
    std::string shown;
    char buffer[65536];
    for (ssize_t n; (n = ::read(terminal, buffer, sizeof buffer)) > 0;)
        shown.append(buffer, std::size_t(n));
    ::close(terminal);
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << shown;
    EXPECT_EQ(slurp(at("stdout")), text);
    std::size_t draws = 0;
    for (std::size_t at = shown.find("xoconv: "); at != std::string::npos;
         at = shown.find("xoconv: ", at + 1))
        ++draws;
    EXPECT_GE(draws, 1u);
    EXPECT_LE(draws, 40u) << "redrawn " << draws << " times";
    EXPECT_NE(shown.find("MiB ("), std::string::npos) << shown.substr(0, 200);
    EXPECT_NE(shown.find("MiB/s"), std::string::npos) << shown.substr(0, 200);
}

// Ctrl-C or SIGTERM while an output is pending removes its temporary file. The input
// is a FIFO kept open, so that xoconv is still reading when the signal comes.
TEST_F(Xoconv, AnInterruptionRemovesTheTemporaryFile) {
    const auto temporaries = [this] {
        int found = 0;
        for (const auto& entry : fs::directory_iterator(dir_))
            found += entry.path().filename().string().find(".tmp") != std::string::npos;
        return found;
    };
    for (const int signal : {SIGTERM, SIGINT}) {
        SCOPED_TRACE(signal);
        fs::remove(at("in.fifo"));
        ASSERT_EQ(::mkfifo(at("in.fifo").c_str(), 0644), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            ::execl(XOCONV_EXE, XOCONV_EXE, "-q", "-f", "1252", "-o", at("out.txt").c_str(),
                    at("in.fifo").c_str(), nullptr);
            ::_exit(127);
        }
        const int writer = ::open(at("in.fifo").c_str(), O_WRONLY); // waits for xoconv
        ASSERT_GE(writer, 0);
        ASSERT_EQ(::write(writer, "abc\n", 4), 4);
        for (int waited = 0; temporaries() == 0 && waited < 1000; ++waited)
            ::usleep(10000); // a generous ten seconds for the temporary file to appear
        EXPECT_EQ(temporaries(), 1);
        ::kill(child, signal);
        // Under ThreadSanitizer the signal waits until the blocked read returns: end the
        // input, so that it does. Elsewhere the signal has ended xoconv already.
        ::close(writer);
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal);
        EXPECT_EQ(temporaries(), 0);
        EXPECT_FALSE(fs::exists(at("out.txt")));
    }
}

// Real texts nobody here wrote, vim's tutor files in their legacy encodings: to UTF-8
// and UTF-16 as iconv converts them, byte for byte, and back to the very same bytes.
TEST_F(Xoconv, RealTextsConvertAsIconvDoesAndBack) {
    const std::vector<fs::path> folders = realTextFolders();
    std::error_code ignored;
    if ((folders[0].empty() && folders[1].empty()) ||
        std::system("iconv --version > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "needs vim's tutor files (vim-runtime) or Python's encoded samples "
                        "(libpython3.11-testsuite), and iconv";
    struct Case {
        int folder; // 0 vim's tutor files, 1 Python's samples
        const char* file;
        const char* page;  // as xoconv names it
        const char* iconv; // as iconv names it; empty: iconv differs from Windows
    };
    const Case cases[] = {
        {0, "tutor.ja.sjis", "932", "CP932"},
        {0, "tutor.ko.euc", "949", "CP949"},
        {0, "tutor.zh.euc", "936", "GBK"},
        // Windows reads its user-defined area (lead 8F here) as private use; iconv
        // refuses it.
        {0, "tutor.zh.big5", "950", ""},
        {0, "tutor.cs.cp1250", "1250", "CP1250"},
        {0, "tutor.ru.cp1251", "1251", "CP1251"},
        {0, "tutor.el", "iso-8859-7", "ISO-8859-7"},
        {0, "tutor.tr.iso9", "iso-8859-9", "ISO-8859-9"},
        {0, "tutor.fr", "latin1", "ISO-8859-1"},
        {1, "shift_jis.txt", "932", "CP932"},
        {1, "cp949.txt", "949", "CP949"},
        {1, "euc_kr.txt", "949", "CP949"},
        {1, "gbk.txt", "936", "GBK"},
        {1, "gb2312.txt", "936", "GBK"},
        {1, "big5.txt", "950", "BIG5"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const fs::path file = folders[std::size_t(c.folder)] / c.file;
        if (folders[std::size_t(c.folder)].empty() || !fs::exists(file, ignored))
            continue;
        // Five copies: long enough that the tool's pieces end inside characters.
        const std::string one = slurp(file);
        const std::string original = one + one + one + one + one;
        const fs::path source = at("in");
        spit(source, original);
        for (const char* form : {"UTF-8", "UTF-16LE"}) {
            SCOPED_TRACE(form);
            ASSERT_EQ(run(std::string("-f ") + c.page + " -t " + form + " --no-bom -o " +
                          native(at("out")) + " " + native(source)),
                      0)
                << err_;
            if (*c.iconv) {
                ASSERT_EQ(std::system(("iconv -f " + std::string(c.iconv) + " -t " + form + " " +
                                       native(source) + " > " + native(at("iconv")))
                                          .c_str()),
                          0);
                EXPECT_TRUE(slurp(at("out")) == slurp(at("iconv"))); // no dump of 40 KB
            }
            ASSERT_EQ(run(std::string("-f ") + form + " -t " + c.page + " -o " +
                          native(at("back")) + " " + native(at("out"))),
                      0)
                << err_;
            EXPECT_TRUE(slurp(at("back")) == original);
        }
    }
}

// The output replacing a file gets that file's permissions; a new one the default.
TEST_F(Xoconv, TheOutputHasTheFinalPermissionsFromTheStart) {
    struct Case {
        int before; // -1: no file yet
        int after;
        bool inPlace;
    };
    const Case cases[] = {{0640, 0640, false},
                          {0600, 0600, false},
                          {0751, 0751, true},
                          {-1, 0644, false},
                          {0604, 0604, true}};
    const mode_t saved = ::umask(022);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.before);
        spit(at("in.txt"), "x\n");
        fs::remove(at("out.txt"));
        const fs::path target = c.inPlace ? at("in.txt") : at("out.txt");
        if (c.before >= 0) {
            spit(target, "old\n");
            ::chmod(target.c_str(), mode_t(c.before));
        }
        ASSERT_EQ(run("-f 1252 --to utf-16le " +
                      (c.inPlace ? "--in-place " : "-o " + native(target) + " ") +
                      native(at("in.txt"))),
                  0)
            << err_;
        struct stat facts {};
        ASSERT_EQ(::stat(target.c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777, mode_t(c.after));
        EXPECT_EQ(slurp(target).substr(0, 2), "\xFF\xFE");
    }
    ::umask(saved);
}
#endif

} // namespace
