// A growable string of at most 262143 characters, and a reader of its text. Used by one thread at a time.
#pragma once

#include <cstddef>

inline namespace taq_1 {

class QENStrBuffer {
public:
    static constexpr unsigned int MAX_CAPACITY = 0x40000; // bytes, with the NUL

    explicit QENStrBuffer(unsigned int capacity); // bytes allocated at once, cut at MAX_CAPACITY; 0: none
    ~QENStrBuffer();
    QENStrBuffer(const QENStrBuffer&) = delete;
    QENStrBuffer& operator=(const QENStrBuffer&) = delete;

    // Append text at the end; all of it or, when the buffer would exceed MAX_CAPACITY, nothing, and then the
    // error flag is set. While the flag is set, appends are ignored. The text may be part of this buffer.
    // append: 1 done, 0 refused. A null string and a NUL character add nothing.
    int append(const char* begin, const char* end);
    QENStrBuffer& operator<<(const char* s);
    QENStrBuffer& operator<<(int value); // decimal
    QENStrBuffer& operator<<(char c);

    // Insert `count` copies of c, or s, before the character at pos, which lies in the text or at its end (a
    // mistake otherwise; null without storage). 1 done; 0 refused, which sets the error flag. An insertion is
    // tried also while the flag is set.
    int insert(char* pos, char c, unsigned short count);
    int insert(char* pos, const char* s);

    char* str() { return storage; } // null without storage
    const char* str() const { return storage; }
    char* end() { return storage + size_; } // the terminating NUL
    unsigned int size() const { return size_; }
    unsigned int capacity() const { return capacity_; }
    unsigned int available() const { return capacity_ == 0 ? 0 : capacity_ - size_ - 1; }

    // False when the error flag is set.
    operator void*() const { return error_flag != 0 ? nullptr : const_cast<QENStrBuffer*>(this); }
    void clear_flag() { error_flag = 0; }
    void reset(); // empty text, flag cleared; the storage stays

    int trim(); // removes form feeds, carriage returns and line feeds at the end; how many

    // Takes over `buf`, a string in a new[] array of `size` bytes, which the text fills: the size becomes the
    // capacity less 1 whatever the string's length. A `size` that is not above the length stands for length
    // plus 1. 1; or 0 with nothing changed when buf is null or the capacity would exceed MAX_CAPACITY.
    int attach(char* buf, unsigned int size);

    // Hands the storage (null when there is none) to the caller, who frees it with delete[]; leaves an empty
    // buffer without storage.
    char* detach();

private:
    size_t _capacity_for(size_t added) const;
    void _grow_with(size_t capacity, size_t at, const char* text, size_t length);
    int _insert(size_t at, const char* text, size_t length);

    char* storage; // owned; NUL-terminated after every change
    unsigned int capacity_;
    unsigned int size_; // characters, without the NUL
    int error_flag;
};

// Reads a buffer's text piece by piece. The buffer must outlive the reader and may grow meanwhile.
class QENStrBufferReader {
public:
    explicit QENStrBufferReader(const QENStrBuffer& source) : buffer(source), read_offset(0) {}

    // Copies at most n - 1 of the characters not yet read to dst and terminates it; how many. 0 for null.
    size_t read(char* dst, size_t n);

private:
    const QENStrBuffer& buffer;
    size_t read_offset;
};

} // namespace taq_1
