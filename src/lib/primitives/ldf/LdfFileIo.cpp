#include "primitives/ldf/LdfFileIo.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "primitives/ldf/ldf_format.h"

bool ldf_write_at(int fd, const void* bytes, size_t size, int64_t offset) {
    const char* from = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t n = pwrite(fd, from, size, offset);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        from += n;
        offset += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

int ldf_open_for_update(const char* path, int64_t& size) {
    const int fd = open(path, O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) return -1;
    struct stat st;
    if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size >= static_cast<off_t>(LDF_HEADER_SIZE)) {
        size = st.st_size;
        return fd;
    }
    close(fd);
    return -1;
}

int ldf_create(const char* path, const void* bytes, size_t size) {
    constexpr int FLAGS = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    constexpr mode_t MODE = 0666; // less the umask, as for any stream
    int fd = open(path, FLAGS, MODE);
    if (fd < 0 && errno == EEXIST && unlink(path) == 0) fd = open(path, FLAGS, MODE);
    if (fd < 0) return -1;
    if (ldf_write_at(fd, bytes, size, 0)) return fd;
    close(fd);
    unlink(path);
    return -1;
}

LdfOccupant ldf_occupant(const char* path) {
    struct stat st;
    if (lstat(path, &st) != 0) return LdfOccupant::NOTHING;
    const bool link = S_ISLNK(st.st_mode);
    if (link && stat(path, &st) != 0) return LdfOccupant::NOTHING;
    if (!S_ISREG(st.st_mode)) return LdfOccupant::FOREIGN;
    if (st.st_size >= static_cast<off_t>(LDF_HEADER_SIZE)) return LdfOccupant::LONG_FILE;
    return link ? LdfOccupant::NOTHING : LdfOccupant::SHORT_FILE;
}
