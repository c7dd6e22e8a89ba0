// Files as the file system sees them: their state, their names, and their bytes at an offset. The rooms above
// read, write and rotate log files with it. Thin: one call of the system each, unless noted. Results are
// true, or false with errno as the system left it. Any thread may call any function.
#pragma once

#include <cstddef>
#include <cstdint>

inline namespace taq_1 {

// What the system knows about a file.
struct QENFileState {
    enum class Kind : uint8_t { REGULAR, DIRECTORY, OTHER };
    Kind kind = Kind::OTHER;
    int64_t size = 0;    // bytes
    uint64_t device = 0; // device and inode: which file it is, whatever its names
    uint64_t inode = 0;

    bool is_regular() const { return kind == Kind::REGULAR; }
    bool is_directory() const { return kind == Kind::DIRECTORY; }
    bool is_same_file(const QENFileState& other) const {
        return device == other.device && inode == other.inode;
    }
};

bool QENStateOfPath(const char* path, QENFileState& state); // of the file that the path leads to
bool QENStateOfName(const char* path, QENFileState& state); // of the path itself, which may be a link
bool QENStateOfOpen(int fd, QENFileState& state);           // of an open file

// Reads up to n bytes at file offset `offset`, with one call unless it is interrupted. The bytes read, 0 at
// the end of the file; -1 with errno set.
int64_t QENReadSome(int fd, void* buffer, size_t n, int64_t offset);

// Reads all n bytes at file offset `offset`. False: the file ends before, or errno is set.
bool QENReadAt(int fd, void* buffer, size_t n, int64_t offset);

// Writes all n bytes at file offset `offset`, with one call unless the system takes only a part. Not for a
// descriptor opened for appending.
bool QENWriteAllAt(int fd, const void* data, size_t n, int64_t offset);

// Writes n bytes at the end of a file that is open for appending, with one call unless the system takes only
// a part. Returns the bytes that it took; fewer than n with errno set.
size_t QENAppend(int fd, const void* data, size_t n);

bool QENTruncateFile(int fd, int64_t size);

// Wait until the disk has a file's bytes and size, or the names in a directory. False: the disk may never get
// what the file holds, and a second call would not tell.
bool QENSyncData(int fd);
bool QENSyncDirectory(const char* path);

// Bytes that a file of this process may have (ulimit -f). Writing beyond them ends most programs by a signal.
int64_t QENFileSizeLimit();

bool QENLinkFile(const char* path, const char* second_name); // a hard link; the second name must be free
bool QENRemoveName(const char* path);                        // any name but that of a directory
bool QENRemoveDirectory(const char* path);                   // an empty one

// Locks an open file, from its first to its last byte however long it grows, for this process. The lock ends
// with the process, and with the first descriptor of the file that the process closes.
struct QENFileLock {
    enum class Result : uint8_t {
        TAKEN,
        HELD,   // by another process
        FREED,  // another process had it, but has given it up: try again
        FAILED, // the file cannot be locked
    };
    Result result;
    int holder; // HELD: the other process; 0 or -1 when the system cannot tell
};
QENFileLock QENTryLockFile(int fd);

QENFileLock QENAskFileLock(int fd); // HELD, FREED (nobody has it) or FAILED; takes nothing

} // namespace taq_1
