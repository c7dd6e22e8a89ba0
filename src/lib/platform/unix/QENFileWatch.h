// Waits for what happens to files: names that appear in directories, and writes to open files.
#pragma once

#include <cstddef>
#include <cstdio>

inline namespace taq_1 {

// One thread at a time.
class QENFileWatch {
public:
    QENFileWatch();
    ~QENFileWatch();
    QENFileWatch(const QENFileWatch&) = delete;
    QENFileWatch& operator=(const QENFileWatch&) = delete;

    // Begin to watch. The identifier of the watch; -1 with errno set, also where the file system does not
    // tell what other machines do to its files.
    int watch_names(const char* directory);
    int watch_writes(int fd);
    void forget(int id); // ends a watch; -1 is none

    struct Event {
        enum Kind : unsigned char {
            NAME,  // a file has appeared under this name
            WRITE, // something may have been written
            LOST,  // events were dropped: anything may have happened
            ENDED, // the watch has ended, its directory has gone
        };
        Kind kind;
        int id;           // of the watch; -1 when LOST
        const char* name; // NAME: without its directory, until the next call
    };
    // Takes the next event that is there. False: none is.
    bool next(Event& event);

    enum class Wake : unsigned char { EVENT, TIME, STOP, NO_READER };
    // Waits until there is an event, until the time has passed (milliseconds; -1: for ever), until the
    // process is to stop (stop_on_signals), or until nobody reads what is written to the stream.
    Wake wait(int milliseconds, FILE* output);

    // From now on the signals that ask a process to end (SIGINT, SIGTERM, SIGHUP, unless they are ignored)
    // end a wait instead, with STOP.
    void stop_on_signals();

private:
    int _fd, _signals = -1; // owned, -1: none
    size_t _at = 0, _len = 0;
    alignas(8) char _events[16 * 1024];
};

} // namespace taq_1
