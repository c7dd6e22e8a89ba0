// The files of a text log: the current one (A) and two generations before it (B, C).
#include <cerrno>
#include <climits>
#include <cstdio>

#include "platform/unix/QENPlatform.h"
#include "primitives/log/LineBuffer.h"
#include "primitives/log/Log.h"

void Log::rotate() {
    if (_enabled == 0) return;
    if (_rewind_flag == 0)
        _count = _maxlen;
    else if (_rewindallowed != 0)
        ::rewind(_fp);
}

// Makes room for the next message: a given stream is flushed, a file log starts a new file.
void Log::_next() {
    if (_enabled == 0) return;
    if (_rewind_flag != 0) {
        fflush(_fp);
        return;
    }
    _rotate_files();
    if (_ldfp == nullptr && _ldf_enabled) _open_ldf();
}

// B replaces C, A becomes B, a new A begins. C is not deleted before: where B is missing, because the process
// died between the two steps or A could not be renamed the last time, that would cost a generation. When A
// cannot be renamed its messages are not thrown away: it is continued, and _count is its size.
void Log::_rotate_files() {
    if (_fp != nullptr) fclose(_fp);
    (void)::rename(_pathBp.get(), _pathCp.get()); // there may be none yet
    const bool kept = ::rename(_pathAp.get(), _pathBp.get()) != 0 && errno != ENOENT;
    _fp = fopen(_pathAp.get(), kept ? "ae" : "we");
    _count = kept ? std::max(QENGetFileSize(_pathAp.get()), 0) : 0;
    if (_fp != nullptr && _count == 0) _write_file_header();
}

void Log::_write_file_header() {
    char info[LOG_TEXT_SIZE];
    LineBuffer header(_fp);
    const auto put_field = [&header](const char* label, const char* value) {
        header.append(label);
        header.append(value);
        header.append('\n');
    };
    header.append("#\n");
    put_field("# Log Name:     ", _namep.get());
    if (_sys_namep != nullptr) put_field("# System:       ", _sys_namep.get());
    info[0] = '\0';
    QENGetSysInfo(info, sizeof info);
    if (info[0] != '\0') put_field("# SysInfo:      ", info);
    put_field("# Created:      ", QENTime(info, sizeof info) == 0 ? info : "unknown");
    header.append("#\n\n");
    _add_count(header.size());
    (void)header.send(); // the message behind it meets the same failure
}

void Log::_add_count(size_t bytes) {
    if (bytes >= static_cast<size_t>(INT_MAX - _count))
        _count = INT_MAX;
    else
        _count += static_cast<int>(bytes);
}
