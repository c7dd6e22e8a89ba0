// Message catalogs: the text of a message in the reader's language, found by category and number.
//
// A caller opens the catalogs of one module in one language, looks texts up, and closes the handle:
//
//     void* h = nullptr;
//     if (i18nOpen(&h, "/opt/KAVO", "KORE", nullptr) != I18N_SOK) ...;
//     char* text; int32_t size;
//     if (i18nGetSafeMsg(&h, 25, 3, &text, &size, "N_A") == I18N_SOK) fwrite(text, 1, size - 1, stdout);
//     i18nClose(&h);
//
// A handle is a null pointer (closed) or refers to an open set of catalogs; it is passed by address and
// belongs to the caller. Texts are stored in UTF-8 and come back in the system codeset, except from the
// UTF8 variants. A text has its arguments at "%s" or at "%1$s" to "%6$s"; "%%" is one '%' and everything else
// stands for itself.
//
// Results are i18n_result codes; nothing is printed. A failed lookup leaves the handle usable.
//
// Threads: no lock is taken. All calls on one handle, and the use of the texts that it returned, must be
// serialised by the caller; different handles are independent. i18nOpen and i18nChangeLang may read the
// process locale and call i18nGetSystemCodeset, whose buffer is one for the process.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string_view>

#include "i18n_id.h"
#include "i18n_memory.h"
#include "i18n_types.h"

