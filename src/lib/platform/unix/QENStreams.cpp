// Writes the lines of logs and of taqmsg to their streams. See QENStreams.h.
#include "platform/unix/QENStreams.h"

#include <cerrno>
#include <cwchar>
#include <poll.h>
#include <stdio_ext.h>
#include <sys/single_threaded.h>
#include <unistd.h>

inline namespace taq_1 {

namespace {

constexpr size_t SMALLEST_BUFFER = 1024; // of a stream that has not allocated its buffer yet

class StreamLock {
public:
    explicit StreamLock(FILE* fp) : _fp(__libc_single_threaded ? nullptr : fp) {
        if (_fp != nullptr) flockfile(_fp);
    }
    ~StreamLock() {
        if (_fp != nullptr) funlockfile(_fp);
    }
    StreamLock(const StreamLock&) = delete;
    StreamLock& operator=(const StreamLock&) = delete;

private:
    FILE* _fp;
};

// -1: the stream must be written through the C library.
int descriptor_of(FILE* fp) {
    return __freadable(fp) != 0 || fwide(fp, 0) > 0 ? -1 : fileno_unlocked(fp);
}

// Waits until the descriptor has room or fails.
bool wait_for_room(int fd) {
    pollfd wanted = {fd, POLLOUT, 0};
    while (poll(&wanted, 1, -1) < 0)
        if (errno != EINTR) return false;
    return (wanted.revents & POLLNVAL) == 0;
}

size_t write_waiting(int fd, const char* bytes, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t n = write(fd, bytes + done, size - done);
        if (n > 0)
            done += static_cast<size_t>(n);
        else if (n == 0 || (errno != EINTR && (errno != EAGAIN || !wait_for_room(fd))))
            break;
    }
    return done;
}

// Sends what the stream holds, from the buffer of the C library, which would discard the rest of it after a
// short write.
bool drain(FILE* fp, int fd) {
    const size_t pending = __fpending(fp);
    if (pending == 0) return true;
    const size_t done = write_waiting(fd, fp->_IO_write_base, pending);
    __fpurge(fp);
    return done == pending;
}

// Whether the C library would only copy the bytes into its buffer.
bool fits_buffer(FILE* fp, size_t size) {
    if (fp == stderr || __flbf(fp) != 0) return false;
    const size_t buffer = __fbufsize(fp);
    return size < (buffer == 0 ? SMALLEST_BUFFER : buffer) - __fpending(fp);
}

size_t write_through_library(FILE* fp, const char* bytes, size_t size, bool at_once) {
    const size_t done = fwrite_unlocked(bytes, 1, size, fp);
    return at_once && fflush_unlocked(fp) != 0 ? 0 : done;
}

} // namespace

size_t QENStreamWrite(FILE* fp, const char* bytes, size_t size, bool at_once) {
    const StreamLock lock(fp);
    const int fd = descriptor_of(fp);
    if (fd < 0) return write_through_library(fp, bytes, size, /*at_once=*/false);
    if (!at_once && fits_buffer(fp, size)) return fwrite_unlocked(bytes, 1, size, fp);
    if (!drain(fp, fd)) return 0;
    if (!at_once && fits_buffer(fp, size)) return fwrite_unlocked(bytes, 1, size, fp);
    return write_waiting(fd, bytes, size);
}

bool QENStreamFlush(FILE* fp) {
    const StreamLock lock(fp);
    const int fd = descriptor_of(fp);
    return fd < 0 ? fflush_unlocked(fp) == 0 : drain(fp, fd);
}

void QENStreamPurge(FILE* fp) {
    __fpurge(fp);
}

bool QENIsTerminal(FILE* fp) {
    const int error = errno;
    const int fd = fileno(fp);
    const bool is_one = fd >= 0 && isatty(fd) == 1;
    errno = error;
    return is_one;
}

} // namespace taq_1
