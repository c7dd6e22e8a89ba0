// Where the reading of each log has come to, kept in a file so that a later run goes on there.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <utility>

#include "Problems.h"

// The last record that was read of a log, and the file that holds it. The file is known again by its header's
// time and its first record, whatever its name has become; device and inode decide between equal ones.
struct LogPosition {
    int32_t created = 0;
    uint64_t first_hash = 0; // of the file's first record
    uint64_t device = 0, inode = 0;
    int32_t record = 0; // 0-based number
    int64_t offset = 0;
    uint64_t last_hash = 0; // of that record
};

class Cursor {
public:
    // Reads the file; one that does not exist is empty. False, and told: it cannot be read, or is damaged.
    bool load(const std::string& path, Problems& problems);

    // What the file holds. parse() is false for other bytes, and the positions are of no use then.
    bool parse(const std::string& text);
    std::string text() const;

    bool is_used() const { return !_path.empty(); }
    // Null: no position of this log is known.
    const LogPosition* find(const std::string& host, const std::string& log) const;
    void set(const std::string& host, const std::string& log, const LogPosition& position);

    // Writes the file when a position has changed, at most once a second unless `at_once`. Milliseconds until
    // it is due, -1 when all is written. A failure is told once.
    int save(bool at_once, Problems& problems);

private:
    bool _write() const;

    std::string _path;
    std::map<std::pair<std::string, std::string>, LogPosition> _positions; // by host and log
    bool _has_changed = false;
    bool _is_told = false;
    int64_t _saved = -1'000'000; // when: milliseconds of a steady clock
};
