// One record as it lies in the reader's window: nothing is copied.
#pragma once

#include <string_view>

#include "ldf_format.h"

inline namespace taq_1 {

// Takes the next non-empty piece off the front of `rest`, which holds pieces separated by LDF_SEPARATOR.
// False, with `rest` empty, when there is none.
bool ldf_next_piece(std::string_view& rest, std::string_view& piece);

// Valid until the next call on the reader that filled it. No piece is empty or holds a NUL; behind a piece
// there need not be one.
struct LdfRecordView {
    static constexpr size_t PIECES_MAX = 2 + LDF_MAX_ARGS;

    ldf_msg_header_t header;
    size_t piece_count; // of `pieces`: source file, function, arguments, as far as the record has them
    std::string_view pieces[PIECES_MAX];
    std::string_view rest; // text behind the last of them, still separated; no writer of ours fills it

    // data() is null when the record has no such piece.
    std::string_view filename() const { return piece_count > 0 ? pieces[0] : std::string_view(); }
    std::string_view function() const { return piece_count > 1 ? pieces[1] : std::string_view(); }
    const std::string_view* argv() const { return pieces + 2; }
    size_t argc() const { return piece_count > 2 ? piece_count - 2 : 0; }

    // Calls fn(std::string_view) for every argument in order, those in `rest` included.
    template <class Fn>
    void for_each_arg(Fn&& fn) const {
        for (size_t i = 2; i < piece_count; ++i) fn(pieces[i]);
        std::string_view left = rest, piece;
        while (ldf_next_piece(left, piece)) fn(piece);
    }
};

// Splits the text part of a record into the view's pieces (all but `header`). A NUL ends the text; without
// one it ends after `size` bytes. Up to LDF_SPLIT_SLACK bytes behind the text are read and make no
// difference: they must be addressable.
inline constexpr size_t LDF_SPLIT_SLACK = 64;
void ldf_split_text(const char* text, size_t size, LdfRecordView& view);

} // namespace taq_1
