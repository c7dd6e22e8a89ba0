// Keeps the library's descriptors off standard input, output and error; small steps on open files.
#include "platform/unix/QENDescriptors.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int FIRST_KEPT = STDERR_FILENO + 1;
constexpr mode_t STREAM_MODE = 0666; // as fopen creates files; the process's mask applies

// The flags of open(2) for a mode of fopen(3); -1 for a mode that it does not know.
int open_flags(const char* mode) {
    const bool updates = strchr(mode, '+') != nullptr;
    switch (*mode) {
    case 'r': return updates ? O_RDWR : O_RDONLY;
    case 'w': return (updates ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
    case 'a': return (updates ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
    default: return -1;
    }
}

} // namespace

int QENKeepDescriptor(int fd) {
    if (fd < 0 || fd >= FIRST_KEPT) return fd;
    const int kept = fcntl(fd, F_DUPFD_CLOEXEC, FIRST_KEPT);
    QENCloseDescriptor(fd);
    return kept;
}

int QENOpenDescriptor(const char* path, int flags, mode_t mode) {
    return QENKeepDescriptor(open(path, flags | O_CLOEXEC, mode));
}

FILE* QENOpenStream(const char* path, const char* mode) {
    const int flags = open_flags(mode);
    if (flags < 0) {
        errno = EINVAL;
        return nullptr;
    }
    const int fd = QENOpenDescriptor(path, flags, STREAM_MODE);
    return fd >= 0 ? QENStreamOver(fd, mode) : nullptr;
}

FILE* QENStreamOver(int fd, const char* mode) {
    FILE* fp = fdopen(fd, mode);
    if (fp == nullptr) QENCloseDescriptor(fd);
    return fp;
}

void QENCloseDescriptor(int fd) {
    const int saved = errno;
    (void)close(fd);
    errno = saved;
}

int64_t QENDescriptorSize(int fd) {
    struct stat st;
    return fstat(fd, &st) == 0 ? st.st_size : -1;
}

bool QENReadAt(int fd, void* data, size_t n, int64_t offset) {
    auto* const bytes = static_cast<char*>(data);
    for (size_t done = 0; done < n;) {
        const ssize_t got = pread(fd, bytes + done, n - done, offset + static_cast<off_t>(done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        done += static_cast<size_t>(got);
    }
    return true;
}

bool QENTruncate(int fd, int64_t size) {
    return ftruncate(fd, size) == 0;
}

bool QENLinkFile(const char* path, const char* second_name) {
    return link(path, second_name) == 0;
}
