// What a record or a command line brings must not drive the reader's terminal: there, and only there, control
// characters become visible.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "primitives/log/LogText.h"

inline namespace taq_1 {

enum class Newlines : bool { ESCAPED, KEPT };

// Whether the bytes are plain ASCII and tabs, which every terminal shows as they are.
bool is_plain_for_terminal(std::string_view text);

// The text with each byte of these characters as "\x1b": what the locale calls a control character, DEL and
// a newline included; bytes that are no character of the locale's codeset; and the marks that change the
// direction of a line (U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069). A tab stays.
std::string text_for_terminal(std::string_view text, Newlines newlines = Newlines::ESCAPED);

// At most N arguments, escaped where that is needed. Refers to the arguments or to its own copies. Null data
// stays null.
template <size_t N>
class ArgsForTerminal {
public:
    explicit ArgsForTerminal(ArgViews args) {
        for (std::string_view arg : args) {
            if (_count == N) break;
            if (!is_plain_for_terminal(arg)) arg = _copies[_count] = text_for_terminal(arg);
            _views[_count++] = arg;
        }
    }
    ArgViews views() const { return {_views.data(), _count}; }

private:
    size_t _count = 0;
    std::array<std::string, N> _copies;
    std::array<std::string_view, N> _views;
};

// Whether any argument needs it.
inline bool are_plain_for_terminal(ArgViews args) {
    for (std::string_view arg : args)
        if (!is_plain_for_terminal(arg)) return false;
    return true;
}

} // namespace taq_1
