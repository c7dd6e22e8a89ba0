// An ordered list of named values, optionally kept sorted by name.
#pragma once

#include <string_view>

#include "NVElem.h"

inline namespace taq_1 {

enum nvlist_result {
    NV_ADDED = 1,
    NV_REMOVED = 1,
    NV_EEXISTS = 2, // an entry of that name exists
    NV_EABSENT = 3, // no entry of that name (of the anchor's name)
};

// A pointer as a value, which the place for the entry is not.
template <class P>
using IfEntryPointer = std::enable_if_t<!std::is_same_v<P, NVElem**>, IfCellPointer<P>>;

// The list owns its entries. Names compare ignoring case unless the list is case-sensitive or the caller
// asks for case; a sorted list always goes by its own flag. Null names are fatal. No locking.
class NVList : public Pooled<MEM_NVLIST> {
public:
    NVList() : NVList(false, false) {}
    NVList(bool sensitive, bool key_list);
    ~NVList() { remove_all(); }
    NVList(const NVList&) = delete;
    NVList& operator=(const NVList&) = delete;

    // Add an entry at the tail (head), in a sorted list at its place, before an equal name. The value:
    // none, a number, or a pointer and its reference flag (ValueElem); *value is copied deep. With
    // `check` a name that exists is refused: NV_EEXISTS, and the value stays the caller's. `out`, when
    // given, receives the new or the existing entry.
    int append(const char* name, NVElem** out = nullptr, bool check = false) {
        return _set(_add(name, out, check, AT_TAIL));
    }
    template <class T, IfCellNumber<T> = 0>
    int append(const char* name, T value, NVElem** out = nullptr, bool check = false) {
        return _set(_add(name, out, check, AT_TAIL), value);
    }
    template <class P, IfEntryPointer<P> = 0>
    int append(const char* name, P value, int ref, NVElem** out = nullptr, bool check = false) {
        return _set(_add(name, out, check, AT_TAIL), value, ref);
    }
    int append(const char* name, const ValueElem* value, NVElem** out = nullptr, bool check = false) {
        return _set(_add(name, out, check, AT_TAIL), value);
    }
    int insert(const char* name, NVElem** out = nullptr, bool check = false) {
        return _set(_add(name, out, check, AT_HEAD));
    }
    template <class T, IfCellNumber<T> = 0>
    int insert(const char* name, T value, NVElem** out = nullptr, bool check = false) {
        return _set(_add(name, out, check, AT_HEAD), value);
    }
    template <class P, IfEntryPointer<P> = 0>
    int insert(const char* name, P value, int ref, NVElem** out = nullptr, bool check = false) {
        return _set(_add(name, out, check, AT_HEAD), value, ref);
    }

    // Add an entry directly before (after) the entry named `anchor`. NV_EABSENT: no such anchor, *out is
    // untouched; NV_EEXISTS: the new name exists, *out is that entry.
    template <class T, IfCellNumber<T> = 0>
    int insert_at(const char* anchor, const char* name, T value, NVElem** out = nullptr) {
        int result;
        return _set(_add_at(anchor, name, out, BEFORE_ANCHOR, result), value), result;
    }
    template <class P, IfCellPointer<P> = 0>
    int insert_at(const char* anchor, const char* name, P value, int ref, NVElem** out = nullptr) {
        int result;
        return _set(_add_at(anchor, name, out, BEFORE_ANCHOR, result), value, ref), result;
    }
    template <class P, IfCellPointer<P> = 0>
    int append_at(const char* anchor, const char* name, P value, int ref, NVElem** out = nullptr) {
        int result;
        return _set(_add_at(anchor, name, out, AFTER_ANCHOR, result), value, ref), result;
    }

    // Adds an entry before the first one whose name is not less, or at the end; otherwise as append.
    template <class P, IfEntryPointer<P> = 0>
    int insert_ascending(const char* name, P value, int ref, NVElem** out = nullptr, bool check = false) {
        return _set(_add_ascending(name, out, check), value, ref);
    }

    // The entry of that name, or null. The view needs no NUL behind it and otherwise compares alike.
    NVElem* inquire(const char* name, bool case_sensitive = false) const;
    NVElem* inquire(std::string_view name, bool case_sensitive = false) const;
    NVElem* inquire(int i) const; // the entry at 0-based position i; null outside

    // The entry of that name, else the first named "*", else null.
    NVElem* wide_inquire(const char* name, bool case_sensitive = false) const;

    // Looks a name up in a sorted list by the list's own flag. Found: true, *out is the entry. Not found:
    // false, *out is the entry before which the name belongs, null for the end. out may be null.
    bool binary_search(const char* name, NVElem** out) const;

    int remove(const char* name); // NV_REMOVED or NV_EABSENT
    void remove_all() { _dlist.delete_objects<NVElem>(); }

    // Takes the entry out of the list; it is the caller's then. Null when absent.
    NVElem* detach_nvelem(const char* name, bool case_sensitive = false);

    // Takes over an unlinked entry, at the tail or its sorted place, and sets its two flags; an entry of the
    // same name is deleted first. Returns e, or null when it is in a list already.
    NVElem* attach_nvelem(NVElem* e, int ref, int name_ref);

    // 1 when both lists have the same number of entries and equal names and values, else 0. ordered 1: in
    // the same order; else each entry is looked up by name. The entries at the first `skip` positions are
    // passed over. Case counts, in names and string values, when it counts in either list.
    int compare(const NVList* other, int ordered, int skip) const;

    // A new list with deep copies of all values (ValueElem::set), of several entries with one name only the
    // last value; the caller deletes it. Sensitivity and the key-list flag are copied, the others clear.
    NVList* deep_dup() const;

    int32_t count() const { return _dlist.count(); }
    NVElem* head() const { return NVElem::_elem(_dlist.head()); } // null when empty
    NVElem* tail() const { return NVElem::_elem(_dlist.tail()); }
    void print() const; // debug dump to standard output

    bool get_sensitive() const { return (_flags & CASE_SENSITIVE) != 0; }
    bool get_name_ref() const { return (_flags & NAME_REF) != 0; }
    bool is_key_list() const { return (_flags & KEY_LIST) != 0; }
    bool is_key_sorted() const { return (_flags & KEY_SORTED) != 0; }

    // Whether new entries refer to their names instead of copying them; with all_entries the present
    // entries are marked alike, so that "off" makes them free names that they had only referred to.
    void set_name_ref(bool on, bool all_entries);
    void set_key_list(bool on) { _set_flag(KEY_LIST, on); }
    void set_key_sorted(bool on) { _set_flag(KEY_SORTED, on); } // the list must be empty or in order

private:
    enum flag : uint8_t { CASE_SENSITIVE = 1, NAME_REF = 2, KEY_LIST = 4, KEY_SORTED = 8 };
    enum list_end { AT_TAIL, AT_HEAD };
    enum anchor_side { BEFORE_ANCHOR, AFTER_ANCHOR };

    // The adders return the new entry, still without value, or null when the name was refused.
    NVElem* _add(const char* name, NVElem** out, bool check, list_end where);
    NVElem* _add_at(const char* anchor, const char* name, NVElem** out, anchor_side side, int& result);
    NVElem* _add_ascending(const char* name, NVElem** out, bool check);
    template <class... V>
    static int _set(NVElem* fresh, V... value) {
        if (fresh == nullptr) return NV_EEXISTS;
        if constexpr (sizeof...(V) > 0) fresh->set(value...);
        return NV_ADDED;
    }

    NVElem* _find(const char* name, bool sensitive) const;
    int _order(const char* a, const char* b) const;
    void _link(NVElem* fresh, NVElem* at, list_end where);
    void _set_flag(flag bit, bool on) { _flags = static_cast<uint8_t>(on ? _flags | bit : _flags & ~bit); }

    DList _dlist; // its object is this
    uint8_t _flags;
};

} // namespace taq_1
