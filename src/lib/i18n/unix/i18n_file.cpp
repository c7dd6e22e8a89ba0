// Opens, reads and locks the files of catalogs.
#include "i18n/unix/i18n_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

inline namespace taq_1 {

namespace {

constexpr int FIRST_KEPT = STDERR_FILENO + 1;

// Moves a descriptor off 0 to 2. A daemon may have closed these; its "standard input" must not become a
// catalog. The catalogs use only the C library, so that programs can take them without the rest; that is why
// they have this function and the next one of their own.
int keep(int fd) {
    if (fd < 0 || fd >= FIRST_KEPT) return fd;
    const int kept = ::fcntl(fd, F_DUPFD_CLOEXEC, FIRST_KEPT);
    (void)::close(fd); // only read
    return kept;
}

// A descriptor of a regular file and its size, or -1. Without O_NONBLOCK a FIFO would hold the caller.
int open_regular(const char* path, uint64_t* sizep) {
    const int fd = keep(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (fd < 0) return -1;
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size < 0) {
        (void)::close(fd); // only read
        return -1;
    }
    *sizep = static_cast<uint64_t>(st.st_size);
    return fd;
}

} // namespace

i18n_file::i18n_file(i18n_file&& other) noexcept
    : _fd(std::exchange(other._fd, -1)), _size(other._size), _bytes(std::move(other._bytes)) {}

i18n_file& i18n_file::operator=(i18n_file&& other) noexcept {
    if (this == &other) return *this;
    close();
    _fd = std::exchange(other._fd, -1);
    _size = other._size;
    _bytes = std::move(other._bytes);
    return *this;
}

bool i18n_file::open(const char* path) {
    close();
    _fd = open_regular(path, &_size);
    if (is_open() && _size <= I18N_WHOLE_MAX) read_whole();
    return is_open();
}

// A file that is being cut, a disk that fails and memory that runs out are left to the reads of the pieces.
void i18n_file::read_whole() {
    const auto size = static_cast<size_t>(_size);
    std::unique_ptr<char[], free_bytes> bytes(static_cast<char*>(std::malloc(size)));
    if (bytes != nullptr && read_at(0, bytes.get(), size) == size) _bytes = std::move(bytes);
}

void i18n_file::close() {
    if (_fd >= 0) (void)::close(_fd); // only read
    _fd = -1;
    _bytes.reset();
}

size_t i18n_file::read_at(uint64_t offset, void* buffer, size_t len) const {
    if (_bytes != nullptr) {
        if (offset >= _size) return 0;
        len = std::min(len, static_cast<size_t>(_size - offset));
        std::memcpy(buffer, _bytes.get() + offset, len);
        return len;
    }
    size_t done = 0;
    while (done < len) {
        const ssize_t n =
            ::pread(_fd, static_cast<char*>(buffer) + done, len - done, static_cast<off_t>(offset + done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        done += static_cast<size_t>(n);
    }
    return done;
}

std::FILE* i18n_fopen(const char* path) {
    uint64_t size = 0;
    const int fd = open_regular(path, &size);
    if (fd < 0) return nullptr;
    std::FILE* fp = ::fdopen(fd, "rb");
    if (fp == nullptr) (void)::close(fd); // only read
    return fp;
}

bool i18n_flush_to_disk(std::FILE* stream) {
    if (std::fflush(stream) != 0) return false;
    return ::fsync(::fileno(stream)) == 0 || errno == EINVAL || errno == EROFS;
}

i18n_dirlock::i18n_dirlock(const char* path) : _fd(keep(::open(path, O_RDONLY | O_CLOEXEC | O_DIRECTORY))) {
    if (_fd < 0) return;
    while (::flock(_fd, LOCK_EX) != 0 && errno == EINTR) continue;
}

i18n_dirlock::~i18n_dirlock() {
    if (_fd >= 0) (void)::close(_fd); // which unlocks
}

bool i18n_checkdir(const char* path) {
    struct stat st;
    return ::stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

} // namespace taq_1
