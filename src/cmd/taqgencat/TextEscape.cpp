// Between a line of a source and the text it stands for, in both directions.
#include "TextEscape.h"

#include "i18n/unix/i18n_conv.h"

#include <cstdint>

namespace gencat {

namespace {

struct Escape {
    char letter, byte;
};

constexpr Escape ESCAPES[] = {{'n', '\n'}, {'t', '\t'}, {'v', '\v'}, {'b', '\b'}, {'r', '\r'}, {'f', '\f'}};

constexpr char NUL_BYTE[] = "a NUL byte would end the text";
constexpr size_t MAX_OCTAL_DIGITS = 3;

bool is_octal(char c) {
    return '0' <= c && c <= '7';
}

const char* take_octal(std::string_view written, size_t& i, std::string& text) {
    unsigned value = 0;
    const size_t start = i;
    while (i < written.size() && i - start < MAX_OCTAL_DIGITS && is_octal(written[i]))
        value = value * 8 + static_cast<unsigned>(written[i++] - '0');
    if (value == 0) return NUL_BYTE;
    if (value > UINT8_MAX) return "an octal escape goes up to \\377";
    text += static_cast<char>(value);
    return nullptr;
}

// i stands behind the backslash.
const char* take_escape(std::string_view written, size_t& i, std::string& text) {
    if (i == written.size()) return "the text ends in a backslash";
    if (is_octal(written[i])) return take_octal(written, i, text);
    const char letter = written[i++];
    if (letter == '\0') return NUL_BYTE;
    for (const Escape& escape : ESCAPES) {
        if (escape.letter != letter) continue;
        text += escape.byte;
        return nullptr;
    }
    text += letter;
    return nullptr;
}

bool is_blank_rest(std::string_view rest) {
    return rest.find_first_not_of(" \t") == std::string_view::npos;
}

void append_escape(std::string& out, char c) {
    out += '\\';
    for (const Escape& escape : ESCAPES) {
        if (escape.byte != c) continue;
        out += escape.letter;
        return;
    }
    const auto byte = static_cast<uint8_t>(c);
    for (int shift = 6; shift >= 0; shift -= 3) out += static_cast<char>('0' + ((byte >> shift) & 7));
}

} // namespace

const char* unescape_text(std::string_view written, char quote, std::string& text) {
    text.clear();
    const bool quoted = quote != 0 && !written.empty() && written.front() == quote;
    for (size_t i = quoted ? 1 : 0; i < written.size();) {
        const char c = written[i++];
        if (c == '\\') {
            if (const char* reason = take_escape(written, i, text)) return reason;
        } else if (quoted && c == quote) {
            return is_blank_rest(written.substr(i)) ? nullptr : "something follows the closing quote";
        } else if (c == '\0') {
            return NUL_BYTE;
        } else {
            text += c;
        }
    }
    return quoted ? "the closing quote is missing" : nullptr;
}

std::string escape_text(std::string_view text, char quote) {
    const bool bytes_stand = i18n_is_utf8(text); // other bytes become escapes: an editor might change them
    std::string out(1, quote);
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        if (c == quote || c == '\\') {
            (out += '\\') += c;
        } else if (byte < ' ' || byte == 0x7F || (byte > 0x7F && !bytes_stand)) {
            append_escape(out, c);
        } else {
            out += c;
        }
    }
    return out += quote;
}

} // namespace gencat
