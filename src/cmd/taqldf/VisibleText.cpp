// Decodes UTF-8 strictly and escapes what a terminal would obey. All outputs but that of the reader's own
// lines use it.
#include "VisibleText.h"

#include <algorithm>
#include <iterator>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "primitives/ldf/LdfRecordView.h"

namespace {

constexpr struct {
    char32_t first, last;
} CONTROLS[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C},
                {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};

constexpr struct {
    unsigned char mask, lead;
    size_t size;
    char32_t least; // a smaller one has a shorter form
} FORMS[] = {{0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

constexpr char32_t LAST_CHARACTER = 0x10FFFF;

bool is_surrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}

void append_hex(char32_t value, int digits, std::string& out) {
    constexpr char DIGITS[] = "0123456789abcdef";
    while (digits-- > 0) out.push_back(DIGITS[value >> (4 * digits) & 0xF]);
}

} // namespace

char32_t next_character(std::string_view& rest) {
    const auto first = static_cast<unsigned char>(rest.front());
    for (const auto& form : FORMS) {
        if ((first & form.mask) != form.lead) continue;
        if (rest.size() < form.size) break;
        char32_t c = first & static_cast<unsigned char>(~form.mask);
        bool is_whole = true;
        for (size_t i = 1; i < form.size; ++i) {
            const auto byte = static_cast<unsigned char>(rest[i]);
            is_whole = is_whole && (byte & 0xC0) == 0x80;
            c = c << 6 | (byte & 0x3F);
        }
        if (!is_whole || c < form.least || c > LAST_CHARACTER || is_surrogate(c)) break;
        rest.remove_prefix(form.size);
        return c;
    }
    rest.remove_prefix(1);
    return INVALID_UTF8;
}

bool is_control(char32_t c) {
    return std::any_of(std::begin(CONTROLS), std::end(CONTROLS),
                       [c](const auto& range) { return c >= range.first && c <= range.last; });
}

void append_visible(std::string_view text, std::string& out) {
    while (!text.empty()) {
        const std::string_view before = text;
        const char32_t c = next_character(text);
        if (c == '\t' || (c != INVALID_UTF8 && !is_control(c))) {
            out.append(before.substr(0, before.size() - text.size()));
        } else if (c != INVALID_UTF8 && c > 0x7F) {
            out.append("\\u");
            append_hex(c, 4, out);
        } else {
            out.append("\\x");
            append_hex(static_cast<unsigned char>(before.front()), 2, out);
        }
    }
}

std::string visible_text(std::string_view text) {
    std::string out;
    append_visible(text, out);
    return out;
}

namespace {

unsigned oddities_of_byte(unsigned char byte) {
    if (byte < ' ' || byte >= 0x7F) return ODD_BYTES;
    if (byte == '"' || byte == '\\') return QUOTES;
    return byte == ',' ? COMMAS : 0u;
}

} // namespace

unsigned oddities_of(std::string_view text) {
    unsigned found = 0;
    for (const char c : text) found |= oddities_of_byte(static_cast<unsigned char>(c));
    return found;
}

// The NUL at the end and the separators of the fields are not odd.
unsigned oddities_of_record(const char* text, size_t size) {
    if (size == 0) return 0;
    --size;
#ifdef __SSE2__
    constexpr size_t BLOCK = sizeof(__m128i);
    static_assert(BLOCK <= LDF_SPLIT_SLACK);
    const auto same = [](__m128i bytes, int c) {
        return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(static_cast<char>(c)));
    };
    unsigned odd = 0, quotes = 0, commas = 0;
    for (size_t at = 0; at < size; at += BLOCK) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at));
        const __m128i beyond = _mm_cmplt_epi8(bytes, _mm_set1_epi8(' ')); // C0, and what has the highest bit
        const __m128i strange =
            _mm_or_si128(_mm_andnot_si128(same(bytes, LDF_SEPARATOR), beyond), same(bytes, 0x7F));
        const unsigned within = size - at < BLOCK ? (1u << (size - at)) - 1 : 0xFFFFu;
        odd |= static_cast<unsigned>(_mm_movemask_epi8(strange)) & within;
        quotes |=
            static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(same(bytes, '"'), same(bytes, '\\')))) &
            within;
        commas |= static_cast<unsigned>(_mm_movemask_epi8(same(bytes, ','))) & within;
    }
    return (odd != 0 ? ODD_BYTES : 0u) | (quotes != 0 ? QUOTES : 0u) | (commas != 0 ? COMMAS : 0u);
#else
    unsigned found = 0;
    for (size_t i = 0; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte != LDF_SEPARATOR) found |= oddities_of_byte(byte);
    }
    return found;
#endif
}
