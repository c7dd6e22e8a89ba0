// One record as it lies in the reader's window: nothing is copied.
#pragma once

#include <string_view>

#include "primitives/ldf/ldf_format.h"

// Takes the next non-empty piece off the front of `rest`, which holds pieces separated by LDF_SEPARATOR.
// False, with `rest` empty, when there is none.
bool ldf_next_piece(std::string_view& rest, std::string_view& piece);

// Valid until the next call on the reader that filled it. No piece is empty, holds a NUL or is followed
// by one. argv beyond argc is unspecified.
struct LdfRecordView {
    ldf_msg_header_t header;
    std::string_view filename; // data() is null when the record has no such piece
    std::string_view function; // likewise
    size_t argc;               // arguments in argv, at most LDF_MAX_ARGS
    std::string_view argv[LDF_MAX_ARGS];
    std::string_view rest; // text behind the sixth argument, still separated; no writer of ours fills it

    // Calls fn(std::string_view) for every argument in order, those in `rest` included.
    template <class Fn>
    void for_each_arg(Fn&& fn) const {
        for (size_t i = 0; i < argc; ++i) fn(argv[i]);
        std::string_view left = rest, piece;
        while (ldf_next_piece(left, piece)) fn(piece);
    }
};

// Splits the text part of a record into the view's pieces (all but `header`). A NUL ends the text; without
// one it ends after `size` bytes. Up to LDF_SPLIT_SLACK bytes behind the text are read, not used: they must
// be addressable.
inline constexpr size_t LDF_SPLIT_SLACK = 16;
void ldf_split_text(const char* text, size_t size, LdfRecordView& view);
