// A stretch of a file in memory. Records are small and many; the window turns thousands of small reads
// and seeks into one positioned read for every LDF_WINDOW_MAX bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "../memory/RawRoom.h"

inline namespace taq_1 {

inline constexpr size_t LDF_WINDOW_MAX = 64 * 1024;

class LdfWindow {
public:
    // Starts over on descriptor `fd`, which the caller keeps open. No memory is taken before the first
    // want(); a file of few bytes (`filesize`) gets a small window.
    void attach(int fd, int64_t filesize);

    // Forgets what was read, so that the next want() asks the file again.
    void invalidate() { _len = 0; }

    // Makes `n` bytes (at most LDF_RECORD_MAX) at file offset `pos` addressable through `bytes`, valid
    // until the next call, and returns how many of them there are: fewer than n at end of file, when
    // memory runs out (no_memory()) or when reading fails (failed()). Behind the bytes at least
    // LDF_SPLIT_SLACK more are addressable.
    size_t want(int64_t pos, size_t n, const unsigned char*& bytes) {
        const uint64_t skip = static_cast<uint64_t>(pos - _start); // huge when pos < _start
        if (skip <= _len && n <= _len - skip) {
            bytes = _buf.get() + skip;
            return n;
        }
        const unsigned char* read; // apart from `bytes`, which so may stay in a register
        const size_t got = _fill(pos, n, read);
        bytes = read;
        return got;
    }

    // How many bytes from `pos` on the window has now, where the last want() found some.
    size_t rest(int64_t pos) const { return static_cast<size_t>(_len - static_cast<uint64_t>(pos - _start)); }

    bool failed() const { return _failed; }
    bool no_memory() const { return _no_memory; }

private:
    size_t _fill(int64_t pos, size_t n, const unsigned char*& bytes);

    int _fd = -1;
    bool _failed = false;
    bool _no_memory = false;
    size_t _capacity = 0;        // bytes to read at once
    RawRoom<unsigned char> _buf; // _capacity + LDF_SPLIT_SLACK bytes, or null
    int64_t _start = 0;          // file offset of _buf[0]
    uint64_t _len = 0;           // bytes of the file in _buf
};

} // namespace taq_1
