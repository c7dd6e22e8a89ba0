// Keeps the library's descriptors off standard input, output and error.
#include "platform/unix/QENDescriptors.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

inline namespace taq_1 {

namespace {

constexpr int FIRST_KEPT = STDERR_FILENO + 1;
constexpr mode_t MODE = 0666; // as fopen creates files; the process's mask applies
constexpr int NO_WAITING = O_NONBLOCK | O_NOCTTY;

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

int flags_of(QENAccess access) {
    switch (access) {
    case QENAccess::READ: return O_RDONLY;
    case QENAccess::UPDATE: return O_RDWR;
    default: return O_RDWR | O_APPEND;
    }
}

} // namespace

void QENCloseDescriptor(int fd) {
    const int saved = errno;
    (void)close(fd);
    errno = saved;
}

int QENKeepDescriptor(int fd) {
    if (fd < 0 || fd >= FIRST_KEPT) return fd;
    const int kept = fcntl(fd, F_DUPFD_CLOEXEC, FIRST_KEPT);
    QENCloseDescriptor(fd);
    return kept;
}

int QENOpenDescriptor(const char* path, int flags, mode_t mode) {
    return QENKeepDescriptor(open(path, flags | O_CLOEXEC, mode));
}

int QENOpenFile(const char* path, QENAccess access) {
    return QENOpenDescriptor(path, flags_of(access) | NO_WAITING);
}

int QENCreateFile(const char* path, QENAccess access) {
    return QENOpenDescriptor(path, flags_of(access) | O_CREAT | O_EXCL | O_NOFOLLOW, MODE);
}

int QENOpenName(const char* path, QENAccess access) {
    return QENOpenDescriptor(path, flags_of(access) | NO_WAITING | O_NOFOLLOW);
}

int QENOpenOrCreateFile(const char* path, QENAccess access) {
    return QENOpenDescriptor(path, flags_of(access) | NO_WAITING | O_CREAT | O_NOFOLLOW, MODE);
}

FILE* QENOpenStream(const char* path, const char* mode) {
    const int flags = open_flags(mode);
    if (flags < 0) {
        errno = EINVAL;
        return nullptr;
    }
    const int fd = QENOpenDescriptor(path, flags, MODE);
    return fd >= 0 ? QENStreamOver(fd, mode) : nullptr;
}

FILE* QENStreamOver(int fd, const char* mode) {
    FILE* fp = fdopen(fd, mode);
    if (fp == nullptr) QENCloseDescriptor(fd);
    return fp;
}

void QENRaiseDescriptorLimit() {
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace taq_1
