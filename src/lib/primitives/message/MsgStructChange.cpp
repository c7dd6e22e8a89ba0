// Members of MsgStruct that take elements out, replace them or copy them.
#include <cstring>
#include <memory>
#include <new>

#include "platform/unix/ByteOrder.h"
#include "platform/unix/QENAssert.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/values/VList.h"

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

void MsgStruct::_drop(int16_t id) {
    for (MsgElem* elem = _val[id]->head(); elem != nullptr; elem = elem->next()) {
        if (elem->getlocation() != nullptr) put_be16(elem->getlocation() + ID_OFFSET, MSG_DELETED_ID);
        if (elem->gettype() != VTYPE_MSG || !elem->get_ref()) continue;
        elem->getmsg()->_flags |= MODIFIABLE;
        elem->getmsg()->_remove_eom();
    }
    delete _val[id];
    _val[id] = nullptr;
    _flags |= DELETED;
}

// Replaces the elements of the id by what `add` adds. They are copied first, so that they can be put back.
template <class Add>
msg_result MsgStruct::_replace(int16_t id, Add add) {
    QEN_CHECK(is_modifiable());
    if (find(id) == nullptr) return MSG_EBADID;
    MsgStruct backup;
    if (msg_result rc = backup._copy_elems(this, id)) return rc;
    _drop(id);
    const msg_result rc = add();
    if (rc == MSG_SOK) return rc;
    if (_val[id] != nullptr) _drop(id);
    (void)_copy_elems(&backup, id); // the result to report is why the new value was refused
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
    auto retmsg = std::make_unique<MsgStruct>();
    QEN_CHECK(retmsg->_head);
    QEN_CHECK(_head);
    *retmsg->_head = *_head;
    for (int16_t id = 0; id <= MSG_MAX_ID; ++id) {
        if (_val[id] == nullptr) continue;
        if (retmsg->_copy_elems(this, id) != MSG_SOK) return nullptr;
    }
    return retmsg.release();
}

msg_result MsgStruct::_copy_elems(const MsgStruct* origmsg, int16_t ID) {
    QEN_CHECK_AS(origmsg->_val[ID] != nullptr, "0 != origmsg->_val[ID]");
    const bool scalar = origmsg->_val[ID]->is_scalar();
    for (const MsgElem* elem = origmsg->find(ID); elem != nullptr; elem = elem->next())
        if (msg_result rc = _copy_elem(ID, *elem, scalar)) return rc;
    return MSG_SOK;
}

msg_result MsgStruct::_copy_elem(int16_t id, const MsgElem& elem, bool scalar) {
    switch (elem.gettype()) {
    case VTYPE_S32: return scalar ? add_elem(id, elem.gets32()) : append_elem(id, elem.gets32());
    case VTYPE_STR:
        return scalar ? _add_bytes(id, VTYPE_STR, elem.getstr(), string_bytes(elem))
                      : _append_bytes(id, VTYPE_STR, elem.getstr(), string_bytes(elem));
    case VTYPE_PTR:
        return scalar ? _add_bytes(id, VTYPE_PTR, elem.getptr(), elem.getnwsize())
                      : _append_bytes(id, VTYPE_PTR, elem.getptr(), elem.getnwsize());
    case VTYPE_MSG: break;
    default: QEN_CHECK(0);
    }
    MsgStruct* copy = elem.getmsg()->deep_dup();
    if (copy == nullptr) return MSG_ENOMEM;
    const msg_result rc = append_elem(id, copy, /*ref=*/false);
    if (rc != MSG_SOK) delete copy;
    return rc;
}
