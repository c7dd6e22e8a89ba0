// Unbuffered access to the files of the writer.
#pragma once

#include <cstddef>
#include <cstdint>

// Writes all `size` bytes at file offset `offset`, in one call unless the system takes them piecemeal. False
// when not all could be written; errno tells why.
bool ldf_write_at(int fd, const void* bytes, size_t size, int64_t offset);

// Opens an existing regular file of at least a header's size for update and stores its size in bytes.
// Never waits, whatever stands under that name. -1 on failure.
int ldf_open_for_update(const char* path, int64_t& size);

// Creates `path` for update with `size` bytes of content, in place of what a dead process may have left
// there. -1 on failure, and then the path is free.
int ldf_create(const char* path, const void* bytes, size_t size);

// What stands under a path. A link is NOTHING when its target is missing or too short to be continued: it
// may be replaced, its target is left alone.
enum class LdfOccupant { NOTHING, SHORT_FILE, LONG_FILE, FOREIGN };
LdfOccupant ldf_occupant(const char* path);
