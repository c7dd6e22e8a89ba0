// A message as a stretch of bytes: its text, then its arguments, each with a NUL. A message site makes one,
// a log or the logger's queue takes it.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "primitives/log/ILog.h"
#include "primitives/utils/QENVaList.h"

inline namespace taq_1 {

struct ArgValue;
struct Conversion;

// A packed message, wherever its bytes lie. Refers only.
struct PackedView {
    std::string_view text;      // a NUL follows it
    const char* args = nullptr; // `count` strings back to back, each with its NUL
    int count = 0;

    // The message as a structure, new; the caller's. Text as element 21, arguments as elements 22.
    MsgStruct* structure() const;
    // Appends the arguments to a structure as elements 22.
    void append_args_to(MsgStruct& msg) const;
};

// The format is walked once, and each argument written both into the text and behind it: plain conversions
// need no call of the C library's formatter, one copy takes the message to another thread, and a log writes
// it without building a structure.
//
// Text and arguments are what printf makes of the format and of each conversion in it. Each is cut at
// TEXT_SIZE - 1 bytes. A null string is "(null)", also with a precision. "%n" takes its pointer, stores
// nothing and is no argument. A character 0 is left out. A wide character or string without a form in the
// locale gives an empty text, and so does printf's failure of any other kind. An unknown conversion stands
// for itself and takes no argument.
//
// With "%1$s" to "%32$s" the arguments stand in the order of their positions, as the texts of catalogs count
// them; further conversions of a position that had one already follow behind. A format with a greater
// position is a text without arguments.
class PackedMessage {
public:
    static constexpr size_t TEXT_SIZE = 4096; // of text and of each argument, NUL included; more is cut
    static constexpr size_t ARGS_SIZE = 2048; // of all arguments before memory is allocated for them

    // Walks a copy of args. fmtp may be null: an empty text.
    void pack(const char* fmtp, QENVaList& args);

    PackedView view() const { return {{_text, _text_len}, _args, _count}; }

    size_t size() const { return _text_len + 1 + _args_len; }
    void copy_to(char* bytes) const; // size() bytes
    static PackedView view_of(const char* bytes, int count);

private:
    const char* _put_plain(const char* p, QENVaList& walk);
    const char* _put_formatted(const char* p, QENVaList& walk, int error);
    bool _put_positional(const char* fmtp, QENVaList& args, int error);
    void _put_literal(const char* s, size_t len);
    void _put_argument(const char* s, size_t len);
    std::string_view _append_formatted(const Conversion& conversion, const ArgValue& value, int error);
    char* _room(size_t size);
    template <class Integer>
    void _put_number(Integer value);

    size_t _text_len = 0;
    size_t _args_len = 0;
    size_t _args_room = ARGS_SIZE;
    int _count = 0;
    char* _args = _own_args;
    std::unique_ptr<char[]> _more_args; // in place of _own_args once these are full
    char _text[TEXT_SIZE];
    char _own_args[ARGS_SIZE];
};

} // namespace taq_1
