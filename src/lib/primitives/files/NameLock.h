// Keeps a second process from writing the files of a log that this one has open.
#pragma once

#include "FileIo.h"

inline namespace taq_1 {

// A lock on a hidden file beside the log, directory + "." + name + ".lock", which the system drops when the
// process ends in whatever way. It belongs to this process: a forked child does not hold it, and the child's
// end does not free it. Works between processes of one machine, and of several as far as the file system's
// locks do.
//
// Any thread may call any function; one object is used by one thread at a time.
class NameLock {
public:
    enum class Holder { NOBODY, THIS_PROCESS, OTHER_PROCESS };

    // Who holds the lock.
    struct Answer {
        Holder holder;
        int pid; // of the other process; 0 or -1 when the system cannot tell
    };

    NameLock() = default;
    ~NameLock() { release(); }
    NameLock(const NameLock&) = delete;
    NameLock& operator=(const NameLock&) = delete;

    // Gives up what the object holds and takes the lock of a name; directory ends in "/". NOBODY: the name
    // may be written. That is also the answer where nothing can be locked: a read-only folder, a file system
    // without locks, no memory, a file in a sticky folder that a dead process of another user left. Otherwise
    // the object holds nothing.
    Answer take(const char* directory, const char* name);

    // Gives the name free and removes the file. In a forked child it only closes the child's descriptor.
    void release();

    bool is_held() const; // false also in a forked child

private:
    enum class Attempt { DONE, CHANGED }; // CHANGED: the file was removed or freed meanwhile, try again
    Attempt _try(const char* path, Answer& answer);
    static Attempt _ask(const char* path, Answer& answer);
    static bool _is_held_here(const char* path);
    bool _hold(int fd, const char* path);
    void _let_go();

    int _fd = -1;
    unsigned _forks = 0; // QENForkCount() of the process that holds the lock
    QENFileState _file;
    PathText _path;
    NameLock* _next = nullptr; // of the locks that this process holds
};

} // namespace taq_1
