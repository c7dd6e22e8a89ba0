// Conversion between codesets by the C library's iconv.
#pragma once

#include <cstddef>
#include <string_view>

#include "i18n/common/i18n_types.h"

inline namespace taq_1 {

typedef void* i18n_conv; // an iconv descriptor; null when there is none

// What is known of a target codeset without asking iconv.
struct i18n_conv_traits {
    bool _stateless = false;   // the bytes of a text do not depend on the texts before it
    bool _keeps_ascii = false; // texts of ASCII characters only come out as they went in
    bool _keeps_utf8 = false;  // well-formed UTF-8 comes out as it went in
};

// Opens the conversion of catalog texts in `lang` from UTF-8 to `codeset`, null or "" meaning the system
// codeset. 0: *conv_neededp tells whether texts need it (not in English, not for a codeset named "utf8"),
// *cdp is the descriptor or null. -1: lang null or empty, or no such conversion; *cdp null, *conv_neededp
// false.
int i18n_conv_open(const char* lang, const char* codeset, i18n_conv* cdp, i18n_bool* conv_neededp);

// Closes a descriptor; nothing for null and for the failure value of iconv_open. Returns 0.
int i18n_conv_close(i18n_conv cd);

// Traits of a codeset; all false for one that is not known to have them.
i18n_conv_traits i18n_conv_traits_of(std::string_view codeset);

// Converts msg_size bytes, the NUL included. 0: *conv_sizep, which is the room at conv_bufferp, becomes the
// bytes written. -1: input invalid or incomplete, or no room; *conv_sizep 0. The shift state of the
// descriptor goes on from text to text.
int i18n_conv_UTF8_to_system(i18n_conv cd, const char* msg, size_t msg_size, char* conv_bufferp,
                             size_t* conv_sizep);

// Converts a NUL-terminated string; see i18nConvertMsg, to which it gives all results but 25 and 26.
int i18n_conv_convert(const char* from_codep, const char* to_codep, const char* msgp, char* conv_bufferp,
                      size_t* conv_sizep);

// Whether every byte is below 128, and whether the bytes are well-formed UTF-8 (no surrogates, shortest
// forms, at most U+10FFFF).
bool i18n_is_ascii(std::string_view text);
bool i18n_is_utf8(std::string_view text);

} // namespace taq_1
