// The files of one log: A, the current one, and B and C before it. Text log and log data file alike.
#pragma once

#include <string_view>

#include "FileIo.h"

inline namespace taq_1 {

// A rotation makes the new file under a temporary name, lets B take the place of C, gives A the second name B
// and puts the new file in the place of A. So there is a current file at every moment, and it has its header.
// Where the file system has no hard links, A is renamed to B instead, and for an instant there is none.
//
// A process that dies between two steps loses only the oldest generation, which the rotation drops anyway.
// The next open calls mend().
//
// The order of these steps is also the order on the disk, if the file system keeps the order of its names'
// changes, as those with a journal do. So a power cut loses no more than the death of a process.
//
// One process at a time rotates (NameLock.h). Only locate() allocates.
class Generations {
public:
    // The paths are directory + name + "_A" + extension, and "_B" and "_C"; directory ends in "/". The
    // temporary name is name + "_A.new", as long as the others. False: out of memory, and there are no paths.
    bool locate(std::string_view directory, std::string_view name, std::string_view extension);

    char* current() const { return _current.get(); } // path of A; null before locate

    // Gives up the name B when A and B are one file: a process died in the middle of a rotation.
    void mend() const;

    // Makes the new file with its content and returns its descriptor. -1 with errno set.
    int make_new(std::string_view content, QENAccess access) const;

    // Makes the new file the current one, after moving A and B on when there is an A. A missing B leaves C as
    // it is. False with errno set: A is still the current file, and the new one is gone.
    bool rotate() const;

    // The same when A may be replaced by the new file: it holds nothing.
    bool install() const;

    // The same when there is no A. One that another process has made meanwhile stays: false with EEXIST.
    bool install_first() const;

    // Before a message may count as being on the disk, the names that lead to it must be there, too.
    // sync_names sees to it unless it has done so since the last call of expect_sync, which says that A is
    // another file now. False: the disk may not have them.
    void expect_sync() { _unsynced = true; }
    bool sync_names();

    // Moves A aside, to its path + ".err" (where that is too long for a name, ".err" stands for the
    // extension), in place of what was moved there before. False with errno set: A stays.
    bool set_aside() const;

    // The same as install() when A cannot be continued: it is set aside first. False with errno set: the new
    // file is gone, and so is A only if it could be set aside.
    bool install_beside() const;

private:
    enum class Kept { NO_CURRENT, LINKED, RENAMED, BLOCKED };
    Kept _keep_current() const;

    PathText _current, _previous, _oldest, _new;
    PathText _aside, _short_aside;
    PathText _directory, _parent; // the parent's path is given up when it has been synced
    bool _unsynced = true;
};

// When to try again what is blocked: at first with the next call, then after 2, 4 and so on to 256 calls.
class RetryPause {
public:
    bool is_due() { return _left == 0 || --_left == 0; }

    // True for the first failure since the last success: the one to report.
    bool failed();
    void succeeded() { _length = _left = 0; }
    void try_now() { _left = 0; }

private:
    int _length = 0; // length of the present pause in calls; 0: the last attempt succeeded
    int _left = 0;   // of it
};

} // namespace taq_1
