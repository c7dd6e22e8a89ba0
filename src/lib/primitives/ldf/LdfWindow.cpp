// Reads the stretch of a log data file in which LdfReader looks at records.
#include "primitives/ldf/LdfWindow.h"

#include <algorithm>
#include <cstring>

#include "platform/unix/QENFileSystem.h"
#include "primitives/ldf/LdfRecordView.h"

inline namespace taq_1 {

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
    if (!_buf) _buf = try_raw_room<unsigned char>(_capacity + LDF_SPLIT_SLACK);
    _no_memory = !_buf;
    _failed = false;
    _start = pos;
    _len = 0;
    while (!_no_memory && _len < n) {
        const int64_t got =
            QENReadSome(_fd, _buf.get() + _len, _capacity - _len, pos + static_cast<int64_t>(_len));
        _failed = got < 0;
        if (got <= 0) break;
        _len += static_cast<size_t>(got);
    }
    if (!_no_memory)
        std::memset(_buf.get() + _len, 0, LDF_SPLIT_SLACK); // ldf_split_text reads so far behind a text
    bytes = _buf.get();
    return std::min<size_t>(_len, n);
}

} // namespace taq_1
