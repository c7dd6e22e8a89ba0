// How reader and writer find their directory and build their paths.
#pragma once

#include <memory>
#include <string_view>

inline constexpr int LDF_ROOT_SIZE = 4096; // buffer for the data root, its NUL included

// Copies the data root, from the environment or the default, to `buf` (as much as fits).
void ldf_data_root(char (&buf)[LDF_ROOT_SIZE]);

// A new string: the parts joined.
std::unique_ptr<char[]> ldf_join(std::string_view a, std::string_view b = {}, std::string_view c = {},
                                 std::string_view d = {});
