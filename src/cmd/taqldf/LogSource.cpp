// Walks through the files of a log. The filter finds the records, MergedRecords asks for them.
#include "LogSource.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

#include "VisibleText.h"
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

uint64_t fnv1a(const unsigned char* bytes, size_t size) {
    uint64_t hash = 0xcbf29ce484222325;
    for (size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 0x100000001b3;
    return hash;
}

// As much of a file name as a header has room for.
std::string host_of(const ldf_header_t& header) {
    return {header.system, strnlen(header.system, sizeof header.system)};
}

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
        if (_run.first == 0) _begin_file(_run);
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

// The first record tells generations of a log apart that were made in one second.
void LogSource::_begin_file(const LdfRun& run) {
    SourceFile& file = *_files.back();
    const uint64_t hash = fnv1a(run.bytes, ldf_record_size(run.bytes));
    char identity[32];
    (void)std::snprintf(identity, sizeof identity, "/%08x-%08x/",
                        static_cast<unsigned>(_stream.header().datetime_create),
                        static_cast<unsigned>(hash ^ hash >> 32));
    file.host = _input.host.empty() ? host_of(_stream.header()) : _input.host;
    file.log = _input.log;
    file.place = file.host + "/" + file.log;
    file.uid_prefix = file.place + identity;
    file.oddities = oddities_of(file.uid_prefix);
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
