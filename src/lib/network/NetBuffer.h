// Byte buffers of the network layer: one buffer with a built-in store, and a chain of them.
//
// A message reserves room for each of its elements at the end of the last buffer of a chain. What does not
// fit goes whole into a new buffer, so bytes that were handed out never move. The first buffer is part of
// the chain, so a small message allocates no buffer.
//
// Sizes are byte counts in 32-bit signed integers. Negative sizes and sums beyond 2147483647 are refused.
// When memory runs out the process ends, except in functions that can return null or -1. Nothing here is
// locked; a chain is used by one thread at a time.
#pragma once

#include <cstdint>

inline namespace taq_1 {

class NetBufferList;

class NetBuffer {
public:
    static constexpr int32_t DEFAULT_SIZE = 128;

    // Empty, with the built-in store.
    NetBuffer();

    // Empty, with room for size bytes, in a heap store when that is more than DEFAULT_SIZE; size also
    // becomes the growth unit. A negative size counts as 0. Without memory the process ends.
    explicit NetBuffer(int32_t size);

    ~NetBuffer();
    NetBuffer(const NetBuffer&) = delete;
    NetBuffer& operator=(const NetBuffer&) = delete;

    // Reserves n bytes and returns their address, valid until the buffer that holds them is destroyed,
    // grown or shortened at the front. To be called on the last buffer of list: when the bytes do not fit,
    // a buffer as large as this one's default size, or n if that is more, is chained and used instead.
    // Null: n is negative, or no buffer could be chained. n = 0 yields the used end.
    char* allocate(int32_t n, NetBufferList* list) {
        if (n < 0 || n > _totalbuffersize - _buffersize) return _allocate_chained(n, list);
        char* p = _buffer + _buffersize;
        _buffersize += n;
        return p;
    }

    // Makes room for n more bytes in this buffer, which may move its bytes to a larger store in whole
    // growth units. Returns the total size, unchanged when n is not positive or the sum is too large.
    int32_t prepareforappend(int32_t n);

    // Chains a new buffer of max(default size, n) bytes to list. 0, or -1: n negative, list null, no memory.
    int32_t prepareforappend(int32_t n, NetBufferList* list);

    // Copies n bytes to the end, growing this buffer, and returns the used size. The bytes may be this
    // buffer's own. n <= 0 or null data: no change. A sum too large for 32 bits is fatal.
    int32_t append(const char* data, int32_t n);

    // Removes the first n bytes and moves the rest to the front, or to a smaller store when this one is
    // larger than the rest needs. Returns the used size; 0 for n = 0; -1 when n is negative or exceeds the
    // used size.
    int32_t remove(int32_t n);

    // Removes the last used byte. When it is the only one, the buffer is taken out of list instead. Unless it
    // is the embedded one it is deleted, so the caller must not use it any more.
    void decbuffersize(NetBufferList* list);
    void decbuffersize() {
        if (_buffersize > 0) --_buffersize;
    }

    NetBuffer* next() const { return _next; }
    char* getbuffer() { return _buffer; }
    const char* getbuffer() const { return _buffer; }
    int32_t gettotalsize() const { return _totalbuffersize; }
    int32_t getbuffersize() const { return _buffersize; }
    int32_t getdefbuffersize() const { return _defaultbuffersize; }
    int32_t getdefaultsize() const { return _defaultbuffersize; }

    // Sets the used size; a value outside 0 to the total size is ignored.
    void setbuffersize(int32_t size) {
        if (size >= 0 && size <= _totalbuffersize) _buffersize = size;
    }

    // Sets the growth unit; a negative value counts as 0, and 0 means to grow by what is needed.
    void setdefaultsize(int32_t size) { _defaultbuffersize = size > 0 ? size : 0; }

private:
    friend class NetBufferList;

    bool _has_heap_store() const { return _buffer != _defaultBuffer; }
    bool _set_store(int32_t size);
    int64_t _whole_units(int64_t bytes) const;
    void _replace_store(char* store, int32_t total);
    char* _allocate_chained(int32_t n, NetBufferList* list);

    // Invariant: 0 <= _buffersize <= _totalbuffersize <= bytes of the store.
    char* _buffer;              // _defaultBuffer, or an owned heap array
    int32_t _buffersize;        // bytes used
    int32_t _totalbuffersize;   // bytes available in the store
    int32_t _defaultbuffersize; // growth unit, and least size of a buffer chained after this one
    NetBuffer* _next;           // neighbours in the list, or null
    NetBuffer* _prev;
    alignas(8) char _defaultBuffer[DEFAULT_SIZE];
};

// A chain of buffers that begins with an embedded one. Owns all others that are linked in it.
class NetBufferList {
public:
    NetBufferList(); // the embedded buffer, empty
    ~NetBufferList();
    NetBufferList(const NetBufferList&) = delete;
    NetBufferList& operator=(const NetBufferList&) = delete;

    // Links a buffer, allocated with new and in no list, at the tail; the list owns it then.
    void append_buf(NetBuffer* bufp);

    // Unlinks bufp without deleting it; the caller owns it then (except the embedded one). The count
    // decreases also when bufp is in no list: to pass such a buffer is the caller's mistake.
    void remove_buf(NetBuffer* bufp);

    NetBuffer* head() { return _head; }
    const NetBuffer* head() const { return _head; }
    NetBuffer* tail() { return _tail; }
    const NetBuffer* tail() const { return _tail; }
    uint32_t getcount() const { return _count; }
    void decrementcount() { --_count; }
    bool is_embedded(const NetBuffer* bufp) const { return bufp == &_nbuf; }

private:
    // Invariant: _head and _tail are both null exactly when _count is 0.
    NetBuffer* _head;
    NetBuffer* _tail;
    uint32_t _count;
    NetBuffer _nbuf;
};

} // namespace taq_1
