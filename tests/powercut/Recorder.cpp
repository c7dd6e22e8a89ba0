#include "Recorder.h"

#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct File {
    int number;
    int64_t size = 0; // as far as it is recorded
};
std::map<ino_t, File> files; // a file that has lost its last name keeps its inode until it is closed

bool is_recorded(const std::string& path) {
    return Recorder::events != nullptr && path.starts_with(Recorder::root);
}

File* file_of(int fd) {
    struct stat st;
    if (Recorder::events == nullptr || fstat(fd, &st) != 0) return nullptr;
    const auto found = files.find(st.st_ino);
    return found != files.end() ? &found->second : nullptr;
}

void record_write(File& file, const void* bytes, ssize_t size, int64_t offset) {
    if (size <= 0) return;
    Recorder::events->push_back({DiskEvent::WRITE, file.number, "", "", offset,
                                 std::string(static_cast<const char*>(bytes), static_cast<size_t>(size))});
    file.size = std::max(file.size, offset + size);
}

// What the C library has written by itself: a stream's bytes at the end of the file.
void record_growth(int fd) {
    File* const file = file_of(fd);
    struct stat st;
    if (file == nullptr || fstat(fd, &st) != 0 || st.st_size <= file->size) return;
    std::string bytes(static_cast<size_t>(st.st_size - file->size), '\0');
    const std::string own = "/proc/self/fd/" + std::to_string(fd); // fd may be for writing only
    const int reader = static_cast<int>(syscall(SYS_openat, AT_FDCWD, own.c_str(), O_RDONLY));
    record_write(*file, bytes.data(), pread(reader, bytes.data(), bytes.size(), file->size), file->size);
    close(reader);
}

int done(long result, DiskEvent event) {
    if (result == 0 && is_recorded(event.path)) Recorder::events->push_back(std::move(event));
    return static_cast<int>(result);
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    const bool is_new = is_recorded(path) && (flags & O_CREAT) != 0 && access(path, F_OK) != 0;
    const int fd = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    struct stat st;
    if (fd >= 0 && is_new && fstat(fd, &st) == 0) {
        static int count = 0;
        files[st.st_ino] = {++count};
        Recorder::events->push_back({DiskEvent::CREATE, count, path, "", 0, ""});
    }
    return fd;
}

ssize_t write(int fd, const void* bytes, size_t size) {
    record_growth(fd);
    const ssize_t n = syscall(SYS_write, fd, bytes, size);
    record_growth(fd);
    return n;
}

ssize_t pwrite(int fd, const void* bytes, size_t size, off_t offset) {
    const ssize_t n = syscall(SYS_pwrite64, fd, bytes, size, offset);
    if (File* const file = file_of(fd)) record_write(*file, bytes, n, offset);
    return n;
}

int fflush(FILE* stream) {
    static const auto real = reinterpret_cast<int (*)(FILE*)>(dlsym(RTLD_NEXT, "fflush"));
    const int result = real(stream);
    if (stream != nullptr && Recorder::events != nullptr) record_growth(fileno(stream));
    return result;
}

int fdatasync(int fd) {
    record_growth(fd);
    if (const File* const file = file_of(fd))
        Recorder::events->push_back({DiskEvent::SYNC, file->number, "", "", 0, ""});
    return 0; // the test asks for the order, not for the disk
}

int fsync(int fd) {
    char path[4096] = "";
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    if (readlink(link.c_str(), path, sizeof path - 1) < 0) return -1;
    return done(0, {DiskEvent::SYNC_NAMES, 0, path, "", 0, ""});
}

int rename(const char* from, const char* to) {
    return done(syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to), {DiskEvent::RENAME, 0, from, to, 0, ""});
}

int link(const char* from, const char* to) noexcept {
    return done(syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0), {DiskEvent::LINK, 0, from, to, 0, ""});
}

int unlink(const char* path) noexcept {
    return done(syscall(SYS_unlinkat, AT_FDCWD, path, 0), {DiskEvent::UNLINK, 0, path, "", 0, ""});
}

} // extern "C"
