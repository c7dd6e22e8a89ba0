// Growing a string buffer, inserting into it, and reading it piece by piece.
#include "primitives/strings/QENStrBuffer.h"

#include "platform/unix/QENAssert.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <functional>

inline namespace taq_1 {

namespace {

constexpr size_t FIRST_CAPACITY = 256;
constexpr size_t CHAR_STEP = 256; // growth for a single character

// Whether p points into [begin, end], whatever object p belongs to.
bool lies_within(const char* p, const char* begin, const char* end) {
    return begin != nullptr && !std::less<>()(p, begin) && !std::less<>()(end, p);
}

} // namespace

QENStrBuffer::QENStrBuffer(unsigned int capacity)
    : storage(nullptr), capacity_(std::min(capacity, MAX_CAPACITY)), size_(0), error_flag(0) {
    if (capacity_ == 0) return;
    storage = new char[capacity_];
    storage[0] = '\0';
}

QENStrBuffer::~QENStrBuffer() {
    delete[] storage;
}

// The capacity for `added` more characters, MAX_CAPACITY at most; 0 when the text would exceed it.
size_t QENStrBuffer::_capacity_for(size_t added) const {
    if (added >= MAX_CAPACITY || size_ + added + 1 > MAX_CAPACITY) return 0;
    size_t capacity = capacity_ == 0 ? FIRST_CAPACITY : size_t{2} * capacity_;
    while (capacity < size_ + added + 1) capacity *= 2;
    return std::min(capacity, size_t{MAX_CAPACITY});
}

// Inserts `length` characters of text at offset `at`, in a new array: text may be part of the old one.
void QENStrBuffer::_grow_with(size_t capacity, size_t at, const char* text, size_t length) {
    char* larger = new char[capacity];
    if (storage != nullptr) std::memcpy(larger, storage, at);
    if (length != 0) std::memcpy(larger + at, text, length);
    if (size_ != at) std::memcpy(larger + at + length, storage + at, size_ - at);
    delete[] storage;
    storage = larger;
    capacity_ = static_cast<unsigned int>(capacity);
    size_ += static_cast<unsigned int>(length);
    storage[size_] = '\0';
}

int QENStrBuffer::_insert(size_t at, const char* text, size_t length) {
    if (storage == nullptr || length > available()) {
        const size_t capacity = _capacity_for(length);
        if (capacity == 0) {
            error_flag = 1;
            return 0;
        }
        _grow_with(capacity, at, text, length);
        return 1;
    }
    // Append the text first, then rotate it to its place: it may be part of this buffer, which appending
    // leaves as it is.
    char* old_end = end();
    if (length != 0) std::memmove(old_end, text, length);
    size_ += static_cast<unsigned int>(length);
    storage[size_] = '\0';
    if (storage + at != old_end) std::rotate(storage + at, old_end, end());
    return 1;
}

int QENStrBuffer::append(const char* begin, const char* end) {
    if (error_flag != 0) return 0;
    if (begin == nullptr || end <= begin) return 1;
    return _insert(size_, begin, static_cast<size_t>(end - begin));
}

QENStrBuffer& QENStrBuffer::operator<<(const char* s) {
    if (s != nullptr) append(s, s + std::strlen(s));
    return *this;
}

QENStrBuffer& QENStrBuffer::operator<<(int value) {
    char digits[16];
    append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    return *this;
}

QENStrBuffer& QENStrBuffer::operator<<(char c) {
    if (c == '\0' || error_flag != 0) return *this;
    if (available() > 0) {
        storage[size_++] = c;
        storage[size_] = '\0';
    } else if (_capacity_for(1) != 0) {
        _grow_with(std::min(capacity_ + CHAR_STEP, size_t{MAX_CAPACITY}), size_, &c, 1);
    } else {
        error_flag = 1;
    }
    return *this;
}

int QENStrBuffer::insert(char* pos, char c, unsigned short count) {
    QEN_CHECK(storage == nullptr ? pos == nullptr : lies_within(pos, storage, end()));
    const size_t at = storage != nullptr ? static_cast<size_t>(pos - storage) : 0;
    char copies[UINT16_MAX];
    std::memset(copies, c, count);
    return _insert(at, copies, count);
}

int QENStrBuffer::insert(char* pos, const char* s) {
    QEN_CHECK(storage == nullptr ? pos == nullptr : lies_within(pos, storage, end()));
    const size_t at = storage != nullptr ? static_cast<size_t>(pos - storage) : 0;
    return s == nullptr ? 1 : _insert(at, s, std::strlen(s));
}

void QENStrBuffer::reset() {
    if (storage != nullptr) storage[0] = '\0';
    size_ = 0;
    error_flag = 0;
}

int QENStrBuffer::trim() {
    const unsigned int before = size_;
    const auto is_line_end = [](char c) { return c == '\f' || c == '\r' || c == '\n'; };
    while (size_ > 0 && is_line_end(storage[size_ - 1])) --size_;
    if (size_ != before) storage[size_] = '\0';
    return static_cast<int>(before - size_);
}

int QENStrBuffer::attach(char* buf, unsigned int size) {
    if (buf == nullptr || size > MAX_CAPACITY) return 0;
    const size_t length = std::strlen(buf);
    if (length >= MAX_CAPACITY) return 0;
    if (buf != storage) delete[] storage;
    storage = buf;
    capacity_ = size > length ? size : static_cast<unsigned int>(length + 1);
    size_ = capacity_ - 1;
    storage[size_] = '\0';
    return 1;
}

char* QENStrBuffer::detach() {
    char* text = storage;
    storage = nullptr;
    capacity_ = size_ = 0;
    return text;
}

size_t QENStrBufferReader::read(char* dst, size_t n) {
    if (dst == nullptr || n == 0) return 0;
    const size_t left = buffer.size() > read_offset ? buffer.size() - read_offset : 0;
    const size_t taken = std::min(left, n - 1);
    if (taken != 0) std::memcpy(dst, buffer.str() + read_offset, taken);
    dst[taken] = '\0';
    read_offset += taken;
    return taken;
}

} // namespace taq_1
