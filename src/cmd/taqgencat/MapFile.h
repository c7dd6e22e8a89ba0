// The map file of a module, which tells the catalog lookup what catalogs there are.
#pragma once

#include "Messages.h"

#include "i18n/common/bmcmap.h"

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

// The text of the map for the sets of messages, none of which is empty. False for more than MAX_CATEGORIES.
bool write_map(const std::string& module, const std::string& language, const Messages& messages,
               std::string& map);

} // namespace gencat
