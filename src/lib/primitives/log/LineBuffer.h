// Lines on their way to a stream.
#pragma once

#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>
#include <sys/single_threaded.h>

// Gathers the pieces of a line, or of many lines, and gives them to the stream with one call, so that a line
// costs one write and lines of several processes on one terminal do not mix. Only what is longer than the
// buffer leaves in several calls; nothing is ever cut.
class LineBuffer {
public:
    static constexpr size_t CAPACITY = 24 * 1024; // bytes, enough for any line but one of a huge text

    explicit LineBuffer(FILE* fp) : _fp(fp), _buf(_own), _capacity(CAPACITY) {}
    // For many lines: with room of the caller's, at least CAPACITY bytes, which must outlive the buffer.
    LineBuffer(FILE* fp, std::span<char> room) : _fp(fp), _buf(room.data()), _capacity(room.size()) {}
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;

    void append(std::string_view piece) {
        if (piece.empty()) return; // may have no data at all
        if (piece.size() > _capacity - _len && !_make_room(piece)) return;
        memcpy(_buf + _len, piece.data(), piece.size());
        _len += piece.size();
    }
    void append(char c) { append(std::string_view(&c, 1)); }

    // Room for `size` bytes (at most CAPACITY) to be filled in place; advance() then says how many were. The
    // room is valid until the next call.
    char* room(size_t size) {
        if (size > _capacity - _len) _pass_on();
        return _buf + _len;
    }
    void advance(size_t size) { _len += size; }

    size_t size() const { return _passed + _len; } // bytes of the line so far

    // Whether the stream has refused something; then nothing more is given to it.
    bool has_failed() const { return _taken != _passed; }

    // Gives the line to the stream. Returns how many of its bytes the stream took; all, unless writing
    // failed.
    size_t send() {
        _pass_on();
        return _taken;
    }

private:
    void _pass_on() {
        if (_len == 0) return;
        _take(_buf, _len);
        _len = 0;
    }
    bool _make_room(std::string_view piece) {
        _pass_on();
        if (piece.size() <= _capacity) return true;
        _take(piece.data(), piece.size());
        return false;
    }
    // Nothing is tried behind a failure: what the stream took is a prefix of the line.
    void _take(const char* bytes, size_t size) {
        if (!has_failed()) // without the stream's lock while there is nobody to lock out
            _taken +=
                __libc_single_threaded ? fwrite_unlocked(bytes, 1, size, _fp) : fwrite(bytes, 1, size, _fp);
        _passed += size;
    }

    FILE* _fp;
    size_t _len = 0;    // bytes in _buf
    size_t _passed = 0; // bytes of the line that went to the stream before
    size_t _taken = 0;  // of these, bytes that the stream took
    char* const _buf;
    const size_t _capacity;
    char _own[CAPACITY];
};
