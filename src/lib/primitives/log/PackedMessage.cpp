#include "primitives/log/PackedMessage.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "primitives/message/MsgStruct.h"

namespace {

constexpr char NULL_TEXT[] = "(null)"; // what printf makes of a null string

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

PackedView PackedMessage::view_of(const char* bytes, int count) {
    const std::string_view text = bytes;
    return {text, bytes + text.size() + 1, count};
}

MsgStruct* PackedView::structure() const {
    auto* msgp = new MsgStruct;
    msgp->add_elem(MSGID_TEXT, text.data(), static_cast<int32_t>(text.size() + 1));
    const char* arg = args;
    for (int left = count; left > 0; --left) {
        const size_t size = strlen(arg) + 1;
        msgp->append_elem(MSGID_ARGS, arg, static_cast<int32_t>(size));
        arg += size;
    }
    return msgp;
}
