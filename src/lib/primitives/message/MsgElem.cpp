// The index of a message: its elements, and the list of those of one id.
#include "primitives/message/MsgElem.h"

#include "platform/unix/QENAssert.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/values/ValueElem.h"

inline namespace taq_1 {

MsgElem::MsgElem(int32_t value) : _type(VTYPE_S32), _ref(false), _nwsize(sizeof value) {
    _value._s32 = value;
}

MsgElem::MsgElem(uint8_t type, int32_t nbytes) : _type(type), _ref(true), _nwsize(nbytes) {
    _value._cp = nullptr;
}

MsgElem::MsgElem(MsgStruct* msgp, int32_t nbytes) : _type(VTYPE_MSG), _ref(true), _nwsize(nbytes) {
    _value._msg = msgp;
}

MsgElem::~MsgElem() {
    if (_type == VTYPE_MSG && !_ref) delete _value._msg;
}

void MsgElem::place(char* data, char* location) {
    if (data != nullptr) _value._cp = data;
    _location = location;
}

MsgElemList::~MsgElemList() {
    while (_head != nullptr) {
        MsgElem* elem = _head;
        _head = elem->_next;
        delete elem;
    }
}

void MsgElemList::append_elem(MsgElem* elem) {
    if (_count == 0) {
        QEN_CHECK_AS(_head == nullptr && _tail == nullptr, "_head == NULL && _tail == NULL");
        _head = elem;
    } else {
        QEN_CHECK_AS(_tail != nullptr && _head != nullptr, "_tail != NULL && _head != NULL");
        _tail->_next = elem;
    }
    _tail = elem;
    ++_count;
}

} // namespace taq_1
