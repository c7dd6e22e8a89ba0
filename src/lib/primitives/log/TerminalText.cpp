// Escapes for terminals, by the characters of the locale.
#include "primitives/log/TerminalText.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>

inline namespace taq_1 {

namespace {

constexpr struct {
    wchar_t first, last;
} DIRECTION_MARKS[] = {{0x061C, 0x061C}, {0x200E, 0x200F}, {0x202A, 0x202E}, {0x2066, 0x2069}};

constexpr wchar_t LAST_CHARACTER = 0x10FFFF;

bool is_direction_mark(wchar_t c) {
    return std::any_of(std::begin(DIRECTION_MARKS), std::end(DIRECTION_MARKS),
                       [c](const auto& range) { return c >= range.first && c <= range.last; });
}

bool is_shown(wchar_t c, Newlines newlines) {
    if (c == L'\t') return true;
    if (c == L'\n') return newlines == Newlines::KEPT;
    if (c > LAST_CHARACTER) return false; // the C library decodes what would be its UTF-8
    return iswcntrl(static_cast<wint_t>(c)) == 0 && !is_direction_mark(c);
}

void append_escaped(std::string& out, std::string_view bytes) {
    constexpr char DIGITS[] = "0123456789abcdef";
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        out.append("\\x").push_back(DIGITS[code >> 4]);
        out.push_back(DIGITS[code & 0xF]);
    }
}

} // namespace

bool is_plain_for_terminal(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return (c >= ' ' && c <= '~') || c == '\t'; });
}

std::string text_for_terminal(std::string_view text, Newlines newlines) {
    std::string out;
    out.reserve(text.size() + 16);
    std::mbstate_t state = {};
    while (!text.empty()) {
        wchar_t c = 0;
        size_t size = std::mbrtowc(&c, text.data(), text.size(), &state);
        const bool is_character = size <= text.size(); // else one of the two error codes
        if (!is_character) state = {};
        if (!is_character || size == 0) size = 1; // 0: a NUL
        const std::string_view bytes = text.substr(0, size);
        if (is_character && is_shown(c, newlines))
            out.append(bytes);
        else
            append_escaped(out, bytes);
        text.remove_prefix(size);
    }
    return out;
}

} // namespace taq_1
