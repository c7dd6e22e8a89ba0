#include "MapFile.h"

#include "i18n/common/bmcmap.h"

#include <algorithm>

namespace gencat {

namespace {

constexpr char CATALOG_VERSION[] = "1.0";

bool is_plain_name(std::string_view name, size_t max) {
    return !name.empty() && name.size() <= max && std::all_of(name.begin(), name.end(), [](char c) {
        return ('a' <= c && c <= 'z') || ('A' <= c && c <= 'Z') || ('0' <= c && c <= '9') || c == '-' ||
               c == '_';
    });
}

// Appends names to the entry begun in map, continued over as many lines as their length needs. On the
// first line the reader drops the backslash, on the others it turns it into the blank between two names.
size_t append_names(const std::string& module, const Messages& messages, std::string& map) {
    size_t line = map.size() - (map.rfind('\n') + 1), value = 0;
    bool first_name = true, first_line = true;
    for (const auto& [category, set] : messages) {
        const std::string name = catalog_base_name(module, category);
        value += name.size() + (first_name ? 0 : 1);
        if (line + name.size() + sizeof " \\\n" > BMCMAP_LINE_MAX) {
            map += first_line ? " \\\n" : "\\\n";
            line = 0;
            first_line = false;
        } else if (!first_name) {
            map += ' ';
            ++line;
        }
        map += name;
        line += name.size();
        first_name = false;
    }
    map += '\n';
    return value;
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
    map = std::string(BMCMAP_LANGUAGE) + "=" + language + "\n" + module + "=";
    if (append_names(module, messages, map) > BMCMAP_VALUE_MAX) return false;
    for (const auto& [category, set] : messages)
        append_group(catalog_base_name(module, category), category, set, map);
    return true;
}

} // namespace gencat
