// Opens the files of dumps safely. See QENDumpFile.h; the capture of the log writes them.
#include "platform/unix/QENDumpFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

inline namespace taq_1 {

namespace {

constexpr int OPEN_FLAGS = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
constexpr int ATTEMPTS = 8;

bool is_our_own(int fd) {
    struct stat st;
    return fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_nlink == 1 && st.st_uid == geteuid();
}

} // namespace

// Tried again when a dump in progress makes the file in between.
int QENCreateDumpFile(const char* path) {
    int fd = -1;
    for (int attempt = 0; fd < 0 && attempt < ATTEMPTS; ++attempt) {
        (void)unlink(path); // there may be none
        fd = open(path, OPEN_FLAGS | O_EXCL, 0600);
        if (fd < 0 && errno != EEXIST) break;
    }
    return fd;
}

int QENOpenDumpFile(const char* path) {
    return open(path, OPEN_FLAGS, 0600);
}

bool QENEmptyOwnFile(int fd) {
    return is_our_own(fd) && fchmod(fd, 0600) == 0 && ftruncate(fd, 0) == 0;
}

bool QENCloseDumpFile(int fd) {
    return close(fd) == 0;
}

} // namespace taq_1
