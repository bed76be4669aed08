// The static file-system operations on real files; the same tables pass on both targets
// (Windows' own calls under Wine, the library's twins on Linux).
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <filesystem>
#include <string>

#include "XoFileStreamBuf.h"
#include "XoFileSystem.h"
#include "xotestfiles.h"

namespace {

namespace fs = std::filesystem;

constexpr unsigned long kInvalidAttributes = 0xFFFFFFFFul;
constexpr unsigned long kDirectoryAttribute = 0x10;
constexpr unsigned long kReadOnlyAttribute = 0x1;
const auto kRead = XoIO::kAccessRead;
const auto kWrite = XoIO::kAccessWrite;
const auto kReadWrite = XoIO::AccessMode(XoIO::kAccessRead | XoIO::kAccessWrite);
const auto kUnknownMode = XoIO::AccessMode(0x1234);

class XoFileSystemFiles : public xotest::TempFolder {
protected:
    void SetUp() override {
        TempFolder::SetUp();
        write("file", "contents");
        write("readonly", "kept");
        fs::permissions(file("readonly"), fs::perms::owner_read | fs::perms::group_read);
        fs::create_directory(file("folder"));
    }
    // The folder's paths by name; "(null)" and "(empty)" stand for those arguments.
    const wchar_t* arg(const std::string& name) {
        if (name == "(null)")
            return nullptr;
        if (name == "(empty)")
            return L"";
        held_ = file(name).make_preferred().wstring(); // the shell wants backslashes
        return held_.c_str();
    }
    std::wstring held_;
};

TEST_F(XoFileSystemFiles, ExistenceAccessAndAttributes) {
    const struct {
        const char* name;
        bool exists, read, write, readWrite, unknown, directory, found, readOnly;
        std::uint64_t size;
    } cases[] = {
        {"file", true, true, true, true, true, false, true, false, 8},
        {"readonly", true, true, false, false, true, false, true, true, 4},
        {"folder", false, false, false, false, false, true, true, false, 0},
        {"missing", false, false, false, false, false, false, false, false, 0},
        {"folder/missing", false, false, false, false, false, false, false, false, 0},
        {"(empty)", false, false, false, false, false, false, false, false, 0},
        {"(null)", false, false, false, false, false, false, false, false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(XoFileSystem::isFileExisting(arg(c.name)), c.exists);
        EXPECT_EQ(XoFileSystem::accessFile(arg(c.name), kRead), c.read);
        EXPECT_EQ(XoFileSystem::accessFile(arg(c.name), kWrite), c.write);
        EXPECT_EQ(XoFileSystem::accessFile(arg(c.name), kReadWrite), c.readWrite);
        EXPECT_EQ(XoFileSystem::accessFile(arg(c.name), kUnknownMode), c.unknown);
        EXPECT_EQ(XoFileSystem::pathFileExists(arg(c.name)) != 0, c.found);
        const unsigned long attributes = XoFileSystem::getFileAttributes(arg(c.name));
        ASSERT_EQ(attributes != kInvalidAttributes, c.found);
        if (std::string(c.name) == "(null)")
            continue;
        EXPECT_EQ(XoFileSystem::isDirectory(arg(c.name)), c.directory);
        WIN32_FILE_ATTRIBUTE_DATA data;
        std::memset(&data, 0xAB, sizeof data);
        ASSERT_EQ(XoFileSystem::getFileAttributesEx(arg(c.name), GetFileExInfoStandard, &data) != 0,
                  c.found);
        if (!c.found)
            continue;
        EXPECT_EQ((attributes & kDirectoryAttribute) != 0, c.directory);
        EXPECT_EQ((attributes & kReadOnlyAttribute) != 0, c.readOnly);
        EXPECT_EQ(data.dwFileAttributes, attributes);
        EXPECT_EQ((std::uint64_t(data.nFileSizeHigh) << 32) | data.nFileSizeLow, c.size);
        EXPECT_NE(data.ftLastWriteTime.dwHighDateTime, 0u);
    }
}

#if !defined(_WIN32)
// Linux: hidden by the dot convention, a symbolic link as a reparse point.
TEST_F(XoFileSystemFiles, LinuxAttributeBits) {
    write(".hidden", "x");
    fs::create_symlink(file("folder"), file("link"));
    const struct {
        const char* name;
        unsigned long attributes;
    } cases[] = {
        {"file", 0x80}, {".hidden", 0x2}, {"readonly", 0x1}, {"folder", 0x10}, {"link", 0x410},
    };
    for (const auto& c : cases)
        EXPECT_EQ(XoFileSystem::getFileAttributes(arg(c.name)), c.attributes) << c.name;
}
#endif

TEST_F(XoFileSystemFiles, CreateFile) {
    EXPECT_TRUE(XoFileSystem::createFile(arg("file")));
    EXPECT_EQ(read("file"), "contents"); // an existing file is left alone
    EXPECT_TRUE(XoFileSystem::createFile(arg("new")));
    EXPECT_TRUE(fs::exists(file("new")));
    EXPECT_EQ(fs::file_size(file("new")), 0u);
    EXPECT_FALSE(XoFileSystem::createFile(arg("missing/new")));
    EXPECT_FALSE(XoFileSystem::createFile(arg("(null)")));
    EXPECT_FALSE(XoFileSystem::createFile(arg("(empty)")));
}

TEST_F(XoFileSystemFiles, CreateFileBuf) {
    const struct {
        const char* name;
        XoIO::CreationDisposition disposition;
        bool made;
    } cases[] = {
        {"file", XoIO::kOpenExisting, true},    {"missing", XoIO::kOpenExisting, false},
        {"created", XoIO::kCreateAlways, true}, {"file", XoIO::kCreateNew, false},
        {"folder", XoIO::kOpenExisting, false},
    };
    for (const auto& c : cases) {
        XoFileStreamBuf* stream =
            XoFileSystem::createFileBuf(arg(c.name), kRead, XoIO::kShareDenyNone, c.disposition);
        EXPECT_EQ(stream != nullptr, c.made) << c.name;
        destoryFileIOStreamBuf(stream);
    }
    EXPECT_TRUE(fs::exists(file("created")));
}

TEST_F(XoFileSystemFiles, CopyFile) {
    write("target", "old");
    const struct {
        const char *from, *to;
        bool failIfExists, copied;
        const char* targetAfter; // the target's contents afterwards, null: no such file
    } cases[] = {
        {"missing", "copy1", false, false, nullptr}, {"folder", "copy2", false, false, nullptr},
        {"(null)", "copy3", false, false, nullptr},  {"(empty)", "copy4", false, false, nullptr},
        {"file", "target", true, false, "old"},      {"file", "copy5", true, true, "contents"},
        {"file", "target", false, true, "contents"}, {"readonly", "copy6", false, true, "kept"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.from) + " -> " + c.to);
        const std::wstring from = arg(c.from) ? arg(c.from) : L"";
        const bool nullFrom = std::string(c.from) == "(null)";
        EXPECT_EQ(
            XoFileSystem::copyFile(nullFrom ? nullptr : from.c_str(), arg(c.to), c.failIfExists),
            c.copied);
        EXPECT_EQ(fs::exists(file(c.to)), c.targetAfter != nullptr);
        if (c.targetAfter != nullptr) {
            EXPECT_EQ(read(c.to), c.targetAfter);
        }
    }
    fs::permissions(file("copy6"), fs::perms::owner_all); // copied read-only
    EXPECT_FALSE(XoFileSystem::copyFile(arg("file"), nullptr, false));
    EXPECT_FALSE(XoFileSystem::copyFile(arg("file"), L"", false));
}

TEST_F(XoFileSystemFiles, DeleteAndRename) {
    EXPECT_FALSE(XoFileSystem::renameFile(arg("file"), wide("renamed").c_str()));
    EXPECT_TRUE(fs::exists(file("file")));
    EXPECT_FALSE(fs::exists(file("renamed")));
    const struct {
        const char* name;
        bool deleted;
    } cases[] = {
        {"file", true},    {"file", false}, // gone now
        {"folder", false}, {"readonly", false}, {"missing", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(XoFileSystem::deleteFile(arg(c.name)), c.deleted) << c.name;
    EXPECT_FALSE(fs::exists(file("file")));
    EXPECT_TRUE(fs::exists(file("folder")));
    EXPECT_TRUE(fs::exists(file("readonly")));
}

TEST_F(XoFileSystemFiles, TimesAndSizes) {
    const std::int64_t before = std::int64_t(std::time(nullptr));
    write("sized", std::string(70000, 'x'));
    const std::int64_t after = std::int64_t(std::time(nullptr));
    for (const std::int64_t t : {XoFileSystem::getModificationTime(arg("sized")),
                                 XoFileSystem::getCreationTime(arg("sized"))}) {
        EXPECT_GE(t, before - 2);
        EXPECT_LE(t, after + 2);
    }
    EXPECT_EQ(XoFileSystem::getModificationTime(arg("missing")), -1);
    EXPECT_EQ(XoFileSystem::getCreationTime(arg("missing")), -1);
    EXPECT_EQ(XoFileSystem::getAccessingTime(arg("sized")), 0);
    EXPECT_EQ(XoFileSystem::getFileSize(arg("sized")), 70000);
    EXPECT_EQ(XoFileSystem::getFileSize(arg("file")), 8);
    // Only a null search handle is a failure: a missing file is not detected.
    EXPECT_EQ(XoFileSystem::getFileSize(arg("missing")), 0);
    EXPECT_EQ(XoFileSystem::getFileSize(static_cast<void*>(nullptr)), 0);
}

// A size beyond the 32 bits of the runtime's status record: the status fails with
// EOVERFLOW, and the file still counts as existing.
TEST_F(XoFileSystemFiles, FileLargerThanTheStatusRecord) {
    write("large", "");
    const std::uint64_t size = 3ull << 30; // sparse where the file system allows
    std::error_code error;
    fs::resize_file(file("large"), size, error);
    if (error)
        GTEST_SKIP() << "no room for a 3 GiB file here: " << error.message();
    EXPECT_TRUE(XoFileSystem::isFileExisting(arg("large")));
    EXPECT_TRUE(XoFileSystem::accessFile(arg("large"), kRead));
#if !defined(_WIN32)
    // The Windows runtime's status fails; Wine's msvcrt answers with the size cut short.
    EXPECT_EQ(XoFileSystem::getModificationTime(arg("large")), -1);
    EXPECT_EQ(XoFileSystem::getCreationTime(arg("large")), -1);
#endif
    EXPECT_EQ(XoFileSystem::getFileSize(arg("large")), std::int64_t(size));
}

TEST_F(XoFileSystemFiles, Directories) {
    const struct {
        const char* name;
        bool one, tree;
    } cases[] = {
        {"new", true, true},
        {"folder", false, true}, // an existing folder counts as made for the tree
        {"file", false, true},   // as it does for any existing name (SHCreateDirectory)
        {"a/b/c", false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        fs::remove_all(file("new"));
        fs::remove_all(file("a"));
        EXPECT_EQ(XoFileSystem::createDirectory(arg(c.name)), c.one);
        EXPECT_EQ(XoFileSystem::createDirectoryEx(arg(c.name)), c.tree);
        EXPECT_TRUE(fs::exists(file(c.name)));
    }
    EXPECT_TRUE(fs::is_directory(file("a/b/c")));
    EXPECT_FALSE(XoFileSystem::createDirectoryEx(L"relative_folder"));
    EXPECT_FALSE(fs::exists("relative_folder"));

    EXPECT_FALSE(XoFileSystem::deleteDirectory(arg("a"))); // not empty
    EXPECT_TRUE(XoFileSystem::deleteDirectory(arg("a/b/c")));
    EXPECT_FALSE(fs::exists(file("a/b/c")));
    EXPECT_FALSE(XoFileSystem::deleteDirectory(arg("missing")));
    EXPECT_FALSE(XoFileSystem::deleteDirectory(arg("file")));
}

TEST_F(XoFileSystemFiles, CurrentDirectory) {
    const fs::path previous = fs::current_path();
    ASSERT_TRUE(XoFileSystem::setCurrentDirectory(arg("folder")));
    wchar_t here[300];
    const int length = XoFileSystem::getCurrentDirectory(here);
    fs::current_path(previous);
    EXPECT_EQ(length, int(std::wcslen(here)));
    EXPECT_TRUE(fs::equivalent(fs::path(here), file("folder")));
    EXPECT_FALSE(XoFileSystem::setCurrentDirectory(arg("missing")));
    EXPECT_EQ(fs::current_path(), previous);
}

TEST(XoFileSystem, WellKnownDirectories) {
    wchar_t out[300];
    const int tempLength = XoFileSystem::getTempDirectory(out);
    ASSERT_GT(tempLength, 0);
    EXPECT_EQ(tempLength, int(std::wcslen(out)));
    EXPECT_TRUE(out[tempLength - 1] == L'\\' || out[tempLength - 1] == L'/');
    EXPECT_TRUE(fs::is_directory(fs::path(out)));

    const int runLength = XoFileSystem::getRunDirectory(out);
    ASSERT_GT(runLength, 0);
    EXPECT_EQ(runLength, int(std::wcslen(out)));
    EXPECT_EQ(std::wcschr(out, L':'), nullptr); // no drive letter, deliberately
#if defined(_WIN32)
    EXPECT_TRUE(fs::exists(std::wstring(out) + L"xo_filesystem_tests.exe"));
#else
    EXPECT_TRUE(fs::exists(std::wstring(out) + L"xo_filesystem_tests"));
#endif

    std::wcscpy(out, L"untouched");
    EXPECT_EQ(XoFileSystem::getOSDirectory(out), 0);
    EXPECT_EQ(XoFileSystem::getSystemDirectory(out), 0);
    EXPECT_STREQ(out, L"untouched");
    EXPECT_EQ(XoFileSystem::getDiskAvailableSpace(L"."), 0u);
    EXPECT_EQ(XoFileSystem::getDiskFreeSpace(L"."), 0u);
    EXPECT_EQ(XoFileSystem::getDiskTotalSpace(L"."), 0u);
}

#if !defined(_WIN32)
TEST(XoFileSystem, TempDirectoryFollowsTmpdir) {
    const char* saved = std::getenv("TMPDIR");
    const std::string previous = saved != nullptr ? saved : "";
    wchar_t out[300];
    ::setenv("TMPDIR", "/var/tmp", 1);
    const int withVariable = XoFileSystem::getTempDirectory(out);
    const std::wstring answer = out;
    ::unsetenv("TMPDIR");
    XoFileSystem::getTempDirectory(out);
    const std::wstring fallback = out;
    if (saved != nullptr)
        ::setenv("TMPDIR", previous.c_str(), 1);
    EXPECT_EQ(answer, L"/var/tmp/");
    EXPECT_EQ(withVariable, 9);
    EXPECT_EQ(fallback, L"/tmp/");
}
#endif

TEST_F(XoFileSystemFiles, VolumeInformation) {
#if defined(_WIN32)
    const std::wstring root = folder_.root_path().wstring();
#else
    const std::wstring root = wide("folder");
#endif
    wchar_t name[300], fsName[300];
    unsigned long serial = 0, maxComponent = 0, flags = 0;
    ASSERT_NE(XoFileSystem::GetVolumeInformationW(root.c_str(), name, 300, &serial, &maxComponent,
                                                  &flags, fsName, 300),
              0);
    EXPECT_GT(maxComponent, 0ul);
    EXPECT_GT(std::wcslen(fsName), 0u);
    EXPECT_NE(XoFileSystem::GetVolumeInformationW(root.c_str(), nullptr, 0, nullptr, nullptr,
                                                  nullptr, nullptr, 0),
              0);
    EXPECT_EQ(XoFileSystem::GetVolumeInformationW(wide("missing/x/").c_str(), name, 300, &serial,
                                                  &maxComponent, &flags, fsName, 300),
              0);
}

} // namespace
