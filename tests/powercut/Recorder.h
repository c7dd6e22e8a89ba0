// What a writer of log files asks of the system, call by call: Recorder.cpp stands before the C library in
// the program that lists it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct DiskEvent {
    enum Kind {
        CREATE,     // path becomes a new empty file
        RENAME,     // path becomes second
        LINK,       // second becomes another name of the file at path
        UNLINK,     // of path
        SYNC_NAMES, // of the directory at path
        WRITE,      // bytes at offset of a file
        SYNC,       // of a file's data
    };
    Kind kind;
    int file = 0; // of WRITE and SYNC; numbered in the order in which they were made
    std::string path, second;
    int64_t offset = 0;
    std::string bytes;
};

// While `events` is set, each such call below `root` adds one.
struct Recorder {
    static inline std::vector<DiskEvent>* events = nullptr;
    static inline std::string root;
};
