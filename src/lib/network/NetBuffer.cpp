// Growing, shortening and chaining the byte buffers that hold a message.
#include "network/NetBuffer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <new>

#include "platform/unix/QENAssert.h"

inline namespace taq_1 {

NetBuffer::NetBuffer()
    : _buffer(_defaultBuffer), _buffersize(0), _totalbuffersize(DEFAULT_SIZE),
      _defaultbuffersize(DEFAULT_SIZE), _next(nullptr), _prev(nullptr), _defaultBuffer{} {}

NetBuffer::NetBuffer(int32_t size) : NetBuffer() {
    QEN_CHECK_AS(_set_store(std::max(size, 0)), "0");
}

NetBuffer::~NetBuffer() {
    if (_has_heap_store()) delete[] _buffer;
}

// Gives a new buffer room for size bytes. false: no memory.
bool NetBuffer::_set_store(int32_t size) {
    if (size > DEFAULT_SIZE) {
        char* store = new (std::nothrow) char[static_cast<size_t>(size)]();
        if (store == nullptr) return false;
        _buffer = store;
    }
    _totalbuffersize = _defaultbuffersize = size;
    return true;
}

char* NetBuffer::_allocate_chained(int32_t n, NetBufferList* list) {
    if (prepareforappend(n, list) != 0) return nullptr;
    return list->tail()->allocate(n, list);
}

int32_t NetBuffer::prepareforappend(int32_t n, NetBufferList* list) {
    if (n < 0 || list == nullptr) return -1;
    std::unique_ptr<NetBuffer> chained(new (std::nothrow) NetBuffer);
    if (chained == nullptr || !chained->_set_store(std::max(_defaultbuffersize, n))) return -1;
    list->append_buf(chained.release());
    return 0;
}

// The least number of whole growth units that is more than bytes.
int64_t NetBuffer::_whole_units(int64_t bytes) const {
    const int64_t unit = std::max(_defaultbuffersize, 1);
    return unit * (bytes / unit + 1);
}

// Continues in `store` of `total` bytes, which holds the used bytes already.
void NetBuffer::_replace_store(char* store, int32_t total) {
    if (_has_heap_store()) delete[] _buffer;
    _buffer = store;
    _totalbuffersize = total;
}

int32_t NetBuffer::prepareforappend(int32_t n) {
    const int64_t needed = int64_t{_buffersize} + n;
    if (n <= 0 || needed <= _totalbuffersize || needed > std::numeric_limits<int32_t>::max())
        return _totalbuffersize;
    const int64_t total = std::min<int64_t>(_whole_units(needed), std::numeric_limits<int32_t>::max());
    char* _tmpBuffer = new (std::nothrow) char[static_cast<size_t>(total)]();
    QEN_CHECK_AS(_tmpBuffer != nullptr, "_tmpBuffer != NULL");
    std::memcpy(_tmpBuffer, _buffer, static_cast<size_t>(_buffersize));
    _replace_store(_tmpBuffer, static_cast<int32_t>(total));
    return _totalbuffersize;
}

int32_t NetBuffer::append(const char* data, int32_t n) {
    if (n <= 0 || data == nullptr) return _buffersize;
    const std::less<> before;
    const bool is_own = !before(data, _buffer) && before(data, _buffer + _buffersize);
    const ptrdiff_t offset = is_own ? data - _buffer : 0;
    prepareforappend(n); // may move the own bytes
    QEN_CHECK_AS(n <= _totalbuffersize - _buffersize, "0");
    std::memmove(_buffer + _buffersize, is_own ? _buffer + offset : data, static_cast<size_t>(n));
    _buffersize += n;
    return _buffersize;
}

int32_t NetBuffer::remove(int32_t n) {
    if (n == 0) return 0;
    if (n < 0 || n > _buffersize) return -1;
    const int32_t reqsize = _buffersize - n;
    const int64_t allocneededbytes =
        reqsize >= _defaultbuffersize ? _whole_units(reqsize) : int64_t{_defaultbuffersize};
    if (_totalbuffersize > allocneededbytes) {
        char* _tmpBuffer = new (std::nothrow) char[static_cast<size_t>(allocneededbytes)]();
        QEN_CHECK_AS(_tmpBuffer != nullptr, "_tmpBuffer != NULL");
        QEN_CHECK(reqsize <= allocneededbytes);
        std::memcpy(_tmpBuffer, _buffer + n, static_cast<size_t>(reqsize));
        _replace_store(_tmpBuffer, static_cast<int32_t>(allocneededbytes));
    } else {
        std::memmove(_buffer, _buffer + n, static_cast<size_t>(reqsize));
    }
    _buffersize = reqsize;
    return _buffersize;
}

void NetBuffer::decbuffersize(NetBufferList* list) {
    if (_buffersize != 1) return decbuffersize();
    _buffersize = 0;
    list->remove_buf(this);
    if (!list->is_embedded(this)) delete this;
}

NetBufferList::NetBufferList() : _head(&_nbuf), _tail(&_nbuf), _count(1) {}

NetBufferList::~NetBufferList() {
    for (NetBuffer* bufp = _head; bufp != nullptr;) {
        NetBuffer* next = bufp->_next;
        if (!is_embedded(bufp)) delete bufp;
        bufp = next;
    }
}

void NetBufferList::append_buf(NetBuffer* bufp) {
    if (_count == 0) {
        QEN_CHECK_AS(_head == nullptr && _tail == nullptr, "_head == NULL && _tail == NULL");
        _head = bufp;
    } else {
        QEN_CHECK_AS(_tail != nullptr && _head != nullptr, "_tail != NULL && _head != NULL");
        _tail->_next = bufp;
    }
    bufp->_prev = _tail;
    bufp->_next = nullptr;
    _tail = bufp;
    ++_count;
}

void NetBufferList::remove_buf(NetBuffer* bufp) {
    if (bufp->_prev != nullptr || bufp == _head) {
        (bufp->_prev != nullptr ? bufp->_prev->_next : _head) = bufp->_next;
        (bufp->_next != nullptr ? bufp->_next->_prev : _tail) = bufp->_prev;
        bufp->_next = bufp->_prev = nullptr;
    }
    --_count;
    if (_head == nullptr) {
        QEN_CHECK(_count == 0);
        _tail = nullptr;
    }
}

} // namespace taq_1
