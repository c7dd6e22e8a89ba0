// What recover reads: a file as large as it was at first, however it grows, and as far as the disk gives it.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "primitives/ldf/LdfStream.h"

class InputBytes : public LdfBytes {
public:
    explicit InputBytes(LdfBytes& file) : _file(file), _size(file.size()) {}

    // Zeros stand for a block that the disk cannot read: the records behind it may still be there.
    int64_t read(void* buffer, size_t n, int64_t offset) override {
        constexpr int64_t BLOCK = 4096;
        if (offset >= _size) return 0;
        n = std::min(n, static_cast<size_t>(_size - offset));
        const int64_t got = _file.read(buffer, n, offset);
        if (got >= 0 || errno != EIO) return got;
        const int64_t zeros = std::min(static_cast<int64_t>(n), BLOCK - offset % BLOCK);
        std::memset(buffer, 0, static_cast<size_t>(zeros));
        _unreadable += std::max<int64_t>(offset + zeros - std::max(offset, _unreadable_to), 0);
        _unreadable_to = std::max(_unreadable_to, offset + zeros);
        return zeros;
    }
    int64_t size() override { return _size; }

    int64_t unreadable() const { return _unreadable; } // bytes, each counted once

private:
    LdfBytes& _file;
    const int64_t _size;
    int64_t _unreadable = 0, _unreadable_to = 0; // the end of the last of them
};
