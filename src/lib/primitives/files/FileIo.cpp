// Paths, safe opening and new files for the writers and readers of log files.
#include "primitives/files/FileIo.h"

#include <algorithm>
#include <cerrno>
#include <new>

inline namespace taq_1 {

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

int file_open_regular(const char* path, QENAccess access, QENFileState& state) {
    if (!QENStateOfPath(path, state)) return -1;
    if (!state.is_regular()) {
        errno = EINVAL;
        return -1;
    }
    const int fd = QENOpenFile(path, access);
    if (fd < 0) return -1;
    if (QENStateOfOpen(fd, state) && state.is_regular())
        return fd; // no other file came to the path meanwhile
    QENCloseDescriptor(fd);
    errno = EINVAL;
    return -1;
}

int file_create(const char* path, std::string_view content, QENAccess access) {
    int fd = QENCreateFile(path, access);
    if (fd < 0 && errno == EEXIST && QENRemoveName(path)) fd = QENCreateFile(path, access);
    if (fd < 0) return -1;
    if (QENWriteAllAt(fd, content.data(), content.size(), 0)) return fd;
    const int why = errno;
    QENCloseDescriptor(fd);
    (void)QENRemoveName(path); // the caller learns of the first failure
    errno = why;
    return -1;
}

} // namespace taq_1
