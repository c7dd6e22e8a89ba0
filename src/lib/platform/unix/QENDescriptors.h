// Descriptors that the library keeps open.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <sys/types.h>

// A process that closed its descriptors 0 to 2 gets them back with its next open(). A stray printf must not
// end in a log file, so whatever the library keeps has a descriptor of at least 3, closed on exec.

// Moves an open descriptor there when it is not: returns the descriptor to use, the old one is closed.
// fd -1 is passed through. -1 with errno set: no descriptor was left; fd is closed.
int QENKeepDescriptor(int fd);

// open(2) with O_CLOEXEC and a kept descriptor. -1 with errno set.
int QENOpenDescriptor(const char* path, int flags, mode_t mode = 0);

// fopen(3) on a kept descriptor, for the modes "r", "r+", "w", "w+", "a" and "a+", each with or without "b".
// Null with errno set; EINVAL for another mode.
FILE* QENOpenStream(const char* path, const char* mode);

// fdopen(3) that closes the descriptor when it fails. Null with errno set.
FILE* QENStreamOver(int fd, const char* mode);

// Flags of open(2) for a file that lines are appended to and that may be read.
inline constexpr int QEN_OPEN_APPEND = O_RDWR | O_APPEND;

// Closes the descriptor and leaves errno alone.
void QENCloseDescriptor(int fd);

// Size in bytes of the file behind the descriptor; -1 with errno set.
int64_t QENDescriptorSize(int fd);

// Reads all n bytes at an offset. False: the file ends before, or errno is set.
bool QENReadAt(int fd, void* data, size_t n, int64_t offset);

// Cuts the file at `size` bytes. False with errno set.
bool QENTruncate(int fd, int64_t size);

// Gives a file a second name, which must be free. False with errno set.
bool QENLinkFile(const char* path, const char* second_name);
