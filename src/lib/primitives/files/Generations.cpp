// Rotates the files of a log: B becomes C, A becomes B, and a new file becomes A.
#include "primitives/files/Generations.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "platform/unix/QENPlatform.h"

inline namespace taq_1 {

namespace {

constexpr char NEW_EXTENSION[] = ".new";
constexpr char ERR_EXTENSION[] = ".err";

bool is_directory(const char* path) {
    QENFileState state;
    return QENStateOfName(path, state) && state.is_directory();
}

bool are_one_file(const char* a, const char* b) {
    QENFileState at_a, at_b;
    return QENStateOfName(a, at_a) && QENStateOfName(b, at_b) && at_a.is_same_file(at_b);
}

// Renames `newer` to `older` and so replaces the older file. True also when there is no `newer`: then `older`
// stays. Of directories only an empty one is replaced.
bool replace(const char* newer, const char* older) {
    if (is_directory(newer)) {
        errno = EISDIR;
        return false;
    }
    if (std::rename(newer, older) == 0 || errno == ENOENT) return true;
    return errno == EISDIR && QENRemoveDirectory(older) && std::rename(newer, older) == 0;
}

// Renames in place of whatever stands at `to`, but for a folder that is not empty.
bool move_over(const char* from, const char* to) {
    if (std::rename(from, to) == 0) return true;
    if (errno != EISDIR && errno != ENOTDIR && errno != EEXIST && errno != ENOTEMPTY) return false;
    return QENDeleteFile(to) == 0 && std::rename(from, to) == 0;
}

} // namespace

bool Generations::locate(std::string_view directory, std::string_view name, std::string_view extension) {
    _current = file_join({directory, name, "_A", extension});
    _previous = file_join({directory, name, "_B", extension});
    _oldest = file_join({directory, name, "_C", extension});
    _new = file_join({directory, name, "_A", NEW_EXTENSION});
    _aside = file_join({directory, name, "_A", extension, ERR_EXTENSION});
    _short_aside = file_join({directory, name, "_A", ERR_EXTENSION});
    _directory = file_join({directory});
    _parent = file_join({directory, ".."});
    if (_current && _previous && _oldest && _new && _aside && _short_aside && _directory && _parent)
        return true;
    *this = {};
    return false;
}

void Generations::mend() const {
    if (are_one_file(_current.get(), _previous.get()))
        (void)QENRemoveName(_previous.get()); // rotate() sees a failure
}

int Generations::make_new(std::string_view content, QENAccess access) const {
    return file_create(_new.get(), content, access);
}

bool Generations::install() const {
    if (std::rename(_new.get(), _current.get()) == 0) return true;
    const int why = errno;
    (void)QENRemoveName(_new.get()); // the next new file takes its place anyhow
    errno = why;
    return false;
}

bool Generations::install_first() const {
    const bool is_linked = QENLinkFile(_new.get(), _current.get());
    if (!is_linked && errno != EEXIST) return install(); // no hard links here
    (void)QENRemoveName(_new.get());
    if (!is_linked) errno = EEXIST;
    return is_linked;
}

bool Generations::rotate() const {
    mend();
    const Kept kept = _keep_current();
    if (kept != Kept::BLOCKED && install()) return true;
    const int why = errno;
    if (kept == Kept::BLOCKED) (void)QENRemoveName(_new.get());
    if (kept == Kept::LINKED) (void)QENRemoveName(_previous.get()); // a failure is mended by the next attempt
    if (kept == Kept::RENAMED) (void)std::rename(_previous.get(), _current.get());
    errno = why;
    return false;
}

// Makes A also the previous generation.
Generations::Kept Generations::_keep_current() const {
    QENFileState state;
    if (!QENStateOfName(_current.get(), state)) return errno == ENOENT ? Kept::NO_CURRENT : Kept::BLOCKED;
    if (state.is_directory()) {
        errno = EISDIR;
        return Kept::BLOCKED;
    }
    if (!replace(_previous.get(), _oldest.get())) return Kept::BLOCKED;
    if (QENLinkFile(_current.get(), _previous.get())) return Kept::LINKED;
    if (errno == EEXIST) return Kept::BLOCKED; // renaming would replace what has come there meanwhile
    return std::rename(_current.get(), _previous.get()) == 0 ? Kept::RENAMED : Kept::BLOCKED;
}

// The directory itself may be new; it stays.
bool Generations::sync_names() {
    if (!_unsynced) return true;
    if (!QENSyncDirectory(_directory.get()) || (_parent && !QENSyncDirectory(_parent.get()))) return false;
    _parent.reset();
    _unsynced = false;
    return true;
}

bool Generations::set_aside() const {
    if (move_over(_current.get(), _aside.get())) return true;
    return errno == ENAMETOOLONG && move_over(_current.get(), _short_aside.get());
}

bool Generations::install_beside() const {
    if (set_aside()) return install();
    const int why = errno;
    (void)QENRemoveName(_new.get());
    errno = why;
    return false;
}

bool RetryPause::failed() {
    constexpr int LONGEST = 256;
    const bool first = _length == 0;
    _length = std::clamp(_length * 2, 1, LONGEST);
    _left = _length;
    return first;
}

} // namespace taq_1
