// The typed value cell that every list element, name-value entry and hash-table entry embeds.
#pragma once

#include <cstddef>
#include <cstdint>

#include "../memory/Pooled.h"

inline namespace taq_1 {

class BusinessObject;
class HashTable;
class MsgStruct;
class NVList;
class ValueArray;
class VList;

// Type of a value, also the type bytes of the message encoding. The codes are the letters A to T.
enum vtype_t : uint8_t {
    VTYPE_NULL = 0,
    VTYPE_S8 = 65,
    VTYPE_S16 = 66,
    VTYPE_S32 = 67,
    VTYPE_BOOL = 68,  // not stored in cells
    VTYPE_STATE = 69, // likewise
    VTYPE_STR = 70,
    VTYPE_PTR = 71,
    VTYPE_EOM = 72, // message encoding only
    VTYPE_VLIST = 73,
    VTYPE_NVLIST = 74,
    VTYPE_ARRAY = 75,
    VTYPE_HASH = 76,
    VTYPE_BLOB = 77,    // not stored in cells
    VTYPE_BAR = 78,     // likewise
    VTYPE_BAR_ACK = 79, // likewise
    VTYPE_VEC = 80,     // message encoding only
    VTYPE_SCAL = 81,    // likewise
    VTYPE_HDR = 82,     // likewise
    VTYPE_MSG = 83,
    VTYPE_OBJECT = 84,
};

enum ValueElemScope : uint8_t { host_specific = 0, host_generic = 1 };

// One typed value. A pointer is stored with a reference flag (int): 1, the cell only refers to it; 0, the
// cell owns it and frees it: strings with delete[], raw pointers with ::operator delete (so they come from
// ::operator new), all others with delete. A referred-to value is neither copied nor freed; it may be
// const, but is handed out again without the const.
// There is no overload for unsigned, long and floating-point numbers: cast them to the width that is meant.
// Cells are neither copied nor moved; set(const ValueElem*) makes a deep copy. No locking.
class ValueElem : public Pooled<MEM_VALUEELEM> {
public:
    ValueElem() {}
    explicit ValueElem(int value) : _vtype(VTYPE_S32) { _value._s32 = value; }
    explicit ValueElem(short value) : _vtype(VTYPE_S16) { _value._s16 = value; }
    explicit ValueElem(char value) : ValueElem(static_cast<signed char>(value)) {}
    explicit ValueElem(signed char value) : _vtype(VTYPE_S8) { _value._s8 = value; }
    ValueElem(const char* value, int ref) : ValueElem(VTYPE_STR, ref) {
        _value._cp = const_cast<char*>(value);
    }
    ValueElem(void* value, int ref) : ValueElem(VTYPE_PTR, ref) { _value._vp = value; }
    ValueElem(VList* value, int ref) : ValueElem(VTYPE_VLIST, ref) { _value._vlist = value; }
    ValueElem(NVList* value, int ref) : ValueElem(VTYPE_NVLIST, ref) { _value._nvlist = value; }
    ValueElem(ValueArray* value, int ref) : ValueElem(VTYPE_ARRAY, ref) { _value._array = value; }
    ValueElem(HashTable* value, int ref) : ValueElem(VTYPE_HASH, ref) { _value._hash = value; }
    ValueElem(MsgStruct* value, int ref) : ValueElem(VTYPE_MSG, ref) { _value._msg = value; }
    ValueElem(BusinessObject* value, int ref) : ValueElem(VTYPE_OBJECT, ref) { _value._obj = value; }
    ~ValueElem() { _delete_val(); }
    ValueElem(const ValueElem&) = delete;
    ValueElem& operator=(const ValueElem&) = delete;

    // Each frees the current value if owned and stores the new one; size and bal become 0. A pointer that the
    // cell holds already is not freed. The number forms leave the reference flag as it was.
    void set() { _delete_val(); }
    void set(int value) { _renew(VTYPE_S32)._s32 = value; }
    void set(short value) { _renew(VTYPE_S16)._s16 = value; }
    void set(char value) { set(static_cast<signed char>(value)); }
    void set(signed char value) { _renew(VTYPE_S8)._s8 = value; }
    void set(const char* value, int ref) { _renew(VTYPE_STR, ref, value)._cp = const_cast<char*>(value); }
    void set(void* value, int ref) { _renew(VTYPE_PTR, ref, value)._vp = value; }
    void set(VList* value, int ref) { _renew(VTYPE_VLIST, ref, value)._vlist = value; }
    void set(NVList* value, int ref) { _renew(VTYPE_NVLIST, ref, value)._nvlist = value; }
    void set(ValueArray* value, int ref) { _renew(VTYPE_ARRAY, ref, value)._array = value; }
    void set(HashTable* value, int ref) { _renew(VTYPE_HASH, ref, value)._hash = value; }
    void set(MsgStruct* value, int ref) { _renew(VTYPE_MSG, ref, value)._msg = value; }
    void set(BusinessObject* value, int ref) { _renew(VTYPE_OBJECT, ref, value)._obj = value; }

    // Replaces the value with an owned deep copy of src's and takes over its auxtype and atype, adding its
    // otype bits. A raw pointer is copied by its size(). Arrays, hash tables and objects have no copy: the
    // cell becomes VTYPE_NULL. The scope is not copied. The own value may be part of src or the reverse.
    void set(const ValueElem* src);

    // As set(value, 0), but a cell that holds a string or nothing shows the old or the new string at every
    // moment, and the old one is freed last: a signal handler may look.
    void replace_str(char* value);

    // The stored member, its type unchecked.
    int8_t gets8() const { return _value._s8; }
    int16_t gets16() const { return _value._s16; }
    int32_t gets32() const { return _value._s32; }
    char* getstr() const { return _value._cp; }
    void* getptr() const { return _value._vp; }
    VList* getvlist() const { return _value._vlist; }
    NVList* getnvlist() const { return _value._nvlist; }
    ValueArray* getarray() const { return _value._array; }
    HashTable* gethash() const { return _value._hash; }
    MsgStruct* getmsg() const { return _value._msg; }
    BusinessObject* getobject() const { return _value._obj; }

    uint8_t vtype() const { return _vtype; }
    int ref() const { return _ref; }
    ValueElemScope vscope() const { return _vscope; }
    int32_t size() const { return _size; } // bytes behind a raw pointer; 0 when not known
    int32_t bal() const { return _bal; }   // characters free in a packed string (VList::concat)
    void set_ref(int ref) { _ref = ref != 0; }
    void set_vscope(ValueElemScope scope) { _vscope = scope; }
    void set_size(int32_t size) { _size = size; }
    void set_bal(int32_t bal) { _bal = bal; }

    // Annotations carried with the value for the attribute layer.
    uint8_t auxtype() const { return _auxtype; }
    uint8_t atype() const { return _atype; }
    uint16_t otype() const { return _otype; }
    void set_auxtype(uint8_t auxtype) { _auxtype = auxtype; }
    void set_atype(uint8_t atype) { _atype = atype; }
    void set_otype(uint16_t bits) { _otype = static_cast<uint16_t>(_otype | bits); }    // adds the bits
    void clear_otype(uint16_t bits) { _otype = static_cast<uint16_t>(_otype & ~bits); } // removes them

    // 1 when type and value are equal, else 0. Strings honour the flag, pointers compare by address,
    // VLists element by element ignoring case; name-value lists, arrays, hash tables and messages are
    // never equal. Comparing two objects is fatal.
    int compare(const ValueElem* other, bool case_sensitive) const;

    // Debug dump to standard output. A raw pointer whose size is not known must lead to a message header.
    void print() const;

    // A new char array with a copy of `len` bytes and a NUL; the caller frees it with delete[].
    static char* dup_str(const char* s, size_t len);

private:
    union Value {
        int8_t _s8;
        int16_t _s16;
        int32_t _s32;
        char* _cp;
        void* _vp = nullptr;
        VList* _vlist;
        NVList* _nvlist;
        ValueArray* _array;
        HashTable* _hash;
        MsgStruct* _msg;
        BusinessObject* _obj;
    };

    ValueElem(vtype_t vtype, int ref) : _vtype(vtype), _ref(ref != 0) {}

    void _delete_val(const void* kept = nullptr) {
        if (_vtype >= VTYPE_STR && _ref == 0 && _value._vp != kept) _free_owned();
        _vtype = VTYPE_NULL;
    }
    Value& _renew(vtype_t vtype, const void* kept = nullptr) {
        _delete_val(kept);
        _vtype = vtype;
        _size = _bal = 0;
        return _value;
    }
    Value& _renew(vtype_t vtype, int ref, const void* value) {
        Value& renewed = _renew(vtype, value);
        _ref = ref != 0;
        return renewed;
    }
    void _free_owned();
    void _assign(const ValueElem& src);

    uint8_t _vtype = VTYPE_NULL;
    uint8_t _auxtype = 0;
    uint8_t _atype = 0;
    uint16_t _otype = 0;
    ValueElemScope _vscope = host_generic;
    uint8_t _ref = 0; // 1: only referred to; kept when a number replaces a pointer
    int32_t _size = 0;
    int32_t _bal = 0;
    Value _value;
};

} // namespace taq_1
