// Text in a buffer of fixed size; what does not fit is cut off.
#pragma once

#include <algorithm>
#include <charconv>
#include <concepts>
#include <cstring>
#include <string_view>

inline namespace taq_1 {

// Room for Size - 1 characters and a NUL, on the stack. Neither allocates nor calls anything that a signal
// handler must not call.
template <size_t Size>
class FixedText {
public:
    FixedText() { _text[0] = '\0'; } // the rest stays as it is: entries are short, the buffer is not
    FixedText(const FixedText&) = delete;
    FixedText& operator=(const FixedText&) = delete;

    FixedText& operator<<(std::string_view piece) {
        const size_t length = std::min(piece.size(), Size - 1 - _used);
        if (length > 0) std::memcpy(_text + _used, piece.data(), length);
        _used += length;
        _text[_used] = '\0';
        return *this;
    }
    template <std::integral Number>
    requires(!std::same_as<Number, char> && !std::same_as<Number, bool>) FixedText&
    operator<<(Number number) {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        return *this << std::string_view(digits, static_cast<size_t>(end - digits));
    }

    const char* text() const { return _text; }
    size_t size() const { return _used; }

private:
    size_t _used = 0;
    char _text[Size];
};

} // namespace taq_1
