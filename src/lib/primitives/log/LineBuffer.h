// Lines on their way to a stream: the last step of a displayed record and of a written message.
#pragma once

#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

#include "platform/unix/QENStreams.h"

inline namespace taq_1 {

// Gathers the pieces of a line, or of many lines, in room of the caller's and gives them to the stream with
// one call, so that a line costs one write and lines of several processes on one terminal do not mix. Only
// what is longer than the room leaves in several calls; nothing is ever cut. A stream that is not ready is
// waited for.
class LineBuffer {
public:
    // Bytes of room for any line but one of a huge text. With less, room() may not be asked for so much.
    static constexpr size_t CAPACITY = 24 * 1024;

    // A file is always ready: its lines go through the C library, and ferror() tells what was refused.
    enum Kind { ANY_STREAM, A_FILE };

    // The room must outlive the buffer.
    LineBuffer(FILE* fp, std::span<char> room, Kind kind = ANY_STREAM)
        : _fp(fp), _kind(kind), _buf(room.data()), _capacity(room.size()) {}
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;

    void append(std::string_view piece) {
        if (piece.empty()) return; // may have no data at all
        if (piece.size() > _capacity - _len && !_make_room(piece)) return;
        memcpy(_buf + _len, piece.data(), piece.size());
        _len += piece.size();
    }
    void append(char c) { append(std::string_view(&c, 1)); }

    // Room for `size` bytes (at most the whole room) to be filled in place; advance() then says how many
    // were. Valid until the next call.
    char* room(size_t size) {
        if (size > _capacity - _len) _pass_on(/*at_once=*/true);
        return _buf + _len;
    }
    void advance(size_t size) { _len += size; }

    size_t size() const { return _passed + _len; } // bytes of the line so far

    // Whether the stream has refused something; then nothing more is given to it.
    bool has_failed() const { return _taken != _passed; }

    // Gives the line to the stream. at_once false: it may wait in the stream's buffer. Returns how many of
    // its bytes the stream took; all, unless writing failed.
    size_t send(bool at_once = true) {
        _pass_on(at_once);
        return _taken;
    }

private:
    // Out of line: callers that put many lines keep their registers.
    [[gnu::noinline]] void _pass_on(bool at_once) {
        if (_len == 0) return;
        _take(_buf, _len, at_once);
        _len = 0;
    }
    bool _make_room(std::string_view piece) {
        _pass_on(/*at_once=*/true);
        if (piece.size() <= _capacity) return true;
        _take(piece.data(), piece.size(), /*at_once=*/true);
        return false;
    }
    // Nothing is tried behind a failure: what the stream took is a prefix of the line.
    void _take(const char* bytes, size_t size, bool at_once) {
        if (!has_failed())
            _taken += _kind == A_FILE ? fwrite_unlocked(bytes, 1, size, _fp)
                                      : QENStreamWrite(_fp, bytes, size, at_once);
        _passed += size;
    }

    FILE* _fp;
    const Kind _kind;
    size_t _len = 0;    // bytes in _buf
    size_t _passed = 0; // bytes of the line that went to the stream before
    size_t _taken = 0;  // of these, bytes that the stream took
    char* const _buf;
    const size_t _capacity;
};

} // namespace taq_1
