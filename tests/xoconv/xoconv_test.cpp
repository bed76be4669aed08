// xoconv end to end: the built command run on sample files, as a user runs it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#if !defined(_WIN32)
#include <sys/wait.h>
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
    int run(const std::string& arguments, const std::string& input = "") {
        std::string command = native(XOCONV_EXE) + " " + arguments;
        if (!input.empty())
            command += " < " + native(dir_ / input);
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

    fs::path at(const std::string& name) const {
        return dir_ / name;
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

TEST_F(Xoconv, WhatTheTargetLacksBecomesQuestionMarksOrEscapes) {
    spit(at("in.txt"), "\xC3\xA9\xE4\xB8\xAD");
    ASSERT_EQ(run("--from utf-8 --to 1252 " + native(at("in.txt"))), 0);
    EXPECT_EQ(out_, "\xE9?");
    EXPECT_NE(err_.find("1 character"), std::string::npos) << err_;
    ASSERT_EQ(run("--from utf-8 --to 1252 --cif " + native(at("in.txt"))), 0);
    EXPECT_EQ(out_, "\xE9\\U+4E2D");
    spit(at("esc.txt"), "a\\U+4E2Db");
    ASSERT_EQ(run("--from 1252 --to utf-8 --no-escapes " + native(at("esc.txt"))), 0);
    EXPECT_EQ(out_, "a\\U+4E2Db");
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
    EXPECT_NE(out_.find("suits cp932"), std::string::npos) << out_;
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
    EXPECT_EQ(run(native(at("src/a.txt")) + " " + native(at("src/b.csv"))),
              2); // several need a destination
}

TEST_F(Xoconv, StandardInputAndOutput) {
    spit(at("in"), "x\xE9");
    ASSERT_EQ(run("--from 1252 -", "in"), 0) << err_;
    EXPECT_EQ(out_, "x\xC3\xA9");
}

} // namespace
