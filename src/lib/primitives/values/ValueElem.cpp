// The only source that knows all containers: a cell can own each of them.
#include "primitives/values/ValueElem.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <new>

#include "platform/unix/ByteOrder.h"
#include "platform/unix/QENAssert.h"
#include "platform/unix/QENNoCase.h"
#include "primitives/message/MsgStruct.h"
#include "primitives/values/BusinessObject.h"
#include "primitives/values/HashTable.h"
#include "primitives/values/NVList.h"
#include "primitives/values/VList.h"
#include "primitives/values/ValueArray.h"

inline namespace taq_1 {

namespace {

// A null string is equal to a null string only.
bool equal_strings(const char* a, const char* b, bool case_sensitive) {
    if (a == nullptr || b == nullptr) return a == b;
    return case_sensitive ? strcmp(a, b) == 0 : QENEqualNoCase(a, b);
}

// Raw pointers lead to message headers as far as dumps are concerned; a block known to be smaller shows
// zeros.
void print_header(const void* block, int32_t size) {
    MessageHdr header = {};
    const bool whole = size == 0 || size >= static_cast<int32_t>(sizeof header);
    if (block != nullptr && whole) memcpy(&header, block, sizeof header);
    const auto host = [](const int32_t& field) {
        return get_be32(reinterpret_cast<const unsigned char*>(&field));
    };
    printf("VTYPE_PTR msg(%x) channel(%x) flags(%x)\n", host(header.message), host(header.channel),
           host(header.flags));
}

void* dup_block(const void* block, int32_t size) {
    const size_t bytes = size > 0 ? static_cast<size_t>(size) : 0;
    void* copy = ::operator new(bytes); // the scalar form, since the owner frees it with the scalar delete
    if (bytes > 0) memcpy(copy, block, bytes);
    return copy;
}

} // namespace

char* ValueElem::dup_str(const char* s, size_t len) {
    QEN_CHECK(len < PTRDIFF_MAX);
    char* copy = new char[len + 1];
    if (len > 0) memcpy(copy, s, len);
    copy[len] = '\0';
    return copy;
}

void ValueElem::_free_owned() {
    switch (_vtype) {
    case VTYPE_STR: delete[] _value._cp; break;
    case VTYPE_PTR: ::operator delete(_value._vp); break;
    case VTYPE_VLIST: delete _value._vlist; break;
    case VTYPE_NVLIST: delete _value._nvlist; break;
    case VTYPE_ARRAY: delete _value._array; break;
    case VTYPE_HASH: delete _value._hash; break;
    case VTYPE_MSG: delete _value._msg; break;
    case VTYPE_OBJECT: delete _value._obj; break;
    default: break;
    }
}

// The copy is complete before the old value goes, because either may be a part of the other.
void ValueElem::set(const ValueElem* src) {
    QEN_CHECK(src != NULL);
    if (src == this) return;
    ValueElem copy;
    copy._assign(*src);
    const uint8_t had_ref = _ref;
    _delete_val();
    _vtype = copy._vtype;
    _ref = _vtype < VTYPE_STR ? had_ref : 0; // numbers leave the flag alone
    _size = copy._size;
    _bal = 0;
    _value = copy._value;
    copy._vtype = VTYPE_NULL; // this cell has the value now
    _auxtype = copy._auxtype;
    _atype = copy._atype;
    set_otype(copy._otype);
}

// Fills this empty cell with an owned copy.
void ValueElem::_assign(const ValueElem& src) {
    _auxtype = src._auxtype;
    _atype = src._atype;
    _otype = src._otype;
    const bool has_value = src._vtype >= VTYPE_STR && src._value._vp != nullptr;
    switch (src._vtype) {
    case VTYPE_S8: set(static_cast<signed char>(src._value._s8)); break;
    case VTYPE_S16: set(src._value._s16); break;
    case VTYPE_S32: set(src._value._s32); break;
    case VTYPE_STR: set(has_value ? dup_str(src._value._cp, strlen(src._value._cp)) : nullptr, 0); break;
    case VTYPE_PTR:
        set(has_value ? dup_block(src._value._vp, src._size) : nullptr, 0);
        _size = src._size;
        break;
    case VTYPE_VLIST: set(has_value ? src._value._vlist->deep_dup() : nullptr, 0); break;
    case VTYPE_NVLIST: set(has_value ? src._value._nvlist->deep_dup() : nullptr, 0); break;
    case VTYPE_MSG: set(has_value ? src._value._msg->deep_dup() : nullptr, 0); break;
    default: break; // nothing, or of a kind that has no copy
    }
}

void ValueElem::replace_str(char* value) {
    if (_vtype != VTYPE_NULL && _vtype != VTYPE_STR) _delete_val();
    char* old = _vtype == VTYPE_STR && _ref == 0 ? _value._cp : nullptr;
    std::atomic_ref<char*>(_value._cp).store(value, std::memory_order_release);
    std::atomic_ref<uint8_t>(_vtype).store(VTYPE_STR, std::memory_order_release);
    _ref = 0;
    _size = _bal = 0;
    if (old != value) delete[] old;
}

int ValueElem::compare(const ValueElem* other, bool case_sensitive) const {
    if (other == nullptr || _vtype != other->_vtype) return 0;
    const Value &a = _value, &b = other->_value;
    switch (_vtype) {
    case VTYPE_NULL: return 1;
    case VTYPE_S8: return a._s8 == b._s8;
    case VTYPE_S16: return a._s16 == b._s16;
    case VTYPE_S32: return a._s32 == b._s32;
    case VTYPE_STR: return equal_strings(a._cp, b._cp, case_sensitive);
    case VTYPE_PTR: return a._vp == b._vp;
    case VTYPE_VLIST:
        if (a._vlist == nullptr || b._vlist == nullptr) return a._vlist == b._vlist;
        return a._vlist->compare(b._vlist, 0, false);
    case VTYPE_NVLIST:
    case VTYPE_ARRAY:
    case VTYPE_HASH:
    case VTYPE_MSG: return 0;
    default: QENAssert("0", __FILE__, __LINE__, nullptr);
    }
}

void ValueElem::print() const {
    const bool has_value = _vtype < VTYPE_STR || _value._vp != nullptr;
    switch (has_value ? _vtype : static_cast<uint8_t>(VTYPE_NULL)) {
    case VTYPE_NULL: puts("VTYPE_NULL"); break;
    case VTYPE_S8: printf("VTYPE_S8 (%d)\n", _value._s8); break;
    case VTYPE_S16: printf("VTYPE_S16 (%d)\n", _value._s16); break;
    case VTYPE_S32: printf("VTYPE_S32 (%d)\n", _value._s32); break;
    case VTYPE_STR: printf("VTYPE_STR (%s)\n", _value._cp); break;
    case VTYPE_PTR: print_header(_value._vp, _size); break;
    case VTYPE_VLIST: _value._vlist->print(); break;
    case VTYPE_NVLIST: _value._nvlist->print(); break;
    case VTYPE_OBJECT: printf("[%s object]\n", _value._obj->object_label()); break;
    default: puts("Unknown type"); break;
    }
}

ValueArray::ValueArray(int n)
    : _count(n > 0 ? n : 0), _elemp(new ValueElem[static_cast<size_t>(n > 0 ? n : 0)]) {}

} // namespace taq_1
