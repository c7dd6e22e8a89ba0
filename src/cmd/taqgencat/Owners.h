// Who brought which category into a module: the file MODULE.owners beside its map.
//
//   # comment                  also blank lines are skipped
//   300 orders                 category 300 came with the package "orders"
//
// One line a category, in ascending order. A category of the map that has no line is the module's own: its
// owner has the name of the module. Without such lines there is no file. The catalog lookup does not read it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace gencat {

inline constexpr char OWNERS_EXTENSION[] = ".owners";
inline constexpr size_t MAX_OWNER_NAME = 64;

using Owners = std::map<uint32_t, std::string>; // by category

// Up to MAX_OWNER_NAME letters, digits and "+-._", the first a letter or digit: names of packages fit.
bool is_owner_name(std::string_view name);

// The text of the file; empty when there is no line.
std::string write_owners(const std::string& module, const Owners& owners);

// Reads such a text. 0, or the first line (1-based) that breaks the rules above.
uint32_t read_owners(std::string_view text, Owners& owners);

} // namespace gencat
