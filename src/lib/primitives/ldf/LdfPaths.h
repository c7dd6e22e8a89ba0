// Where reader and writer find their directory.
#pragma once

inline namespace taq_1 {

inline constexpr int LDF_ROOT_SIZE = 4096; // buffer for the data root, its NUL included

// Copies the data root, from the environment or the default, to `buf` (as much as fits).
void ldf_data_root(char (&buf)[LDF_ROOT_SIZE]);

} // namespace taq_1
