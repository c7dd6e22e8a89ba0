// Files, directories and environment.
#include "platform/unix/QENBoundedCopy.h"
#include "platform/unix/QENPlatform.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <libgen.h>
#include <sys/stat.h>
#include <unistd.h>

int QENCheckDir(const char* namep) {
    struct stat st;
    return namep != nullptr && stat(namep, &st) == 0 && S_ISDIR(st.st_mode);
}

int32_t QENGetFileSize(const char* namep) {
    struct stat st;
    if (namep == nullptr || stat(namep, &st) != 0) return -1;
    return QENSaturatedFileSize(st.st_size);
}

bool QENIsSameFile(int fd, const char* namep) {
    struct stat opened, named;
    return fstat(fd, &opened) == 0 && stat(namep, &named) == 0 && opened.st_ino == named.st_ino &&
           opened.st_dev == named.st_dev;
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
