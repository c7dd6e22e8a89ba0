// Reads the held file again when it is told to, and moves on to the next newer one behind its end.
#include "FollowedLog.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <string_view>

#include "platform/unix/QENDescriptors.h"
#include "primitives/ldf/ldf_format.h"

namespace {

constexpr char GENERATIONS[] = "ABC";
constexpr int MOST_ATTEMPTS = 100; // to see the files between two rotations

} // namespace

FollowedLog::FollowedLog(const LogInput& input, RecordFilter& filter, Progress& progress, Problems& problems,
                         QENFileWatch& watch, std::function<void()> events, bool is_watched)
    : _input(input), _filter(filter), _progress(progress), _problems(problems), _watch(watch),
      _events(std::move(events)), _is_watched(is_watched), _key(std::numeric_limits<int32_t>::min()) {}

FollowedLog::~FollowedLog() {
    _release();
}

std::string FollowedLog::_path(int slot) const {
    return _input.directory + _input.log + "_" + GENERATIONS[slot] + LDF_EXTENSION;
}

void FollowedLog::forget_earlier_files() {
    while (_files.size() > 1) _files.pop_front();
}

void FollowedLog::appeared(const char* name) {
    const std::string current = _input.log + "_A" + LDF_EXTENSION;
    if (name == current + ".err") _problems.damage(_input.directory + name + ": set aside by its writer");
    if (name != current) return;
    ++_rotations;
    wake();
}

void FollowedLog::events_were_lost() {
    _has_lost_events = true;
    wake();
}

// ---- Which file comes next

// Under which name a file is now. For an instant of a rotation it has two; the newer one counts.
int FollowedLog::_slot_of(const QENFileState& file) const {
    QENFileState state;
    for (int slot = A; slot < NOWHERE; ++slot)
        if (QENStateOfPath(_path(slot).c_str(), state) && state.is_same_file(file)) return slot;
    return NOWHERE;
}

// The slot of the held file while no rotation is going on, with all rotations counted.
int FollowedLog::_settled_slot() {
    int slot = NOWHERE;
    for (int attempt = 0; attempt < MOST_ATTEMPTS; ++attempt) {
        _events();
        const int64_t before = _rotations;
        slot = _slot_of(_state);
        _events();
        if (_rotations == before) break;
    }
    return slot;
}

// The slot of the next newer file. NOWHERE: there is none at present.
int FollowedLog::_newer_slot() {
    if (!needs_polling() && !_has_lost_events && _rotations == _rotations_of_held) return NOWHERE;
    const int held = _settled_slot();
    const int64_t newer = _rotations - _rotations_of_held;
    if (held == A) return NOWHERE;
    if (held != NOWHERE) return held - 1;
    const bool is_uncounted = _has_lost_events || !_is_watched;
    if (is_uncounted && _slot_of(_state) == NOWHERE && newer <= NOWHERE)
        _problems.damage(_path(A) + ": files may have been rotated away before they were read");
    else if (newer > NOWHERE)
        _problems.damage(_path(A) + ": " + std::to_string(newer - NOWHERE) +
                         " files were rotated away before they were read");
    _has_lost_events = false;
    _rotations_of_held = _rotations - std::min<int64_t>(newer, NOWHERE); // what was told is told
    // Otherwise its name was removed, or given to another file.
    return is_uncounted ? C : static_cast<int>(std::clamp<int64_t>(newer, 1, NOWHERE)) - 1;
}

// Opens the file of that slot, or of the next newer one that exists, and gives up the held one. False: there
// is none, and the held file stays.
bool FollowedLog::_hold(int slot) {
    for (int attempt = 0; slot >= A && slot < NOWHERE && attempt < MOST_ATTEMPTS; ++attempt) {
        _events();
        const int64_t before = _rotations;
        QENFileState state;
        const int fd = file_open_regular(_path(slot).c_str(), QENAccess::READ, state);
        _events();
        const auto moved = static_cast<int>(std::min<int64_t>(_rotations - before, NOWHERE));
        if (fd >= 0 && moved == 0) {
            _release();
            _fd = fd;
            _state = state;
            _rotations_of_held = _rotations - slot;
            _bytes = std::make_unique<LdfFileBytes>(fd);
            if (_is_watched) _watch_id = _watch.watch_writes(fd);
            (void)_stream.open(*_bytes); // a header that is not sound is told when it is read again
            ++_progress.counts.files;
            return true;
        }
        if (fd >= 0) QENCloseDescriptor(fd);
        slot = moved > 0 ? std::min<int>(slot + moved, C) : slot - 1;
    }
    return false;
}

void FollowedLog::_release() {
    if (_fd < 0) return;
    _watch.forget(_watch_id);
    QENCloseDescriptor(_fd);
    _fd = _watch_id = -1;
    _bytes.reset();
    _is_described = false;
    _is_last_look = false;
    _damaged_at = -1;
}

