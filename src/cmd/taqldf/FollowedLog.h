// The records of one log as they are written, over its rotations.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Cursor.h"
#include "Inputs.h"
#include "Problems.h"
#include "Progress.h"
#include "RecordFilter.h"
#include "SourceFile.h"
#include "platform/unix/QENFileWatch.h"

// Holds one file open, whatever its name becomes, until it has read it to its end and a newer one is there.
// Rotations are counted as they are seen, so that the files which went unread can be told.
class FollowedLog {
public:
    // All must outlive the log. `events`: takes in what the watch has to tell, and calls appeared() for names
    // in the log's directory. Without the watch (is_watched false) the log must be woken now and then.
    FollowedLog(const LogInput& input, RecordFilter& filter, Progress& progress, Problems& problems,
                QENFileWatch& watch, std::function<void()> events, bool is_watched);
    ~FollowedLog();
    FollowedLog(const FollowedLog&) = delete;
    FollowedLog& operator=(const FollowedLog&) = delete;

    // Where reading begins: with the oldest file, behind all that is there, or behind the position in the
    // cursor. Where that is no longer to be found this is told, and the oldest file comes first.
    void begin_at_start();
    void begin_at_end();
    void begin_at(const Cursor& cursor, bool otherwise_at_start);

    // Goes on to the next record. False: none is there at present; more may follow after wake().
    bool next() { return ++_current < _found.size() || _find_more(); }
    FoundRecord record() const {
        const FoundPlace& place = _found[_current];
        return {_run.bytes + place.at, &_files.back(), _run.offset + place.at, place.number};
    }
    int32_t key() const { return _found[_current].key; } // as LogSource's

    void wake() { _is_read = false; } // there may be more to read
    void forget_earlier_files();      // no record of before is used any more
    bool is_asleep() const { return _is_read; }
    bool needs_polling() const { return !_is_watched || (_fd >= 0 && _watch_id < 0); }
    void lose_watch() { _is_watched = false; }

    // A file has appeared under that name in the log's directory.
    void appeared(const char* name);
    void events_were_lost();

    const std::string& directory() const { return _input.directory; }
    const std::string& name() const { return _input.log; }
    int watch_id() const { return _watch_id; } // of the held file's writes; -1: none
    void keep_position(Cursor& cursor) const;  // of the last record that was read

private:
    enum Slot : int { A, B, C, NOWHERE };

    bool _find_more();
    void _note(const LdfRun& run);
    bool _go_on();
    void _tell_damage();
    std::string _path(int slot) const;
    int _slot_of(const QENFileState& file) const;
    int _settled_slot();
    int _newer_slot();
    bool _hold(int slot);
    void _release();
    bool _is_at(const LogPosition& position);

    const LogInput& _input;
    RecordFilter& _filter;
    Progress& _progress;
    Problems& _problems;
    QENFileWatch& _watch;
    const std::function<void()> _events;

    // The held file.
    int _fd = -1;
    int _watch_id = -1;
    QENFileState _state;
    LdfStream _stream;
    std::unique_ptr<LdfBytes> _bytes;
    uint64_t _first_hash = 0;
    int32_t _damaged_at = -1;      // record number of a damage that was told; -2: the header's
    std::deque<SourceFile> _files; // the last is the held one's, once a record of it was read
    bool _is_described = false;    // whether it was

    // Rotations that were seen, and what they were when the held file was the current one: the difference is
    // the number of newer files.
    int64_t _rotations = 0, _rotations_of_held = 0;
    bool _is_watched;
    bool _has_lost_events = false;

    bool _is_read = false;      // everything that was there, since wake()
    bool _is_last_look = false; // the held file is not the current one: it is read once more
    int32_t _key;
    LdfRun _run = {};
    std::vector<FoundPlace> _found; // in _run
    size_t _current = 0;
    LogPosition _position; // of the last record that was read
    bool _has_position = false;
};
