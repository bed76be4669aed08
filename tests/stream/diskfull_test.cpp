// A full disk while the output stream writes: "Write file error!" with an inner status 27,
// and the bytes that fitted are in the file. It needs a small file system of its own:
// on Linux the test mounts a 1 MiB tmpfs when it runs as root; under Wine the test
// command mounts one and maps it to a drive letter, named by XO_DISKFULL_DIR.
#include "XoException.h"
#include "XoFileStreamBuf.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include <sys/mount.h>
#include <unistd.h>
#endif

namespace {

constexpr std::size_t kDiskBytes = 1u << 20;

class FullDisk : public ::testing::Test {
protected:
    void SetUp() override {
        if (const char* given = std::getenv("XO_DISKFULL_DIR")) {
            folder_ = given;
            std::error_code error;
            if (!std::filesystem::is_directory(folder_, error))
                GTEST_SKIP() << "no small drive at " << given << " (mounting it needs root)";
            return;
        }
#if defined(_WIN32)
        GTEST_SKIP() << "no small drive: run through ctest, which maps one (XO_DISKFULL_DIR)";
#else
        if (::geteuid() != 0)
            GTEST_SKIP() << "mounting a 1 MiB tmpfs needs root";
        folder_ =
            std::filesystem::temp_directory_path() / ("xo_diskfull_" + std::to_string(::getpid()));
        std::filesystem::create_directories(folder_);
        if (::mount("tmpfs", folder_.c_str(), "tmpfs", 0, "size=1m") != 0)
            GTEST_SKIP() << "the system refused to mount a tmpfs";
        mounted_ = true;
#endif
    }
    void TearDown() override {
#if !defined(_WIN32)
        if (mounted_)
            ::umount2(folder_.c_str(), MNT_DETACH);
        std::error_code ignored;
        if (mounted_)
            std::filesystem::remove(folder_, ignored);
#endif
    }
    std::filesystem::path folder_;
    bool mounted_ = false;
};

TEST_F(FullDisk, OutputStreamReportsItWithTheBytesThatFitted) {
    const std::wstring path = (folder_ / "full").wstring();
    Vesk::ErrorStatus status = Vesk::eFileError;
    XoFileStreamBuf* stream = createFileOStreamBuf(path.c_str(), &status, XoIO::kAccessWrite,
                                                   XoIO::kShareDenyNone, XoIO::kCreateAlways, 0);
    ASSERT_EQ(status, Vesk::eOk);
    const std::vector<unsigned char> block(64 * 1024, 0x5A);
    std::wstring message;
    int inner = -1;
    try {
        for (std::size_t done = 0; done < 2 * kDiskBytes; done += block.size())
            stream->writeBytes(block.data(), unsigned(block.size()));
    } catch (XoException* exception) {
        message = exception->description();
        if (auto* status27 = dynamic_cast<XoErrorStatus*>(exception->getEmbedException()))
            inner = status27->errorType();
        delete exception;
    }
    destoryFileIOStreamBuf(stream);
    EXPECT_EQ(message, L"Write file error!");
    EXPECT_EQ(inner, Vesk::eDiskFull);
    const std::uintmax_t kept = std::filesystem::file_size(folder_ / "full");
    EXPECT_GT(kept, kDiskBytes / 2) << "the bytes that fitted stay";
    std::filesystem::remove(folder_ / "full");
}

} // namespace
