// An entry of a name-value list.
#pragma once

#include "DList.h"
#include "ValueHolder.h"

inline namespace taq_1 {

class NVList;

// One entry: a name and a value. Deleting it takes it out of its list and frees the name and the value as
// far as it owns them.
class NVElem : public Pooled<MEM_NVELEM>, public ValueHolder<NVElem> {
public:
    // With name_ref the entry refers to the name, else it owns a copy. A null name is fatal.
    NVElem(const char* name, bool name_ref);
    ~NVElem() {
        if (!_name_ref) delete[] _name;
    }
    NVElem(const NVElem&) = delete;
    NVElem& operator=(const NVElem&) = delete;

    const char* name() const { return _name; }
    ValueElem* value() { return &_value; }
    const ValueElem* value() const { return &_value; }
    NVElem* next() const { return _elem(_dlink.next()); } // null at the ends
    NVElem* prev() const { return _elem(_dlink.prev()); }
    NVElem* next(int n) const; // n places further, itself for 0; null past the end and for a negative n
    NVList* getNVList() const; // the list; null when in none

    void unlink(); // leaves its list, which must exist; next() and prev() become null

    // Whether the name is only referred to. Off: the entry frees it with delete[].
    void set_name_ref(bool on) { _name_ref = on; }
    void set_name(const char* name); // stores a copy; an old name is freed when it was owned

    // Link the unlinked entry before (after) this one, which must be in a list. Null is fatal.
    void insert(NVElem* nvelemp);
    void append(NVElem* nvelemp);

    // The 32-bit value for a host: the entry's own when its scope is host_generic; when host_specific the
    // value is an NVList by host name, which must hold `host`.
    int32_t gets32GL(const char* host) const;
    void setGL(int value, const char* host);

    void print() const; // debug dump to standard output

private:
    friend class NVList;
    static NVElem* _elem(const DLink* link) {
        return link != nullptr ? static_cast<NVElem*>(link->object()) : nullptr;
    }
    NVElem* _host_entry(const char* host) const;

    DLink _dlink;
    char* _name; // owned unless _name_ref
    ValueElem _value;
    uint8_t _name_ref;
};

} // namespace taq_1
