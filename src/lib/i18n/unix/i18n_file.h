// Files and directories as the catalogs need them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

inline namespace taq_1 {

inline constexpr size_t I18N_WHOLE_MAX = 64 * 1024; // bytes of the largest file that is read whole

// An open regular file that is read at given offsets. Owns its descriptor; movable. A file of at most
// I18N_WHOLE_MAX bytes is read when it is opened, with one call; what is asked of it then comes from memory.
class i18n_file {
public:
    i18n_file() = default;
    ~i18n_file() { close(); }
    i18n_file(i18n_file&& other) noexcept;
    i18n_file& operator=(i18n_file&& other) noexcept;

    // Opens a file for reading, close-on-exec; false when it is missing, unreadable or not a regular file (a
    // FIFO is refused without waiting for a writer).
    bool open(const char* path);
    void close();
    bool is_open() const { return _fd >= 0; }
    // Size when it was opened.
    uint64_t size() const { return _size; }
    // Whether the file, when it was opened, held `len` bytes at `offset`.
    bool holds(uint64_t offset, uint64_t len) const { return offset <= _size && len <= _size - offset; }
    // Reads up to `len` bytes at `offset`; returns the number read, fewer only at the end of the file or
    // after an error.
    size_t read_at(uint64_t offset, void* buffer, size_t len) const;

private:
    // Not from operator new: a program may have replaced it by one that fills what it gives.
    struct free_bytes {
        void operator()(char* p) const { std::free(p); }
    };
    void read_whole();

    int _fd = -1;
    uint64_t _size = 0;
    std::unique_ptr<char[], free_bytes> _bytes; // all _size; null: they are read when they are needed
};

// Opens a regular file as a stream for reading, close-on-exec; null when that fails. The caller closes it.
std::FILE* i18n_fopen(const char* path);

// Hands over what the stream has buffered and waits until the disk has the file. False with errno set; true
// where nothing can be waited for, as on a pipe.
bool i18n_flush_to_disk(std::FILE* stream);

// Keeps other writers out of a catalog folder as long as it lives; waits for one that is at work. Where the
// folder or its file system cannot be locked, it does nothing.
class i18n_dirlock {
public:
    explicit i18n_dirlock(const char* path);
    ~i18n_dirlock();
    i18n_dirlock(const i18n_dirlock&) = delete;
    i18n_dirlock& operator=(const i18n_dirlock&) = delete;

private:
    int _fd;
};

// Whether the path is a directory.
bool i18n_checkdir(const char* path);

} // namespace taq_1
