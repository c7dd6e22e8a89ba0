// A set of messages written as source.
#pragma once

#include "Messages.h"

#include <string>
#include <string_view>

namespace gencat {

inline constexpr uint32_t NO_CATEGORY = 0;

// Source that compiles to the same set. With NO_CATEGORY no $set line is written.
std::string list_catalog(const MessageSet& set, uint32_t category);

// The category in a path such as "dir/KORE_25.bmc" (digits between the last '_' and the suffix), or
// NO_CATEGORY.
uint32_t category_of_path(std::string_view path);

} // namespace gencat
