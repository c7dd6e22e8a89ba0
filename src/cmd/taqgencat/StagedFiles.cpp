#include "StagedFiles.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace gencat {

namespace {

constexpr int MAX_NAME_TRIES = 100;

// A name in the target's folder, so that the rename never crosses file systems.
std::string temporary_name(const std::string& target, int attempt) {
    const size_t base = target.rfind('/') + 1; // npos + 1 is the start
    return target.substr(0, base) + "." + target.substr(base) + "." + std::to_string(getpid()) + "." +
           std::to_string(attempt);
}

int create_temporary(const std::string& target, std::string& name) {
    for (int attempt = 0; attempt < MAX_NAME_TRIES; ++attempt) {
        name = temporary_name(target, attempt);
        const int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
    return -1;
}

bool write_all(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

} // namespace

StagedFiles::~StagedFiles() {
    for (const Entry& entry : _entries)
        (void)unlink(entry.temporary.c_str()); // nothing to do about a failure
}

bool StagedFiles::_fail(const std::string& path) {
    _error = path + ": " + std::strerror(errno);
    return false;
}

bool StagedFiles::stage(const std::string& path, std::string_view bytes) {
    Entry entry{{}, path};
    const int fd = create_temporary(path, entry.temporary);
    if (fd < 0) return _fail(path);
    _entries.push_back(std::move(entry));
    const bool written = write_all(fd, bytes);
    const int write_errno = errno;
    if (close(fd) != 0 && written) return _fail(path);
    errno = write_errno;
    return written || _fail(path);
}

bool StagedFiles::commit() {
    size_t renamed = 0;
    while (renamed < _entries.size() &&
           std::rename(_entries[renamed].temporary.c_str(), _entries[renamed].target.c_str()) == 0)
        ++renamed;
    const bool complete = renamed == _entries.size() || _fail(_entries[renamed].target);
    _entries.erase(_entries.begin(), _entries.begin() + static_cast<std::ptrdiff_t>(renamed));
    return complete;
}

} // namespace gencat
