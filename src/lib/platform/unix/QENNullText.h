// The text that stands for a null string, as printf shows it.
#pragma once

inline namespace taq_1 {

inline constexpr char QEN_NULL_TEXT[] = "(null)";

// s, or QEN_NULL_TEXT.
inline const char* QENTextOf(const char* s) {
    return s != nullptr ? s : QEN_NULL_TEXT;
}

} // namespace taq_1
