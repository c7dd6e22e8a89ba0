// Members of MsgStruct that take elements out, replace them or copy them.
#include <cstring>
#include <memory>
#include <new>

#include "platform/unix/ByteOrder.h"
#include "platform/unix/QENAssert.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/values/VList.h"

inline namespace taq_1 {

namespace {

constexpr int32_t ID_OFFSET = 1; // of the id behind the type byte of a scalar or segment

// Bytes up to and including the NUL of a string element; all of them when it has none.
int32_t string_bytes(const MsgElem& elem) {
    const auto cap = static_cast<size_t>(elem.getnwsize());
    const size_t len = strnlen(elem.getstr(), cap);
    return static_cast<int32_t>(len < cap ? len + 1 : cap);
}

bool has_nul(const MsgElem& elem) {
    return std::memchr(elem.getstr(), 0, static_cast<size_t>(elem.getnwsize())) != nullptr;
}

void list_string(VList& list, const MsgElem& elem) {
    if (has_nul(elem))
        list.append(elem.getstr(), /*ref=*/1);
    else
        list.append_copy(elem.getstr(), static_cast<size_t>(elem.getnwsize()));
}

void list_block(VList& list, const MsgElem& elem) {
    const auto nbytes = static_cast<size_t>(elem.getnwsize());
    void* block = ::operator new(nbytes);
    std::memcpy(block, elem.getptr(), nbytes);
    list.append(block, /*ref=*/0)->set_size(elem.getnwsize());
}

bool list_message(VList& list, const MsgElem& elem) {
    if (elem.get_ref()) {
        list.append(elem.getmsg(), /*ref=*/1);
        return true;
    }
    MsgStruct* copy = elem.getmsg()->deep_dup();
    if (copy != nullptr) list.append(copy, /*ref=*/0);
    return copy != nullptr;
}

bool list_element(VList& list, const MsgElem& elem) {
    switch (elem.gettype()) {
    case VTYPE_S32: list.append(elem.gets32()); return true;
    case VTYPE_STR: list_string(list, elem); return true;
    case VTYPE_PTR: list_block(list, elem); return true;
    case VTYPE_MSG: return list_message(list, elem);
    default: QEN_CHECK(0); return false;
    }
}

bool refers_to(const MsgElem* elem, const MsgStruct* msg) {
    while (elem != nullptr && (elem->gettype() != VTYPE_MSG || elem->getmsg() != msg)) elem = elem->next();
    return elem != nullptr;
}

} // namespace

VList* MsgStruct::get_vlist(int16_t id) const {
    const MsgElem* elem = find(id);
    if (elem == nullptr) return nullptr;
    auto list = std::make_unique<VList>();
    for (; elem != nullptr; elem = elem->next())
        if (!list_element(*list, *elem)) return nullptr;
    return list.release();
}

msg_result MsgStruct::del_elem(int16_t id) {
    QEN_CHECK(is_modifiable());
    if (find(id) == nullptr) return MSG_EBADID;
    _drop(id);
    return MSG_SOK;
}

// Deletes all elements of the id.
void MsgStruct::_drop(int16_t id) {
    const std::unique_ptr<MsgElemList> list(_val[id]);
    _val[id] = nullptr;
    _mark_deleted(*list, id);
}

// Marks elements of the id in the encoding, and opens the messages that they only refer to again, unless the
// id refers to them anew.
void MsgStruct::_mark_deleted(const MsgElemList& list, int16_t id) {
    for (const MsgElem* elem = list.head(); elem != nullptr; elem = elem->next()) {
        if (elem->getlocation() != nullptr) put_be16(elem->getlocation() + ID_OFFSET, MSG_DELETED_ID);
        if (elem->gettype() != VTYPE_MSG || !elem->get_ref() || refers_to(find(id), elem->getmsg())) continue;
        elem->getmsg()->_flags |= MODIFIABLE;
        elem->getmsg()->_remove_eom();
    }
    _flags |= DELETED;
}

// Replaces the elements of the id by what `add` adds. The old elements are kept aside meanwhile. When `add`
// fails they are encoded again; when there is no memory for that either, they return as they were.
template <class Add>
msg_result MsgStruct::_replace(int16_t id, Add add) {
    QEN_CHECK(is_modifiable());
    if (find(id) == nullptr) return MSG_EBADID;
    std::unique_ptr<MsgElemList> old(_val[id]);
    _val[id] = nullptr;
    const msg_result rc = add();
    if (rc != MSG_SOK && _val[id] != nullptr) _drop(id);
    if (rc == MSG_SOK || _copy_elems(*old, id) == MSG_SOK) {
        _mark_deleted(*old, id);
        return rc;
    }
    if (_val[id] != nullptr) _drop(id);
    _val[id] = old.release();
    _previd = -1; // the open segment, if it is the id's, may be a deleted one
    return rc;
}

msg_result MsgStruct::set(int16_t id, int32_t value) {
    return _replace(id, [=, this] { return add_elem(id, value); });
}

msg_result MsgStruct::set(int16_t id, const char* s, int32_t len) {
    return _replace(id, [=, this] { return add_elem(id, s, len); });
}

msg_result MsgStruct::set(int16_t id, const void* p, int32_t len) {
    return _replace(id, [=, this] { return add_elem(id, p, len); });
}

msg_result MsgStruct::set(int16_t id, MsgStruct* msg, bool ref) {
    return _replace(id, [=, this] { return append_elem(id, msg, ref); });
}

msg_result MsgStruct::set(int16_t id, const VList* list) {
    const MsgElemList* elemlist = find(id) != nullptr ? _val[id] : nullptr;
    QEN_CHECK_AS(elemlist != nullptr && elemlist->is_vector(), "(0 != elemlist) && (elemlist->is_vector())");
    return _replace(id, [=, this] { return append_elem(id, list); });
}

MsgStruct* MsgStruct::deep_dup() const {
    std::unique_ptr<MsgStruct> retmsg(new (std::nothrow) MsgStruct);
    if (retmsg == nullptr) return nullptr;
    QEN_CHECK(retmsg->_head);
    QEN_CHECK(_head);
    *retmsg->_head = *_head;
    for (int16_t id = 0; id <= MSG_MAX_ID; ++id) {
        if (_val[id] == nullptr) continue;
        if (retmsg->_copy_elems(*_val[id], id) != MSG_SOK) return nullptr;
    }
    return retmsg.release();
}

msg_result MsgStruct::_copy_elems(const MsgElemList& list, int16_t id) {
    const uint8_t dim = list.is_scalar() ? MSG_DIM_SCALAR : MSG_DIM_VECTOR;
    for (const MsgElem* elem = list.head(); elem != nullptr; elem = elem->next())
        if (msg_result rc = _copy_elem(id, *elem, dim)) return rc;
    return MSG_SOK;
}

msg_result MsgStruct::_copy_elem(int16_t id, const MsgElem& elem, uint8_t dim) {
    switch (elem.gettype()) {
    case VTYPE_S32: return _add_s32(id, dim, elem.gets32());
    case VTYPE_STR: return _add_bytes(id, dim, VTYPE_STR, elem.getstr(), string_bytes(elem));
    case VTYPE_PTR: return _add_bytes(id, dim, VTYPE_PTR, elem.getptr(), elem.getnwsize());
    case VTYPE_MSG: return _append_copy(id, *elem.getmsg());
    default: QEN_CHECK(0); return MSG_EINVAL;
    }
}

} // namespace taq_1
