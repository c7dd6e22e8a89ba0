// The language and the codeset that the environment and the C locale ask for.
#pragma once

#include <cstddef>

inline namespace taq_1 {

inline constexpr char I18N_ENV_LANG[] = "QENI18N_LANG"; // language of the catalogs; empty means English
inline constexpr char I18N_DEFAULT_LANG[] = "en";
inline constexpr char I18N_DEFAULT_LOCALE[] = "en_US";
inline constexpr char I18N_DEFAULT_CODESET[] = "UTF-8";

// Copies the value of an environment variable, cut at len - 1 bytes and terminated. 0; or -1 when it is
// unset, and the buffer becomes "", or when the buffer is null or its length 0.
int i18n_getenv(const char* namep, char* bufferp, size_t len);

// Writes the reader's language, cut at langp_size - 1 bytes: QENI18N_LANG, or the part of the system locale
// before its first '_', or "en". Returns 0.
int i18n_determine_lang(char* langp, size_t langp_size);

// The locale in use, as "language_territory.codeset@modifier"; "en_US" for "C". The caller releases it with
// free(). Null only without memory.
char* i18n_lang_get_system_locale();

// The codeset of the locale in use, modifier included; "UTF-8" when it names none. Stands in one buffer of
// the process (512 bytes), which the next call overwrites; so one thread at a time.
const char* i18n_lang_get_system_codeset();

} // namespace taq_1
