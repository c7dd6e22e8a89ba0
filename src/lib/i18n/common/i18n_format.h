// Catalog texts: where their arguments go, how many they have, and putting the arguments in.
//
// "%s" takes the next argument in turn, "%1$s" to "%9$s" the one of that position, "%%" is one '%';
// everything else stands for itself. A text from a file is never a format of the printf family.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "i18n/common/i18n_types.h"

inline namespace taq_1 {

inline constexpr std::string_view I18N_MISSING_ARG = "???"; // shown where there is no argument
// Splits a text into its pieces, in order. Refers to the text.
class i18n_scanner {
public:
    explicit i18n_scanner(std::string_view text) : _text(text) {}
    // False when the text is used up.
    bool next(i18n_piece* piecep);

private:
    std::string_view _text;
    size_t _pos = 0;         // start of the next run
    int32_t _sequential = 0; // argument of the next "%s"
};

// Number of string specifiers: the occurrences of "%s", or, without any, those of "$s" with a '%' two
// bytes before. This is the count that the arguments of a safe lookup must match; note that "%%s" counts.
size_t i18n_count_string_specifiers(std::string_view text);
size_t i18n_count_string_specifiers(const char* textp); // a null text counts 0

// How many arguments the positions of a text reach: the highest position, 0 for none.
size_t i18n_args_reached(std::string_view text);

// Number of leading non-null strings, and 1 plus their lengths.
size_t i18n_count_args(const char* const* argv, size_t capacity);
inline size_t i18n_get_args_len(const std::string_view* argv, size_t argc) {
    size_t len = 1;
    for (size_t i = 0; i < argc; ++i) len += argv[i].size();
    return len;
}

struct i18n_formatted {
    size_t _size; // bytes written
    bool _cut;    // the text was longer than the room
};

// Put the arguments in: into at most `room` bytes at dst, without a NUL. The first form takes the pieces
// of the text from a scan done before.
i18n_formatted i18n_format(const char* text, const i18n_piece* pieces, size_t piece_count,
                           const std::string_view* argv, size_t argc, char* dst, size_t room);
i18n_formatted i18n_format(std::string_view text, const std::string_view* argv, size_t argc, char* dst,
                           size_t room);

} // namespace taq_1
