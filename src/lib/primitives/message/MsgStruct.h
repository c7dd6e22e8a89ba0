// A typed message: a header and up to 79 elements, each under an id and holding one value (scalar) or an
// ordered sequence (vector). It is built directly in its network encoding: every add appends bytes to a
// chain of buffers, and an index by id points into them, so sending a message is walking its buffers.
//
// Encoding; integers in network byte order; the used bytes of all buffers, in order, are the message:
//   offset size content
//        0    3 "IPM"
//        3    4 version, 0x01000000
//        7    4 encoded size: bytes from offset 11 to the end; written by addeom, 0 before
//       11    1 VTYPE_HDR
//       12    4 header length, 36
//       16   36 header, see MessageHdr.h
//       52      elements, in the order in which they were added
//      end    1 VTYPE_EOM after addeom
// Scalar:  type, id (2 bytes), then a 4-byte value (VTYPE_S32) or a 4-byte length and that many bytes.
// Vector:  one or more segments: VTYPE_VEC, id (2 bytes), items, a closing 0 byte. An item is a type and a
//          4-byte value, or a type, a 4-byte length and that many bytes, or VTYPE_MSG and a nested message
//          from its offset 11 to its VTYPE_EOM inclusive.
// Deleted: the id (of the scalar, or of the segment) reads 0xFFFF; the bytes stay.
#pragma once

#include <cstdint>

#include "../../network/NetBuffer.h"
#include "../memory/Pooled.h"
#include "../values/msg_result.h"
#include "MessageHdr.h"
#include "MsgElem.h"

