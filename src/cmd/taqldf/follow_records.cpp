// Sleeps until something happens to a log, reads what is new of all of them and merges it.
#include "follow_records.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <memory>

#include "Cursor.h"
#include "FollowedLog.h"
#include "primitives/ldf/ldf_format.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int POLLING = 250; // milliseconds between two looks where nothing tells of writes
// Records of several logs that come within this time are merged. With one log there is nothing to wait for.
constexpr milliseconds ORDER_WINDOW(500);

class Follower {
public:
    Follower(const Options& options, RecordFilter& filter, Progress& progress, Problems& problems)
        : _options(options), _filter(filter), _progress(progress), _problems(problems) {}

    bool begin(std::vector<LogInput> inputs);
    int64_t run(Writer& writer, Output& output);

private:
    bool _add(LogInput input, bool is_new);
    void _take_events();
    void _take_name(int id, const char* name);
    bool _pump(Writer& writer, Output& output, size_t last_lines);
    bool _wait();
    bool _wait_for_the_others();

    const Options& _options;
    RecordFilter& _filter;
    Progress& _progress;
    Problems& _problems;
    QENFileWatch _watch;
    Cursor _cursor;
    std::map<std::string, int> _directories; // and the identifiers of their watches, -1: none
    std::deque<LogInput> _inputs;
    std::deque<FollowedLog> _logs;
    std::vector<LogInput> _new_inputs; // that have appeared
    int64_t _shown = 0;
};

// False, and told: there is nothing that can be followed.
bool Follower::begin(std::vector<LogInput> inputs) {
    if (!_options.cursor_file.empty() && !_cursor.load(_options.cursor_file, _problems)) return false;
    if (_options.follow) _watch.stop_on_signals();
    for (LogInput& input : inputs) {
        const bool has_generations =
            input.files.empty() || std::any_of(input.files.begin(), input.files.end(),
                                               [](const LogFile& file) { return file.generation != '\0'; });
        if (has_generations)
            (void)_add(std::move(input), /*is_new=*/false);
        else
            _problems.failure(input.log + ": no log with generations to be followed");
    }
    return !_logs.empty();
}

// False: it is followed already.
bool Follower::_add(LogInput input, bool is_new) {
    for (const FollowedLog& log : _logs)
        if (log.name() == input.log && log.directory() == input.directory) return false;
    const auto [directory, is_first] = _directories.emplace(input.directory, -1);
    if (is_first && _options.follow) directory->second = _watch.watch_names(input.directory.c_str());
    if (directory->second < 0 && is_first && _options.follow && _options.stats)
        (void)std::fprintf(stderr, "taqldf: %s: looked at every %d ms (%s)\n", input.directory.c_str(),
                           POLLING, std::strerror(errno));
    FollowedLog& log = _logs.emplace_back(
        _inputs.emplace_back(std::move(input)), _filter, _progress, _problems, _watch,
        [this] { _take_events(); }, directory->second >= 0);
    if (_cursor.is_used())
        log.begin_at(_cursor, !_options.follow || _options.from_start || is_new);
    else if (is_new || _options.from_start || _options.lines > 0)
        log.begin_at_start();
    else
        log.begin_at_end();
    return true;
}

void Follower::_take_events() {
    QENFileWatch::Event event;
    while (_watch.next(event)) {
        if (event.kind == QENFileWatch::Event::NAME) _take_name(event.id, event.name);
        for (FollowedLog& log : _logs) {
            if (event.kind == QENFileWatch::Event::LOST) log.events_were_lost();
            if (event.kind == QENFileWatch::Event::WRITE && event.id == log.watch_id()) log.wake();
        }
        if (event.kind != QENFileWatch::Event::ENDED) continue;
        for (auto& [directory, id] : _directories) {
            if (id != event.id) continue;
            id = -1;
            for (FollowedLog& log : _logs)
                if (log.directory() == directory) log.lose_watch();
        }
    }
}

// A new name: of a rotation, or of a log that has not been there.
void Follower::_take_name(int id, const char* name) {
    const std::string_view file = name;
    constexpr std::string_view CURRENT = "_A.ldf";
    for (const auto& [directory, directory_id] : _directories) {
        if (directory_id != id) continue;
        for (FollowedLog& log : _logs)
            if (log.directory() == directory) log.appeared(name);
        if (!file.ends_with(CURRENT) || file.starts_with('.')) continue;
        for (const LogInput& input : _inputs) {
            if (!input.is_of_directory || input.directory != directory) continue;
            LogInput fresh = {input.host, std::string(file.substr(0, file.size() - CURRENT.size())),
                              {},         directory,
                              false,      true};
            _new_inputs.push_back(std::move(fresh));
            break;
        }
    }
}

// Puts out what has come of all logs. False: the output takes no more.
bool Follower::_pump(Writer& writer, Output& output, size_t last_lines) {
    for (bool is_first = true; is_first || !_new_inputs.empty(); is_first = false) {
        for (LogInput& input : std::exchange(_new_inputs, {})) (void)_add(std::move(input), /*is_new=*/true);
        std::vector<FollowedLog*> logs;
        for (FollowedLog& log : _logs) {
            log.forget_earlier_files();
            logs.push_back(&log);
        }
        MergedRecords<FollowedLog> records(std::move(logs));
        _shown += write_records(records, last_lines, writer);
        (void)output.lines().send();
        if (!output.takes_more()) return false;
    }
    if (!_cursor.is_used()) return true;
    for (const FollowedLog& log : _logs) log.keep_position(_cursor);
    return true;
}

// False: it is to end.
bool Follower::_wait() {
    const int until_save = _cursor.save(/*at_once=*/false, _problems);
    const bool is_polling =
        std::any_of(_logs.begin(), _logs.end(), [](const FollowedLog& log) { return log.needs_polling(); });
    int timeout = until_save;
    if (is_polling) timeout = timeout < 0 ? POLLING : std::min(timeout, POLLING);
    switch (_watch.wait(timeout, stdout)) {
    case QENFileWatch::Wake::STOP:
    case QENFileWatch::Wake::NO_READER: return false;
    default: break;
    }
    _take_events();
    for (FollowedLog& log : _logs)
        if (log.needs_polling()) log.wake();
    return _logs.size() < 2 || _wait_for_the_others();
}

// What is written to other logs meanwhile may be older. False: it is to end.
bool Follower::_wait_for_the_others() {
    const auto end = Clock::now() + ORDER_WINDOW;
    if (std::all_of(_logs.begin(), _logs.end(), [](const FollowedLog& log) { return log.is_asleep(); }))
        return true;
    for (auto now = Clock::now(); now < end; now = Clock::now()) {
        const auto left = std::chrono::ceil<milliseconds>(end - now);
        const auto wake = _watch.wait(static_cast<int>(left.count()), stdout);
        if (wake == QENFileWatch::Wake::STOP || wake == QENFileWatch::Wake::NO_READER)
            return true; // what is there
        _take_events();
    }
    return true;
}

int64_t Follower::run(Writer& writer, Output& output) {
    bool goes_on = _pump(writer, output, _options.lines);
    while (goes_on && _options.follow) {
        if (!_wait()) break;
        goes_on = _pump(writer, output, /*last_lines=*/0);
    }
    if (goes_on) (void)_cursor.save(/*at_once=*/true, _problems);
    return _shown;
}

} // namespace

int64_t follow_records(const Options& options, std::vector<LogInput> inputs, RecordFilter& filter,
                       Progress& progress, Problems& problems, Writer& writer, Output& output) {
    Follower follower(options, filter, progress, problems);
    return follower.begin(std::move(inputs)) ? follower.run(writer, output) : 0;
}
