// Message texts as they are written in sources.
#pragma once

#include <string>
#include <string_view>

namespace gencat {

// Resolves the escapes of a text whose continuation lines are joined already, and removes the quotes when
// it begins with quote (0: none). Returns null, or the reason why the text is refused.
const char* unescape_text(std::string_view written, char quote, std::string& text);

// The text between quotes; unescape_text gives it back. Control characters become escapes; in a
// text that is not UTF-8, so does every byte above 127.
std::string escape_text(std::string_view text, char quote);

} // namespace gencat
