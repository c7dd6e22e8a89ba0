// Lists the catalogs of a module for the reader in i18n/common/bmcmap.cpp.
#include "MapFile.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace gencat {

namespace {

constexpr char CATALOG_VERSION[] = "1.0";
constexpr char SHORT_NAME[] = "x";

bool is_plain_name(std::string_view name, size_t max) {
    return !name.empty() && name.size() <= max && std::all_of(name.begin(), name.end(), [](char c) {
        return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || ('0' <= c && c <= '9') || c == '-' ||
               c == '_';
    });
}

// The names in the module's entry. The reader only counts them: when the real names do not fit one value,
// single letters stand for them.
std::vector<std::string> names_of(const MapEntries& entries) {
    std::vector<std::string> names;
    size_t value = 0;
    for (const auto& [category, entry] : entries) {
        names.push_back(entry.base);
        value += names.back().size() + (names.size() > 1 ? 1 : 0);
    }
    if (value > BMCMAP_VALUE_MAX) names.assign(names.size(), SHORT_NAME);
    return names;
}

// Appends names to the entry begun in map, continued over as many lines as their length needs. On the
// first line the reader drops the backslash, on the others it turns it into the blank between two names.
void append_names(const std::vector<std::string>& names, std::string& map) {
    size_t line = map.size() - (map.rfind('\n') + 1);
    const char* continues = " \\\n";
    bool is_first = true;
    for (const std::string& name : names) {
        if (line + name.size() + sizeof " \\\n" > BMCMAP_LINE_MAX) {
            map += std::exchange(continues, "\\\n");
            line = 0;
        } else if (!is_first) {
            map += ' ';
            ++line;
        }
        map += name;
        line += name.size();
        is_first = false;
    }
    map += '\n';
}

void append_group(uint32_t category, const MapEntry& entry, std::string& map) {
    map += entry.base + ".version=" + entry.version + "\n";
    map += entry.base + ".category=" + std::to_string(category) + "\n";
    map += entry.base + ".first=" + std::to_string(entry.first) + "\n";
    map += entry.base + ".last=" + std::to_string(entry.last) + "\n";
}

// The name of a catalog's file without folder and suffix.
std::string base_of(const bmc_t& catalog) {
    const std::string path(catalog._pathp);
    const size_t start = path.rfind('/') + 1; // npos + 1 is the start
    return path.substr(start, path.size() - start - std::string_view(BMC_EXTENSION).size());
}

} // namespace

bool is_module_name(std::string_view name) {
    return is_plain_name(name, MAX_MODULE_NAME);
}
bool is_language_name(std::string_view name) {
    return is_plain_name(name, MAX_LANGUAGE_NAME);
}

std::string catalog_base_name(const std::string& module, uint32_t category) {
    return module + "_" + std::to_string(category);
}

MapEntries map_entries(const std::string& module, const Messages& messages) {
    MapEntries entries;
    for (const auto& [category, set] : messages)
        entries[category] = {catalog_base_name(module, category), CATALOG_VERSION, set.begin()->first,
                             set.rbegin()->first};
    return entries;
}

bool write_map(const std::string& module, const std::string& language, const MapEntries& entries,
               std::string& map) {
    if (entries.size() > MAX_CATEGORIES) return false;
    map = std::string(BMCMAP_LANGUAGE) + "=" + language + "\n" + module + "=";
    append_names(names_of(entries), map);
    for (const auto& [category, entry] : entries) append_group(category, entry, map);
    return true;
}

const char* read_map(std::FILE* file, const std::string& module, const std::string& language,
                     MapEntries& entries) {
    bmc_table table;
    const int result = bmcmap_read(file, /*lang_dir=*/"", language.c_str(), module.c_str(), &table);
    if (result == I18N_ELANGMISMATCH) return "is the map of another language";
    if (result != I18N_SOK) return "is not the map of this module";
    entries.clear();
    for (const bmc_t& catalog : table)
        entries[catalog._category] = {base_of(catalog), std::string(catalog._versionp), catalog._msg_id_min,
                                      catalog._msg_id_max};
    return entries.size() == table.size() ? nullptr : "names a category twice";
}

} // namespace gencat
