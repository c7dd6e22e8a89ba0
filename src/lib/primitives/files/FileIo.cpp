// File operations for the writers and readers of log files, one floor above the system's own calls.
#include "primitives/files/FileIo.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/unix/QENDescriptors.h"

PathText file_join(std::initializer_list<std::string_view> parts) {
    size_t size = 1;
    for (std::string_view part : parts) size += part.size();
    PathText joined(new (std::nothrow) char[size]);
    char* to = joined.get();
    if (to == nullptr) return joined;
    for (std::string_view part : parts) to = std::copy(part.begin(), part.end(), to);
    *to = '\0';
    return joined;
}

bool file_write_at(int fd, const void* bytes, size_t size, int64_t offset) {
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

int64_t file_size_limit() {
    constexpr int64_t NONE = INT64_MAX;
    rlimit limit;
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur < static_cast<rlim_t>(NONE)
               ? static_cast<int64_t>(limit.rlim_cur)
               : NONE;
}

int file_open_regular(const char* path, int flags, struct stat& st) {
    if (stat(path, &st) != 0) return -1;
    if (!S_ISREG(st.st_mode)) {
        errno = EINVAL;
        return -1;
    }
    const int fd = QENOpenDescriptor(path, flags | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) return -1;
    if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode)) return fd; // still the regular file that was looked at
    close(fd);
    errno = EINVAL;
    return -1;
}

int file_create(const char* path, std::string_view content, int flags) {
    constexpr mode_t MODE = 0666; // less the umask, as for any stream
    flags |= O_CREAT | O_EXCL | O_NOFOLLOW;
    int fd = QENOpenDescriptor(path, flags, MODE);
    if (fd < 0 && errno == EEXIST && unlink(path) == 0) fd = QENOpenDescriptor(path, flags, MODE);
    if (fd < 0) return -1;
    if (file_write_at(fd, content.data(), content.size(), 0)) return fd;
    const int why = errno;
    close(fd);
    (void)unlink(path); // the caller learns of the first failure
    errno = why;
    return -1;
}
