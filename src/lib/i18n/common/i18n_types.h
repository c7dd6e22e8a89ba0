// Result codes and small types of the catalog service.
#pragma once

#include <cstdint>

inline namespace taq_1 {

enum i18n_bool { I18N_FALSE = 0, I18N_TRUE = 1 };

// What the operations of this family return.
enum i18n_result {
    I18N_EFAIL = -1, // no handle (close, queries); new language failed (i18nChangeLang)
    I18N_SOK = 0,
    I18N_ESPECCOUNT = 1, // arguments do not fit the text, in number or in size
    I18N_ECONV = 2,      // the text cannot be converted to the system codeset
    I18N_ENOTFOUND = 3,  // no catalog of the category, or no message of the number
    I18N_EBADHANDLE = 4, // no handle or no catalogs; also a damaged message record
    I18N_ECONVOPEN = 5,  // no conversion between these codesets
    I18N_EBMC = 6,       // map file or catalog file missing, unreadable or malformed
    I18N_ENODIR = 7,     // the root or its "messages" is no directory
    I18N_ENOMEM = 8,
    I18N_ENOLANG = 9,        // the language has no directory
    I18N_EBUFSIZE = 10,      // the buffer is too small
    I18N_ELANGMISMATCH = 11, // the map file names another language
    I18N_EEOF = 12,          // the map file ended; never leaves the map reader
    I18N_EINVAL = 13,        // no root path
    I18N_ENOCODESET = 25,    // i18nConvertMsg: a codeset without a name
    I18N_ESAMECODESET = 26   // i18nConvertMsg: both codesets have the same name
};

// i18nConvertMsg: an invalid or incomplete sequence. Has the number of I18N_ESPECCOUNT.
inline constexpr int I18N_EBADSEQUENCE = 1;

// A piece of a text: literal bytes, then one argument.
struct i18n_piece {
    uint32_t _offset; // of the literal bytes in the text
    uint32_t _size;   // of the literal bytes; may be 0
    int32_t _arg;     // 0-based index of the argument, which may be past the last; I18N_NO_ARG for none
};
inline constexpr int32_t I18N_NO_ARG = -1;

} // namespace taq_1
