// Puts the parts together: files, their verdicts, lines. Then what is told of logs and of catalogs.
#include "run_verify.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <thread>

#include "FileCheck.h"
#include "GroupedNumber.h"
#include "Inputs.h"
#include "JsonText.h"
#include "Languages.h"
#include "MessageTexts.h"
#include "Output.h"
#include "VisibleText.h"
#include "platform/unix/QENDescriptors.h"
#include "primitives/files/FileIo.h"

namespace {

constexpr const char* VERDICTS[] = {"PASS", "DAMAGED", "UNREADABLE"};

// " offset 0x1f3a0 record 871: data_size 7340032 exceeds 4096 (61,429 records behind it can be recovered)"
std::string damage_text(const FileVerdict& verdict) {
    char place[64];
    int used = std::snprintf(place, sizeof place, " offset 0x%llx",
                             static_cast<unsigned long long>(verdict.damage_offset));
    if (verdict.damage_record >= 0)
        (void)std::snprintf(place + used, sizeof place - static_cast<size_t>(used), " record %lld",
                            static_cast<long long>(verdict.damage_record));
    std::string text = place;
    text.append(": ").append(verdict.reason);
    if (verdict.recoverable == 0) return text;
    return text.append(" (")
        .append(counted(verdict.recoverable, "record"))
        .append(verdict.damage_record >= 0 ? " behind it" : "")
        .append(" can be recovered)");
}

// " 62,300 records, uncommitted tail of 37 bytes with 1 record; notes: 3 texts not UTF-8"
std::string count_text(const FileVerdict& verdict) {
    std::string text(1, ' ');
    text.append(counted(verdict.records, "record"));
    if (verdict.tail_size > 0) {
        text.append(", uncommitted tail of ").append(counted(verdict.tail_size, "byte"));
        if (verdict.tail_records > 0) text.append(" with ").append(counted(verdict.tail_records, "record"));
    }
    const std::pair<int64_t, const char*> notes[] = {
        {verdict.notes.not_utf8, " not UTF-8"},
        {verdict.notes.outside_times, " outside the file's time"},
        {verdict.notes.steps_back, " earlier than the one before"},
        {verdict.notes.seq_not_rising, " with a sequence number that does not rise"},
        {verdict.notes.header_times, " header with times that cannot be"}};
    const char* separator = "; notes: ";
    for (const auto& [count, what] : notes) {
        if (count == 0) continue;
        text.append(separator).append(grouped(count)).append(what);
        separator = ", ";
    }
    return text;
}

// Whether a process has the log open that "ldf/engine" is the start of. Nothing is locked.
bool has_writer(const std::string& start) {
    const size_t name_at = start.rfind('/') == start.npos ? 0 : start.rfind('/') + 1;
    std::string lock = start + ".lock";
    lock.insert(name_at, 1, '.');
    QENFileState state;
    const int fd = file_open_regular(lock.c_str(), QENAccess::READ, state);
    if (fd < 0) return false;
    const bool is_held = QENAskFileLock(fd).result == QENFileLock::Result::HELD;
    QENCloseDescriptor(fd);
    return is_held;
}

class Verification {
public:
    explicit Verification(const Options& options)
        : _options(options), _output(_problems), _now(time(nullptr)) {}

    int run();

private:
    struct Member { // a readable file of a log
        char generation;
        std::string host;
        int32_t created;
    };

    void _verify_log(const LogInput& input);
    FileVerdict _verify_file(const LogFile& file, bool is_standard_input);
    FileVerdict _verify_open(int fd);
    static int _open_file(const LogFile& file);
    void _tell(const std::string& path, const FileVerdict& verdict);
    void _tell_json(const std::string& path, const FileVerdict& verdict);
    void _tell_note(std::string_view about, const std::string& text);
    void _check_members(const std::string& log, const std::vector<Member>& members);
    void _look_beside(const std::string& start, const QENFileState& leftover);
    void _check_catalogs();
    void _put_line(const std::string& line) {
        _output.lines().append(line + "\n");
        (void)_output.lines().send();
        (void)_output.takes_more(); // tells why it does not, now that errno says so
    }