inline namespace taq_1 {

class ValueElem;
class VList;

inline constexpr int16_t MSG_MAX_ID = 78;
inline constexpr uint16_t MSG_DELETED_ID = 0xFFFF;

// Elements of log messages.
inline constexpr int16_t MSGID_ERROR_NO = 9;   // integer: error number, -1 for none
inline constexpr int16_t MSGID_TEXT = 21;      // string: the English text
inline constexpr int16_t MSGID_ARGS = 22;      // vector of strings: the arguments
inline constexpr int16_t MSGID_MSGCAT_ID = 23; // integer: catalog and number
inline constexpr int16_t MSGID_TIMESTAMP = 27; // integer: seconds since the epoch
inline constexpr int16_t MSGID_SEVERITY = 40;  // integer or name
inline constexpr int16_t MSGID_OBJ_TAG = 42;   // integer

// Used by one thread at a time; different messages are independent.
//
// Results common to all adds and appends; a failed one changes nothing (but exhausted memory may cost the end
// marker), and a nested message handed over stays the caller's:
//   MSG_EINVAL   null data, a negative length, or a message nested in itself
//   MSG_EBADID   id outside 0 to MSG_MAX_ID
//   MSG_EEXISTS  scalar add to an id that has elements
//   MSG_EBADOP   vector append to a scalar id
//   MSG_ENOMEM   no memory, or the message would grow beyond what its 32-bit size can say
// Changing a message that is nested in another one is fatal.
class MsgStruct : public Pooled<MEM_MSGSTRUCT> {
public:
    static constexpr int32_t HDR_SIZE = 1 + 4 + 36;   // type, length and header; the initial encoded size
    static constexpr int32_t PREFIX_SIZE = 3 + 4 + 4; // magic, version, size: not part of the encoded size
    static constexpr int32_t ID_SIZE = 2;
    static constexpr char _NET_HEADER_STRING[] = "IPM";
    static constexpr uint32_t _NET_VERSION = 0x1000000;
    // Everything before the 36 header bytes, ready before the first message of any thread.
    static const char HEADER_STR[PREFIX_SIZE + 5];

    MsgStruct();  // header all 0, no elements
    ~MsgStruct(); // deletes the nested messages that it owns
    MsgStruct(const MsgStruct&) = delete;
    MsgStruct& operator=(const MsgStruct&) = delete;

    // Scalars. The bytes are copied. len counts bytes; for a string 0 means its length and its NUL, and a
    // length that leaves the NUL out makes an element that getstr() must not read as a C string.
    msg_result add_elem(int16_t id, int32_t value);
    msg_result add_elem(int16_t id, const char* s, int32_t len);
    msg_result add_elem(int16_t id, const void* p, int32_t len);

    // Vector items, in the same way.
    msg_result append_elem(int16_t id, int32_t value);
    msg_result append_elem(int16_t id, const char* s, int32_t len);
    msg_result append_elem(int16_t id, const void* p, int32_t len);

    // Nests msg, which gets its end marker and can no longer be changed. ref false: this message owns it.
    // ref true: it stays the caller's and must outlive the element. MSG_EMSG: its size (setnwsize) does not
    // agree with its bytes.
    msg_result append_elem(int16_t id, MsgStruct* msg, bool ref);

    // Appends the values of list in order: VTYPE_S32, VTYPE_STR, VTYPE_PTR (size() bytes), VTYPE_MSG (itself
    // if the list refers to it, else a deep copy). MSG_EFAIL: empty list. A value that cannot be appended
    // (MSG_EINVAL: of another type) removes the id with all its elements, except on MSG_EBADID.
    msg_result append_elem(int16_t id, const VList* list);

    // The first element of the id; null when absent or outside the range.
    MsgElem* find(int16_t id) const;
    uint32_t getcount(int16_t id) const;

    // The elements of the id as a new list that the caller deletes before the message: strings refer to the
    // bytes in the message (a string without NUL is copied), blocks are copies, nested messages are referred
    // to as the element does or else deep copies. Null: absent id, or a copy failed.
    VList* get_vlist(int16_t id) const;

    // Removes all elements of the id; the encoding keeps their bytes under MSG_DELETED_ID and its size. A
    // nested message that was only referred to can be changed again and loses its end marker. MSG_EBADID:
    // absent.
    msg_result del_elem(int16_t id);

    // Replaces the elements of an id that is present (MSG_EBADID otherwise) by the value, encoded at the end:
    // a scalar for integer, string and block, a vector for message and list. Bytes may lie in this message.
    // A message to be set must not be one that the id owns. When the value is refused the old elements stay
    // as they are. The list form is for vector ids only (fatal).
    msg_result set(int16_t id, int32_t value);
    msg_result set(int16_t id, const char* s, int32_t len);
    msg_result set(int16_t id, const void* p, int32_t len);
    msg_result set(int16_t id, MsgStruct* msg, bool ref);
    msg_result set(int16_t id, const VList* list);

    // Makes sure that the end marker is there and writes the encoded size into the prefix. The next add takes
    // the marker away again. MSG_EFAIL: no buffer. MSG_EBUFLEN: encoded size 0. MSG_ENOMEM.
    msg_result addeom();

    // An independent copy, encoded in the order of ids, without deleted bytes and end marker; its creation
    // time is 0. The caller deletes it. Null: the copy failed.
    MsgStruct* deep_dup() const;

    MsgHdr_t* gethdr() { return &_msghdr; }
    const MsgHdr_t* gethdr() const { return &_msghdr; }
    NetBufferList* getnwbufferlist() { return &_nblv; }
    const NetBufferList* getnwbufferlist() const { return &_nblv; }
    int32_t getnwsize() const { return _nwsize; } // bytes from offset 11 to the end
    void setnwsize(int32_t nwsize) { _nwsize = nwsize; }
    void incnwsize(int32_t nbytes) { _nwsize += nbytes; }
    bool is_modifiable() const { return (_flags & MODIFIABLE) != 0; }
    bool has_eom() const { return (_flags & HAS_EOM) != 0; }
    uint32_t getctime() const { return _ctime; } // 0 unless set
    void setctime(uint32_t ctime) { _ctime = ctime; }

private:
    static constexpr uint8_t MODIFIABLE = 1;
    static constexpr uint8_t DELETED = 2; // an element was deleted; stays set
    static constexpr uint8_t HAS_EOM = 4; // the end marker is the last byte

    // Where an element goes: behind its type (and id), and getlocation(). Both null: no memory.
    struct Place {
        char* value;
        char* location;
    };

    msg_result _may_hold(int16_t id, uint8_t dim) const;
    template <class Put>
    msg_result _add(int16_t id, uint8_t dim, MsgElem* elem, int64_t nbytes, Put put);
    msg_result _add_s32(int16_t id, uint8_t dim, int32_t value);
    msg_result _add_bytes(int16_t id, uint8_t dim, uint8_t type, const void* data, int32_t len);
    msg_result _append_value(int16_t id, const ValueElem& value);
    msg_result _append_copy(int16_t id, const MsgStruct& msg);
    msg_result _append_closed(int16_t id, MsgStruct* msg, bool ref);
    msg_result _make_room(int64_t nbytes);
    char* _reserve(int64_t nbytes);
    Place _reserve_scalar(int16_t id, uint8_t type, int64_t nbytes);
    Place _reserve_item(int16_t id, uint8_t type, int64_t nbytes);
    void _take_back(NetBuffer* last, int32_t used);
    void _remove_eom();
    void _drop(int16_t id);
    void _mark_deleted(const MsgElemList& list, int16_t id);
    int64_t _encoded_bytes() const;
    msg_result _copy_elems(const MsgElemList& list, int16_t id);
    msg_result _copy_elem(int16_t id, const MsgElem& elem, uint8_t dim);
    template <class Add>
    msg_result _replace(int16_t id, Add add);

    uint8_t _flags = MODIFIABLE;
    int16_t _previd = -1; // id added last: its segment, if it is a vector, is still open
    int32_t _nwsize = HDR_SIZE;
    uint32_t _ctime = 0;
    MessageHdr* _head;                      // inside the first buffer
    MsgHdr_t _msghdr;                       // over _head
    MsgElemList* _val[MSG_MAX_ID + 1] = {}; // owned; null when the id is absent
    NetBufferList _nblv;
};

} // namespace taq_1
