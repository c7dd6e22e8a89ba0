// One element of a message, and the list of all elements of one id.
#pragma once

#include <cstdint>

#include "../memory/Pooled.h"

inline namespace taq_1 {

class MsgStruct;

// Dimensions of an element list.
inline constexpr uint8_t MSG_DIM_VECTOR = 80; // 'P'
inline constexpr uint8_t MSG_DIM_SCALAR = 81; // 'Q'

// What the message knows about one of its elements. Strings and blocks are the bytes in the message's own
// buffers and live as long as the message. The getters do not check the type.
class MsgElem : public Pooled<MEM_MSGELEM> {
public:
    // place() tells where bytes and encoding lie. A nested message is only referred to until own().
    explicit MsgElem(int32_t value);          // VTYPE_S32
    MsgElem(uint8_t type, int32_t nbytes);    // VTYPE_STR, VTYPE_PTR
    MsgElem(MsgStruct* msgp, int32_t nbytes); // VTYPE_MSG
    ~MsgElem();                               // deletes an owned message
    MsgElem(const MsgElem&) = delete;
    MsgElem& operator=(const MsgElem&) = delete;

    // data: the bytes of a string or block within the message, null for the others. location: see
    // getlocation().
    void place(char* data, char* location);

    void own() { _ref = false; } // takes over the nested message

    uint8_t gettype() const { return _type; } // VTYPE_S32, VTYPE_STR, VTYPE_PTR or VTYPE_MSG
    uint8_t vtype() const { return _type; }
    int32_t gets32() const { return _value._s32; }
    const char* getstr() const { return _value._cp; } // getnwsize() bytes, NUL included when it was added
    const void* getptr() const { return _value._cp; }
    MsgStruct* getmsg() const { return _value._msg; }

    // Bytes of the value: 4, the byte count, or the nested message's encoded size.
    int32_t getnwsize() const { return _nwsize; }

    // A nested message is only referred to, not owned; always true for strings and blocks, whose source
    // buffer stays the caller's.
    bool get_ref() const { return _ref; }

    // First byte of a scalar's encoding, or of the vector segment that this element opened; null for an
    // element that continued a segment.
    char* getlocation() const { return _location; }

    MsgElem* next() const { return _next; } // of the same id, in order; null at the end

private:
    friend class MsgElemList;

    uint8_t _type;
    bool _ref;
    int32_t _nwsize;
    union {
        int32_t _s32;
        char* _cp;
        MsgStruct* _msg;
    } _value;
    MsgElem* _next = nullptr;
    char* _location = nullptr;
};

// Owns its elements. A scalar list holds exactly one.
class MsgElemList : public Pooled<MEM_MSGELEMLIST> {
public:
    explicit MsgElemList(uint8_t dim) : _dim(dim) {}
    ~MsgElemList();
    MsgElemList(const MsgElemList&) = delete;
    MsgElemList& operator=(const MsgElemList&) = delete;

    void append_elem(MsgElem* elem); // at the tail; takes it over

    bool is_scalar() const { return _dim == MSG_DIM_SCALAR; }
    bool is_vector() const { return _dim == MSG_DIM_VECTOR; }
    MsgElem* head() const { return _head; }
    MsgElem* tail() const { return _tail; }
    uint32_t getcount() const { return _count; }

private:
    // Invariant: _head and _tail are both null exactly when _count is 0.
    MsgElem* _head = nullptr;
    MsgElem* _tail = nullptr;
    uint32_t _count = 0;
    uint8_t _dim;
};

} // namespace taq_1
