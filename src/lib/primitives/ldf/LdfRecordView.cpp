#include "primitives/ldf/LdfRecordView.h"

#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

// A bit for each of the 16 bytes at p that is a separator or a NUL, the first byte in bit 0.
#ifdef __SSE2__
inline uint32_t stops_in_block(const char* p) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i separators = _mm_cmpeq_epi8(block, _mm_set1_epi8(static_cast<char>(LDF_SEPARATOR)));
    const __m128i nuls = _mm_cmpeq_epi8(block, _mm_setzero_si128());
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_or_si128(separators, nuls)));
}
#else
inline uint32_t stops_in_block(const char* p) {
    uint32_t stops = 0;
    for (unsigned i = 0; i < LDF_SPLIT_SLACK; ++i) {
        // Adding 1 maps the two stops, 0xFF and NUL, to 0 and 1.
        const auto shifted = static_cast<unsigned char>(p[i] + 1);
        stops |= static_cast<uint32_t>(shifted < 2) << i;
    }
    return stops;
}
#endif

// Puts the next non-empty piece where it belongs; false once the sixth argument is in place.
inline bool place(std::string_view piece, size_t ndx, LdfRecordView& view) {
    if (ndx == 0) {
        view.filename = piece;
    } else if (ndx == 1) {
        view.function = piece;
    } else {
        view.argv[ndx - 2] = piece;
        view.argc = ndx - 1;
    }
    return ndx < LDF_MAX_ARGS + 1;
}

} // namespace

void ldf_split_text(const char* text, size_t size, LdfRecordView& view) {
    view.filename = view.function = view.rest = {};
    view.argc = 0;
    const char* const end = text + size;
    const char* start = text; // of the piece at hand
    size_t ndx = 0;
    for (const char* block = text; block < end; block += LDF_SPLIT_SLACK) {
        for (uint32_t stops = stops_in_block(block); stops; stops &= stops - 1) {
            const char* stop = block + std::countr_zero(stops);
            if (stop >= end) break;
            const bool more = stop == start || place({start, static_cast<size_t>(stop - start)}, ndx++, view);
            if (*stop == '\0') return;
            start = stop + 1;
            if (!more) {
                view.rest = {start, strnlen(start, static_cast<size_t>(end - start))};
                return;
            }
        }
    }
    if (start < end) place({start, static_cast<size_t>(end - start)}, ndx, view);
}
