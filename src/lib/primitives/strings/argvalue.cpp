// Finds an option word by its unambiguous beginning.
#include "primitives/strings/argvalue.h"

#include <cstring>

inline namespace taq_1 {

namespace {

// A word stands before longer words that begin with it, so that the full word is found before they make it
// ambiguous.
#define QEN_ARGUMENT_WORD(code, word) word,
const char* const arguments[ARG_ERROR] = {QEN_ARGUMENT_WORDS(QEN_ARGUMENT_WORD)};
#undef QEN_ARGUMENT_WORD

} // namespace

argvalue_t argvalue(const char* word) {
    if (word == nullptr) return ARG_ERROR;
    const size_t length = std::strlen(word);
    int matches = 0;
    int last = ARG_ERROR;
    for (int i = 0; i < ARG_ERROR; ++i) {
        if (std::strncmp(arguments[i], word, length) != 0) continue;
        ++matches;
        last = i;
        if (arguments[i][length] == '\0') break;
    }
    return matches == 1 ? static_cast<argvalue_t>(last) : ARG_ERROR;
}

const char* argname(int value) {
    return value >= 0 && value < ARG_ERROR ? arguments[value] : "unknown argument";
}

int is_blank(const char* s) {
    return s == nullptr || s[std::strspn(s, " ")] == '\0';
}

} // namespace taq_1
