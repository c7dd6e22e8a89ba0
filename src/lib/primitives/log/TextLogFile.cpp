// Opening, rotation and repair of a text log's current file.
#include "primitives/log/TextLogFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "platform/unix/QENDescriptors.h"
#include "platform/unix/QENFileSystem.h"
#include "platform/unix/QENFork.h"
#include "platform/unix/QENPlatform.h"
#include "platform/unix/QENStreams.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/message/severity.h"

inline namespace taq_1 {

namespace {

constexpr char EXTENSION[] = ".log";
constexpr size_t SYSINFO_SIZE = 4096;
constexpr char CREATED_ROOM[] = "# Created:      2026/11/16 18:38:11 \n#\n\n"; // the longest such text

} // namespace

bool TextLogFile::set_name(const char* directory, bool hidden, const char* name, const char* system) {
    char info[SYSINFO_SIZE] = "";
    QENGetSysInfo(info, sizeof info);
    _owner = QENForkCount();
    const bool has_info = info[0] != '\0';
    const PathText stem = file_join({hidden ? "." : "", name});
    _header = file_join({"#\n# Log Name:     ", name, "\n# System:       ", system, "\n",
                         has_info ? "# SysInfo:      " : "", info, has_info ? "\n" : "", CREATED_ROOM});
    if (stem == nullptr || _header == nullptr) return false;
    _header_size = strlen(_header.get()) - (sizeof CREATED_ROOM - 1);
    return _files.locate(directory, stem.get(), EXTENSION);
}

bool TextLogFile::open() {
    if (_owner == QENForkCount()) _files.mend();
    QENFileState file;
    const int fd = file_open_regular(path(), QENAccess::APPEND, file);
    if (fd < 0) return errno == ENOENT;
    if (!_use(fd, file.size)) return false;
    if (file.size > 0) {
        char last = '\n';
        _is_cut = QENReadAt(fd, &last, 1, file.size - 1) && last != '\n'; // a process died in a write
        return true;
    }
    const std::string_view header = _header_now();
    count(header.size(), fwrite(header.data(), 1, header.size(), _stream));
    settle(/*flush=*/true);
    return true;
}

void TextLogFile::close() {
    write_gathered();
    if (_stream != nullptr) {
        if (_is_cut || _is_inherited()) _begin_anew(); // nothing of a parent's is written a second time
        if (fflush(_stream) != 0) _mend();
        fclose(_stream);
    }
    _stream = nullptr;
    _files = {};
    _bytes = 0;
    _full_at = NEVER;
    _requested = _is_cut = false;
    _pause.succeeded();
}

// Takes over the descriptor of the current file, `size` bytes long.
bool TextLogFile::_use(int fd, off_t size) {
    FILE* stream = QENStreamOver(fd, "a");
    if (stream == nullptr) return false;
    if (_stream != nullptr) fclose(_stream);
    _stream = stream;
    _bytes = QENSaturatedFileSize(size);
    _files.expect_sync();
    _full_at = QENFileSizeLimit() - static_cast<off_t>(LineBuffer::CAPACITY);
    _flushed = size;
    _pending = 0;
    _unflushed = 0;
    _forks = QENForkCount();
    _requested = _is_cut = false;
    return true;
}

void TextLogFile::request_new() {
    _requested = true;
    _pause.try_now();
}

bool TextLogFile::_may_start_new() {
    return _owner == QENForkCount() && _pause.is_due();
}

void TextLogFile::start_new() {
    write_gathered();
    if (_stream == nullptr) {
        _start();
        return;
    }
    settle(/*flush=*/true);
    if (_install_new(&Generations::rotate))
        _pause.succeeded();
    else if (const int why = errno; _pause.failed())
        QENSyslog(SEV_ERR, "Could not rotate %s: %s", path(), strerror(why));
}

// There may be a file by now: of a forked child, or where there was an obstacle. One that cannot be continued
// becomes the previous generation. The log reports that there is no stream.
void TextLogFile::_start() {
    if (!open()) {
        if (_owner == QENForkCount()) (void)_install_new(&Generations::rotate);
    } else if (_stream == nullptr) {
        _make_first();
    }
}

// A forked child and its parent may come here at once: the file of the first one stays, the other goes on
// with it.
void TextLogFile::_make_first() {
    if (_owner != QENForkCount())
        _link_own_file();
    else if (_install_new(&Generations::install_first))
        return;
    (void)open();
}

// A child's: its parent may be using the temporary name.
void TextLogFile::_link_own_file() {
    char number[16];
    snprintf(number, sizeof number, ".%d", QENGetPid());
    const PathText own = file_join({path(), number});
    const int fd = own != nullptr ? file_create(own.get(), _header_now(), QENAccess::APPEND) : -1;
    if (fd < 0) return;
    (void)QENLinkFile(own.get(), path()); // there may be a file by now
    (void)QENDeleteFile(own.get());
    QENCloseDescriptor(fd);
}

bool TextLogFile::_install_new(bool (Generations::*way)() const) {
    const std::string_view header = _header_now();
    const int fd = _files.make_new(header, QENAccess::APPEND);
    if (fd < 0) return false;
    if ((_files.*way)()) return _use(fd, static_cast<off_t>(header.size()));
    QENCloseDescriptor(fd);
    return false;
}

std::string_view TextLogFile::_header_now() {
    char now[32];
    const bool known = QENTime(now, sizeof now) == 0;
    const int created = snprintf(_header.get() + _header_size, sizeof CREATED_ROOM,
                                 "# Created:      %s\n#\n\n", known ? now : "unknown");
    return {_header.get(), _header_size + static_cast<size_t>(created)};
}

void TextLogFile::follow_parent() {
    QENFileState file;
    if (_stream == nullptr || QENIsSameFile(fileno(_stream), path())) return;
    const int fd = file_open_regular(path(), QENAccess::APPEND, file);
    if (fd < 0) return;
    forget_unflushed();
    (void)_use(fd, file.size);
}

void TextLogFile::forget_unflushed() {
    if (_stream != nullptr) QENStreamPurge(_stream);
    if (_lines != nullptr) _lines->clear();
    _pending = 0;
    _unflushed = 0;
}

void TextLogFile::abandon() {
    forget_unflushed();
    _stream = nullptr;
}

bool TextLogFile::_is_inherited() const {
    return _forks != QENForkCount();
}

void TextLogFile::_begin_anew() {
    if (_is_inherited()) {
        forget_unflushed();
        _forks = QENForkCount();
    }
    if (_is_cut) count(1, putc('\n', _stream) == '\n' ? 1 : 0);
    _is_cut = false;
}

bool TextLogFile::settle(bool flush) {
    if (_stream == nullptr) return true;
    if (flush) (void)fflush(_stream);
    if (ferror(_stream) != 0) {
        _mend();
        return false;
    }
    if (!flush) return true;
    _flushed += _pending;
    _pending = 0;
    _unflushed = 0;
    const int sev = std::exchange(_sev, NO_SEVERITY);
    if (_is_synced(sev) && !_sync() && _is_counted) _losses.note(LossReason::SYNC, sev);
    return true;
}

// ---- Gathered lines

std::span<char> TextLogFile::room_for(size_t size) {
    if (_lines == nullptr) _lines.reset(new (std::nothrow) LineBatch);
    return _lines != nullptr && _stream != nullptr ? _lines->room(size) : std::span<char>();
}

// Debug messages may have waited in the stream's buffer since before.
void TextLogFile::_write_gathered() {
    const size_t size = _lines->size();
    begin(SEV_APP_END);
    if (!_lines->wants_flush()) {
        _unflushed += static_cast<int64_t>(_lines->sizes().size()) - 1;
        _pending += static_cast<off_t>(fwrite_unlocked(_lines->bytes(), 1, size, _stream));
        settle(/*flush=*/false);
    } else {
        --_unflushed; // these do not go through the stream
        settle(/*flush=*/true);
        const size_t written = QENAppend(fileno(_stream), _lines->bytes(), size);
        if (written == size) {
            _flushed += static_cast<off_t>(size);
            _sync_gathered(_lines->sizes().size());
        } else {
            _write_rest(written);
        }
    }
    _lines->clear();
}

// The system has taken `written` bytes. The message that was cut there loses its last line, as it would have
// alone; there may be room for the ones behind it.
void TextLogFile::_write_rest(size_t written) {
    const std::span<const uint16_t> sizes = _lines->sizes();
    size_t i = 0, at = 0;
    while (at + sizes[i] <= written) at += sizes[i++];
    _flushed += static_cast<off_t>(at);
    _sync_gathered(i);
    if (at < written) begin(_lines->severities()[i]);
    _mend();
    if (at < written) at += sizes[i++];
    for (; i < sizes.size(); at += sizes[i++]) {
        begin(_lines->severities()[i]);
        count(sizes[i], fwrite_unlocked(_lines->bytes() + at, 1, sizes[i], _stream));
        settle(/*flush=*/true);
    }
}

bool TextLogFile::waits_for_gathered() const {
    return _synced_sev >= 0 && _lines != nullptr &&
           std::any_of(_lines->severities().begin(), _lines->severities().end(),
                       [this](int sev) { return _is_synced(sev); });
}

// Waits for the disk once if one of the first `count` messages asks for it.
void TextLogFile::_sync_gathered(size_t count) {
    if (_synced_sev < 0) return;
    const auto severities = _lines->severities().first(count);
    const auto is_synced = [this](int sev) { return _is_synced(sev); };
    if (std::none_of(severities.begin(), severities.end(), is_synced) || _sync()) return;
    for (const int8_t sev : severities)
        if (is_synced(sev)) _losses.note(LossReason::SYNC, sev);
}

void TextLogFile::_mend() {
    clearerr(_stream);
    QENStreamPurge(_stream);
    const int fd = fileno(_stream);
    QENFileState file;
    if (!QENStateOfOpen(fd, file)) return _count_lost(fd, /*end=*/_flushed);
    const int64_t end = _end_of_lines(fd, file.size);
    // A child leaves to its parent what may be the parent's own line on its way.
    _count_lost(fd, end);
    _is_cut = end < file.size && (_owner != QENForkCount() || !QENTruncateFile(fd, end));
    _bytes = QENSaturatedFileSize(_is_cut ? file.size : end);
    _flushed = end;
    _pending = 0;
}

// The stream takes no bytes behind those that it lost, so the latest message is always among the lost ones.
// Those before it were debug messages.
void TextLogFile::_count_lost(int fd, off_t end) {
    char block[512];
    int64_t lost = std::exchange(_unflushed, 0);
    const int sev = std::exchange(_sev, NO_SEVERITY);
    if (lost == 0) return; // the header of a new file
    for (off_t at = _flushed; at < end && lost > 1;) {
        const auto n = static_cast<size_t>(std::min<off_t>(sizeof block, end - at));
        if (!QENReadAt(fd, block, n, at)) break;
        lost -= std::count(block, block + n, '\n');
        at += static_cast<off_t>(n);
    }
    if (_is_counted) _losses.note(LossReason::WRITE, sev);
    for (; lost > 1; --lost) _losses.note(LossReason::WRITE, SEV_APP_END);
}

// The end of the last whole line behind _flushed. Others may have appended lines there as well: forked
// children.
off_t TextLogFile::_end_of_lines(int fd, off_t size) const {
    char block[512];
    for (off_t end = size; end > _flushed;) {
        const auto n = static_cast<size_t>(std::min<off_t>(sizeof block, end - _flushed));
        const off_t start = end - static_cast<off_t>(n);
        if (!QENReadAt(fd, block, n, start)) return size;
        const void* newline = memrchr(block, '\n', n);
        if (newline != nullptr) return start + (static_cast<const char*>(newline) - block) + 1;
        end = start;
    }
    return std::min(_flushed, size);
}

} // namespace taq_1
