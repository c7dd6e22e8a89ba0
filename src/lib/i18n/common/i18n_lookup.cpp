// The lookups of the public set: find the text, check that the arguments fit, put them in, convert.
#include <algorithm>
#include <cstring>
#include <new>

#include "i18n/common/i18n_internal.h"

inline namespace taq_1 {

namespace {

// The codeset in which a text is wanted.
enum target { SYSTEM_CODESET, UTF8 };

struct arguments {
    const std::string_view* _argv;
    size_t _argc;
};

// Most bytes of a text, its NUL included, that arguments_fit accepts without arguments.
constexpr size_t LONGEST_SAFE_TEXT = I18N_CONV_BUFFSIZE - 2;
constexpr size_t ANY_LENGTH = SIZE_MAX;

constexpr std::string_view all_missing[I18N_MAX_ARGS] = {I18N_MISSING_ARG, I18N_MISSING_ARG,
                                                         I18N_MISSING_ARG, I18N_MISSING_ARG,
                                                         I18N_MISSING_ARG, I18N_MISSING_ARG};

int fail(int rc, char** msgp, int32_t* sizep) {
    *msgp = nullptr;
    *sizep = 0;
    return rc;
}

bool arguments_fit(const i18n_t& i18n, const i18n_text& text, arguments args) {
    return text._spec_count == args._argc &&
           i18n_get_args_len(args._argv, args._argc) + text._record_size < i18n._conv_buffsize;
}

// Finds a text for a safe lookup. When the arguments do not fit, *argsp becomes one "???" for each specifier.
int find_safe_text(i18n_t* i18np, uint32_t catID, uint32_t msgID, arguments* argsp, i18n_text** textpp) {
    if (int rc = i18n_find_text(i18np, catID, msgID, LONGEST_SAFE_TEXT, textpp)) return rc;
    if (arguments_fit(*i18np, **textpp, *argsp)) return I18N_SOK;
    if ((*textpp)->_spec_count > I18N_MAX_ARGS) return I18N_ESPECCOUNT;
    // The second attempt is a lookup of its own and counts as another use of the catalog.
    if (int rc = i18n_find_text(i18np, catID, msgID, LONGEST_SAFE_TEXT, textpp)) return rc;
    *argsp = {all_missing, (*textpp)->_spec_count};
    return arguments_fit(*i18np, **textpp, *argsp) ? I18N_SOK : I18N_ESPECCOUNT;
}

i18n_formatted format(const i18n_text& text, arguments args, char* dst, size_t room) {
    if (text.is_kept())
        return i18n_format(text._text.data(), text._pieces.data(), text._pieces.size(), args._argv,
                           args._argc, dst, room);
    return i18n_format(text._text, args._argv, args._argc, dst, room);
}

// Whether iconv would give the text back as it is; false when it is not known.
bool converts_to_itself(const i18n_conv_traits& traits, std::string_view text) {
    if (!traits._keeps_ascii) return false;
    return i18n_is_ascii(text) || (traits._keeps_utf8 && i18n_is_utf8(text));
}

// Converts a text of which `size` bytes, the NUL included, stand at src, into the handle's buffer. A codeset
// that writes the NUL as something else gives no text that a caller could use.
int convert(i18n_t* i18np, const char* src, size_t size, size_t* convertedp) {
    const char* const buffer = i18np->_conv_bufferp.get();
    *convertedp = i18np->_conv_buffsize;
    const int rc = i18n_conv_UTF8_to_system(i18np->_cd, src, size, i18np->_conv_bufferp.get(), convertedp);
    if (rc != 0 || *convertedp == 0 || buffer[*convertedp - 1] != '\0') return I18N_ECONV;
    return I18N_SOK;
}

// Keeps the conversion of a text without arguments, when it cannot depend on what was converted before.
void keep_conversion(const i18n_t& i18n, i18n_text* textp, size_t size) {
    if (!i18n._traits._stateless || !textp->is_kept() || textp->_spec_count != 0) return;
    textp->_convertedp.reset(new (std::nothrow) char[size]);
    if (!textp->_convertedp) return; // it will be converted again
    std::memcpy(textp->_convertedp.get(), i18n._conv_bufferp.get(), size);
    textp->_converted_size = size;
}

int finish_unformatted(i18n_t* i18np, target to, const i18n_text& text, char** msgp, int32_t* sizep) {
    if (i18np->_need_conversion && to == SYSTEM_CODESET) {
        size_t size;
        if (int rc = convert(i18np, text._text.data(), text._text.size() + 1, &size))
            return fail(rc, msgp, sizep);
        *msgp = i18np->_conv_bufferp.get();
        *sizep = static_cast<int32_t>(size);
        return I18N_SOK;
    }
    // The caller may write into what it is given, so a kept text is handed out as a copy. The raw buffer
    // held it when it was read and has not become smaller.
    if (text.is_kept()) {
        I18N_ASSERT(text._record_size <= i18np->_bmc_buffsize);
        std::memcpy(i18np->_bmc_bufferp.get(), text._text.data(), text._record_size);
    }
    *msgp = i18np->_bmc_bufferp.get();
    *sizep = static_cast<int32_t>(text._record_size);
    return I18N_SOK;
}

// Converts the formatted text that stands in the handle's buffer, `size` bytes with its NUL, in place.
int convert_formatted(i18n_t* i18np, i18n_text* textp, size_t* sizep) {
    char* const buffer = i18np->_conv_bufferp.get();
    if (converts_to_itself(i18np->_traits, {buffer, *sizep - 1})) return I18N_SOK;
    char work[I18N_CONV_BUFFSIZE];
    std::memcpy(work, buffer, *sizep);
    if (int rc = convert(i18np, work, *sizep, sizep)) return rc;
    keep_conversion(*i18np, textp, *sizep);
    return I18N_SOK;
}

int finish_formatted(i18n_t* i18np, target to, i18n_text* textp, arguments args, char** msgp,
                     int32_t* sizep) {
    char* const buffer = i18np->_conv_bufferp.get();
    const bool converts = i18np->_need_conversion && to == SYSTEM_CODESET;
    size_t size;
    if (converts && textp->_convertedp) {
        size = textp->_converted_size;
        std::memcpy(buffer, textp->_convertedp.get(), size);
    } else {
        size = format(*textp, args, buffer, i18np->_conv_buffsize - 1)._size;
        buffer[size++] = '\0';
        if (converts)
            if (int rc = convert_formatted(i18np, textp, &size)) return fail(rc, msgp, sizep);
    }
    *msgp = buffer;
    *sizep = static_cast<int32_t>(size);
    return I18N_SOK;
}

int get_safe(void** i18nhp, uint32_t catID, uint32_t msgID, target to, arguments args, char** msgp,
             int32_t* sizep) {
    i18n_t* i18np = i18n_record(i18nhp);
    i18n_text* textp = nullptr;
    if (i18np == nullptr) return fail(I18N_EBADHANDLE, msgp, sizep);
    if (int rc = find_safe_text(i18np, catID, msgID, &args, &textp)) return fail(rc, msgp, sizep);
    return finish_formatted(i18np, to, textp, args, msgp, sizep);
}

int get_safe(void** i18nhp, uint32_t catID, uint32_t msgID, target to,
             const char* const (&strings)[I18N_MAX_ARGS], char** msgp, int32_t* sizep) {
    std::string_view argv[I18N_MAX_ARGS];
    const size_t argc = i18n_count_args(strings, I18N_MAX_ARGS);
    for (size_t i = 0; i < argc; ++i) argv[i] = strings[i];
    return get_safe(i18nhp, catID, msgID, to, arguments{argv, argc}, msgp, sizep);
}

// A va_list in a struct: a bare one may be an array, which cannot be passed by value.
struct variable_args {
    va_list _list;
};

// Takes as many arguments as the text reaches; a null pointer ends them earlier.
int get_unsafe(void** i18nhp, uint32_t catID, uint32_t msgID, target to, char** msgp, int32_t* sizep,
               variable_args& args) {
    i18n_t* i18np = i18n_record(i18nhp);
    i18n_text* textp = nullptr;
    if (i18np == nullptr) return fail(I18N_EBADHANDLE, msgp, sizep);
    if (int rc = i18n_find_text(i18np, catID, msgID, ANY_LENGTH, &textp)) return fail(rc, msgp, sizep);

    std::string_view argv[I18N_MAX_ARGS];
    size_t argc = 0;
    for (const size_t reached = std::min(i18n_args_reached(textp->_text), I18N_MAX_ARGS); argc < reached;
         ++argc) {
        const char* argp = va_arg(args._list, const char*);
        if (argp == nullptr) break;
        argv[argc] = argp;
    }
    return finish_formatted(i18np, to, textp, {argv, argc}, msgp, sizep);
}

bool repeats_an_argument(const i18n_text& text) {
    uint32_t seen = 0;
    for (const i18n_piece& piece : text._pieces) {
        if (piece._arg == I18N_NO_ARG) continue;
        const uint32_t bit = uint32_t{1} << piece._arg; // at most KEPT_PIECES_MAX of them
        if ((seen & bit) != 0) return true;
        seen |= bit;
    }
    return false;
}

// Formats straight into the caller's buffer; false when the text needs iconv or more than cap bytes.
bool format_directly(const i18n_t& i18n, const i18n_text& text, arguments args, char* dst, size_t cap,
                     size_t* lenp) {
    const size_t longest = i18n._conv_buffsize - 1;
    if (i18n._need_conversion && (text._convertedp || !i18n._traits._keeps_ascii)) return false;
    const i18n_formatted done = format(text, args, dst, std::min(cap, longest));
    if (done._cut && cap < longest) return false;
    if (i18n._need_conversion && !converts_to_itself(i18n._traits, {dst, done._size})) return false;
    *lenp = done._size;
    return true;
}

// Copies a finished text of `size` bytes, its NUL included, to the caller.
int copy_out(const char* text, size_t size, char* dst, size_t cap, size_t* lenp) {
    const size_t len = size == 0 ? 0 : size - 1;
    if (len > cap) return I18N_EBUFSIZE;
    if (len > 0) std::memcpy(dst, text, len); // dst may be null
    *lenp = len;
    return I18N_SOK;
}

} // namespace

int i18nGetSafeMsg(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep,
                   const char* arg1p, const char* arg2p, const char* arg3p, const char* arg4p,
                   const char* arg5p, const char* arg6p) {
    return get_safe(i18nhp, catID, msgID, SYSTEM_CODESET, {arg1p, arg2p, arg3p, arg4p, arg5p, arg6p}, msgp,
                    sizep);
}

int i18nGetSafeUTF8Msg(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep,
                       const char* arg1p, const char* arg2p, const char* arg3p, const char* arg4p,
                       const char* arg5p, const char* arg6p) {
    return get_safe(i18nhp, catID, msgID, UTF8, {arg1p, arg2p, arg3p, arg4p, arg5p, arg6p}, msgp, sizep);
}

int i18nGetSafeMsgViews(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep,
                        const std::string_view* argv, size_t argc) {
    return get_safe(i18nhp, catID, msgID, SYSTEM_CODESET, arguments{argv, std::min(argc, I18N_MAX_ARGS)},
                    msgp, sizep);
}

int i18nFormatSafeTo(void** i18nhp, uint32_t catID, uint32_t msgID, const std::string_view* argv, size_t argc,
                     char* dst, size_t cap, size_t* lenp) {
    i18n_t* i18np = i18n_record(i18nhp);
    i18n_text* textp = nullptr;
    arguments args{argv, std::min(argc, I18N_MAX_ARGS)};
    *lenp = 0;
    if (dst == nullptr) cap = 0;
    if (i18np == nullptr) return I18N_EBADHANDLE;
    if (int rc = find_safe_text(i18np, catID, msgID, &args, &textp)) return rc;

    if (format_directly(*i18np, *textp, args, dst, cap, lenp)) return I18N_SOK;
    char* converted = nullptr;
    int32_t size = 0;
    if (int rc = finish_formatted(i18np, SYSTEM_CODESET, textp, args, &converted, &size)) return rc;
    return copy_out(converted, static_cast<size_t>(size), dst, cap, lenp);
}

int i18nGetTemplate(void** i18nhp, uint32_t catID, uint32_t msgID, i18nTemplate* templatep) {
    i18n_t* i18np = i18n_record(i18nhp);
    i18n_text* textp = nullptr;
    if (i18np == nullptr) return I18N_EBADHANDLE;
    if (int rc = i18n_find_text(i18np, catID, msgID, LONGEST_SAFE_TEXT, &textp)) return rc;
    const size_t fixed = textp->_record_size + size_t{2}; // for arguments_fit
    const bool converts = i18np->_need_conversion;
    if (converts && !converts_to_itself(i18np->_traits, textp->_text)) return I18N_EFAIL;
    if (!textp->is_kept() || fixed > i18np->_conv_buffsize) return I18N_EFAIL;
    if (textp->_spec_count > I18N_MAX_ARGS || repeats_an_argument(*textp)) return I18N_EFAIL;
    *templatep = {textp->_text,       textp->_pieces.data(),         textp->_pieces.size(),
                  textp->_spec_count, i18np->_conv_buffsize - fixed, /*needs_ascii=*/converts};
    return I18N_SOK;
}

int i18nGetSimpleMsg(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep) {
    i18n_t* i18np = i18n_record(i18nhp);
    i18n_text* textp = nullptr;
    if (i18np == nullptr) return fail(I18N_EBADHANDLE, msgp, sizep);
    if (int rc = i18n_find_text(i18np, catID, msgID, ANY_LENGTH, &textp)) return fail(rc, msgp, sizep);
    return finish_unformatted(i18np, SYSTEM_CODESET, *textp, msgp, sizep);
}

int i18nGetMsg(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep, ...) {
    variable_args args;
    va_start(args._list, sizep);
    const int rc = get_unsafe(i18nhp, catID, msgID, SYSTEM_CODESET, msgp, sizep, args);
    va_end(args._list);
    return rc;
}

int i18nGetMsgV(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep, va_list args) {
    variable_args copy;
    va_copy(copy._list, args);
    const int rc = get_unsafe(i18nhp, catID, msgID, SYSTEM_CODESET, msgp, sizep, copy);
    va_end(copy._list);
    return rc;
}

int i18nGetUTF8Msg(void** i18nhp, uint32_t catID, uint32_t msgID, char** msgp, int32_t* sizep, ...) {
    variable_args args;
    va_start(args._list, sizep);
    const int rc = get_unsafe(i18nhp, catID, msgID, UTF8, msgp, sizep, args);
    va_end(args._list);
    return rc;
}

} // namespace taq_1
