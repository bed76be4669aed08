// A file system whose volume stops answering: every request for "/stuck" (and anything
// under "/stuck") waits until the release file given on the command line exists, as a
// dead network share would wait for a server that does not come back. The root and
// "/healthy" answer at once. Used by the file-system tests to prove the worker's bound.
#define FUSE_USE_VERSION 31

#include <fuse.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

namespace {

const char* releaseFile;

void waitForRelease() {
    const struct timespec pause = {0, 10 * 1000 * 1000};
    while (::access(releaseFile, F_OK) != 0)
        ::nanosleep(&pause, nullptr);
}

int hungGetattr(const char* path, struct stat* st, struct fuse_file_info* info) {
    (void)info;
    std::memset(st, 0, sizeof *st);
    if (std::strcmp(path, "/") == 0) {
        st->st_mode = S_IFDIR | 0755;
        st->st_nlink = 2;
        return 0;
    }
    if (std::strncmp(path, "/stuck", 6) == 0)
        waitForRelease();
    if (std::strcmp(path, "/stuck") == 0 || std::strcmp(path, "/healthy") == 0) {
        st->st_mode = S_IFREG | 0644;
        st->st_nlink = 1;
        st->st_size = 5;
        return 0;
    }
    return -ENOENT;
}

int hungAccess(const char* path, int mask) {
    (void)mask;
    if (std::strncmp(path, "/stuck", 6) == 0)
        waitForRelease();
    return 0;
}

int hungStatfs(const char* path, struct statvfs* st) {
    (void)path;
    std::memset(st, 0, sizeof *st);
    st->f_namemax = 255;
    st->f_bsize = 4096;
    return 0;
}

} // namespace

// hungfs RELEASE-FILE MOUNTPOINT [fuse options...]
int main(int argc, char* argv[]) {
    if (argc < 3)
        return 2;
    releaseFile = argv[1];
    argv[1] = argv[0];
    fuse_operations operations{};
    operations.getattr = hungGetattr;
    operations.access = hungAccess;
    operations.statfs = hungStatfs;
    return fuse_main(argc - 1, argv + 1, &operations, nullptr);
}
