// inotify, and a descriptor for signals.
#include "platform/unix/QENFileWatch.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/statfs.h>
#include <unistd.h>

#include "platform/unix/QENDescriptors.h"

inline namespace taq_1 {

namespace {

// File systems of several machines, which see each other's files without inotify: NFS, SMB (two), CIFS, Ceph,
// GFS2, OCFS2, AFS, Lustre, and those of user space.
constexpr uint32_t SHARED_FILE_SYSTEMS[] = {0x6969,     0x517B,     0xFE534D42, 0xFF534D42, 0x00C36400,
                                            0x01161970, 0x7461636F, 0x5346414F, 0x0BD00BD0, 0x65735546};

bool is_shared(const struct statfs& state) {
    return std::find(std::begin(SHARED_FILE_SYSTEMS), std::end(SHARED_FILE_SYSTEMS),
                     static_cast<uint32_t>(state.f_type)) != std::end(SHARED_FILE_SYSTEMS);
}

} // namespace

QENFileWatch::QENFileWatch() : _fd(QENKeepDescriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))) {}

QENFileWatch::~QENFileWatch() {
    for (const int fd : {_fd, _signals})
        if (fd >= 0) QENCloseDescriptor(fd);
}

int QENFileWatch::watch_names(const char* directory) {
    struct statfs state;
    if (statfs(directory, &state) != 0) return -1;
    if (is_shared(state)) errno = EOPNOTSUPP;
    if (is_shared(state)) return -1;
    return inotify_add_watch(_fd, directory, IN_MOVED_TO | IN_CREATE | IN_ONLYDIR);
}

// By its descriptor: the path may be another file's by now.
int QENFileWatch::watch_writes(int fd) {
    char path[32];
    (void)std::snprintf(path, sizeof path, "/proc/self/fd/%d", fd);
    return inotify_add_watch(_fd, path, IN_MODIFY);
}

void QENFileWatch::forget(int id) {
    if (id >= 0) (void)inotify_rm_watch(_fd, id); // it may have ended by itself
}

bool QENFileWatch::next(Event& event) {
    for (;;) {
        if (_at == _len) {
            const ssize_t n = read(_fd, _events, sizeof _events);
            if (n <= 0) return false;
            _at = 0;
            _len = static_cast<size_t>(n);
        }
        const auto* const e = reinterpret_cast<const inotify_event*>(_events + _at);
        _at += sizeof *e + e->len;
        event = {Event::WRITE, e->wd, ""};
        if ((e->mask & IN_Q_OVERFLOW) != 0)
            event.kind = Event::LOST;
        else if ((e->mask & IN_IGNORED) != 0)
            event.kind = Event::ENDED;
        else if ((e->mask & IN_MODIFY) == 0)
            event.kind = Event::NAME;
        if (event.kind == Event::NAME && e->len == 0) continue; // the directory itself
        if (event.kind == Event::NAME) event.name = e->name;
        return true;
    }
}

QENFileWatch::Wake QENFileWatch::wait(int milliseconds, FILE* output) {
    if (_at < _len) return Wake::EVENT;
    pollfd fds[] = {{_fd, POLLIN, 0}, {_signals, POLLIN, 0}, {fileno(output), 0, 0}};
    const int ready = poll(fds, std::size(fds), milliseconds); // skips descriptors below 0
    if (ready < 0) return errno == EINTR ? Wake::TIME : Wake::STOP;
    if (fds[1].revents != 0) return Wake::STOP;
    if ((fds[2].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) return Wake::NO_READER;
    return fds[0].revents != 0 ? Wake::EVENT : Wake::TIME;
}

void QENFileWatch::stop_on_signals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, signal);
    (void)pthread_sigmask(SIG_BLOCK, &set, nullptr);
    _signals = QENKeepDescriptor(signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
}

} // namespace taq_1
