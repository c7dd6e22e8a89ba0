// Descriptors that the library keeps open.
#pragma once

#include <cstdio>
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
