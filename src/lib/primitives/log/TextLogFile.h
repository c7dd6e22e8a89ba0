// The files of a text log: the stream of the current one, its size, rotation, and what a full disk leaves.
#pragma once

#include <climits>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "platform/unix/QENFileSystem.h"
#include "primitives/files/Generations.h"
#include "primitives/log/LineBatch.h"
#include "primitives/log/LogLoss.h"

inline namespace taq_1 {

inline constexpr int LOG_DEFAULT_MAXLEN = 33554432; // bytes at which a text log is rotated

// Lines go to stream(); the log tells their sizes with count() and ends each message with settle(). The file
// is opened for appending, so a forked child adds its lines behind those of its parent; a child rotates
// nothing. A log on a given stream only counts.
//
// Messages whose lines are lost are counted in a ledger, those that waited in the stream's buffer too. Among
// those, a message of several lines may hide the loss of another.
//
// Used by one thread at a time.
class TextLogFile {
public:
    explicit TextLogFile(LossLedger& losses) : _losses(losses) {}
    ~TextLogFile() { close(); }
    TextLogFile(const TextLogFile&) = delete;
    TextLogFile& operator=(const TextLogFile&) = delete;

    // Works out the paths directory + name + "_A.log" and so on (directory ends in "/"; a hidden file's name
    // begins with a dot) and the header of new files, which names log and system. False: out of memory.
    bool set_name(const char* directory, bool hidden, const char* name, const char* system);

    // Continues the current file. False: there is something that cannot be continued. True without a
    // stream(): there is none yet, and start_new() makes it.
    bool open();
    void close();

    // Starts a new file, after making the current one the previous generation; where there is no stream yet,
    // goes on with the file that is there, or makes one. When that fails, the current file is continued; the
    // first failure in a row is reported to the system log.
    void start_new();

    // In a forked child, before a message: goes on with the file that is the current one now. The parent may
    // have rotated since the last message.
    void follow_parent();

    // In a forked child: what the parent had not flushed is not written by the child's exit.
    void forget_unflushed();
    // The same when the stream's state may be half changed: it is not used any more, nor closed.
    void abandon();

    FILE* stream() const { return _stream; } // null: not open
    char* path() const { return _files.current(); }

    // Messages of severities up to this one are waited for until the disk has them, and the names of the
    // files. Negative, as at first: none.
    void sync_up_to(int sev) { _synced_sev = sev; }

    // Size in bytes at which wants_new() answers yes.
    void set_maxlen(int bytes) { _maxlen = bytes; }

    // Asks for a new file whatever the size of this one.
    void request_new();

    // Whether the next message belongs in a new file: the size is reached, or what the system lets a file of
    // this process have, or one was asked for. While that cannot be had, yes only now and then. Never in a
    // forked child.
    bool wants_new() { return (is_full() || _requested) && _may_start_new(); }
    bool is_full() const { // the size is reached
        return _bytes >= _maxlen || _flushed + _pending + _gathered() > _full_at;
    }

    // A line of `written` bytes went to the stream, of which `counted` count as the file's size.
    void count(size_t counted, size_t written) {
        _count_size(counted);
        _pending += static_cast<off_t>(written);
    }

    // Gathering: a line is composed into room_for(), counted with gather() in place of count() and settle(),
    // and written with the others by write_gathered(), with one call. It is lost when the process dies
    // before. When the disk refuses a part of them, those behind the line that it cut are written one by one.
    // room_for: room for a line of up to `size` bytes; null data when there is none, or none any more.
    std::span<char> room_for(size_t size);
    void gather(size_t counted, size_t size, bool flush, int logical_sev) {
        _count_size(counted);
        _lines->add(size, flush, logical_sev);
    }
    bool waits_for_gathered() const; // a gathered message is one that is waited for
    void write_gathered() {
        if (_lines != nullptr && !_lines->is_empty()) _write_gathered();
    }

    // Before a message: a forked child drops what its parent had not flushed; behind a line that was cut, by
    // a full disk or a death, a new line begins. is_counted: its loss is.
    void begin(int logical_sev, bool is_counted = true) {
        _sev = logical_sev;
        _is_counted = is_counted;
        if (_stream == nullptr) return;
        if (_is_cut || _is_inherited()) _begin_anew();
        ++_unflushed;
    }

    // After a message: flushes if wanted. When the disk refused something, the size is that of the file, and
    // the start of a line that was cut leaves it again. Nothing is reported: the disk may have room for the
    // next message. False: the message is lost.
    bool settle(bool flush);

private:
    static constexpr off_t NEVER = INT64_MAX;
    static constexpr int NO_SEVERITY = INT_MAX;

    void _count_size(size_t counted) {
        const size_t room = static_cast<size_t>(INT_MAX - _bytes);
        _bytes = counted < room ? _bytes + static_cast<int>(counted) : INT_MAX;
    }
    off_t _gathered() const { return _lines != nullptr ? static_cast<off_t>(_lines->size()) : 0; }
    void _write_gathered();
    void _write_rest(size_t written);
    bool _may_start_new();
    bool _is_inherited() const;
    void _begin_anew();
    bool _use(int fd, off_t size);
    void _start();
    void _make_first();
    void _link_own_file();
    bool _install_new(bool (Generations::*way)() const);
    std::string_view _header_now();
    void _mend();
    off_t _end_of_lines(int fd, off_t size) const;
    void _count_lost(int fd, off_t end);
    bool _is_synced(int sev) const { return sev >= 0 && sev <= _synced_sev; }
    bool _sync() { return QENSyncData(fileno(_stream)) && _files.sync_names(); }
    void _sync_gathered(size_t count);

    LossLedger& _losses;
    int _synced_sev = -1;
    int _sev = NO_SEVERITY;   // of the message in hand, or the latest one
    bool _is_counted = false; // whether its loss is

    Generations _files;
    PathText _header;        // the lines that stay, and room for the rest
    size_t _header_size = 0; // of those that stay
    FILE* _stream = nullptr; // owned
    int _bytes = 0;          // in the current file; saturates
    int _maxlen = 0;
    bool _requested = false;           // a new file was asked for
    bool _is_cut = false;              // the file ends within a line
    unsigned _forks = 0;               // QENForkCount() of the process whose lines the stream holds
    unsigned _owner = 0;               // of the process that named the log
    off_t _flushed = 0;                // file offset up to which this process wrote whole messages
    off_t _pending = 0;                // bytes given to the stream since
    int64_t _unflushed = 0;            // messages begun since
    std::unique_ptr<LineBatch> _lines; // gathered; made for the first one
    off_t _full_at = NEVER;            // size beyond which the file may not have room for another line
    RetryPause _pause;                 // between attempts at a rotation that is blocked
};

} // namespace taq_1
