// The one doubly linked list of the library. A list header (DList) and its links (DLink) are embedded in
// the lists and elements built on them; a link finds its element through object().
#pragma once

#include <cstdint>
#include <cstdio>

#include "../memory/Pooled.h"

inline namespace taq_1 {

class DList;

// One link, in at most one list at a time. Misuse (linking twice, unlinking what is not linked) is fatal.
// No locking: a list is used by one thread at a time.
class DLink : public Pooled<MEM_DLINK> {
public:
    explicit DLink(void* object = nullptr) : _object(object) {}
    ~DLink() {
        if (_dlist != nullptr) _leave();
    } // a link still in a list leaves it
    DLink(const DLink&) = delete;
    DLink& operator=(const DLink&) = delete;

    // Link the unlinked `dlink` directly after (before) this one, which must be in a list.
    void append(DLink* dlink);
    void insert(DLink* dlink);

    // Takes this link out of its list and returns the one that followed it. next() and prev() keep their
    // values. Fatal when it is in no list.
    DLink* unlink();

    DLink* head() const; // first and last link of the list; null when not linked
    DLink* tail() const;
    DLink* next() const { return _next; }
    DLink* prev() const { return _prev; }
    DList* dlist() const { return _dlist; }
    void* object() const { return _object; }
    void set_object(void* object) { _object = object; }
    void set_next(DLink* next) { _next = next; }
    void set_prev(DLink* prev) { _prev = prev; }

    // Debug dump; `indent` in levels of four blanks, standard output when fp is null.
    void print(const char* name, FILE* fp, char indent) const;

private:
    friend class DList;
    void _leave();

    DList* _dlist = nullptr; // null when not linked
    DLink* _next = nullptr;
    DLink* _prev = nullptr;
    void* _object; // refers only
};

// The list header. It owns nothing: its end clears it and leaves the links alone.
// Invariant: head and tail are null exactly when the count is 0, and every link in between points back at
// this header. A ring, whose last link leads to the first (see CList), keeps its head and tail.
class DList : public Pooled<MEM_DLIST> {
public:
    explicit DList(void* object = nullptr) : _object(object) {}
    ~DList() { reset(); }
    DList(const DList&) = delete;
    DList& operator=(const DList&) = delete;

    // Link an unlinked link as the last (first) one.
    void append(DLink* dlink);
    void insert(DLink* dlink);

    // The same with a new link for `object`, which the caller deletes; returns it.
    DLink* append(void* object = nullptr);
    DLink* insert(void* object = nullptr);

    // Links `dlink` before `location`, a link of this list; as the last one when location is null.
    void insert_at(DLink* dlink, DLink* location);

    // Moves all links of `other`, in order, to the end of this list. Null and this list itself: no change.
    void dlistcat(DList* other);

    // Forgets all links without touching them, and the object.
    void reset() {
        _head = _tail = nullptr;
        _count = 0;
        _object = nullptr;
    }

    // Links a link that is known to be in no list as the last one: append without its checks.
    void append_fresh(DLink* dlink) {
        if (_tail == nullptr)
            _link_only(dlink);
        else
            _link_after(_tail, dlink);
    }

    // Deletes every element, each a T, from the head on. An element has left the list when its destructor
    // runs, which may delete other elements of the list.
    template <class T>
    void delete_objects() {
        while (DLink* link = _head) {
            link->_leave();
            delete static_cast<T*>(link->_object);
        }
        _tail = nullptr;
    }

    int32_t count() const { return _count; }
    DLink* head() const { return _head; }
    DLink* tail() const { return _tail; }
    void* object() const { return _object; }
    void set_object(void* object) { _object = object; }
    void set_head(DLink* head) { _head = head; }
    void set_tail(DLink* tail) { _tail = tail; }

    // Debug dump of the header with its first and last link; see DLink::print.
    void print(const char* name, FILE* fp, char indent) const;

private:
    friend class DLink;
    [[noreturn]] static void _overflow();
    void _count_one(DLink* dlink) {
        if (_count == INT32_MAX) _overflow();
        ++_count;
        dlink->_dlist = this;
    }
    void _link_only(DLink* dlink) {
        _count = 0; // whatever set_head or set_tail has left behind
        _count_one(dlink);
        dlink->_next = dlink->_prev = nullptr; // may still show neighbours of a list that it has left
        _head = _tail = dlink;
    }
    void _link_after(DLink* place, DLink* dlink);
    void _link_before(DLink* place, DLink* dlink);

    void* _object; // whom the list belongs to, or null; refers only
    int32_t _count = 0;
    DLink* _head = nullptr;
    DLink* _tail = nullptr;
};

inline DLink* DLink::head() const {
    return _dlist != nullptr ? _dlist->_head : nullptr;
}
inline DLink* DLink::tail() const {
    return _dlist != nullptr ? _dlist->_tail : nullptr;
}

inline void DList::_link_after(DLink* place, DLink* dlink) {
    _count_one(dlink);
    dlink->_next = place->_next;
    dlink->_prev = place;
    if (place->_next != nullptr) place->_next->_prev = dlink;
    if (_tail == place) _tail = dlink;
    place->_next = dlink;
}

inline void DList::_link_before(DLink* place, DLink* dlink) {
    _count_one(dlink);
    dlink->_next = place;
    dlink->_prev = place->_prev;
    if (place->_prev != nullptr) place->_prev->_next = dlink;
    if (_head == place) _head = dlink;
    place->_prev = dlink;
}

inline void DLink::_leave() {
    if (_prev != nullptr) _prev->_next = _next;
    if (_next != nullptr) _next->_prev = _prev;
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): only a link that is in a list leaves it
    if (_dlist->_head == this) _dlist->_head = _next;
    if (_dlist->_tail == this) _dlist->_tail = _prev;
    if (--_dlist->_count == 0)
        _dlist->_head = _dlist->_tail = nullptr; // the last link of a ring leads to itself
    _dlist = nullptr;
}

} // namespace taq_1
