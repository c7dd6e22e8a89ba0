// QENUtils::msgargs_to_msgstruct: a printf argument list becomes strings, one for each conversion.
//
// This runs for every logged message. Plain strings go into the message straight from the caller, plain
// decimals are written digit by digit; only the rest needs the C library's formatter.
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <cwchar>

#include "platform/unix/QENNullText.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/message/ipm_messages.h"
#include "primitives/utils/QENUtils.h"

inline namespace taq_1 {

namespace {

constexpr size_t TEXT_SIZE = 4096; // of one argument, NUL included
constexpr size_t TEXT_MAX = TEXT_SIZE - 1;

// Greater widths and precisions are cut to these limits, because the C library fails for very great ones. The
// first TEXT_MAX bytes of the text stay the same.
constexpr int PRECISION_LIMIT = 1 << 20;
constexpr int WIDTH_LIMIT = 1 << 22;
constexpr int NO_PRECISION = -1;

constexpr char FLAGS[] = " #+-0";

// One conversion specifier, taken apart.
struct Specifier {
    bool flags[sizeof FLAGS - 1] = {}; // which of FLAGS are given
    bool has_flags = false;
    int width = 0;
    int precision = NO_PRECISION;
    char modifier = 0;   // h, l, L, or 0
    char conversion = 0; // 0: the format ends before it

    bool is_plain() const { return !has_flags && width == 0 && precision == NO_PRECISION; }
    bool is_left() const { return flags[3]; }
};

// Reads digits; a number beyond the limit reads as the limit.
const char* parse_number(const char* p, int limit, int& value) {
    value = 0;
    for (; *p >= '0' && *p <= '9'; ++p) value = std::min(limit, value * 10 + (*p - '0'));
    return p;
}

// p: behind the '%'. Returns the place behind the conversion, or the end of the format.
const char* parse(const char* p, Specifier& spec) {
    for (const char* flag; *p != '\0' && (flag = std::strchr(FLAGS, *p)) != nullptr; ++p)
        spec.flags[flag - FLAGS] = spec.has_flags = true;
    p = parse_number(p, WIDTH_LIMIT, spec.width);
    if (*p == '.') p = parse_number(p + 1, PRECISION_LIMIT, spec.precision);
    if (*p == 'h' || *p == 'l' || *p == 'L') spec.modifier = *p++;
    spec.conversion = *p;
    return *p != '\0' ? p + 1 : p;
}

// A format for one argument whose C type is told by `modifier` ("" or one letter). All numbers are bounded.
class OneFormat {
public:
    OneFormat(const Specifier& spec, char modifier) {
        char* p = _text;
        *p++ = '%';
        for (size_t i = 0; i < sizeof spec.flags; ++i)
            if (spec.flags[i]) *p++ = FLAGS[i];
        char* end = _text + sizeof _text;
        if (spec.width > 0) p = std::to_chars(p, end, spec.width).ptr;
        if (spec.precision != NO_PRECISION) {
            *p++ = '.';
            p = std::to_chars(p, end, spec.precision).ptr;
        }
        if (modifier != 0) *p++ = modifier;
        *p++ = spec.conversion;
        *p = '\0';
    }
    const char* c_str() const { return _text; }

private:
    char _text[32];
};

// The modifier to format an integer with: the C library would take 'L' for a long long.
char length_modifier(const Specifier& spec) {
    return spec.modifier == 'L' ? '\0' : spec.modifier;
}

// Appends arguments to one message. An append that fails leaves that argument out.
class ArgWriter {
public:
    explicit ArgWriter(MsgStruct* msg) : _msg(msg) {}

    void string(const Specifier& spec, const char* s);

    template <class Integer>
    void integer(const Specifier& spec, Integer value) {
        const bool decimal = spec.conversion == 'd' || spec.conversion == 'i' || spec.conversion == 'u';
        if (!decimal || spec.modifier == 'h' || !spec.is_plain())
            return formatted(spec, length_modifier(spec), value);
        append(static_cast<size_t>(std::to_chars(_text, _text + TEXT_MAX, value).ptr - _text));
    }

    template <class T>
    void formatted(const Specifier& spec, char modifier, T value) {
        const OneFormat format(spec, modifier);
        const int full = std::snprintf(_text, TEXT_SIZE, format.c_str(), value);
        // A wide character without a multibyte form fails: an empty text keeps the arguments behind it in
        // place. The text ends at its first NUL, which "%c" may print.
        append(full < 0 ? 0 : std::strlen(_text));
    }

private:
    void append(size_t len) {
        _text[len] = '\0';
        (void)_msg->append_elem(MSGID_ARGS, _text, static_cast<int32_t>(len) + 1);
    }

    MsgStruct* _msg;
    char _text[TEXT_SIZE];
};

void ArgWriter::string(const Specifier& spec, const char* s) {
    s = QENTextOf(s);
    const auto width = static_cast<size_t>(spec.width);
    // Looks only at bytes that can be shown: those of the text, or as many as fill the width.
    const size_t cap =
        spec.precision != NO_PRECISION ? static_cast<size_t>(spec.precision) : std::max(TEXT_SIZE, width);
    const size_t full = strnlen(s, cap);
    if (full <= TEXT_MAX && spec.is_plain()) { // the message copies it, NUL included
        (void)_msg->append_elem(MSGID_ARGS, s, static_cast<int32_t>(full) + 1);
        return;
    }
    const size_t blanks = width > full ? width - full : 0;
    const size_t before = spec.is_left() ? 0 : std::min(blanks, TEXT_MAX);
    const size_t len = std::min(full, TEXT_MAX - before);
    const size_t behind = spec.is_left() ? std::min(blanks, TEXT_MAX - len) : 0;
    std::memset(_text, ' ', before);
    std::memcpy(_text + before, s, len);
    std::memset(_text + before + len, ' ', behind);
    append(before + len + behind);
}

// Takes the argument of one conversion from the list; none for a conversion that is not known.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized): it loses sight of a va_list inside a struct
void write_argument(ArgWriter& writer, const Specifier& spec, QENVaList& args) {
    const bool is_long = spec.modifier == 'l';
    switch (spec.conversion) {
    case 'd':
    case 'i':
        return is_long ? writer.integer(spec, va_arg(args.list, long))
                       : writer.integer(spec, va_arg(args.list, int));
    case 'o':
    case 'u':
    case 'x':
    case 'X':
        return is_long ? writer.integer(spec, va_arg(args.list, unsigned long))
                       : writer.integer(spec, va_arg(args.list, unsigned int));
    case 'c':
        return is_long ? writer.formatted(spec, 'l', va_arg(args.list, wint_t))
                       : writer.formatted(spec, 0, va_arg(args.list, int));
    case 's':
        return is_long ? writer.formatted(spec, 'l', va_arg(args.list, const wchar_t*))
                       : writer.string(spec, va_arg(args.list, const char*));
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
        return spec.modifier == 'L' ? writer.formatted(spec, 'L', va_arg(args.list, long double))
                                    : writer.formatted(spec, 0, va_arg(args.list, double));
    default: return;
    }
}
// NOLINTEND(clang-analyzer-valist.Uninitialized)

} // namespace

MsgStruct* QENUtils::msgargs_to_msgstruct(const char* format, QENVaList& args, MsgStruct* msg) {
    if (msg == nullptr) msg = mk_ipm_msg(0);
    if (format == nullptr) return msg;
    ArgWriter writer(msg);
    QENVaList walk;
    va_copy(walk.list, args.list);
    for (const char* p = format; (p = std::strchr(p, '%')) != nullptr;) {
        Specifier spec;
        p = parse(p + 1, spec);
        write_argument(writer, spec, walk);
    }
    va_end(walk.list);
    return msg;
}

} // namespace taq_1
