// When a log starts a new file. What that takes is TextLogFile's.
#include <cstdio>

#include "platform/unix/QENStreams.h"
#include "primitives/log/Log.h"

void Log::rotate() {
    const LogLock::Guard inside(_lock); // or this thread is within its write
    if (_enabled == 0) return;
    if (_rewind_flag == 0)
        _file.request_new();
    else if (_rewindallowed != 0)
        ::rewind(_fp);
}

// Whether there is a stream to write to. In a forked child it is that of the file which the parent writes
// now.
bool Log::_has_stream() {
    if (_rewind_flag == 0 && _is_inherited()) {
        _file.follow_parent();
        _fp = _file.stream();
    }
    if (_file.wants_new() || _fp == nullptr) _next();
    return _fp != nullptr;
}

// Makes room for the next message: a given stream is flushed, a file log starts a new file.
void Log::_next() {
    if (_enabled == 0) return;
    if (_rewind_flag != 0) {
        (void)QENStreamFlush(_fp);
        return;
    }
    _file.start_new();
    _fp = _file.stream();
    if (_ldfp == nullptr && _ldf_enabled && !_is_inherited()) _open_ldf();
}
