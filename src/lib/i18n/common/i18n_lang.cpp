// Names of languages; the lookups themselves go by the two-letter codes.
#include "i18n/common/i18n_lang.h"

#include <algorithm>
#include <cstring>

inline namespace taq_1 {

// Where the standard has changed a code, the old one stays: existing directories and scripts use it.
const i18n_lang_t lang_table[I18N_LANG_COUNT] = {
    {"Abkhazian", "ab"},    {"Afan", "om"},        {"Afar", "aa"},           {"Afrikaans", "af"},
    {"Albanian", "sq"},     {"Amharic", "am"},     {"Arabic", "ar"},         {"Armenian", "hy"},
    {"Assamese", "as"},     {"Aymara", "ay"},      {"Azerbaijani", "az"},    {"Bangla", "bn"},
    {"Bashkir", "ba"},      {"Basque", "eu"},      {"Belarusian", "be"},     {"Bengali", "bn"},
    {"Bhutani", "dz"},      {"Bihari", "bh"},      {"Bislama", "bi"},        {"Breton", "br"},
    {"Bulgarian", "bg"},    {"Burmese", "my"},     {"Cambodian", "km"},      {"Catalan", "ca"},
    {"Chinese", "zh"},      {"Corsican", "co"},    {"Croatian", "hr"},       {"Czech", "cs"},
    {"Danish", "da"},       {"Dutch", "nl"},       {"English", "en"},        {"Esperanto", "eo"},
    {"Estonian", "et"},     {"Faeroese", "fo"},    {"Fiji", "fj"},           {"Finnish", "fi"},
    {"French", "fr"},       {"Frisian", "fy"},     {"Galician", "gl"},       {"Georgian", "ka"},
    {"German", "de"},       {"Greek", "el"},       {"Greenlandic", "kl"},    {"Guarani", "gn"},
    {"Gujarati", "gu"},     {"Hausa", "ha"},       {"Hebrew", "iw"},         {"Hindi", "hi"},
    {"Hungarian", "hu"},    {"Icelandic", "is"},   {"Indonesian", "in"},     {"Interlingua", "ia"},
    {"Interlingue", "ie"},  {"Inupiak", "ik"},     {"Irish", "ga"},          {"Italian", "it"},
    {"Japanese", "ja"},     {"Javanese", "jw"},    {"Kannada", "kn"},        {"Kashmiri", "ks"},
    {"Kazakh", "kk"},       {"Kinyarwanda", "rw"}, {"Kirghiz", "ky"},        {"Kirundi", "rn"},
    {"Korean", "ko"},       {"Kurdish", "ku"},     {"Laothian", "lo"},       {"Latin", "la"},
    {"Latvian", "lv"},      {"Lettish", "lv"},     {"Lingala", "ln"},        {"Lithuanian", "lt"},
    {"Macedonian", "mk"},   {"Malagasy", "mg"},    {"Malay", "ms"},          {"Malayalam", "ml"},
    {"Maltese", "mt"},      {"Maori", "mi"},       {"Marathi", "mr"},        {"Moldavian", "mo"},
    {"Mongolian", "mn"},    {"Nauru", "na"},       {"Nepali", "ne"},         {"Norwegian", "no"},
    {"Occitan", "oc"},      {"Oriya", "or"},       {"Oromo", "om"},          {"Pashto", "ps"},
    {"Persian", "fa"},      {"Polish", "pl"},      {"Portuguese", "pt"},     {"Punjabi", "pa"},
    {"Pushto", "ps"},       {"Quechua", "qu"},     {"Rhaeto-Romance", "rm"}, {"Romanian", "ro"},
    {"Russian", "ru"},      {"Samoan", "sm"},      {"Sangro", "sg"},         {"Sanskrit", "sa"},
    {"Scots Gaelic", "gd"}, {"Serbian", "sr"},     {"Serbo-Croatian", "sh"}, {"Sesotho", "st"},
    {"Setswana", "tn"},     {"Shona", "sn"},       {"Sindhi", "sd"},         {"Singhalese", "si"},
    {"Siswati", "ss"},      {"Slovak", "sk"},      {"Slovenian", "sl"},      {"Somali", "so"},
    {"Spanish", "es"},      {"Sudanese", "su"},    {"Swahili", "sw"},        {"Swedish", "sv"},
    {"Tagalog", "tl"},      {"Tajik", "tg"},       {"Tamil", "ta"},          {"Tatar", "tt"},
    {"Telugu", "te"},       {"Thai", "th"},        {"Tibetan", "bo"},        {"Tigrinya", "ti"},
    {"Tonga", "to"},        {"Tsonga", "ts"},      {"Turkish", "tr"},        {"Turkmen", "tk"},
    {"Twi", "tw"},          {"Ukrainian", "uk"},   {"Urdu", "ur"},           {"Uzbek", "uz"},
    {"Vietnamese", "vi"},   {"Volapuk", "vo"},     {"Welsh", "cy"},          {"Wolof", "wo"},
    {"Xhosa", "xh"},        {"Yiddish", "ji"},     {"Yoruba", "yo"},         {"Zulu", "zu"},
};

namespace {

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

const char* i18n_lang_get_abrev(const char* namep) {
    if (namep == nullptr) return nullptr;
    const auto* end = lang_table + I18N_LANG_COUNT;
    const auto* row = std::lower_bound(lang_table, end, namep, [](const i18n_lang_t& r, const char* name) {
        return std::strcmp(r.name, name) < 0;
    });
    return row != end && std::strcmp(row->name, namep) == 0 ? row->abrev : nullptr;
}

bool i18n_equal_nocase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

} // namespace taq_1
