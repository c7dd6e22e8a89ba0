// Descriptors that the library keeps open.
#pragma once

#include <cstdio>
#include <sys/types.h>

inline namespace taq_1 {

// A process that closed its descriptors 0 to 2 gets them back with its next open(). A stray printf must not
// end in a log file, so whatever the library keeps has a descriptor of at least 3, closed on exec.

// Moves an open descriptor there when it is not: returns the descriptor to use, the old one is closed.
// fd -1 is passed through. -1 with errno set: no descriptor was left; fd is closed.
int QENKeepDescriptor(int fd);

// open(2) with O_CLOEXEC and a kept descriptor. -1 with errno set.
int QENOpenDescriptor(const char* path, int flags, mode_t mode = 0);

// How a file is opened.
enum class QENAccess : unsigned char {
    READ,
    UPDATE, // to read and to write
    APPEND, // to read, and to write at the end only
};

// Open a file on a kept descriptor. They never wait for a FIFO or a terminal. A new file has the permissions
// 0666 less the process's mask. -1 with errno set.
int QENOpenFile(const char* path, QENAccess access);         // an existing file, or a link to one
int QENOpenName(const char* path, QENAccess access);         // an existing file; no link is followed
int QENCreateFile(const char* path, QENAccess access);       // a new file at a free path
int QENOpenOrCreateFile(const char* path, QENAccess access); // either of the two before

void QENCloseDescriptor(int fd); // leaves errno as it is

// Lets the process have as many descriptors as its hard limit allows: for a program that opens many files at
// once. Without effect where the system refuses.
void QENRaiseDescriptorLimit();

// fopen(3) on a kept descriptor, for the modes "r", "r+", "w", "w+", "a" and "a+", each with or without "b".
// Null with errno set; EINVAL for another mode.
FILE* QENOpenStream(const char* path, const char* mode);

// fdopen(3) that closes the descriptor when it fails. Null with errno set.
FILE* QENStreamOver(int fd, const char* mode);

} // namespace taq_1
