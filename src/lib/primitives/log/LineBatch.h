// Composed lines that wait to be written together. A log composes them here, TextLogFile writes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "primitives/memory/Pooled.h"

inline namespace taq_1 {

// The lines of messages, back to back, in the order in which they were added.
class LineBatch : public Pooled<MEM_MISC> {
public:
    static constexpr size_t MESSAGES = 64;    // at most
    static constexpr size_t ROOM = 16 * 1024; // bytes

    // Room for the lines of one message, `size` bytes. Null data: there is none.
    std::span<char> room(size_t size) {
        if (_count == MESSAGES || size > ROOM - _size) return {};
        return {_bytes + _size, ROOM - _size};
    }
    // The lines of a message are in the room. flush: they are not to wait in a stream's buffer.
    void add(size_t size, bool flush, int logical_sev) {
        _severities[_count] = static_cast<int8_t>(logical_sev);
        _sizes[_count++] = static_cast<uint16_t>(size);
        _size += size;
        _flush = _flush || flush;
    }
    void clear() {
        _count = _size = 0;
        _flush = false;
    }

    bool is_empty() const { return _count == 0; }
    bool wants_flush() const { return _flush; }
    size_t size() const { return _size; } // bytes
    const char* bytes() const { return _bytes; }
    std::span<const uint16_t> sizes() const { return {_sizes, _count}; } // of each message
    std::span<const int8_t> severities() const { return {_severities, _count}; }

private:
    static_assert(ROOM <= UINT16_MAX);

    size_t _count = 0;
    size_t _size = 0;
    bool _flush = false;
    uint16_t _sizes[MESSAGES];
    int8_t _severities[MESSAGES]; // logical ones
    char _bytes[ROOM];
};

} // namespace taq_1