inline namespace taq_1 {

inline constexpr size_t I18N_MAX_ARGS = 6;         // arguments of a text
inline constexpr size_t I18N_CONV_BUFFSIZE = 4096; // bytes of the longest finished text, its NUL included

// Opens the catalogs of modulep under the catalog root pathp in the language langp; null or "" takes the
// language from the environment (QENI18N_LANG, then the locale). Only the map file is read here.
// Results: I18N_SOK and *i18nhp set; else *i18nhp is unchanged: I18N_EINVAL null root, I18N_EBADHANDLE null
// i18nhp, I18N_ECONVOPEN, I18N_ENOMEM, I18N_ENODIR, I18N_ENOLANG, I18N_EBMC, I18N_ELANGMISMATCH.
int i18nOpen(void** i18nhp, const char* pathp, const char* modulep, const char* langp);

// The values that an open takes from environment and locale. They can be settled early and the files read
// late: later changes of environment and locale do not matter.
struct i18nSettings {
    i18n_string root;    // catalog root
    i18n_string lang;    // may be replaced, for instance to try English after another language
    i18n_string codeset; // to which texts are converted
};

// Settles root and language as i18nOpen would, and the system codeset. Reads no file. I18N_SOK; I18N_EINVAL
// null root; I18N_ENOMEM. On failure *settingsp is unspecified.
int i18nSettle(i18nSettings* settingsp, const char* pathp, const char* langp);

// Opens the catalogs of modulep with settings made before; results as for i18nOpen. i18nChangeLang settles
// the codeset anew, as it opens anew.
int i18nOpenSettled(void** i18nhp, const i18nSettings& settings, const char* modulep);

// Closes a handle and sets it to null; every text that it returned is gone. I18N_EFAIL: no handle.
int i18nClose(void** i18nhp);

// Changes the language by closing and opening again. I18N_SOK: changed, or it was that language already.
// I18N_EFAIL: the new language cannot be opened; the old one is open again, or, if that failed too, the
// handle is null. I18N_EBADHANDLE: no handle. I18N_ENOMEM: nothing was changed. langp as for i18nOpen.
int i18nChangeLang(void** i18nhp, const char* langp);

// Looks a text up and puts the arguments in; the first null ends them. When their number is not that of the
// text's specifiers, or text and arguments exceed I18N_CONV_BUFFSIZE, the text comes with "???" for each.
// I18N_SOK: *msgp is the NUL-terminated text, valid until the next lookup, i18nChangeLang or i18nClose on
// this handle; *sizep is its length in bytes, the NUL included. Other results set *msgp null and *sizep 0:
// I18N_ESPECCOUNT more than six specifiers, or the text alone is too long (then it is not even read);
// I18N_ECONV; I18N_ENOTFOUND; I18N_EBADHANDLE; I18N_EBMC; I18N_ENOMEM.
int i18nGetSafeMsg(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep,
                   const char* arg1p = nullptr, const char* arg2p = nullptr, const char* arg3p = nullptr,
                   const char* arg4p = nullptr, const char* arg5p = nullptr, const char* arg6p = nullptr);

// The same for arguments whose lengths are known: argc views (at most I18N_MAX_ARGS; more are left out)
// that need no NUL. Repeated lookups of a text make no system call and allocate nothing.
int i18nGetSafeMsgViews(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep,
                        const std::string_view* argv, size_t argc);

// The same straight into the caller's buffer: on I18N_SOK *lenp bytes of text, without a NUL, stand at
// dst. The results are those of i18nGetSafeMsgViews, and I18N_EBUFSIZE when the text has more than cap bytes;
// that cannot happen with a cap of I18N_CONV_BUFFSIZE - 1 or more. A null dst has room for nothing. On
// failure *lenp is 0 and dst may have been overwritten. Texts that the handle returned earlier are no longer
// valid.
int i18nFormatSafeTo(void** i18nhp, uint32_t catID, uint32_t msgID, const std::string_view* argv, size_t argc,
                     char* dst, size_t cap, size_t* lenp);

// The pieces of a text, for a caller that formats it many times. Points into the handle.
struct i18nTemplate {
    std::string_view text;
    const i18n_piece* pieces; // in the order of the text; each argument stands in one of them at most
    size_t piece_count;
    size_t arg_count;     // a lookup with another number of arguments shows "???"
    size_t args_size_max; // bytes of all arguments together; a lookup with more shows "???"
    bool needs_ascii;     // arguments that are not ASCII would have to be converted
};

// I18N_SOK: arg_count arguments within these bounds, put between the pieces, give the text that
// i18nFormatSafeTo gives, as long as the handle is open in this language. *templatep is valid until the next
// call on the handle. I18N_EFAIL: this text must be looked up each time. Other results as for a lookup.
int i18nGetTemplate(void** i18nhp, uint32_t catID, uint32_t msgID, i18nTemplate* templatep);

// As i18nGetSafeMsg, but the text stays UTF-8.
int i18nGetSafeUTF8Msg(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep,
                       const char* arg1p = nullptr, const char* arg2p = nullptr, const char* arg3p = nullptr,
                       const char* arg4p = nullptr, const char* arg5p = nullptr, const char* arg6p = nullptr);

// Looks a text up and returns it as it is stored, specifiers included (converted to the system codeset). A
// text that needs no conversion may be as long as its file.
int i18nGetSimpleMsg(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep);

// Look a text up and put the caller's arguments in, all of type const char*, without a check of their number.
// As many are taken as the text has positions, at most six, and none after a null pointer: a list that ends
// with a null pointer is safe for every text. A position without argument shows "???"; the result is cut at
// I18N_CONV_BUFFSIZE bytes, its NUL included. The UTF8 form does not convert.
int i18nGetMsg(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep, ...);
int i18nGetMsgV(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep, va_list args);
int i18nGetUTF8Msg(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep, ...);

// Number of catalog files that the handle has open, at most five; I18N_EFAIL without a handle.
int i18nGetOpenHandleCount(void** i18nhp);

// The lowest and highest message number of a category as the map file tells them. I18N_EFAIL: no handle
// or no such category.
int i18nGetIDRange(void** i18nhp, uint32_t catID, uint32_t* minp, uint32_t* maxp);

// Prints the handle's state to standard output, for debugging.
void i18nPrintStats(void** i18nhp);

// Codeset of the locale, "UTF-8" by default, in a buffer of the process that the next call overwrites.
const char* i18nGetSystemCodeset();

// Converts the NUL-terminated msgp, its NUL included, between two codesets that iconv knows. *conv_sizep is
// the size of conv_bufferp and receives the bytes written. Results: I18N_SOK; I18N_ENOCODESET a null or empty
// name; I18N_ESAMECODESET names equal without regard to case, nothing done; I18N_ECONVOPEN no such
// conversion; I18N_EBADSEQUENCE invalid or incomplete input, what precedes it is written; I18N_EBUFSIZE no
// more room, what fitted is written; I18N_EFAIL.
int i18nConvertMsg(const char* from_codep, const char* to_codep, const char* msgp, char* conv_bufferp,
                   size_t* conv_sizep);

// Whether a string is well-formed UTF-8; a null pointer is not.
i18n_bool i18nIsValidUTFString(const char* s);

} // namespace taq_1
