// The calls of the file system that log files need.
#include "platform/unix/QENFileSystem.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/unix/QENDescriptors.h"

inline namespace taq_1 {

namespace {

QENFileState::Kind kind_of(mode_t mode) {
    if (S_ISREG(mode)) return QENFileState::Kind::REGULAR;
    return S_ISDIR(mode) ? QENFileState::Kind::DIRECTORY : QENFileState::Kind::OTHER;
}

bool keep(int rc, const struct stat& st, QENFileState& state) {
    if (rc == 0) state = {kind_of(st.st_mode), st.st_size, st.st_dev, st.st_ino};
    return rc == 0;
}

// A record lock of fcntl(2).
struct flock whole_file() {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock; // l_len 0: to the end, however far
}

} // namespace

bool QENStateOfPath(const char* path, QENFileState& state) {
    struct stat st;
    return keep(stat(path, &st), st, state);
}

bool QENStateOfName(const char* path, QENFileState& state) {
    struct stat st;
    return keep(lstat(path, &st), st, state);
}

bool QENStateOfOpen(int fd, QENFileState& state) {
    struct stat st;
    return keep(fstat(fd, &st), st, state);
}

int64_t QENReadSome(int fd, void* buffer, size_t n, int64_t offset) {
    ssize_t got;
    do {
        got = pread(fd, buffer, n, offset);
    } while (got < 0 && errno == EINTR);
    return got;
}

bool QENReadAt(int fd, void* buffer, size_t n, int64_t offset) {
    char* to = static_cast<char*>(buffer);
    while (n > 0) {
        const int64_t got = QENReadSome(fd, to, n, offset);
        if (got <= 0) return false;
        to += got;
        offset += got;
        n -= static_cast<size_t>(got);
    }
    return true;
}

bool QENWriteAllAt(int fd, const void* data, size_t n, int64_t offset) {
    const char* from = static_cast<const char*>(data);
    while (n > 0) {
        const ssize_t written = pwrite(fd, from, n, offset);
        if (written < 0 && errno == EINTR) continue;
        if (written == 0) errno = EIO; // to try again might never end
        if (written <= 0) return false;
        from += written;
        offset += written;
        n -= static_cast<size_t>(written);
    }
    return true;
}

size_t QENAppend(int fd, const void* data, size_t n) {
    const char* from = static_cast<const char*>(data);
    size_t done = 0;
    while (done < n) {
        const ssize_t written = write(fd, from + done, n - done);
        if (written < 0 && errno == EINTR) continue;
        if (written == 0) errno = EIO; // to try again might never end
        if (written <= 0) break;
        done += static_cast<size_t>(written);
    }
    return done;
}

bool QENTruncateFile(int fd, int64_t size) {
    return ftruncate(fd, size) == 0;
}

bool QENSyncData(int fd) {
    return fdatasync(fd) == 0;
}

bool QENSyncDirectory(const char* path) {
    const int fd = QENOpenDescriptor(path, O_RDONLY | O_DIRECTORY);
    if (fd < 0) return false;
    const bool synced = fsync(fd) == 0;
    QENCloseDescriptor(fd);
    return synced;
}

int64_t QENFileSizeLimit() {
    constexpr int64_t NONE = INT64_MAX;
    rlimit limit;
    const bool told = getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur < static_cast<rlim_t>(NONE);
    return told ? static_cast<int64_t>(limit.rlim_cur) : NONE;
}

bool QENLinkFile(const char* path, const char* second_name) {
    return link(path, second_name) == 0;
}

bool QENRemoveName(const char* path) {
    return unlink(path) == 0;
}

bool QENRemoveDirectory(const char* path) {
    return rmdir(path) == 0;
}

QENFileLock QENTryLockFile(int fd) {
    struct flock lock = whole_file();
    if (fcntl(fd, F_SETLK, &lock) == 0) return {QENFileLock::Result::TAKEN, 0};
    if (errno != EACCES && errno != EAGAIN) return {QENFileLock::Result::FAILED, 0};
    const QENFileLock other = QENAskFileLock(fd);
    return other.result == QENFileLock::Result::FAILED ? QENFileLock{QENFileLock::Result::HELD, 0} : other;
}

QENFileLock QENAskFileLock(int fd) {
    struct flock lock = whole_file();
    if (fcntl(fd, F_GETLK, &lock) != 0) return {QENFileLock::Result::FAILED, 0};
    if (lock.l_type == F_UNLCK) return {QENFileLock::Result::FREED, 0};
    return {QENFileLock::Result::HELD, lock.l_pid};
}

} // namespace taq_1
