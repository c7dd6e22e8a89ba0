// Walks through the files of a log. The filter finds the records, MergedRecords asks for them.
#include "LogSource.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

#include "platform/unix/QENDescriptors.h"

namespace {

// A pipe, read forwards.
class StandardInput : public LdfBytes {
public:
    int64_t read(void* buffer, size_t n, int64_t) override {
        const size_t got = std::fread(buffer, 1, n, stdin);
        return got == 0 && std::ferror(stdin) ? -1 : static_cast<int64_t>(got);
    }
    int64_t size() override { return -1; }
};

} // namespace

LogSource::LogSource(const LogInput& input, RecordFilter& filter, size_t window, Progress& progress,
                     Problems& problems)
    : _input(input), _filter(filter), _progress(progress), _problems(problems), _stream(window),
      _key(std::numeric_limits<int32_t>::min()) {}

LogSource::~LogSource() {
    if (_fd >= 0) QENCloseDescriptor(_fd);
}

bool LogSource::_find_more() {
    _current = 0;
    _found.clear();
    while (_found.empty()) {
        if (!_is_open && !_open_next()) return false;
        if (!_stream.next(_run)) {
            _end_file();
            continue;
        }
        if (_run.first == 0) _files.back()->describe(_input.host, _input.log, _stream.header(), _run.bytes);
        _progress.counts.records += _run.count;
        _progress.step();
        _filter.find(_run, _key, _found);
    }
    return true;
}

// Skips files that cannot be opened; each is told.
bool LogSource::_open_next() {
    while (!_is_open && _next_file < _input.files.size()) {
        LogFile file = _input.files[_next_file++];
        if (_input.is_standard_input) {
            _bytes = std::make_unique<StandardInput>();
        } else {
            _fd = _open_file(file);
            if (_fd < 0) continue;
            _bytes = std::make_unique<LdfFileBytes>(_fd);
        }
        ++_progress.counts.files;
        _is_open = true;
        const int rc = _stream.open(*_bytes);
        _files.push_back(std::make_unique<SourceFile>());
        _files.back()->generation = file.generation;
        if (rc == LDF_EVERSION) _problems.failure(file.path + ": " + _stream.damage().text());
    }
    return _is_open;
}

// The file that was found when the program started. A rotation since may have moved it to the place of an
// older one.
int LogSource::_open_file(LogFile& file) {
    QENFileState state;
    const int fd = file_open_regular(file.path.c_str(), QENAccess::READ, state);
    const int why = errno;
    if (fd >= 0 && (state.is_same_file(file.state) || file.generation == '\0')) return fd;
    if (fd >= 0) QENCloseDescriptor(fd);
    const size_t letter_at = file.path.size() - std::strlen(LDF_EXTENSION) - 1;
    for (const char generation : {'B', 'C'}) {
        if (file.generation == '\0' || !file.path.ends_with(LDF_EXTENSION)) break;
        std::string moved = file.path;
        moved[letter_at] = generation;
        const int other = file_open_regular(moved.c_str(), QENAccess::READ, state);
        if (other >= 0 && state.is_same_file(file.state)) {
            file.generation = generation;
            return other;
        }
        if (other >= 0) QENCloseDescriptor(other);
    }
    _problems.failure(file.path + ": " +
                      (fd >= 0         ? "gone, rotated away"
                       : why == EINVAL ? "no regular file"
                                       : std::strerror(why)));
    return -1;
}

void LogSource::_end_file() {
    const LdfDamage& damage = _stream.damage();
    const std::string& path = _input.files[_next_file - 1].path;
    if (damage && damage.kind == LdfDamage::READ_FAILED)
        _problems.failure(path + ": " + damage.text() + ": " + std::strerror(static_cast<int>(damage.value)));
    else if (damage && damage.kind != LdfDamage::NEWER_FILE)
        _problems.damage(path + ": " + damage.text());
    _progress.counts.bytes_skipped += _stream.skipped();
    if (_fd >= 0) QENCloseDescriptor(_fd);
    _fd = -1;
    _bytes.reset();
    _is_open = false;
}
