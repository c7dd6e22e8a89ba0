// Paths, safe opening and new files: what every writer and reader of log files needs.
#pragma once

#include <initializer_list>
#include <memory>
#include <string_view>

#include "../../platform/unix/QENDescriptors.h"
#include "../../platform/unix/QENFileSystem.h"

inline namespace taq_1 {

using PathText = std::unique_ptr<char[]>;

// A new string: the parts joined. Null: out of memory.
PathText file_join(std::initializer_list<std::string_view> parts);

// Opens an existing regular file, or a link to one, and stores its state. Never waits and never opens a FIFO
// or a device. The descriptor is at least 3 and closed on exec. -1 with errno set; EINVAL: it is no regular
// file.
int file_open_regular(const char* path, QENAccess access, QENFileState& state);

// Creates `path` with the content and returns its descriptor, at least 3 and closed on exec. A file that a
// dead process left there is replaced. -1 with errno set: the path is free, unless something that cannot be
// removed stands there.
int file_create(const char* path, std::string_view content, QENAccess access);

} // namespace taq_1
