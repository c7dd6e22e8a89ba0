#include "primitives/message/MsgElem.h"

#include "platform/unix/QENAssert.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/values/ValueElem.h"

MsgElem::MsgElem(int32_t value, char* location)
    : _type(VTYPE_S32), _ref(false), _nwsize(sizeof value), _location(location) {
    _value._s32 = value;
}

MsgElem::MsgElem(uint8_t type, char* data, int32_t nbytes, bool ref, char* location)
    : _type(type), _ref(ref), _nwsize(nbytes), _location(location) {
    _value._cp = data;
}

MsgElem::MsgElem(MsgStruct* msgp, int32_t nbytes, bool ref, char* location)
    : _type(VTYPE_MSG), _ref(ref), _nwsize(nbytes), _location(location) {
    _value._msg = msgp;
}

MsgElem::~MsgElem() {
    if (_type == VTYPE_MSG && !_ref) delete _value._msg;
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
