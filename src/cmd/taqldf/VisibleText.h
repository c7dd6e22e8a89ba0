// What a record brings must not drive a terminal, break a line or end a field: control characters of texts
// and arguments become visible before they leave.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Takes the first character off the front of `rest`, which is not empty. INVALID_UTF8, and one byte taken,
// when no well-formed UTF-8 begins there.
inline constexpr char32_t INVALID_UTF8 = 0xFFFFFFFF;
char32_t next_character(std::string_view& rest);

// Whether a character is never shown as it is: C0 and DEL, C1, the separators of lines and paragraphs, and
// the marks that change the direction of a line. A tab counts.
bool is_control(char32_t c);

// What a text holds beside letters, digits and the like. Most texts hold nothing of it, and leave as they
// are.
enum Oddities : unsigned {
    NO_ODDITIES = 0,
    ODD_BYTES = 1, // control characters, tabs among them, and bytes that are not ASCII
    QUOTES = 2,    // quotation marks and backslashes
    COMMAS = 4,
};
unsigned oddities_of(std::string_view text);

// Those of all fields of a record, whose text has `size` bytes; LDF_SPLIT_SLACK bytes behind it are
// addressable.
unsigned oddities_of_record(const char* text, size_t size);

// The text as UTF-8 with control characters as "\x1b" or "\u202e" and bytes that are no character as "\xff".
// Tabs stay.
void append_visible(std::string_view text, std::string& out);
std::string visible_text(std::string_view text);
