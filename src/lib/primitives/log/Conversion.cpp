// printf conversions one by one, for the text and the arguments of a message.
#include "primitives/log/Conversion.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstring>
#include <cwchar>

#include "platform/unix/QENNullText.h"

inline namespace taq_1 {

namespace {

// Larger widths and precisions are cut to these: the C library writes every blank and digit, and gives up
// where there are too many. No text is longer than a few KiB, so nobody sees the difference.
constexpr int WIDTH_LIMIT = 1 << 17;
constexpr int PRECISION_LIMIT = 1 << 16;
constexpr char FLAGS[] = " #+-0'I";
constexpr size_t SPECIFIER_SIZE = 40;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Reads digits; a number beyond the limit reads as the limit.
const char* parse_number(const char* p, int limit, int& value) {
    value = 0;
    for (; is_digit(*p); ++p) value = std::min(limit, value * 10 + (*p - '0'));
    return p;
}

// Reads "N$" if it stands here; else nothing.
const char* parse_position(const char* p, int& position) {
    int number;
    const char* end = parse_number(p, INT_MAX / 16, number);
    if (end == p || *end != '$' || number == 0) return p;
    position = number;
    return end + 1;
}

const char* parse_flags(const char* p, char* flags) {
    char* end = flags;
    for (; *p != '\0' && strchr(FLAGS, *p) != nullptr; ++p) {
        if (memchr(flags, *p, static_cast<size_t>(end - flags)) != nullptr) continue;
        *end++ = *p;
        *end = '\0';
    }
    return p;
}

// Reads digits or "*" or "*N$".
const char* parse_field(const char* p, int limit, int& value, int& position) {
    if (*p != '*') return parse_number(p, limit, value);
    position = Conversion::NEXT;
    return parse_position(p + 1, position);
}

const char* parse_length(const char* p, char& length) {
    switch (*p) {
    case 'h': length = p[1] == 'h' ? 'H' : 'h'; return p + (p[1] == 'h' ? 2 : 1);
    case 'l': length = p[1] == 'l' ? 'q' : 'l'; return p + (p[1] == 'l' ? 2 : 1);
    case 'Z': length = 'z'; return p + 1;
    case 'q':
    case 'L':
    case 'j':
    case 'z':
    case 't': length = *p; return p + 1;
    default: return p;
    }
}

ArgType integer_type(char length) {
    switch (length) {
    case 'l': return ArgType::LONG;
    case 'q':
    case 'L': return ArgType::LONG_LONG;
    case 'j': return ArgType::INTMAX;
    case 'z': return ArgType::SIZE;
    case 't': return ArgType::PTRDIFF;
    default: return ArgType::INT;
    }
}

} // namespace

// NOLINTBEGIN(clang-analyzer-valist.Uninitialized): it loses sight of a va_list inside a struct
ArgValue take_argument(QENVaList& args, ArgType type) {
    switch (type) {
    case ArgType::INT: return {.integer = va_arg(args.list, int)};
    case ArgType::LONG: return {.integer = va_arg(args.list, long)};
    case ArgType::LONG_LONG: return {.integer = va_arg(args.list, long long)};
    case ArgType::INTMAX: return {.integer = va_arg(args.list, intmax_t)};
    case ArgType::SIZE: return {.integer = static_cast<intmax_t>(va_arg(args.list, size_t))};
    case ArgType::PTRDIFF: return {.integer = va_arg(args.list, ptrdiff_t)};
    case ArgType::WINT: return {.integer = va_arg(args.list, wint_t)};
    case ArgType::DOUBLE: return {.real = va_arg(args.list, double)};
    case ArgType::LONG_DOUBLE: return {.real = va_arg(args.list, long double)};
    case ArgType::POINTER: return {.pointer = va_arg(args.list, const void*)};
    case ArgType::NOTHING: break;
    }
    return {};
}
// NOLINTEND(clang-analyzer-valist.Uninitialized)

const char* Conversion::parse(const char* p) {
    p = parse_position(p, position);
    p = parse_flags(p, flags);
    p = parse_field(p, WIDTH_LIMIT, width, width_position);
    if (*p == '.') p = parse_field(p + 1, PRECISION_LIMIT, precision, precision_position);
    p = parse_length(p, length);
    letter = *p;
    if (letter == 'C' || letter == 'S') { // other names of "lc" and "ls"
        letter = letter == 'C' ? 'c' : 's';
        length = 'l';
        return p + 1;
    }
    return letter != '\0' ? p + 1 : p;
}

ArgType Conversion::type() const {
    switch (letter) {
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
    case 'b':
    case 'B': return integer_type(length);
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A': return length == 'L' ? ArgType::LONG_DOUBLE : ArgType::DOUBLE;
    case 'c': return length == 'l' ? ArgType::WINT : ArgType::INT;
    case 's':
    case 'p':
    case 'n': return ArgType::POINTER;
    default: return ArgType::NOTHING;
    }
}

bool Conversion::is_known() const {
    return letter == '%' || letter == 'm' || type() != ArgType::NOTHING;
}

bool Conversion::makes_text() const {
    return letter != '%' && letter != 'n' && is_known();
}

bool Conversion::is_left() const {
    return strchr(flags, '-') != nullptr;
}

void Conversion::set_width(intmax_t value) {
    if (value < 0 && !is_left()) strcat(flags, "-"); // room for each flag once
    width = static_cast<int>(std::min<intmax_t>(value < 0 ? -value : value, WIDTH_LIMIT));
}

void Conversion::set_precision(intmax_t value) {
    precision = value < 0 ? NONE : static_cast<int>(std::min<intmax_t>(value, PRECISION_LIMIT));
}

// The value as the type that the length names.
intmax_t Conversion::_narrowed(intmax_t value) const {
    const bool is_signed = letter == 'd' || letter == 'i';
    switch (length) {
    case 'H':
        return is_signed ? static_cast<intmax_t>(static_cast<signed char>(value))
                         : static_cast<intmax_t>(static_cast<unsigned char>(value));
    case 'h':
        return is_signed ? static_cast<intmax_t>(static_cast<short>(value))
                         : static_cast<intmax_t>(static_cast<unsigned short>(value));
    case 0: return is_signed ? value : static_cast<intmax_t>(static_cast<unsigned>(value));
    default: return value;
    }
}

// The specifier with bounded numbers in place of "*".
void Conversion::_write_specifier(char* out, const char* modifier) const {
    char* const last = out + SPECIFIER_SIZE;
    *out++ = '%';
    out = stpcpy(out, flags);
    if (width > 0) out = std::to_chars(out, last, width).ptr;
    if (precision != NONE) {
        *out++ = '.';
        out = std::to_chars(out, last, precision).ptr;
    }
    out = stpcpy(out, modifier);
    *out++ = letter;
    *out = '\0';
}

size_t Conversion::format(const ArgValue& value, int error, char* out, size_t size) const {
    if (letter == 's' && length != 'l')
        return _format_string(static_cast<const char*>(value.pointer), out, size);
    char specifier[SPECIFIER_SIZE];
    int full = 0;
    switch (type()) {
    case ArgType::DOUBLE:
        _write_specifier(specifier, "");
        full = snprintf(out, size, specifier, static_cast<double>(value.real));
        break;
    case ArgType::LONG_DOUBLE:
        _write_specifier(specifier, "L");
        full = snprintf(out, size, specifier, value.real);
        break;
    case ArgType::POINTER:
        _write_specifier(specifier, letter == 's' ? "l" : "");
        full = snprintf(out, size, specifier, value.pointer);
        break;
    case ArgType::WINT:
        _write_specifier(specifier, "l");
        full = snprintf(out, size, specifier, static_cast<wint_t>(value.integer));
        break;
    case ArgType::NOTHING:
        _write_specifier(specifier, "");
        errno = error;
        full = snprintf(out, size, specifier, 0); // %m takes no argument
        break;
    default:
        _write_specifier(specifier, letter == 'c' ? "" : "j");
        full = letter == 'c' ? snprintf(out, size, specifier, static_cast<int>(value.integer))
                             : snprintf(out, size, specifier, _narrowed(value.integer));
    }
    if (full <= 0 || size == 0) return 0;
    const auto length_of_text = static_cast<size_t>(full);
    const size_t seen = strnlen(out, std::min(length_of_text, size - 1));
    return seen < size - 1 ? seen : length_of_text; // "%c" may have written a NUL
}

// Reads no more of the string than it shows.
size_t Conversion::_format_string(const char* s, char* out, size_t size) const {
    s = QENTextOf(s);
    const auto wanted = static_cast<size_t>(width);
    const size_t full =
        strnlen(s, precision != NONE ? static_cast<size_t>(precision) : std::max(size, wanted));
    const size_t blanks = wanted > full ? wanted - full : 0;
    const size_t before = is_left() ? 0 : std::min(blanks, size - 1);
    const size_t len = std::min(full, size - 1 - before);
    const size_t behind = is_left() ? std::min(blanks, size - 1 - len) : 0;
    memset(out, ' ', before);
    memcpy(out + before, s, len);
    memset(out + before + len, ' ', behind);
    out[before + len + behind] = '\0';
    return blanks + full;
}

} // namespace taq_1
