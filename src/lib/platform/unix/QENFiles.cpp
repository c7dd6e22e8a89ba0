// Files, directories and environment.
#include "platform/unix/QENBoundedCopy.h"
#include "platform/unix/QENFileSystem.h"
#include "platform/unix/QENPlatform.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <libgen.h>
#include <unistd.h>

inline namespace taq_1 {

int QENCheckDir(const char* namep) {
    QENFileState state;
    return namep != nullptr && QENStateOfPath(namep, state) && state.is_directory();
}

int32_t QENGetFileSize(const char* namep) {
    QENFileState state;
    if (namep == nullptr || !QENStateOfPath(namep, state)) return -1;
    return QENSaturatedFileSize(state.size);
}

bool QENIsSameFile(int fd, const char* namep) {
    QENFileState opened, named;
    return QENStateOfOpen(fd, opened) && QENStateOfPath(namep, named) && opened.is_same_file(named);
}

int QENDeleteFile(const char* name, int* lperror) {
    if (name == nullptr)
        errno = EINVAL;
    else if (std::remove(name) == 0)
        return 0;
    if (lperror != nullptr) *lperror = errno;
    return -1;
}

// The variant of <libgen.h>, which cuts trailing slashes; null and "" give ".".
char* QENCLIBasename(char* path) {
    return basename(path);
}

bool QENWriteAll(int fd, const void* data, size_t n) {
    const char* p = static_cast<const char*>(data);
    while (n > 0) {
        const ssize_t written = write(fd, p, n);
        if (written < 0 && errno == EINTR) continue;
        if (written == 0) errno = EIO; // to try again might never end
        if (written <= 0) return false;
        p += written;
        n -= static_cast<size_t>(written);
    }
    return true;
}

void QENPutOutput(const char* text) {
    (void)QENWriteAll(STDOUT_FILENO, text, std::strlen(text));
}

void QENPutError(const char* text) {
    (void)QENWriteAll(STDERR_FILENO, text, std::strlen(text));
}

int QENGetenv(const char* env, char* str, size_t size) {
    const char* value = env != nullptr ? std::getenv(env) : nullptr;
    QENBoundedCopy(str, value, size);
    return value != nullptr ? 0 : -1;
}

} // namespace taq_1
