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
std::vector<std::string> names_of(const std::string& module, const Messages& messages) {
    std::vector<std::string> names;
    size_t value = 0;
    for (const auto& [category, set] : messages) {
        names.push_back(catalog_base_name(module, category));
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

void append_group(const std::string& base, uint32_t category, const MessageSet& set, std::string& map) {
    map += base + ".version=" + CATALOG_VERSION + "\n";
    map += base + ".category=" + std::to_string(category) + "\n";
    map += base + ".first=" + std::to_string(set.begin()->first) + "\n";
    map += base + ".last=" + std::to_string(set.rbegin()->first) + "\n";
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

bool write_map(const std::string& module, const std::string& language, const Messages& messages,
               std::string& map) {
    if (messages.size() > MAX_CATEGORIES) return false;
    map = std::string(BMCMAP_LANGUAGE) + "=" + language + "\n" + module + "=";
    append_names(names_of(module, messages), map);
    for (const auto& [category, set] : messages)
        append_group(catalog_base_name(module, category), category, set, map);
    return true;
}

} // namespace gencat
