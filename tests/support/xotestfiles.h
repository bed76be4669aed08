// A private folder per test for tests that touch real files, removed afterwards.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace xotest {

class TempFolder : public ::testing::Test {
protected:
    void SetUp() override {
        static std::atomic<int> counter{0};
        folder_ = std::filesystem::temp_directory_path() /
                  ("xo_files_" + std::to_string(counter++) + "_" +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::permissions(file("readonly"), std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(folder_, ignored);
    }

    std::filesystem::path file(const std::string& name) const { return folder_ / name; }
    // The library's wide form: UTF-16 units, which ASCII names are on both targets.
    std::wstring wide(const std::string& name) const { return file(name).wstring(); }

    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(file(name), std::ios::binary) << bytes;
    }
    std::string read(const std::string& name) const {
        std::ifstream in(file(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    std::uintmax_t sizeOnDisk(const std::string& name) const {
        std::error_code error;
        const std::uintmax_t size = std::filesystem::file_size(file(name), error);
        return error ? 0 : size;
    }

    std::filesystem::path folder_;
};

} // namespace xotest
