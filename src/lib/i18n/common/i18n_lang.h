// Language names and codes, and comparing names without regard to case.
#pragma once

#include <cstddef>
#include <string_view>

inline namespace taq_1 {

struct i18n_lang_t {
    char name[32];  // English name
    char abrev[32]; // two-letter code, which names the language's directory
};

inline constexpr size_t I18N_LANG_COUNT = 140;
extern const i18n_lang_t lang_table[I18N_LANG_COUNT]; // ascending by name, in byte order

// Two-letter code of a language by its English name, exact in case; null for an unknown or null name.
const char* i18n_lang_get_abrev(const char* namep);

// Whether two names are equal but for the case of ASCII letters, whatever the locale.
bool i18n_equal_nocase(std::string_view a, std::string_view b);

} // namespace taq_1
