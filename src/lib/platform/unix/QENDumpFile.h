// Files for the dumps of a process that may be dying. A dump's folder may be one in which everybody can
// write, hence the checks. All functions are async-signal-safe. Descriptors are closed on exec.
#pragma once

inline namespace taq_1 {

// Creates a file that only its owner may read, in place of what stands there, links included. For a signal
// handler: another dump cannot be writing into it. -1: it could not be made.
int QENCreateDumpFile(const char* path);

// Opens the file of that name, or creates one that only its owner may read. Never follows a link, never
// waits. -1 with errno set.
int QENOpenDumpFile(const char* path);

// Empties an open file and lets only its owner read it, if it is a regular file of this user under no second
// name: then writing it changes nothing that lies elsewhere. False: it was left alone.
bool QENEmptyOwnFile(int fd);

// False with errno set: what was written may not have arrived.
bool QENCloseDumpFile(int fd);

} // namespace taq_1
