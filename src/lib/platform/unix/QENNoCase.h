// Compares names without regard to the case of their letters, as the C library and the locale see them.
#pragma once

#include <string_view>
#include <strings.h>

inline namespace taq_1 {

// Negative, 0 or positive: a comes before b, is equal, or comes after it.
inline int QENCompareNoCase(const char* a, const char* b) {
    return strcasecmp(a, b);
}

inline bool QENEqualNoCase(const char* a, const char* b) {
    return strcasecmp(a, b) == 0;
}

// For texts that hold no NUL and need none.
inline bool QENEqualNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

} // namespace taq_1
