// Writes one line over and over on standard error.
#include "Progress.h"

#include <cstdio>

#include "platform/unix/QENStreams.h"

Progress::Progress(bool to_stdout)
    : _is_on(QENIsTerminal(stderr) && !(to_stdout && QENIsTerminal(stdout))), _last(time(nullptr)) {}

void Progress::_tell() {
    const time_t now = time(nullptr);
    if (now == _last) return;
    _last = now;
    _is_shown = true;
    (void)std::fprintf(stderr, "\rtaqldf: %lld files, %lld records, %lld bytes skipped",
                       static_cast<long long>(counts.files), static_cast<long long>(counts.records),
                       static_cast<long long>(counts.bytes_skipped));
}

void Progress::end() {
    if (_is_shown) (void)std::fputs("\r\x1b[K", stderr);
}
