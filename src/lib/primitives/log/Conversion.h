// One conversion of a printf format: taken apart, given its argument, and formatted alone. PackedMessage uses
// it for every conversion that its fast path does not know.
#pragma once

#include <cstddef>
#include <cstdint>

#include "primitives/utils/QENVaList.h"

inline namespace taq_1 {

// The C type that a conversion takes from the argument list.
enum class ArgType : uint8_t {
    NOTHING,
    INT,
    LONG,
    LONG_LONG,
    INTMAX,
    SIZE,
    PTRDIFF,
    DOUBLE,
    LONG_DOUBLE,
    WINT,
    POINTER
};

// An argument taken from the list, widened: one of the three.
struct ArgValue {
    intmax_t integer = 0;
    long double real = 0;
    const void* pointer = nullptr;
};

ArgValue take_argument(QENVaList& args, ArgType type);

struct Conversion {
    static constexpr int NONE = -1;
    static constexpr int NEXT = 0; // as a position: the next argument

    int position = NEXT; // N of "%N$", 1-based
    char flags[8] = "";  // each at most once
    int width = 0;
    int width_position = NONE; // of the argument that gives the width
    int precision = NONE;
    int precision_position = NONE;
    char length = 0; // 'H' for hh, 'q' for ll, q and L before an integer, 'L' before a floating-point number
    char letter = 0; // 0: the format ends before it

    // p: behind the '%'. Returns the place behind the conversion, or the end of the format. Widths and
    // precisions are bounded, so that no number of a format makes formatting fail.
    const char* parse(const char* p);

    ArgType type() const;               // of its argument; NOTHING for "%%", "%m" and unknown letters
    bool is_known() const;              // a letter that printf knows
    bool makes_text() const;            // not "%n" or "%%"
    void set_width(intmax_t value);     // of a "*" width; negative: left-justified
    void set_precision(intmax_t value); // of a "*" precision; negative: none
    bool is_left() const;

    // Writes the text, cut at size - 1 bytes, with a NUL. Returns its uncut length, up to its first NUL; 0
    // when a wide character has no form in the locale. error: what "%m" describes.
    size_t format(const ArgValue& value, int error, char* out, size_t size) const;

private:
    size_t _format_string(const char* s, char* out, size_t size) const;
    intmax_t _narrowed(intmax_t value) const;
    void _write_specifier(char* out, const char* modifier) const;
};

} // namespace taq_1
