// A message as a stretch of bytes: its text, then its arguments, each with a NUL.
#pragma once

#include <cstddef>
#include <string_view>

#include "primitives/log/ILog.h"
#include "primitives/utils/QENVaList.h"

// A packed message, wherever its bytes lie. Refers only.
struct PackedView {
    std::string_view text;      // a NUL follows it
    const char* args = nullptr; // `count` strings back to back, each with its NUL
    int count = 0;

    // The message as a structure, new; the caller's. Text as element 21, arguments as elements 22.
    MsgStruct* structure() const;
};

// Most messages have a format of plain conversions. Such a format is walked once, and each argument written
// both into the text and behind it: no call of the C library's formatter, one copy takes the message to
// another thread, and a log writes it without building a structure.
class PackedMessage {
public:
    static constexpr size_t TEXT_SIZE = 4096; // of text and of each argument, NUL included; more is cut
    static constexpr size_t ARGS_SIZE = 4096; // of all arguments

    // Walks a copy of args. False: the format has conversions other than %s, %d, %i, %u, %ld, %li, %lu and
    // %%, or the arguments do not fit; then nothing else may be asked.
    bool pack(const char* fmtp, QENVaList& args);

    PackedView view() const { return {{_text, _text_len}, _args, _count}; }

    size_t size() const { return _text_len + 1 + _args_len; }
    void copy_to(char* bytes) const; // size() bytes
    static PackedView view_of(const char* bytes, int count);

private:
    bool _put_conversion(const char*& p, QENVaList& walk);
    void _put_literal(const char* s, size_t len);
    bool _put_argument(const char* s, size_t len);
    template <class Integer>
    bool _put_number(Integer value);

    size_t _text_len = 0;
    size_t _args_len = 0;
    int _count = 0;
    char _text[TEXT_SIZE];
    char _args[ARGS_SIZE];
};
