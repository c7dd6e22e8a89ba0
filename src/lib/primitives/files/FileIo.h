// The few file operations that every writer and reader of log files needs: paths, safe opening, whole writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <sys/stat.h>

using PathText = std::unique_ptr<char[]>;

// A new string: the parts joined. Null: out of memory.
PathText file_join(std::initializer_list<std::string_view> parts);

// Writes all `size` bytes at file offset `offset`, in one call unless the system takes them piecemeal. False
// when not all could be written; errno tells why. Not for a descriptor opened with O_APPEND.
bool file_write_at(int fd, const void* bytes, size_t size, int64_t offset);

// Opens an existing regular file, or a link to one, with the given flags of open(2) and stores its state.
// Never waits and never opens a FIFO or a device. The descriptor is at least 3 and closed on exec. -1 with
// errno set; EINVAL: it is no regular file.
int file_open_regular(const char* path, int flags, struct stat& st);

// Bytes that a file of this process may have (ulimit -f). Writing beyond them ends most programs by a signal.
int64_t file_size_limit();

// Creates `path` with the content, in place of what a dead process may have left there, and returns it opened
// with the given flags. The descriptor is at least 3 and closed on exec. -1 with errno set: the path is free,
// unless something that cannot be removed stands there.
int file_create(const char* path, std::string_view content, int flags);
