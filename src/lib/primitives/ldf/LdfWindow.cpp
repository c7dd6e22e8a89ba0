#include "primitives/ldf/LdfWindow.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <unistd.h>

#include "primitives/ldf/LdfRecordView.h"

static_assert(LDF_WINDOW_MAX >= 2 * LDF_RECORD_MAX);

void LdfWindow::attach(int fd, int64_t filesize) {
    const auto useful = std::clamp<int64_t>(filesize, 2 * LDF_RECORD_MAX, LDF_WINDOW_MAX);
    _fd = fd;
    _failed = _no_memory = false;
    _capacity = static_cast<size_t>(useful);
    _buf.reset();
    _start = 0;
    _len = 0;
}

size_t LdfWindow::_fill(int64_t pos, size_t n, const unsigned char*& bytes) {
    if (!_buf) _buf.reset(new (std::nothrow) unsigned char[_capacity + LDF_SPLIT_SLACK]);
    _no_memory = !_buf;
    _failed = false;
    _start = pos;
    _len = 0;
    while (!_no_memory && _len < n) {
        const ssize_t got = pread(_fd, _buf.get() + _len, _capacity - _len, pos + static_cast<int64_t>(_len));
        if (got > 0) {
            _len += static_cast<size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            _failed = got != 0;
            break;
        }
    }
    if (!_no_memory) std::memset(_buf.get() + _len, 0, LDF_SPLIT_SLACK); // what is looked at behind a text
    bytes = _buf.get();
    return std::min<size_t>(_len, n);
}
