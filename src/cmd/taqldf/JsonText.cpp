// Escapes what a record brings, for JsonFormat and OtlpFormat.
#include "JsonText.h"

#include <algorithm>

#include "VisibleText.h"

namespace {

constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD"; // U+FFFD

void append_escape(char32_t c, std::string& out) {
    constexpr char DIGITS[] = "0123456789ABCDEF";
    out.append("\\u");
    for (int shift = 12; shift >= 0; shift -= 4) out.push_back(DIGITS[c >> shift & 0xF]);
}

// A string with characters that the JSON library would pass on as they are. False: some bytes are no UTF-8.
bool quote(std::string_view text, std::string& out) {
    bool is_valid = true;
    out.assign(1, '"');
    while (!text.empty()) {
        const std::string_view before = text;
        const char32_t c = next_character(text);
        if (c == INVALID_UTF8) {
            is_valid = false;
            out.append(REPLACEMENT);
        } else if (is_control(c)) {
            append_escape(c, out);
        } else {
            if (c == '"' || c == '\\') out.push_back('\\');
            out.append(before.substr(0, before.size() - text.size()));
        }
    }
    out.push_back('"');
    return is_valid;
}

} // namespace

bool JsonText::text(std::string_view text, unsigned oddities) {
    if ((oddities & ODD_BYTES) == 0 || (oddities_of(text) & ODD_BYTES) == 0) {
        _writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
        return true;
    }
    const bool is_valid = quote(text, _quoted);
    _writer.RawValue(_quoted.data(), _quoted.size(), rapidjson::kStringType);
    return is_valid;
}

std::string base64(std::string_view bytes) {
    constexpr char DIGITS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t n = std::min<size_t>(3, bytes.size() - i);
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < n ? static_cast<unsigned char>(bytes[i + k]) : 0u);
        for (size_t k = 0; k < 4; ++k) out.push_back(k <= n ? DIGITS[group >> (18 - 6 * k) & 0x3F] : '=');
    }
    return out;
}
