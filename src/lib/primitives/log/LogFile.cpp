// When a log starts a new file. What that takes is TextLogFile's.
#include <cstdio>

#include "primitives/log/Log.h"

void Log::rotate() {
    if (_enabled == 0) return;
    if (_rewind_flag == 0)
        _file.request_new();
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
    _file.start_new();
    _fp = _file.stream();
    if (_ldfp == nullptr && _ldf_enabled) _open_ldf();
}
