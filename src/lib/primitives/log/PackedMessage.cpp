// From a format and its arguments to a packed message.
#include "primitives/log/PackedMessage.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "platform/unix/QENNullText.h"
#include "primitives/log/Conversion.h"
#include "primitives/message/MsgStruct.h"

inline namespace taq_1 {

namespace {

constexpr size_t POSITIONS_MAX = 32;
constexpr size_t ARG_MAX = PackedMessage::TEXT_SIZE - 1;

// The arguments of a format with positions, by position - 1.
class Positions {
public:
    // False: a position beyond the last.
    bool read(const char* fmtp, QENVaList& args) {
        std::array<ArgType, POSITIONS_MAX> types;
        types.fill(ArgType::INT); // of a position that the format leaves out
        for (const char* p = fmtp; (p = strchr(p, '%')) != nullptr;) {
            Conversion c;
            p = c.parse(p + 1);
            if (!_note(types, c.width_position, ArgType::INT) ||
                !_note(types, c.precision_position, ArgType::INT) || !_note(types, c.position, c.type()))
                return false;
        }
        for (size_t i = 0; i < _count; ++i) _values[i] = take_argument(args, types[i]);
        return true;
    }
    size_t count() const { return _count; }
    const ArgValue& at(int position) const { return _values[static_cast<size_t>(position - 1)]; }
    void fill_in(Conversion& c) const {
        if (c.width_position > 0) c.set_width(at(c.width_position).integer);
        if (c.precision_position > 0) c.set_precision(at(c.precision_position).integer);
    }

private:
    bool _note(std::array<ArgType, POSITIONS_MAX>& types, int position, ArgType type) {
        if (position <= 0 || type == ArgType::NOTHING) return true;
        const auto number = static_cast<size_t>(position);
        if (number > POSITIONS_MAX) return false;
        types[number - 1] = type;
        _count = std::max(_count, number);
        return true;
    }

    size_t _count = 0;
    std::array<ArgValue, POSITIONS_MAX> _values; // of which the first _count are set
};

} // namespace

void PackedMessage::pack(const char* fmtp, QENVaList& args) {
    const int error = errno; // for "%m"
    QENVaList walk;
    va_copy(walk.list, args.list);
    for (const char* p = fmtp != nullptr ? fmtp : ""; *p != '\0';) {
        const char* percent = strchrnul(p, '%');
        _put_literal(p, static_cast<size_t>(percent - p));
        if (*percent == '\0') break;
        p = _put_plain(percent + 1, walk);
        if (p == nullptr) p = _put_formatted(percent + 1, walk, error);
        if (p == nullptr) { // positions: begin again
            _text_len = _args_len = 0;
            _count = 0;
            if (!_put_positional(fmtp, args, error)) _put_literal(fmtp, strlen(fmtp));
            break;
        }
    }
    va_end(walk.list);
    _text[_text_len] = '\0';
}

// The conversions that most formats have. p: behind the '%'. Returns the place behind the conversion, or null
// for another one, of which nothing was taken.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized): it loses sight of a va_list inside a struct
const char* PackedMessage::_put_plain(const char* p, QENVaList& walk) {
    const bool is_long = *p == 'l';
    if (is_long) ++p;
    switch (*p) {
    case 'd':
    case 'i': is_long ? _put_number(va_arg(walk.list, long)) : _put_number(va_arg(walk.list, int)); break;
    case 'u':
        is_long ? _put_number(va_arg(walk.list, unsigned long)) : _put_number(va_arg(walk.list, unsigned));
        break;
    case 's': {
        if (is_long) return nullptr; // wide characters
        const char* s = QENTextOf(va_arg(walk.list, const char*));
        _put_argument(s, strnlen(s, ARG_MAX));
        break;
    }
    case '%':
        if (is_long) return nullptr;
        _put_literal("%", 1);
        break;
    default: return nullptr;
    }
    return p + 1;
}
// NOLINTEND(clang-analyzer-valist.Uninitialized)

// Any conversion. Null: it has a position.
const char* PackedMessage::_put_formatted(const char* p, QENVaList& walk, int error) {
    Conversion c;
    const char* const end = c.parse(p);
    if (c.position > 0 || c.width_position > 0 || c.precision_position > 0) return nullptr;
    if (c.width_position == Conversion::NEXT) c.set_width(take_argument(walk, ArgType::INT).integer);
    if (c.precision_position == Conversion::NEXT) c.set_precision(take_argument(walk, ArgType::INT).integer);
    const ArgValue value = take_argument(walk, c.type());
    if (c.makes_text()) {
        const std::string_view text = _append_formatted(c, value, error);
        _put_literal(text.data(), text.size());
    } else if (c.letter == '%') {
        _put_literal("%", 1);
    } else if (!c.is_known()) {
        _put_literal(p - 1, static_cast<size_t>(end - p) + 1);
    }
    return end;
}

// A format with positions. False: one is beyond the last.
bool PackedMessage::_put_positional(const char* fmtp, QENVaList& args, int error) {
    QENVaList walk;
    va_copy(walk.list, args.list);
    Positions positions;
    const bool is_readable = positions.read(fmtp, walk);
    va_end(walk.list);
    if (!is_readable) return false;

    const auto for_each = [&](const auto& visit) { // literal text before a conversion, and the conversion
        for (const char* p = fmtp; *p != '\0';) {
            const char* percent = strchrnul(p, '%');
            Conversion c;
            const char* const end = *percent != '\0' ? c.parse(percent + 1) : percent;
            positions.fill_in(c);
            visit(std::string_view(p, static_cast<size_t>(percent - p)), c);
            p = end;
        }
    };
    const auto value_of = [&](const Conversion& c) {
        return c.position > 0 ? positions.at(c.position) : ArgValue{};
    };
    for_each([&](std::string_view literal, const Conversion& c) {
        _put_literal(literal.data(), literal.size());
        if (c.letter == '%') _put_literal("%", 1);
        if (!c.makes_text()) return;
        const std::string_view text = _append_formatted(c, value_of(c), error);
        _put_literal(text.data(), text.size());
        _args_len = 0; // the order of the arguments is another one
        _count = 0;
    });
    std::array<bool, POSITIONS_MAX + 1> seen = {};
    for (size_t position = 1; position <= positions.count(); ++position)
        for_each([&](std::string_view, const Conversion& c) {
            if (static_cast<size_t>(c.position) != position || seen[position] || !c.makes_text()) return;
            seen[position] = true;
            (void)_append_formatted(c, positions.at(c.position), error);
        });
    for_each([&](std::string_view, const Conversion& c) { // positions that stand once more, and "%m"
        if (!c.makes_text()) return;
        bool& is_first = seen[static_cast<size_t>(c.position)];
        if (c.position == 0 || !is_first) (void)_append_formatted(c, value_of(c), error);
        is_first = false;
    });
    return true;
}

void PackedMessage::_put_literal(const char* s, size_t len) {
    len = std::min(len, TEXT_SIZE - 1 - _text_len);
    memcpy(_text + _text_len, s, len);
    _text_len += len;
}

// Room for an argument of `size` bytes behind the others.
char* PackedMessage::_room(size_t size) {
    if (size > _args_room - _args_len) {
        const size_t room = 2 * _args_room + size;
        std::unique_ptr<char[]> more(new char[room]);
        memcpy(more.get(), _args, _args_len);
        _more_args = std::move(more);
        _args = _more_args.get();
        _args_room = room;
    }
    return _args + _args_len;
}

void PackedMessage::_put_argument(const char* s, size_t len) {
    _put_literal(s, len);
    char* const to = _room(len + 1);
    memcpy(to, s, len);
    to[len] = '\0';
    _args_len += len + 1;
    ++_count;
}

// Formats in place; tried again where the room was too small.
std::string_view PackedMessage::_append_formatted(const Conversion& conversion, const ArgValue& value,
                                                  int error) {
    char* to = _room(1);
    size_t size = std::min(_args_room - _args_len, TEXT_SIZE);
    size_t len = conversion.format(value, error, to, size);
    if (len >= size && size < TEXT_SIZE) {
        to = _room(size = TEXT_SIZE);
        len = conversion.format(value, error, to, size);
    }
    len = std::min(len, size - 1);
    to[len] = '\0';
    _args_len += len + 1;
    ++_count;
    return {to, len};
}

template <class Integer>
void PackedMessage::_put_number(Integer value) {
    char digits[24];
    _put_argument(digits, static_cast<size_t>(std::to_chars(digits, std::end(digits), value).ptr - digits));
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
    append_args_to(*msgp);
    return msgp;
}

void PackedView::append_args_to(MsgStruct& msg) const {
    const char* arg = args;
    for (int left = count; left > 0; --left) {
        const size_t size = strlen(arg) + 1;
        msg.append_elem(MSGID_ARGS, arg, static_cast<int32_t>(size));
        arg += size;
    }
}

} // namespace taq_1
