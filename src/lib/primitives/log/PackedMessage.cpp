#include "primitives/log/PackedMessage.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "primitives/message/MsgStruct.h"

namespace {

constexpr char NULL_TEXT[] = "(null)"; // what printf makes of a null string

// Copies a string with its NUL into the message and returns the place behind it.
template <class Add>
const char* put_string(const char* s, Add add) {
    const size_t size = strlen(s) + 1;
    add(s, static_cast<int32_t>(size));
    return s + size;
}

MsgStruct* build(const char* text, const char* args, int count) {
    auto* msgp = new MsgStruct;
    put_string(text, [msgp](const char* s, int32_t size) { msgp->add_elem(MSGID_TEXT, s, size); });
    while (count-- > 0)
        args =
            put_string(args, [msgp](const char* s, int32_t size) { msgp->append_elem(MSGID_ARGS, s, size); });
    return msgp;
}

} // namespace

bool PackedMessage::pack(const char* fmtp, QENVaList& args) {
    if (fmtp == nullptr) return false;
    QENVaList walk;
    va_copy(walk.list, args.list);
    bool is_plain = true;
    while (is_plain && *fmtp != '\0') {
        const char* percent = strchrnul(fmtp, '%');
        _put_literal(fmtp, static_cast<size_t>(percent - fmtp));
        fmtp = percent;
        if (*fmtp == '%') is_plain = _put_conversion(++fmtp, walk);
    }
    va_end(walk.list);
    _text[_text_len] = '\0';
    return is_plain;
}

// p: behind the '%'; moved behind the conversion.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized): it loses sight of a va_list inside a struct
bool PackedMessage::_put_conversion(const char*& p, QENVaList& walk) {
    const bool is_long = *p == 'l';
    if (is_long) ++p;
    switch (*p++) {
    case 'd':
    case 'i': return is_long ? _put_number(va_arg(walk.list, long)) : _put_number(va_arg(walk.list, int));
    case 'u':
        return is_long ? _put_number(va_arg(walk.list, unsigned long))
                       : _put_number(va_arg(walk.list, unsigned));
    case 's': {
        if (is_long) return false; // wide characters
        const char* s = va_arg(walk.list, const char*);
        if (s == nullptr) s = NULL_TEXT;
        return _put_argument(s, strnlen(s, TEXT_SIZE - 1));
    }
    case '%': _put_literal("%", 1); return !is_long;
    default: return false;
    }
}
// NOLINTEND(clang-analyzer-valist.Uninitialized)

void PackedMessage::_put_literal(const char* s, size_t len) {
    len = std::min(len, TEXT_SIZE - 1 - _text_len);
    memcpy(_text + _text_len, s, len);
    _text_len += len;
}

bool PackedMessage::_put_argument(const char* s, size_t len) {
    if (len >= ARGS_SIZE - _args_len) return false;
    _put_literal(s, len);
    memcpy(_args + _args_len, s, len);
    _args_len += len;
    _args[_args_len++] = '\0';
    ++_count;
    return true;
}

template <class Integer>
bool PackedMessage::_put_number(Integer value) {
    char digits[24];
    return _put_argument(digits,
                         static_cast<size_t>(std::to_chars(digits, std::end(digits), value).ptr - digits));
}

void PackedMessage::copy_to(char* bytes) const {
    memcpy(bytes, _text, _text_len + 1);
    memcpy(bytes + _text_len + 1, _args, _args_len);
}

MsgStruct* PackedMessage::message() const {
    return build(_text, _args, _count);
}

MsgStruct* unpack_message(const char* bytes, int count) {
    return build(bytes, bytes + strlen(bytes) + 1, count);
}
