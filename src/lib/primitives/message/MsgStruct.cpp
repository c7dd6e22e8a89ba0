// Adding elements to a message: each is encoded at the end of the buffers and entered in the index.
#include "primitives/message/MsgStruct.h"

#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "platform/unix/ByteOrder.h"
#include "platform/unix/QENAssert.h"
#include "primitives/values/VList.h"

inline namespace taq_1 {

namespace {

constexpr int32_t TYPE_SIZE = 1;
constexpr int32_t LENGTH_SIZE = 4;
constexpr int32_t S32_SIZE = 4;
constexpr int32_t EOM_SIZE = 1;
constexpr int32_t SEGMENT_SIZE = TYPE_SIZE + MsgStruct::ID_SIZE + 1; // VTYPE_VEC, id, closing 0
constexpr int32_t SIZE_OFFSET = 3 + 4;                               // of the encoded size in the prefix

bool is_valid(int16_t id) {
    return id >= 0 && id <= MSG_MAX_ID;
}

char* put_type(char* p, uint8_t type) {
    *p = static_cast<char>(type);
    return p + TYPE_SIZE;
}

char* put_id(char* p, int16_t id) {
    put_be16(p, static_cast<uint16_t>(id));
    return p + MsgStruct::ID_SIZE;
}

char* put_s32(char* p, int64_t value) {
    put_be32(p, static_cast<uint32_t>(value));
    return p + S32_SIZE;
}

// Bytes of a string or block; for a string, a len of 0 stands for the text and its NUL.
int64_t byte_count(uint8_t type, const void* data, int32_t len) {
    if (type != VTYPE_STR || len != 0) return len;
    return static_cast<int64_t>(std::strlen(static_cast<const char*>(data))) + 1;
}

// Writes length and bytes, and returns the address of the bytes.
char* put_bytes(char* p, const void* data, int64_t nbytes) {
    char* bytes = put_s32(p, nbytes);
    std::memcpy(bytes, data, static_cast<size_t>(nbytes));
    return bytes;
}

} // namespace

const char MsgStruct::HEADER_STR[] = {'I', 'P', 'M', 1,         0, 0, 0, 0,
                                      0,   0,   0,   VTYPE_HDR, 0, 0, 0, sizeof(MessageHdr)};

MsgStruct::MsgStruct() {
    char* p = _reserve(PREFIX_SIZE + HDR_SIZE);
    std::memcpy(p, HEADER_STR, sizeof HEADER_STR);
    _head = new (p + sizeof HEADER_STR) MessageHdr{};
    _msghdr.sethdr(_head);
}

MsgStruct::~MsgStruct() {
    for (MsgElemList* elemlist : _val) delete elemlist;
    _msghdr.sethdr(nullptr); // the header lies in the first buffer
}

// --- room at the end

// Reserves bytes at the end of the last buffer. Null: no memory.
char* MsgStruct::_reserve(int64_t nbytes) {
    return _nblv.tail()->allocate(static_cast<int32_t>(nbytes), &_nblv);
}

// Opens the end of the message for nbytes more; the end marker must not stand between elements.
msg_result MsgStruct::_make_room(int64_t nbytes) {
    if (_nblv.tail() == nullptr || _nwsize + nbytes > std::numeric_limits<int32_t>::max()) return MSG_ENOMEM;
    _remove_eom();
    return MSG_SOK;
}

// A buffer that held nothing but the marker goes with it: the byte before the end, which may be the closing 0
// of a segment that continues, must be the last one of the last buffer.
void MsgStruct::_remove_eom() {
    if (!has_eom()) return;
    _nblv.tail()->decbuffersize(&_nblv);
    --_nwsize;
    _flags &= static_cast<uint8_t>(~HAS_EOM);
}

// Frees all that was reserved after the moment when `last` was the last buffer and had `used` bytes.
void MsgStruct::_take_back(NetBuffer* last, int32_t used) {
    while (_nblv.tail() != last) {
        const std::unique_ptr<NetBuffer> chained(_nblv.tail());
        _nblv.remove_buf(chained.get());
    }
    last->setbuffersize(used);
}

MsgStruct::Place MsgStruct::_reserve_scalar(int16_t id, uint8_t type, int64_t nbytes) {
    const int64_t size = TYPE_SIZE + ID_SIZE + nbytes;
    char* location = _reserve(size);
    if (location == nullptr) return {};
    _nwsize += static_cast<int32_t>(size);
    return {put_id(put_type(location, type), id), location};
}

// Reserves an item of the vector id and closes the segment behind it. The segment is still open when the id
// was added last; then the item takes the place of its closing 0. Otherwise a segment is opened first.
MsgStruct::Place MsgStruct::_reserve_item(int16_t id, uint8_t type, int64_t nbytes) {
    const int64_t size = TYPE_SIZE + nbytes;
    const bool opens = _previd != id || _val[id] == nullptr;
    char* segment = opens ? _reserve(SEGMENT_SIZE) : nullptr;
    if (opens && segment == nullptr) return {};
    if (opens) *put_id(put_type(segment, VTYPE_VEC), id) = 0;

    NetBuffer* last = _nblv.tail();
    char* item = _reserve(size);
    if (item == nullptr) return {};
    if (_nblv.tail() == last) {
        --item;
        item[size] = 0;
    } else { // the item begins a new buffer, so the closing 0 is dropped from the one before
        char* closing = _reserve(1);
        if (closing == nullptr) return {};
        *closing = 0;
        last->decbuffersize(&_nblv);
    }
    _nwsize += static_cast<int32_t>(size) + (opens ? SEGMENT_SIZE : 0);
    return {put_type(item, type), segment};
}

// --- adding

// Whether an id inside the range can take an element of that dimension.
msg_result MsgStruct::_may_hold(int16_t id, uint8_t dim) const {
    if (_val[id] == nullptr) return MSG_SOK;
    if (dim == MSG_DIM_SCALAR) return MSG_EEXISTS;
    return _val[id]->is_scalar() ? MSG_EBADOP : MSG_SOK;
}

// Adds an element whose value takes nbytes; put(place) writes them and returns the data of a string or block.
// All memory is allocated before anything changes. The element list of an absent id is entered only here, so
// that a failed add leaves none behind.
template <class Put>
msg_result MsgStruct::_add(int16_t id, uint8_t dim, MsgElem* elem, int64_t nbytes, Put put) {
    std::unique_ptr<MsgElem> owner(elem);
    std::unique_ptr<MsgElemList> fresh(_val[id] == nullptr ? new (std::nothrow) MsgElemList(dim) : nullptr);
    if (elem == nullptr || (fresh == nullptr && _val[id] == nullptr)) return MSG_ENOMEM;
    const bool is_scalar = dim == MSG_DIM_SCALAR, had_eom = has_eom();
    const int64_t around = TYPE_SIZE + (is_scalar ? ID_SIZE : SEGMENT_SIZE);
    if (msg_result rc = _make_room(around + nbytes)) return rc;

    NetBuffer* last = _nblv.tail();
    const int32_t used = last->getbuffersize();
    const uint8_t type = elem->gettype();
    const Place place = is_scalar ? _reserve_scalar(id, type, nbytes) : _reserve_item(id, type, nbytes);
    if (place.value == nullptr) {
        _take_back(last, used);
        if (had_eom) (void)addeom(); // needs memory only when the marker had a buffer of its own
        return MSG_ENOMEM;
    }
    elem->place(put(place.value), place.location);
    if (fresh != nullptr) _val[id] = fresh.release();
    _val[id]->append_elem(owner.release());
    _previd = id;
    return MSG_SOK;
}

msg_result MsgStruct::_add_s32(int16_t id, uint8_t dim, int32_t value) {
    QEN_CHECK(is_modifiable());
    if (!is_valid(id)) return MSG_EBADID;
    if (msg_result rc = _may_hold(id, dim)) return rc;
    const auto put = [value](char* p) -> char* {
        put_s32(p, value);
        return nullptr;
    };
    return _add(id, dim, new (std::nothrow) MsgElem(value), S32_SIZE, put);
}

// When both are wrong, a vector reports the data and a scalar the id.
msg_result MsgStruct::_add_bytes(int16_t id, uint8_t dim, uint8_t type, const void* data, int32_t len) {
    const bool is_bad = data == nullptr || len < 0;
    if (dim == MSG_DIM_VECTOR && is_bad) return MSG_EINVAL;
    QEN_CHECK(is_modifiable());
    if (!is_valid(id)) return MSG_EBADID;
    if (is_bad) return MSG_EINVAL;
    if (msg_result rc = _may_hold(id, dim)) return rc;
    const int64_t nbytes = byte_count(type, data, len);
    const auto put = [=](char* p) { return put_bytes(p, data, nbytes); };
    return _add(id, dim, new (std::nothrow) MsgElem(type, static_cast<int32_t>(nbytes)), LENGTH_SIZE + nbytes,
                put);
}

msg_result MsgStruct::add_elem(int16_t id, int32_t value) {
    return _add_s32(id, MSG_DIM_SCALAR, value);
}

msg_result MsgStruct::add_elem(int16_t id, const char* s, int32_t len) {
    return _add_bytes(id, MSG_DIM_SCALAR, VTYPE_STR, s, len);
}

msg_result MsgStruct::add_elem(int16_t id, const void* p, int32_t len) {
    return _add_bytes(id, MSG_DIM_SCALAR, VTYPE_PTR, p, len);
}

msg_result MsgStruct::append_elem(int16_t id, int32_t value) {
    return _add_s32(id, MSG_DIM_VECTOR, value);
}

msg_result MsgStruct::append_elem(int16_t id, const char* s, int32_t len) {
    return _add_bytes(id, MSG_DIM_VECTOR, VTYPE_STR, s, len);
}

msg_result MsgStruct::append_elem(int16_t id, const void* p, int32_t len) {
    return _add_bytes(id, MSG_DIM_VECTOR, VTYPE_PTR, p, len);
}

msg_result MsgStruct::append_elem(int16_t id, MsgStruct* msg, bool ref) {
    if (msg == nullptr || msg == this) return MSG_EINVAL;
    QEN_CHECK(is_modifiable());
    if (!is_valid(id)) return MSG_EBADID;
    if (msg_result rc = _may_hold(id, MSG_DIM_VECTOR)) return rc;
    const bool had_eom = msg->has_eom();
    if (msg_result rc = msg->addeom()) return rc;
    const msg_result rc = _append_closed(id, msg, ref);
    if (rc != MSG_SOK && !had_eom) msg->_remove_eom();
    return rc;
}

// Bytes in the buffers behind the prefix. Equals _nwsize unless somebody has set that to something else.
int64_t MsgStruct::_encoded_bytes() const {
    int64_t nbytes = -PREFIX_SIZE;
    for (const NetBuffer* bufp = _nblv.head(); bufp != nullptr; bufp = bufp->next())
        nbytes += bufp->getbuffersize();
    return nbytes;
}

// Nests a message that has its end marker.
msg_result MsgStruct::_append_closed(int16_t id, MsgStruct* msg, bool ref) {
    if (msg->_encoded_bytes() != msg->_nwsize) return MSG_EMSG;
    const auto put = [msg](char* p) -> char* {
        int32_t skip = PREFIX_SIZE; // which lies whole in the first buffer
        for (const NetBuffer* bufp = msg->_nblv.head(); bufp != nullptr; bufp = bufp->next()) {
            const auto nbytes = static_cast<size_t>(bufp->getbuffersize() - skip);
            std::memcpy(p, bufp->getbuffer() + skip, nbytes);
            p += nbytes;
            skip = 0;
        }
        return nullptr;
    };
    auto* elem = new (std::nothrow) MsgElem(msg, msg->_nwsize);
    if (msg_result rc = _add(id, MSG_DIM_VECTOR, elem, msg->_nwsize, put)) return rc;
    if (!ref) elem->own();
    msg->_flags &= static_cast<uint8_t>(~MODIFIABLE);
    return MSG_SOK;
}

msg_result MsgStruct::append_elem(int16_t id, const VList* list) {
    if (list == nullptr) return MSG_EINVAL;
    if (list->count() == 0) return MSG_EFAIL;
    for (VElem* velemp = list->head(); velemp != nullptr; velemp = velemp->next()) {
        const msg_result rc = _append_value(id, *velemp->value());
        if (rc == MSG_SOK) continue;
        if (rc != MSG_EBADID && _val[id] != nullptr) _drop(id);
        return rc;
    }
    return MSG_SOK;
}

msg_result MsgStruct::_append_value(int16_t id, const ValueElem& value) {
    if (!is_valid(id)) return MSG_EBADID;
    switch (value.vtype()) {
    case VTYPE_S32: return append_elem(id, value.gets32());
    case VTYPE_STR: return append_elem(id, value.getstr(), 0);
    case VTYPE_PTR: return append_elem(id, value.getptr(), value.size());
    case VTYPE_MSG: break;
    default: return MSG_EINVAL;
    }
    if (value.ref() != 0 || value.getmsg() == nullptr) return append_elem(id, value.getmsg(), /*ref=*/true);
    return _append_copy(id, *value.getmsg());
}

// Nests an owned copy.
msg_result MsgStruct::_append_copy(int16_t id, const MsgStruct& msg) {
    std::unique_ptr<MsgStruct> copy(msg.deep_dup());
    if (copy == nullptr) return MSG_ENOMEM;
    const msg_result rc = append_elem(id, copy.get(), /*ref=*/false);
    if (rc == MSG_SOK) (void)copy.release();
    return rc;
}

msg_result MsgStruct::addeom() {
    if (_nblv.tail() == nullptr) return MSG_EFAIL;
    if (!has_eom()) {
        if (_nwsize == 0) return MSG_EBUFLEN;
        if (msg_result rc = _make_room(EOM_SIZE)) return rc;
        char* marker = _reserve(EOM_SIZE);
        if (marker == nullptr) return MSG_ENOMEM;
        put_type(marker, VTYPE_EOM);
        _nwsize += EOM_SIZE;
        _flags |= HAS_EOM;
    }
    put_s32(_nblv.head()->getbuffer() + SIZE_OFFSET, _nwsize);
    return MSG_SOK;
}

MsgElem* MsgStruct::find(int16_t id) const {
    return is_valid(id) && _val[id] != nullptr ? _val[id]->head() : nullptr;
}

uint32_t MsgStruct::getcount(int16_t id) const {
    return is_valid(id) && _val[id] != nullptr ? _val[id]->getcount() : 0;
}

} // namespace taq_1