    const Options& _options;
    Problems _problems;
    Output _output;
    const int64_t _now;
    JsonText _json;
    MessageUse _use;
    bool _has_files = false, _is_damaged = false, _is_unreadable = false;
};

int Verification::run() {
    std::vector<LogInput> inputs;
    for (const std::string& word : _options.inputs) find_input(word, inputs, _problems);
    if (_options.inputs.empty()) find_all_logs(inputs, _problems);
    if (!_output.open("")) return _problems.status(false);
    for (const LogInput& input : inputs) {
        if (!_output.takes_more()) break;
        _verify_log(input);
    }
    if (_options.catalogs) _check_catalogs();
    _output.finish();
    const int status = _problems.status(_has_files);
    if (status == TAQLDF_FAILED || _is_unreadable) return TAQLDF_FAILED;
    return _is_damaged ? TAQLDF_DAMAGED : status;
}

void Verification::_verify_log(const LogInput& input) {
    std::vector<Member> members;
    std::string start; // of the paths of the log's files
    QENFileState leftover;
    if (!input.files.empty() && input.files[0].generation != '\0') {
        start = input.files[0].path;
        start.resize(start.size() - std::strlen("_A.ldf"));
        (void)QENStateOfName((start + "_A.new").c_str(), leftover); // its inode tells whether it is there
    }
    for (const LogFile& file : input.files) {
        FileVerdict verdict = _verify_file(file, input.is_standard_input);
        if (file.generation == 'A' && has_writer(start)) verdict.set_live();
        _tell(file.path, verdict);
        if (!verdict.has_header) continue;
        const char* const host = verdict.header.system;
        members.push_back(
            {file.generation, {host, strnlen(host, LDF_SYSTEM_SIZE)}, verdict.header.datetime_create});
    }
    if (start.empty() || _options.quiet) return;
    _check_members(input.log, members);
    _look_beside(start, leftover);
}

// What is at the path now. In a rotation B is gone for a moment, until A has the name, too.
int Verification::_open_file(const LogFile& file) {
    constexpr int ATTEMPTS = 50;
    constexpr auto PAUSE = std::chrono::milliseconds(1);
    QENFileState state;
    int fd = file_open_regular(file.path.c_str(), QENAccess::READ, state);
    for (int i = 0; i < ATTEMPTS && fd < 0 && errno == ENOENT && file.generation != '\0'; ++i) {
        std::this_thread::sleep_for(PAUSE);
        fd = file_open_regular(file.path.c_str(), QENAccess::READ, state);
    }
    return fd;
}

FileVerdict Verification::_verify_file(const LogFile& file, bool is_standard_input) {
    constexpr int STANDARD_INPUT = 0;
    if (is_standard_input) {
        QENFileState state;
        errno = EINVAL;
        const bool is_file = QENStateOfOpen(STANDARD_INPUT, state) && state.is_regular();
        if (is_file) return _verify_open(STANDARD_INPUT);
    } else if (const int fd = _open_file(file); fd >= 0) {
        FileVerdict verdict = _verify_open(fd);
        QENCloseDescriptor(fd);
        return verdict;
    }
    FileVerdict verdict;
    verdict.reason = errno == EINVAL ? "no regular file" : std::strerror(errno);
    return verdict;
}

FileVerdict Verification::_verify_open(int fd) {
    LdfFileBytes bytes(fd);
    return check_file(bytes, _now, _options.catalogs ? &_use : nullptr);
}

void Verification::_tell(const std::string& path, const FileVerdict& verdict) {
    _has_files = true;
    _is_damaged |= verdict.kind == FileVerdict::DAMAGED;
    _is_unreadable |= verdict.kind == FileVerdict::UNREADABLE;
    if (_options.quiet && verdict.kind == FileVerdict::WHOLE) return;
    if (_options.json) return _tell_json(path, verdict);
    std::string line = VERDICTS[verdict.kind];
    if (verdict.is_live) line.append(" (live)");
    line.append(" ").append(visible_text(path));
    switch (verdict.kind) {
    case FileVerdict::WHOLE: line.append(count_text(verdict)); break;
    case FileVerdict::DAMAGED: line.append(damage_text(verdict)); break;
    case FileVerdict::UNREADABLE: line.append(" ").append(verdict.reason); break;
    }
    _put_line(line);
}

void Verification::_tell_json(const std::string& path, const FileVerdict& verdict) {
    _json.begin();
    _json->StartObject();
    _json.name("file"), _json.text(path, ODD_BYTES);
    _json.name("verdict"), _json->String(VERDICTS[verdict.kind]);
    _json.name("live"), _json->Bool(verdict.is_live);
    _json.name("size"), _json->Int64(verdict.size);
    _json.name("records"), _json->Int64(verdict.records);
    const bool is_damaged = verdict.kind == FileVerdict::DAMAGED;
    _json.name("reason");
    verdict.reason.empty() ? (void)_json->Null() : (void)_json.text(verdict.reason, ODD_BYTES);
    _json.name("offset"), is_damaged ? _json->Int64(verdict.damage_offset) : _json->Null();
    _json.name("record"), verdict.damage_record >= 0 ? _json->Int64(verdict.damage_record) : _json->Null();
    _json.name("recoverable"), _json->Int64(verdict.recoverable);
    _json.name("tail_bytes"), _json->Int64(verdict.tail_size);
    _json.name("tail_records"), _json->Int64(verdict.tail_records);
    _json.name("not_utf8"), _json->Int64(verdict.notes.not_utf8);
    _json.name("outside_times"), _json->Int64(verdict.notes.outside_times);
    _json.name("steps_back"), _json->Int64(verdict.notes.steps_back);
    _json.name("seq_not_rising"), _json->Int64(verdict.notes.seq_not_rising);
    _json.name("header_times"), _json->Int64(verdict.notes.header_times);
    _json->EndObject();
    _put_line(std::string(_json.bytes()));
}

// What belongs to no single file.
void Verification::_tell_note(std::string_view about, const std::string& text) {
    if (!_options.json) return _put_line("NOTE " + visible_text(about) + " " + text);
    _json.begin();
    _json->StartObject();
    _json.name("about"), _json.text(about, ODD_BYTES);
    _json.name("note"), _json.text(text, ODD_BYTES);
    _json->EndObject();
    _put_line(std::string(_json.bytes()));
}

// The files of a log come the oldest first.
void Verification::_check_members(const std::string& log, const std::vector<Member>& members) {
    for (size_t i = 1; i < members.size(); ++i) {
        const Member &older = members[i - 1], &newer = members[i];
        if (older.created > newer.created)
            _tell_note(log,
                       std::string("generation ") + older.generation + " was made after " + newer.generation);
        if (older.host != newer.host)
            _tell_note(log, std::string("generation ") + older.generation + " is of host '" +
                                visible_text(older.host) + "', " + newer.generation + " of '" +
                                visible_text(newer.host) + "'");
    }
}

// A writer sets a file aside that it cannot go on with; one that died in a rotation leaves a new file. A
// writer that lives has one in each rotation.
void Verification::_look_beside(const std::string& start, const QENFileState& leftover) {
    QENFileState state;
    const std::string new_file = start + "_A.new", aside = start + "_A.ldf.err";
    if (leftover.inode != 0 && QENStateOfName(new_file.c_str(), state) && state.is_same_file(leftover) &&
        !has_writer(start))
        _tell_note(new_file, "is left of a rotation that did not end");
    const int fd = file_open_regular(aside.c_str(), QENAccess::READ, state);
    if (fd < 0) return;
    LdfFileBytes bytes(fd);
    const FileVerdict verdict = check_file(bytes, _now);
    QENCloseDescriptor(fd);
    const int64_t whole = verdict.records + verdict.recoverable;
    const bool is_all =
        verdict.damage_record < 0 && verdict.kind == FileVerdict::DAMAGED; // the file was scanned
    _tell_note(aside, "was set aside; " + counted(is_all ? verdict.recoverable : whole, "record") +
                          " can be recovered");
}

// In every language that has catalogs.
void Verification::_check_catalogs() {
    const std::vector<std::string> langs = languages_with_catalogs();
    if (langs.empty()) _problems.failure("no catalogs");
    for (const std::string& lang : langs) {
        MessageTexts texts;
        if (!texts.open(lang.c_str())) {
            _tell_note(lang, "catalogs cannot be opened");
            continue;
        }
        std::map<std::string, int64_t> unknown, unfit; // records of each message
        _use.for_each([&](uint32_t id, size_t arg_count, int64_t count) {
            const KnownMessage& message = texts.of(id);
            if (message.kind == KnownMessage::UNKNOWN) unknown[message.id] += count;
            if (message.kind == KnownMessage::TEMPLATE && message.arg_count != arg_count)
                unfit[message.id] += count;
        });
        const auto tell = [&](const std::map<std::string, int64_t>& messages, const char* what) {
            for (const auto& [id, count] : messages)
                _tell_note("catalogs " + lang, id + " " + what + ", in " + counted(count, "record"));
            _is_damaged |= !messages.empty();
        };
        tell(unknown, "has no text");
        tell(unfit, "takes another number of arguments");
    }
}

} // namespace

int run_verify(const Options& options) {
    return Verification(options).run();
}
