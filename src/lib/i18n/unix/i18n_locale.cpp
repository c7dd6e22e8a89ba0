// Finds the language and the codeset that this process wants: the first step of an open.
#include "i18n/unix/i18n_locale.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

inline namespace taq_1 {

namespace {

constexpr size_t CODESET_SIZE = 512;

// The name of a category's current locale; "" instead of null.
const char* current_locale(int category) {
    const char* name = std::setlocale(category, nullptr);
    return name == nullptr ? "" : name;
}

bool is_composite(const char* locale) {
    return std::strchr(locale, ';') != nullptr;
}

// The locale that was asked for, which may still be "C". Refers to the C library's or the environment's
// string.
const char* requested_locale() {
    const char* all = std::setlocale(LC_ALL, nullptr);
    if (all != nullptr && !is_composite(all)) return all;
    if (const char* messages = std::getenv("LC_MESSAGES")) return messages;
    if (const char* lang = std::getenv("LANG")) return lang;
    return current_locale(LC_CTYPE);
}

// What follows the last '.', or null when nothing does.
const char* codeset_of(const char* locale) {
    const char* dot = std::strrchr(locale, '.');
    return dot != nullptr && dot[1] != '\0' ? dot + 1 : nullptr;
}

void copy_cut(char* bufferp, size_t len, const char* text) {
    (void)std::snprintf(bufferp, len, "%s", text);
}

} // namespace

int i18n_getenv(const char* namep, char* bufferp, size_t len) {
    if (bufferp == nullptr || len == 0) return -1;
    const char* value = std::getenv(namep);
    copy_cut(bufferp, len, value == nullptr ? "" : value);
    return value == nullptr ? -1 : 0;
}

int i18n_determine_lang(char* langp, size_t langp_size) {
    if (i18n_getenv(I18N_ENV_LANG, langp, langp_size) == 0) {
        if (*langp == '\0') copy_cut(langp, langp_size, I18N_DEFAULT_LANG);
        return 0;
    }
    char* locale = i18n_lang_get_system_locale();
    char* underscore = locale == nullptr ? nullptr : std::strchr(locale, '_');
    const bool has_language = underscore != nullptr && underscore != locale;
    if (has_language) *underscore = '\0';
    copy_cut(langp, langp_size, has_language ? locale : I18N_DEFAULT_LANG);
    std::free(locale);
    return 0;
}

char* i18n_lang_get_system_locale() {
    const char* locale = requested_locale();
    const bool unusable =
        *locale == '\0' || std::strcmp(locale, "C") == 0 || std::strncmp(locale, "C ", 2) == 0;
    return ::strdup(unusable ? I18N_DEFAULT_LOCALE : locale);
}

const char* i18n_lang_get_system_codeset() {
    static char codeset[CODESET_SIZE];
    char* locale = i18n_lang_get_system_locale();
    const char* found = locale == nullptr ? nullptr : codeset_of(locale);
    if (found == nullptr) found = codeset_of(current_locale(LC_CTYPE));
    copy_cut(codeset, sizeof codeset, found == nullptr ? I18N_DEFAULT_CODESET : found);
    std::free(locale);
    return codeset;
}

} // namespace taq_1
