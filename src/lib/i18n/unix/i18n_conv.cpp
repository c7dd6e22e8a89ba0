// From UTF-8, in which catalogs are written, to the codeset of the reader's terminal.
#include "i18n/unix/i18n_conv.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iconv.h>

#include "i18n/common/i18n_lang.h"
#include "i18n/unix/i18n_locale.h"

inline namespace taq_1 {

namespace {

constexpr char CATALOG_CODESET[] = "utf8"; // codeset of the texts in the catalogs
const iconv_t NO_DESCRIPTOR = reinterpret_cast<iconv_t>(-1);

bool begins_with(std::string_view name, std::string_view prefix) {
    return i18n_equal_nocase(name.substr(0, prefix.size()), prefix);
}

// One iconv call over the whole input. Returns errno, 0 when everything was converted; *sizep becomes the
// bytes written.
int convert_all(iconv_t cd, const char* msg, size_t msg_size, char* bufferp, size_t* sizep) {
    char* in = const_cast<char*>(msg); // iconv's interface; the input is not written to
    char* out = bufferp;
    size_t out_left = *sizep;
    const bool ok = iconv(cd, &in, &msg_size, &out, &out_left) != static_cast<size_t>(-1);
    const int error = ok ? 0 : errno;
    *sizep -= out_left;
    return error;
}

} // namespace

int i18n_conv_open(const char* lang, const char* codeset, i18n_conv* cdp, i18n_bool* conv_neededp) {
    *cdp = nullptr;
    *conv_neededp = I18N_FALSE;
    if (lang == nullptr || *lang == '\0') return -1;
    if (codeset == nullptr || *codeset == '\0') codeset = i18n_lang_get_system_codeset();
    if (i18n_equal_nocase(codeset, CATALOG_CODESET) || i18n_equal_nocase(lang, I18N_DEFAULT_LANG)) return 0;

    const iconv_t cd = iconv_open(codeset, CATALOG_CODESET);
    if (cd == NO_DESCRIPTOR) return -1;
    *cdp = cd;
    *conv_neededp = I18N_TRUE;
    return 0;
}

int i18n_conv_close(i18n_conv cd) {
    if (cd != nullptr && cd != NO_DESCRIPTOR) (void)iconv_close(cd); // nothing is left to write
    return 0;
}

i18n_conv_traits i18n_conv_traits_of(std::string_view codeset) {
    static constexpr struct {
        const char* _prefix;
        bool _whole; // the prefix is the whole name
        i18n_conv_traits _traits;
    } known[] = {
        {"UTF-8", true, {true, true, true}},       {"UTF8", true, {true, true, true}},
        {"ISO-8859-", false, {true, true, false}}, {"ISO8859-", false, {true, true, false}},
        {"EUC-JP", true, {true, true, false}},     {"eucJP", true, {true, true, false}},
        {"EUC-KR", true, {true, true, false}},     {"eucKR", true, {true, true, false}},
        {"SJIS", true, {true, false, false}}, // some C libraries change '\\' and '~'
    };
    for (const auto& row : known) {
        const std::string_view prefix = row._prefix;
        if (row._whole ? i18n_equal_nocase(codeset, prefix) : begins_with(codeset, prefix))
            return row._traits;
    }
    return {};
}

int i18n_conv_UTF8_to_system(i18n_conv cd, const char* msg, size_t msg_size, char* conv_bufferp,
                             size_t* conv_sizep) {
    if (convert_all(cd, msg, msg_size, conv_bufferp, conv_sizep) == 0) return 0;
    *conv_sizep = 0;
    return -1;
}

int i18n_conv_convert(const char* from_codep, const char* to_codep, const char* msgp, char* conv_bufferp,
                      size_t* conv_sizep) {
    const iconv_t cd = iconv_open(to_codep, from_codep);
    if (cd == NO_DESCRIPTOR) {
        *conv_sizep = 0;
        return I18N_ECONVOPEN;
    }
    const int error = convert_all(cd, msgp, std::strlen(msgp) + 1, conv_bufferp, conv_sizep);
    (void)i18n_conv_close(cd);
    switch (error) {
    case 0: return I18N_SOK;
    case EINVAL:
    case EILSEQ: return I18N_EBADSEQUENCE;
    case E2BIG: return I18N_EBUFSIZE;
    case EBADF: *conv_sizep = 0; return I18N_ECONVOPEN;
    default: *conv_sizep = 0; return I18N_EFAIL;
    }
}

bool i18n_is_ascii(std::string_view text) {
    constexpr uint64_t HIGH_BITS = 0x8080808080808080u;
    const char* p = text.data();
    size_t left = text.size();
    uint64_t word, seen = 0;
    for (; left >= sizeof word; left -= sizeof word, p += sizeof word) {
        std::memcpy(&word, p, sizeof word);
        seen |= word;
    }
    if (left > 0 && text.size() >= sizeof word) { // the last word, which overlaps the one before
        std::memcpy(&word, p + left - sizeof word, sizeof word);
        seen |= word;
        left = 0;
    }
    for (; left > 0; --left, ++p) seen |= static_cast<unsigned char>(*p);
    return (seen & HIGH_BITS) == 0;
}

bool i18n_is_utf8(std::string_view text) {
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* const end = p + text.size();
    while (p < end) {
        const unsigned char lead = *p++;
        if (lead < 0x80) continue;
        if (lead < 0xC2 || lead > 0xF4) return false;
        const int more = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        if (end - p < more) return false;
        // The second byte excludes long forms, surrogates and what lies above U+10FFFF.
        const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        if (*p < low || *p > high) return false;
        for (int i = 1; i < more; ++i)
            if ((p[i] & 0xC0) != 0x80) return false;
        p += more;
    }
    return true;
}

} // namespace taq_1
