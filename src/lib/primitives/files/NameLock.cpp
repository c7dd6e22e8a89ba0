// Locks the name of a log for one process. Record locks of fcntl(2) belong to the process, so a forked child
// cannot keep one alive. But closing any descriptor of the file frees the lock: so a file that this process
// has locked is never opened again. It is recognised by its device and inode.
#include "primitives/files/NameLock.h"

#include <atomic>
#include <thread>

#include "platform/unix/QENFork.h"
#include "platform/unix/QENPlatform.h"

inline namespace taq_1 {

namespace {

// Guards the list of held locks. A thread may fork while another thread holds the guard. The child takes a
// guard that the parent holds for free.
class ListGuard {
public:
    ListGuard() {
        const unsigned mine = QENForkCount() + 1;
        for (unsigned found = 0; !_owner.compare_exchange_weak(found, mine, std::memory_order_acquire);) {
            if (found == mine) {
                std::this_thread::yield();
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
    return {Holder::OTHER_PROCESS, 0}; // each attempt met another process
}

NameLock::Attempt NameLock::_try(const char* path, Answer& answer) {
    if (_is_held_here(path)) {
        answer = {Holder::THIS_PROCESS, QENGetPid()};
        return Attempt::DONE;
    }
    const int fd = QENOpenOrCreateFile(path, QENAccess::UPDATE);
    if (fd < 0) return _ask(path, answer);
    const QENFileLock lock = QENTryLockFile(fd);
    const bool is_locked = lock.result == QENFileLock::Result::TAKEN;
    if (is_locked && _hold(fd, path)) return Attempt::DONE;
    if (lock.result == QENFileLock::Result::HELD) answer = {Holder::OTHER_PROCESS, lock.holder};
    QENCloseDescriptor(fd);
    return is_locked || lock.result == QENFileLock::Result::FREED ? Attempt::CHANGED : Attempt::DONE;
}

// A file of another user cannot be locked, but it tells who holds it. What a dead process left gives way to
// a file of our own, where the folder lets us.
NameLock::Attempt NameLock::_ask(const char* path, Answer& answer) {
    const int fd = QENOpenName(path, QENAccess::READ);
    if (fd < 0) return Attempt::DONE;
    const QENFileLock lock = QENAskFileLock(fd);
    QENCloseDescriptor(fd);
    if (lock.result == QENFileLock::Result::HELD) answer = {Holder::OTHER_PROCESS, lock.holder};
    return lock.result == QENFileLock::Result::FREED && QENRemoveName(path) ? Attempt::CHANGED
                                                                            : Attempt::DONE;
}

bool NameLock::_is_held_here(const char* path) {
    QENFileState named;
    if (!QENStateOfName(path, named)) return false;
    for (const NameLock* held = held_locks; held != nullptr; held = held->_next)
        if (held->_file.is_same_file(named)) return true;
    return false;
}

// Keeps the lock. False: its last holder removed the file between our open and the lock.
bool NameLock::_hold(int fd, const char* path) {
    QENFileState named;
    if (!QENStateOfOpen(fd, _file) || !QENStateOfName(path, named) || !_file.is_same_file(named))
        return false;
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
    QENFileState named;
    // The file is removed while the lock is held: a process that has it open then finds another file, or
    // none, at the path.
    if (_forks == QENForkCount() && _path != nullptr && QENStateOfName(_path.get(), named) &&
        _file.is_same_file(named))
        (void)QENRemoveName(_path.get()); // left behind it does no harm
    QENCloseDescriptor(_fd);
    _fd = -1;
    _next = nullptr;
    _path.reset();
}

bool NameLock::is_held() const {
    return _fd >= 0 && _forks == QENForkCount();
}

} // namespace taq_1