// ---- Where to begin

void FollowedLog::begin_at_start() {
    (void)_hold(C);
}

void FollowedLog::begin_at_end() {
    if (!_hold(A)) return;
    for (LdfRun run; _stream.next(run);) _note(run);
}

void FollowedLog::begin_at(const Cursor& cursor, bool otherwise_at_start) {
    const LogPosition* position = nullptr;
    bool has_file = false;
    for (int pass = 0; pass < 2; ++pass) // the first one wants the very inode
        for (int slot = A; slot < NOWHERE; ++slot) {
            QENFileState state;
            if (!QENStateOfPath(_path(slot).c_str(), state) || !_hold(slot)) continue;
            has_file = true;
            const ldf_header_t& header = _stream.header();
            const std::string host =
                !_input.host.empty()
                    ? _input.host
                    : std::string(header.system, strnlen(header.system, sizeof header.system));
            const LogPosition* const found = cursor.find(host, _input.log);
            if (found == nullptr) continue;
            position = found;
            const bool is_same = _state.device == position->device && _state.inode == position->inode;
            if ((pass == 1 || is_same) && _is_at(*position)) return;
        }
    _release();
    _has_position = false;
    if (position != nullptr)
        _problems.damage(_path(A) + ": the file of the cursor is gone, records may be missing in between");
    if (position != nullptr || otherwise_at_start || !has_file)
        begin_at_start();
    else
        begin_at_end();
}

// Whether the held file has that record where the cursor says; then reading goes on behind it.
bool FollowedLog::_is_at(const LogPosition& position) {
    LdfRun run;
    if (_stream.header().datetime_create != position.created || !_stream.next(run)) return false;
    if (hash_of_record(run.bytes) != position.first_hash) return false;
    _note(run);
    _stream.seek(position.record, position.offset);
    if (position.record >= _stream.header().total_msgs || !_stream.next(run) ||
        hash_of_record(run.bytes) != position.last_hash)
        return false;
    _stream.seek(position.record + 1, position.offset + static_cast<int64_t>(ldf_record_size(run.bytes)));
    _position = position;
    return true;
}

// ---- Reading

bool FollowedLog::_find_more() {
    _current = 0;
    _found.clear();
    while (_found.empty()) {
        LdfRun run;
        if (_fd >= 0 && _stream.next(run)) {
            _note(run);
            _run = run;
            _filter.find(run, _key, _found);
        } else if (!_go_on()) {
            return false;
        }
    }
    return true;
}

void FollowedLog::_note(const LdfRun& run) {
    _progress.counts.records += run.count;
    _progress.step();
    const ldf_header_t& header = _stream.header();
    if (!_is_described) {
        SourceFile& file = _files.emplace_back();
        file.generation = GENERATIONS[std::min(_slot_of(_state), +C)];
        file.describe(_input.host, _input.log, header, run.bytes);
        _first_hash = hash_of_record(run.bytes);
        _is_described = true;
    }
    size_t last = 0;
    for (size_t at = 0; at < run.size; at += ldf_record_size(run.bytes + at)) last = at;
    _position = {header.datetime_create,
                 _first_hash,
                 _state.device,
                 _state.inode,
                 run.first + run.count - 1,
                 run.offset + static_cast<int64_t>(last),
                 hash_of_record(run.bytes + last)};
    _has_position = true;
}

// Behind the last record that the header counts: the header is read again, then the next file is opened.
// False: there is nothing more at present.
bool FollowedLog::_go_on() {
    if (_fd < 0) {
        if (_is_read) return false;
        _is_read = true;
        return _hold(C); // the oldest: all of them are new
    }
    if (!_is_read) {
        _is_read = true;
        (void)_stream.refresh();
        return true;
    }
    const int next = _newer_slot();
    if (next == NOWHERE) {
        _tell_damage();
        return false;
    }
    if (!_is_last_look) { // its writer may have ended it since it was read
        _is_last_look = true;
        _is_read = false;
        return true;
    }
    _tell_damage();
    _is_read = false;
    return _hold(next);
}

// Damage of a file is told once for each place.
void FollowedLog::_tell_damage() {
    const LdfDamage& damage = _stream.damage();
    if (!damage || damage.record == _damaged_at) return;
    _damaged_at = damage.record;
    const std::string text = _path(A) + ": " + damage.text();
    damage.kind == LdfDamage::READ_FAILED || damage.kind == LdfDamage::NEWER_FILE ? _problems.failure(text)
                                                                                  : _problems.damage(text);
}

void FollowedLog::keep_position(Cursor& cursor) const {
    if (_has_position) cursor.set(_files.back().host, _files.back().log, _position);
}
