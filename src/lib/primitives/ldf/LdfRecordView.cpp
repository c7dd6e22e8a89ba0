// Splits the text of a record that LdfReader found into its pieces; the log or taqmsg shows them.
#include "primitives/ldf/LdfRecordView.h"

#include <bit>
#include <cstring>
#include <iterator>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

inline namespace taq_1 {

bool ldf_next_piece(std::string_view& rest, std::string_view& piece) {
    const size_t start = rest.find_first_not_of(static_cast<char>(LDF_SEPARATOR));
    if (start == std::string_view::npos) {
        rest = {};
        return false;
    }
    rest.remove_prefix(start);
    piece = rest.substr(0, rest.find(static_cast<char>(LDF_SEPARATOR)));
    rest.remove_prefix(piece.size());
    return true;
}

namespace {

constexpr size_t BLOCK = 64; // bytes looked at together
static_assert(BLOCK == LDF_SPLIT_SLACK);

// A bit for each of the BLOCK bytes at p that is a separator or a NUL, the first byte in bit 0.
struct Marks {
    uint64_t separators = 0;
    uint64_t nuls = 0;
};

#ifdef __SSE2__
inline uint64_t equal_bytes(__m128i a, __m128i b) {
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(a, b)));
}
inline Marks marks_in_block(const char* p) {
    const __m128i separator = _mm_set1_epi8(static_cast<char>(LDF_SEPARATOR));
    Marks marks;
    for (size_t i = 0; i < BLOCK; i += sizeof(__m128i)) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
        marks.separators |= equal_bytes(bytes, separator) << i;
        marks.nuls |= equal_bytes(bytes, _mm_setzero_si128()) << i;
    }
    return marks;
}
#else
inline Marks marks_in_block(const char* p) {
    Marks marks;
    for (size_t i = 0; i < BLOCK; ++i) {
        marks.separators |= uint64_t{static_cast<unsigned char>(p[i]) == LDF_SEPARATOR} << i;
        marks.nuls |= uint64_t{p[i] == '\0'} << i;
    }
    return marks;
}
#endif

} // namespace

void ldf_split_text(const char* text, size_t size, LdfRecordView& view) {
    const char* const end = text + size;
    const char* start = text; // of the piece at hand
    std::string_view* piece = view.pieces;
    view.rest = {};
    for (const char* block = text;; block += BLOCK) {
        Marks marks = marks_in_block(block);
        const auto left = static_cast<size_t>(end - block);
        if (left < BLOCK) marks.nuls |= uint64_t{1} << left;    // the text ends there at the latest
        const uint64_t ends_at = marks.nuls & (0 - marks.nuls); // the first of them; 0: not in this block
        for (uint64_t stops = marks.separators & (ends_at - 1); stops != 0; stops &= stops - 1) {
            const char* const stop = block + std::countr_zero(stops);
            if (stop != start) *piece++ = {start, static_cast<size_t>(stop - start)};
            start = stop + 1;
            if (piece == std::end(view.pieces)) {
                view.piece_count = LdfRecordView::PIECES_MAX;
                view.rest = {start, strnlen(start, static_cast<size_t>(end - start))};
                return;
            }
        }
        if (ends_at == 0) continue;
        const char* const stop = block + std::countr_zero(ends_at);
        if (stop != start) *piece++ = {start, static_cast<size_t>(stop - start)};
        view.piece_count = static_cast<size_t>(piece - view.pieces);
        return;
    }
}

} // namespace taq_1
