// The first file that an open reads: lines become entries, entries become the table of catalogs.
#include "i18n/common/bmcmap.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "i18n/common/i18n_lang.h"

inline namespace taq_1 {

namespace {

constexpr std::string_view BLANKS = " \t\r\n";
constexpr std::string_view SEPARATORS = ":=";
constexpr char CONTINUES = '\\'; // last character of a line that goes on

struct stream_closer {
    void operator()(std::FILE* fp) const { (void)std::fclose(fp); } // only read
};

// Reads one line, or the first BMCMAP_LINE_MAX bytes of a longer one. A piece counts only when
// something follows it, a newline or the rest of its line.
int read_piece(std::FILE* fp, i18n_string* linep) {
    linep->clear();
    for (;;) {
        const int c = ::getc_unlocked(fp);
        if (c == EOF) return I18N_EEOF;
        if (c == '\n') return I18N_SOK;
        if (linep->size() == BMCMAP_LINE_MAX) {
            (void)std::ungetc(c, fp); // one character can always be put back
            return I18N_SOK;
        }
        if (c == '\0') return I18N_EBMC;
        linep->push_back(static_cast<char>(c));
    }
}

// Reads the next line that is neither blank nor a comment, without the blanks around it.
int read_line(std::FILE* fp, i18n_string* linep) {
    for (;;) {
        if (int rc = read_piece(fp, linep)) return rc;
        const size_t first = linep->find_first_not_of(BLANKS);
        if (first == i18n_string::npos || (*linep)[first] == '#' || (*linep)[first] == '!') continue;
        linep->erase(linep->find_last_not_of(BLANKS) + 1);
        linep->erase(0, first);
        return I18N_SOK;
    }
}

void split(std::string_view line, i18n_string* namep, i18n_string* valuep) {
    line.remove_prefix(std::min(line.find_first_not_of(SEPARATORS), line.size()));
    const size_t separator = line.find_first_of(SEPARATORS);
    namep->assign(line.substr(0, separator));
    valuep->clear();
    if (separator == std::string_view::npos) return;
    line.remove_prefix(separator + 1);
    valuep->assign(line.substr(0, line.find_first_of(SEPARATORS)));
}

size_t count_names(std::string_view value) {
    size_t count = 0;
    bool inside = false;
    for (const char c : value) {
        if (c != ' ' && !inside) ++count;
        inside = c != ' ';
    }
    return count;
}

// Numbers as atol reads them, of which the low 32 bits count.
uint32_t number_of(const i18n_string& value) {
    return static_cast<uint32_t>(std::strtol(value.c_str(), nullptr, /*base=*/10));
}

// An entry that must be there.
int require_entry(std::FILE* fp, i18n_string* namep, i18n_string* valuep) {
    const int rc = get_next_entry(fp, namep, valuep);
    return rc == I18N_EEOF ? static_cast<int>(I18N_EBMC) : rc;
}

int read_number(std::FILE* fp, uint32_t* numberp) {
    i18n_string name, value;
    if (int rc = require_entry(fp, &name, &value)) return rc;
    if (value.empty()) return I18N_EBMC;
    *numberp = number_of(value);
    return I18N_SOK;
}

// Reads the four entries of one catalog.
int read_group(std::FILE* fp, const i18n_string& lang_dir, bmc_t* bmcp) {
    i18n_string name;
    if (int rc = require_entry(fp, &name, &bmcp->_versionp)) return rc;
    const i18n_string base = name.substr(0, name.find('.'));
    if (base.empty() || base.find('/') != i18n_string::npos) return I18N_EBMC; // would leave the directory
    if (bmcp->_versionp.empty()) return I18N_EBMC;
    bmcp->_pathp = lang_dir + base + BMC_EXTENSION;

    if (int rc = read_number(fp, &bmcp->_category)) return rc;
    if (int rc = read_number(fp, &bmcp->_msg_id_min)) return rc;
    return read_number(fp, &bmcp->_msg_id_max);
}

// The language names a directory; it must not lead to another place.
bool names_a_directory(std::string_view lang) {
    return !lang.empty() && lang != "." && lang != ".." && lang.find('/') == std::string_view::npos;
}

int read_groups(std::FILE* fp, const i18n_string& lang_dir, size_t count, bmc_table* tablep) {
    bmc_table table;
    for (size_t i = 0; i < count; ++i)
        if (int rc = read_group(fp, lang_dir, &table.emplace_back())) return rc;
    *tablep = std::move(table);
    return I18N_SOK;
}

} // namespace

int get_next_entry(std::FILE* fp, i18n_string* namep, i18n_string* valuep) {
    if (fp == nullptr) return I18N_EBMC;
    i18n_string line;
    if (int rc = read_line(fp, &line)) return rc;
    bool continues = line.back() == CONTINUES;
    if (continues) line.pop_back();
    split(line, namep, valuep);
    while (continues) {
        if (int rc = read_line(fp, &line)) return rc;
        continues = line.back() == CONTINUES;
        if (continues) line.back() = ' ';
        if (line.size() > BMCMAP_VALUE_MAX - valuep->size()) return I18N_EBMC;
        valuep->append(line);
    }
    return I18N_SOK;
}

int bmcmap_read(std::FILE* fp, const i18n_string& lang_dir, const char* langp, const char* modulep,
                bmc_table* tablep) {
    i18n_string name, value;
    tablep->clear();
    if (int rc = require_entry(fp, &name, &value)) return rc;
    if (!i18n_equal_nocase(name, BMCMAP_LANGUAGE)) return I18N_EBMC;
    if (!i18n_equal_nocase(value, langp)) return I18N_ELANGMISMATCH;

    if (int rc = require_entry(fp, &name, &value)) return rc;
    if (!i18n_equal_nocase(name, modulep)) return I18N_EBMC;
    const size_t count = count_names(value);
    if (count == 0) return I18N_EBMC;
    return read_groups(fp, lang_dir, count, tablep);
}

int bmcmap_process_map(const char* messages_pathp, const char* langp, const char* modulep,
                       bmc_table* tablep) {
    tablep->clear();
    if (messages_pathp == nullptr) return I18N_EINVAL;
    if (langp == nullptr || !names_a_directory(langp)) return I18N_ENOLANG;
    const i18n_string lang_dir = i18n_string(messages_pathp) + langp + "/";
    if (!i18n_checkdir(lang_dir.c_str())) return I18N_ENOLANG;
    if (modulep == nullptr) return I18N_EBMC;

    const std::unique_ptr<std::FILE, stream_closer> fp(
        i18n_fopen((lang_dir + modulep + BMCMAP_EXTENSION).c_str()));
    if (!fp) return I18N_EBMC;
    return bmcmap_read(fp.get(), lang_dir, langp, modulep, tablep);
}

} // namespace taq_1
