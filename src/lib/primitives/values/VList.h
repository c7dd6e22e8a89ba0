// An ordered list of typed values.
#pragma once

#include <cstddef>

#include "DList.h"
#include "ValueHolder.h"

inline namespace taq_1 {

// One element of a VList. It owns its value unless the value was stored with reference flag 1. An element
// is made by the operations of a list; deleting it takes it out of its list.
class VElem : public Pooled<MEM_VELEM>, public ValueHolder<VElem> {
public:
    template <class... V, IfCellValue<V...> = 0>
    explicit VElem(V... value) : _dlink(this), _value(value...) {}
    VElem(const VElem&) = delete;
    VElem& operator=(const VElem&) = delete;

    VElem* next() const { return _elem(_dlink.next()); } // null at the ends
    VElem* prev() const { return _elem(_dlink.prev()); }
    VElem* head() const { return _elem(_dlink.head()); } // of the list; null when in none
    VElem* tail() const { return _elem(_dlink.tail()); }
    ValueElem* value() { return &_value; }
    const ValueElem* value() const { return &_value; }

    // A new element with the value directly after (before) this one, which must be in a list.
    template <class... V, IfCellValue<V...> = 0>
    VElem* append(V... value) {
        return _link_after(new VElem(value...));
    }
    template <class... V, IfCellValue<V...> = 0>
    VElem* insert(V... value) {
        return _link_before(new VElem(value...));
    }

    // A new element with a deep copy of *src (ValueElem::set) directly after this one.
    VElem* append(const ValueElem* src);

    // As ValueElem::compare.
    int compare(const VElem* other, bool case_sensitive) const {
        return _value.compare(&other->_value, case_sensitive);
    }

    // The strings from this element to the end of the list joined, other types skipped. The caller frees
    // the new array with delete[].
    char* collapse() const;

    void print() const { _value.print(); }

private:
    friend class VList;
    static VElem* _elem(const DLink* link) {
        return link != nullptr ? static_cast<VElem*>(link->object()) : nullptr;
    }
    VElem* _link_after(VElem* fresh);
    VElem* _link_before(VElem* fresh);

    DLink _dlink;
    ValueElem _value;
};

// The list owns its elements. No locking: one thread at a time. Operations that add return the new element.
class VList : public Pooled<MEM_VLIST> {
public:
    VList() {}
    ~VList() { _dlist.delete_objects<VElem>(); }
    VList(const VList&) = delete;
    VList& operator=(const VList&) = delete;

    // Add at the tail (head), by value: (), (int), (short), (char), or (pointer, ref) for a string, raw
    // pointer, VList, NVList, ValueArray, HashTable, MsgStruct or BusinessObject. ref 1: only referred
    // to; 0: owned, freed as ValueElem describes.
    template <class... V, IfCellValue<V...> = 0>
    VElem* append(V... value) {
        return _add(new VElem(value...));
    }
    template <class... V, IfCellValue<V...> = 0>
    VElem* insert(V... value) {
        VElem* velemp = new VElem(value...);
        _dlist.insert(&velemp->_dlink);
        return velemp;
    }

    // Adds a deep copy of *src at the tail (ValueElem::set).
    VElem* append(const ValueElem* src);

    // Adds an owned string at the tail: a copy of the `len` bytes at s, which need no NUL behind them.
    VElem* append_copy(const char* s, size_t len) { return append(ValueElem::dup_str(s, len), 0); }

    int32_t count() const { return _dlist.count(); }
    VElem* head() const { return VElem::_elem(_dlist.head()); } // null when empty
    VElem* tail() const { return VElem::_elem(_dlist.tail()); }

    VElem* inquire(int i) const; // element at 0-based position i; null outside the list

    // The first element whose value equals the string; null if none. A null name is fatal.
    VElem* inquire_str(const char* name, bool case_sensitive) const;

    // 1 when both lists have equal counts and equal values at all positions from `skip` on, else 0.
    // A skip beyond the count is fatal.
    int compare(const VList* other, int skip, bool case_sensitive) const;

    // A new list with deep copies of all values; the caller deletes it.
    VList* deep_dup() const;

    // Appends text packed into owned strings of 255 characters each. The last one is filled up first when
    // concat made it and the list still owns it; its bal() is the number of characters that still fit.
    void concat(const char* s);

    // The three below return a new array that the caller frees with delete[].
    char* collapse() const; // all strings joined, other types skipped

    // Numbers (VTYPE_S32) as " %d " and strings as " %s ", other types skipped, at most 4095 characters.
    // With the flag the text ends right after a string "UserNames" (any case).
    char* converttoString(int stop_at_usernames) const;

    // The strings separated by blanks, as many as fit 4095 characters with a blank each. Null when the
    // list holds anything else than strings.
    char* convertStrListToStr() const;

    // A new name-value list of the strings that pass `filter` (null: all), each with the value 0; null when
    // there are none. With take_strings the new list takes over the strings that this list owns as its names,
    // and this list only refers to them from then on. Otherwise the names are copies.
    NVList* convertToNVList(bool take_strings, bool (*filter)(const char*));

    void print() const; // debug dump to standard output

private:
    VElem* _add(VElem* velemp) {
        _dlist.append_fresh(&velemp->_dlink);
        return velemp;
    }

    DList _dlist;
};

} // namespace taq_1
