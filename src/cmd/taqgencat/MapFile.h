// The map file of a module, which tells the catalog lookup what catalogs there are.
#pragma once

#include "Messages.h"

#include "i18n/common/bmcmap.h"

#include <cstdio>
#include <map>
#include <string>
#include <string_view>

namespace gencat {

// As many names as the map reader takes for one value, each of one letter and a blank.
inline constexpr size_t MAX_CATEGORIES = (BMCMAP_VALUE_MAX + 1) / 2;
inline constexpr size_t MAX_MODULE_NAME = 64;
inline constexpr size_t MAX_LANGUAGE_NAME = 31; // the lookup keeps 32 bytes

// Letters, digits, '-' and '_': neither part of a path nor a separator of the map, and no '.', at which
// the map reader ends a base name.
bool is_module_name(std::string_view name);
bool is_language_name(std::string_view name);

// Base name of a category's catalog file, for instance "KORE_25". A folder may stand before the module.
std::string catalog_base_name(const std::string& module, uint32_t category);

// What the map says of one catalog.
struct MapEntry {
    std::string base, version; // the file is base + ".bmc"
    uint32_t first = 0, last = 0;

    bool operator==(const MapEntry&) const = default;
};
using MapEntries = std::map<uint32_t, MapEntry>; // by category

// The entries of sets of messages, none of which is empty.
MapEntries map_entries(const std::string& module, const Messages& messages);

// The text of the map for at least one entry. The same entries always give the same text. False for more than
// MAX_CATEGORIES.
bool write_map(const std::string& module, const std::string& language, const MapEntries& entries,
               std::string& map);

// Reads an open map as the catalog lookup does. Returns null, or what is wrong with it.
const char* read_map(std::FILE* file, const std::string& module, const std::string& language,
                     MapEntries& entries);

} // namespace gencat
