// Record locks of fcntl(2): theirs is the process, not the descriptor, so a forked child cannot keep one
// alive. The price: closing any descriptor of the file frees the lock. So a file that this process has locked
// is recognised by its device and inode before it would be opened a second time.
#include "primitives/files/NameLock.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include "platform/unix/QENDescriptors.h"
#include "platform/unix/QENFork.h"

namespace {

// Guards the list of held locks. A thread may fork while another one is inside; what the child finds locked
// by its parent's generation is free.
class ListGuard {
public:
    ListGuard() {
        const unsigned mine = QENForkCount() + 1;
        for (unsigned found = 0; !_owner.compare_exchange_weak(found, mine, std::memory_order_acquire);) {
            if (found == mine) {
                sched_yield();
                found = 0;
            }
        }
    }
    ~ListGuard() { _owner.store(0, std::memory_order_release); }
    ListGuard(const ListGuard&) = delete;
    ListGuard& operator=(const ListGuard&) = delete;

private:
    static inline std::atomic<unsigned> _owner{0}; // 0: free
};

NameLock* held_locks = nullptr;

constexpr int SAFE_FLAGS = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY; // whatever stands at the path

bool are_same(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

struct flock whole_file() {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock; // l_len 0: to the end, however far
}

} // namespace

NameLock::Answer NameLock::take(const char* directory, const char* name) {
    constexpr int ATTEMPTS = 100; // each fails only when another process opens or closes the same log
    release();
    Answer answer = {Holder::NOBODY, 0};
    const PathText path = file_join({directory, ".", name, ".lock"});
    if (path == nullptr) return answer;
    const ListGuard guard;
    while (held_locks != nullptr && held_locks->_forks != QENForkCount())
        held_locks->_let_go(); // the parent's
    for (int i = 0; i < ATTEMPTS; ++i)
        if (_try(path.get(), answer) == Attempt::DONE) return answer;
    return {Holder::OTHER_PROCESS, 0}; // ever another one
}

NameLock::Attempt NameLock::_try(const char* path, Answer& answer) {
    if (_is_held_here(path)) {
        answer = {Holder::THIS_PROCESS, getpid()};
        return Attempt::DONE;
    }
    constexpr mode_t MODE = 0666; // less the umask, as for the log
    const int fd = QENOpenDescriptor(path, O_RDWR | O_CREAT | SAFE_FLAGS, MODE);
    if (fd < 0) return _ask(path, answer);
    struct flock lock = whole_file();
    const bool is_locked = fcntl(fd, F_SETLK, &lock) == 0;
    const bool is_refused = !is_locked && (errno == EACCES || errno == EAGAIN);
    if (is_locked && _hold(fd, path)) return Attempt::DONE;
    const bool is_free_now = is_refused && fcntl(fd, F_GETLK, &lock) == 0 && lock.l_type == F_UNLCK;
    if (is_refused && !is_free_now) answer = {Holder::OTHER_PROCESS, lock.l_pid};
    close(fd);
    return is_locked || is_free_now ? Attempt::CHANGED : Attempt::DONE;
}

// A file of another user cannot be locked, but it tells who holds it. What a dead process left gives way to
// a file of our own, where the folder lets us.
NameLock::Attempt NameLock::_ask(const char* path, Answer& answer) {
    const int fd = QENOpenDescriptor(path, O_RDONLY | SAFE_FLAGS);
    if (fd < 0) return Attempt::DONE;
    struct flock lock = whole_file();
    const bool is_told = fcntl(fd, F_GETLK, &lock) == 0;
    close(fd);
    if (!is_told) return Attempt::DONE;
    const bool is_held = lock.l_type != F_UNLCK;
    if (is_held) answer = {.holder = Holder::OTHER_PROCESS, .pid = lock.l_pid};
    return !is_held && unlink(path) == 0 ? Attempt::CHANGED : Attempt::DONE;
}

bool NameLock::_is_held_here(const char* path) {
    struct stat st;
    if (lstat(path, &st) != 0) return false;
    for (const NameLock* held = held_locks; held != nullptr; held = held->_next)
        if (are_same(held->_file, st)) return true;
    return false;
}

// Keeps the lock. False: its last holder removed the file between our open and the lock.
bool NameLock::_hold(int fd, const char* path) {
    struct stat named;
    if (fstat(fd, &_file) != 0 || lstat(path, &named) != 0 || !are_same(_file, named)) return false;
    _fd = fd;
    _forks = QENForkCount();
    _path = file_join({path});
    _next = held_locks;
    held_locks = this;
    return true;
}

void NameLock::release() {
    if (_fd < 0) return;
    const ListGuard guard;
    _let_go();
}

void NameLock::_let_go() {
    NameLock** link = &held_locks;
    while (*link != nullptr && *link != this) link = &(*link)->_next;
    if (*link == this) *link = _next;
    struct stat named;
    // The file goes while the lock is held: whoever opened it before finds another one, or none, at the path.
    if (_forks == QENForkCount() && _path != nullptr && lstat(_path.get(), &named) == 0 &&
        are_same(_file, named))
        (void)unlink(_path.get()); // left behind it does no harm
    close(_fd);
    _fd = -1;
    _next = nullptr;
    _path.reset();
}

bool NameLock::is_held() const {
    return _fd >= 0 && _forks == QENForkCount();
}
